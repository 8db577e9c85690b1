#include "protocol/packet_reader.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "ostradb/util/exceptions.hpp"
#include "protocol/wire.hpp"

namespace ostradb {
namespace {

const std::string kA = "<packet><answer a=\"1\"/></packet>\r\n";
const std::string kB = "<packet type=\"info\"></packet>\r\n";

// Feeds text in pieces of the given size and collects every packet handed out.
std::vector<std::string> FeedInPieces(PacketReader& reader, const std::string& text,
                                      std::size_t piece) {
    std::vector<std::string> packets;
    std::string packet;
    for (std::size_t i = 0; i < text.size(); i += piece) {
        reader.Feed(std::string_view(text).substr(i, piece));
        while (reader.Next(packet))
            packets.push_back(packet);
    }
    return packets;
}

TEST(PacketReader, AssemblesPacketsWhateverTheSegmentSizes) {
    const std::string stream = kA + kB + kA + "PAYLOAD";
    for (std::size_t piece : {1u, 2u, 5u, 10u, 11u, 12u, 33u, 1000u}) {
        PacketReader reader;
        const auto packets = FeedInPieces(reader, stream, piece);
        EXPECT_EQ(packets, (std::vector<std::string>{kA, kB, kA})) << "piece " << piece;
        EXPECT_EQ(reader.Pending(), "PAYLOAD") << "piece " << piece;
    }
}

TEST(PacketReader, NeedsTheLineBreakAfterTheClosingTag) {
    PacketReader reader;
    std::string packet;
    reader.Feed("<packet></packet>\r");
    EXPECT_FALSE(reader.Next(packet));
    reader.Feed("x</packet>\n</packet>\r\nrest");
    ASSERT_TRUE(reader.Next(packet));
    EXPECT_EQ(packet, "<packet></packet>\rx</packet>\n</packet>\r\n");
    EXPECT_EQ(reader.Pending(), "rest");
    reader.Consume(2);
    EXPECT_EQ(reader.Pending(), "st");
    reader.Clear();
    EXPECT_TRUE(reader.Pending().empty());
}

TEST(PacketReader, RefusesAPacketLongerThanTheCap) {
    PacketReader reader(64);
    std::string packet;
    reader.Feed(std::string(64, 'x'));
    EXPECT_FALSE(reader.Next(packet));  // at the cap, still waiting
    reader.Feed("y");
    EXPECT_THROW(reader.Next(packet), Error);

    // A terminator arriving past the cap does not make the packet acceptable.
    PacketReader late(20);
    late.Feed(std::string(15, 'x') + "</packet>\r\n");
    EXPECT_THROW(late.Next(packet), Error);
    // Exactly at the cap is fine.
    PacketReader exact(kA.size());
    exact.Feed(kA + "more bytes after it");
    ASSERT_TRUE(exact.Next(packet));
    EXPECT_EQ(packet, kA);

    // Read as the exchange reads, a packet that never ends never holds much more than the cap.
    for (std::size_t cap : {std::size_t{1} << 20, std::size_t{1000000}}) {
        PacketReader endless(cap);
        const std::size_t chunk = 64 << 10;
        std::size_t fed = 0;
        EXPECT_THROW(
            for (;;) {
                std::memset(endless.Prepare(chunk), 'x', chunk);
                endless.Commit(chunk);
                fed += chunk;
                endless.Next(packet);
            },
            Error);
        EXPECT_GT(fed, cap);
        EXPECT_LE(endless.Capacity(), cap + chunk) << cap;
    }
}

TEST(Wire, MasksOnlyTheLoginPassword) {
    EXPECT_EQ(wire::MaskPassword(R"(<command cmd="login" user="u" pass="abc123" />)"),
              R"(<command cmd="login" user="u" pass="***" />)");
    EXPECT_EQ(wire::MaskPassword(R"(<command cmd="login" bypass="1" pass="x" />)"),
              R"(<command cmd="login" bypass="1" pass="***" />)");
    const std::string other = R"(<command cmd="set_user" pass="keep" />)";
    EXPECT_EQ(wire::MaskPassword(other), other);
}

}  // namespace
}  // namespace ostradb

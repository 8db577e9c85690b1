#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <istream>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "ostradb/protocol/errors.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/util/string_list.hpp"
#include "protocol/command.hpp"
#include "support/render.hpp"
#include "support/scripted_server.hpp"

namespace ostradb {

namespace test {

// A recorded request's "command" element as one line of XML, so that a test compares the
// command name, every attribute in order and every child in one expectation.
inline std::string CommandText(const RecordedRequest& request) {
    return XmlText(request.Command());
}
inline std::string AttrText(const RecordedRequest& r) {
    return AttrText(r.Command());
}
// The command elements of the requests from the first-th on, one line each.
inline std::string Commands(ScriptedServer& server, std::size_t first = 0) {
    std::string out;
    for (std::size_t i = first; i < server.RequestCount(); ++i)
        out += CommandText(server.Request(i)) + "\n";
    return out;
}

// The texts of the "Item" children of a list element.
inline std::vector<std::string> ItemTexts(pugi::xml_node list) {
    std::vector<std::string> texts;
    for (pugi::xml_node i = list.child("Item"); i; i = i.next_sibling("Item"))
        texts.emplace_back(i.text().get());
    return texts;
}

// Runs call, which must raise the server's error answer with this code and text.
inline void ExpectServerError(const std::function<void()>& call, int code,
                              const std::string& text) {
    try {
        call();
        ADD_FAILURE() << "no error, expected code " << code;
    } catch (const TOstraClientSocketException& e) {
        EXPECT_EQ(e.Code, code);
        EXPECT_EQ(e.what(), text);
    }
}

}  // namespace test

// A client pointed at a scripted server. The server outlives the client.
class ExchangeTest : public ::testing::Test {
protected:
    ExchangeTest() {
        server.PointAt(client);
        client.SetReadTimeout(std::chrono::seconds(20));  // a test that goes wrong fails
    }

    detail::Answer Run(const std::string& cmd, std::istream* send = nullptr,
                       std::ostream* receive = nullptr) {
        detail::Request req(client, cmd);
        return req.Exchange(send, receive);
    }

    test::ScriptedServer server;
    TOstraDbProtocol client;
};

// A stream of size bytes of a repeating pattern, made up as it is read (nothing is held in
// memory); after failAfter bytes reading fails as a broken file would.
class GeneratedBuf : public std::streambuf {
public:
    explicit GeneratedBuf(std::int64_t size, std::int64_t failAfter = -1)
        : size_(size), failAfter_(failAfter) {}
    std::int64_t Position() const { return pos_.load(); }

protected:
    std::streamsize xsgetn(char* out, std::streamsize n) override {
        if (failAfter_ >= 0 && pos_ >= failAfter_) throw std::runtime_error("disk broke");
        std::streamsize k = std::min<std::streamsize>(n, size_ - pos_);
        if (failAfter_ >= 0) k = std::min<std::streamsize>(k, failAfter_ - pos_);
        const std::int64_t at = pos_;
        for (std::streamsize i = 0; i < k; ++i)
            out[i] = static_cast<char>('a' + (at + i) % 26);
        pos_ = at + k;
        return k;
    }
    int_type underflow() override { return traits_type::eof(); }
    pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode) override {
        const std::int64_t base = dir == std::ios_base::beg   ? 0
                                  : dir == std::ios_base::end ? size_
                                                              : pos_.load();
        pos_ = base + off;
        return pos_type(base + off);
    }
    pos_type seekpos(pos_type pos, std::ios_base::openmode mode) override {
        return seekoff(pos, std::ios_base::beg, mode);
    }

private:
    std::int64_t size_;
    std::int64_t failAfter_;
    std::atomic<std::int64_t> pos_{0};  // read by a watching thread
};

}  // namespace ostradb

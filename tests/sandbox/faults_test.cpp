// The client's failure handling against the sandbox's fault switches.

#include <thread>

#include "sandbox/sandbox_fixture.hpp"

namespace ostradb::test {
namespace {

class FaultsTest : public SandboxTest {
protected:
    FaultsTest()
        : client(Connect()),
          file(DbPath(*client, kWestSiberia) + "Северное/12/ГИС 2019/12_gis_2019.ws") {}

    static sandbox::FaultSwitches For(const char* command, int times = -1) {
        sandbox::FaultSwitches faults;
        faults.command = command;
        faults.times = times;
        return faults;
    }
    std::string Listing() {
        return xml::ToText(*Call(*client, "get_log_level_files", [](pugi::xml_node c) {
                                Attrs({{"db_id", "1"}, {"include_curves", "true"}})(c);
                                c.append_child("path");
                            }).doc);
    }

    std::unique_ptr<TOstraDbProtocol> client;
    std::string file;
};

TEST_F(FaultsTest, ADropInThePayloadRaisesAndTheStreamHoldsWhatArrived) {
    const std::string bytes = ReadFile(file);
    ASSERT_GT(bytes.size(), 5000u);
    auto faults = For("get_file_contents");
    faults.dropAfterPayloadBytes = 4321;
    server->SetFaults(faults);
    std::ostringstream out;
    try {
        Call(*client, "get_file_contents", Attrs({{"file_name", file}}), nullptr, &out);
        ADD_FAILURE() << "the cut answer was taken for whole";
    } catch (const ESocketError& e) {
        EXPECT_NE(std::string(e.what()).find("4321 of " + std::to_string(bytes.size())),
                  std::string::npos)
            << e.what();
    }
    EXPECT_EQ(out.str(), bytes.substr(0, 4321));
}

TEST_F(FaultsTest, ADropInTheAnswerTextIsRecoveredByReconnectingAndLoggingIn) {
    const std::string expected = Listing();
    const std::uint64_t before = server->AcceptedConnections();
    auto once = For("get_log_level_files", 1);
    once.dropAfterAnswerBytes = 100;
    server->SetFaults(once);
    EXPECT_EQ(Listing(), expected);
    EXPECT_EQ(server->AcceptedConnections(), before + 1);

    auto always = For("get_log_level_files");
    always.dropAfterAnswerBytes = 100;
    server->SetFaults(always);
    EXPECT_THROW(Listing(), ESocketError) << "one reconnect only";
    EXPECT_EQ(server->AcceptedConnections(), before + 2);
}

TEST_F(FaultsTest, AMalformedAnswerRaisesAndTheConnectionGoesOn) {
    const std::uint64_t before = server->AcceptedConnections();
    auto faults = For("get_db_list", 1);
    faults.malformedAnswer = true;
    server->SetFaults(faults);
    EXPECT_THROW(Call(*client, "get_db_list"), EXmlError);
    EXPECT_EQ(DbId(*client, kNorthSea), 2);
    EXPECT_EQ(server->AcceptedConnections(), before);
}

TEST_F(FaultsTest, AnswersInSmallPiecesAreReassembledExactly) {
    const std::string listing = Listing();
    const std::string bytes = ReadFile(file);
    auto faults = For("");
    faults.segmentSize = 7;
    faults.segmentPause = 1ms;
    server->SetFaults(faults);
    EXPECT_EQ(Listing(), listing);
    faults.segmentSize = 1000;
    faults.segmentPause = 0ms;
    server->SetFaults(faults);
    EXPECT_EQ(GetContents(*client, file), bytes);
}

TEST_F(FaultsTest, ASlowAnswerRunsIntoTheClientsTimeOutOrIsTerminated) {
    auto faults = For("get_db_list");
    faults.answerDelay = 3s;
    server->SetFaults(faults);
    client->SetReadTimeout(200ms);
    EXPECT_THROW(Call(*client, "get_db_list"), ETimeoutError);

    client->SetReadTimeout(20s);
    std::thread terminate([&] {
        std::this_thread::sleep_for(200ms);
        client->Terminate();
    });
    EXPECT_THROW(Call(*client, "get_db_list"), TTerminatedExeption);
    terminate.join();

    server->ClearFaults();
    EXPECT_EQ(DbId(*client, kNorthSea), 2) << "the client reconnects and logs in again";
}

}  // namespace
}  // namespace ostradb::test

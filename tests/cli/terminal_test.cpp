// The client on a terminal: the password prompt without echo, the progress bar of a
// download, and Ctrl-C in the middle of one.

#include <signal.h>

#include <regex>

#include "cli/cli_support.hpp"

namespace ostradb::test {
namespace {

class TerminalTest : public CliTest {
protected:
    // Answers to downloads come in pieces with pauses, so that a transfer takes a while.
    void PaceDownloads(std::size_t segment, std::chrono::milliseconds pause) {
        sandbox::FaultSwitches faults;
        faults.command = "get_file_contents";
        faults.segmentSize = segment;
        faults.segmentPause = pause;
        server->SetFaults(faults);
    }

    const std::string smallFile = NorthSea("Eastfield/N1/Logging 2016/N1_log_2016.ws");
    const std::string largeFile =
        (dataDir / "databases/west-siberia/Северное/N105-2/ГИС 2021/N105-2_gis_2021.ws").string();
};

TEST_F(TerminalTest, PasswordIsAskedWithoutEchoAndAgainWhenWrong) {
    PtyChild child({"version"}, Env("admin", std::nullopt));
    const std::string prompt = "Password for admin@127.0.0.1: ";
    std::size_t at = child.WaitFor(prompt);
    ASSERT_NE(at, std::string::npos);
    EXPECT_FALSE(child.Echo());
    child.Type("Tr0ub4dor\n");
    // Only the line break comes back, not what was typed.
    at = child.WaitFor("\n", at);
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(child.Output().substr(at - 2, 2), "\r\n");
    EXPECT_EQ(at, child.Output().find(prompt) + prompt.size() + 2);
    at = child.WaitFor("ostradb: login refused: ", at);
    at = child.WaitFor(prompt, at);
    ASSERT_NE(at, std::string::npos);
    child.Type("admin\n");
    child.WaitFor("server  0.1.0.0", at);
    EXPECT_EQ(child.Wait(), 0) << child.Output();
    EXPECT_EQ(child.Output().find("Tr0ub4dor"), std::string::npos) << child.Output();
    EXPECT_EQ(child.Output().find("admin\r\n"), std::string::npos) << child.Output();

    EXPECT_TRUE(child.Echo());

    // Ctrl-C at the prompt: the echo comes back and the run ends as interrupted.
    PtyChild interrupted({"version"}, Env("admin", std::nullopt));
    ASSERT_NE(interrupted.WaitFor(prompt), std::string::npos);
    interrupted.Signal(SIGINT);
    EXPECT_EQ(interrupted.Wait(), 130);
    EXPECT_TRUE(interrupted.Echo());

    // End of input at the prompt: no password, no login.
    PtyChild gaveUp({"version"}, Env("admin", std::nullopt));
    ASSERT_NE(gaveUp.WaitFor(prompt), std::string::npos);
    gaveUp.Type("\x04");
    EXPECT_EQ(gaveUp.Wait(), 1);
    EXPECT_NE(gaveUp.Output().find("ostradb: logging in to 127.0.0.1:" +
                                   std::to_string(server->Port()) + ": no password given"),
              std::string::npos)
        << gaveUp.Output();
}

TEST_F(TerminalTest, DownloadDrawsAProgressBarAndSavesTheWholeFile) {
    PaceDownloads(1000, 40ms);
    const fs::path out = dir / "copy.ws";
    PtyChild child({"get", smallFile, "-o", out.string()}, Env());
    EXPECT_EQ(child.Wait(), 0) << child.Output();
    const std::string& shown = child.Output();
    // Redrawn in place while the bytes come, then the final state on its own line.
    std::smatch partial;
    EXPECT_TRUE(std::regex_search(
        shown, partial,
        std::regex(
            "\r\x1b\\[KN1_log_2016\\.ws  \\[#*-+\\]  +[0-9]{1,2}%  [0-9.]+ K?i?B / 8\\.8 KiB")))
        << shown;
    EXPECT_TRUE(std::regex_search(
        shown,
        std::regex("\\[#+\\]  100%  8\\.8 KiB / 8\\.8 KiB  [0-9.]+ [KM]iB/s  in 0:0[0-9]\r\n")))
        << shown;
    EXPECT_NE(shown.find("9000 bytes written to " + out.string()), std::string::npos);
    EXPECT_EQ(ReadFile(out), ReadFile(smallFile));
}

TEST_F(TerminalTest, InterruptedDownloadKeepsTheFileThatWasThere) {
    // Long enough that the interrupt surely comes in the middle: about 15 s unpaced.
    PaceDownloads(8192, 100ms);
    const fs::path downloads = dir / "downloads";
    fs::create_directories(downloads);
    WriteFile(downloads / "big.ws", "old bytes");
    PtyChild child({"get", largeFile, "-o", (downloads / "big.ws").string()}, Env());
    // The bar shows once the first bytes are in: the temporary file exists by then.
    ASSERT_NE(child.WaitFor("%"), std::string::npos);
    EXPECT_EQ(ListDir(downloads).size(), 2u);
    child.Signal(SIGINT);
    EXPECT_EQ(child.Wait(5s), 130) << child.Output();
    EXPECT_NE(child.Output().find("ostradb: interrupted"), std::string::npos) << child.Output();
    EXPECT_EQ(ListDir(downloads), std::vector<std::string>{"big.ws"});
    EXPECT_EQ(ReadFile(downloads / "big.ws"), "old bytes");
}

}  // namespace
}  // namespace ostradb::test

#pragma once

// Runs the built ostradb program as a child process against a sandbox server in the test's
// process: each test gets a fresh copy of the sample data, a server on a free loopback port
// and a home directory of its own, so that no stored settings leak in. Every child has a
// deadline; one that overruns it is killed and the test fails.

#include <gtest/gtest.h>
#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "ostradb_sandbox/sandbox_server.hpp"
#include "support/files.hpp"

namespace ostradb::test {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Environment = std::map<std::string, std::string>;

struct CliResult {
    int status = -1;  // the exit status, or 128 + the signal that ended the child
    std::string out;
    std::string err;
};

// Runs ostradb with args, the environment env (nothing else) and input on standard input;
// standard output and error are pipes.
CliResult RunCli(const std::vector<std::string>& args, const Environment& env,
                 const std::string& input = {}, std::chrono::milliseconds timeout = 20s);
// As RunCli, another program: argv[0] is its path.
CliResult RunProgram(const std::vector<std::string>& argv, const Environment& env,
                     const std::string& input = {}, std::chrono::milliseconds timeout = 20s);

// ostradb on a pseudo-terminal: standard input, output and error are all the terminal.
class PtyChild {
public:
    PtyChild(const std::vector<std::string>& args, const Environment& env);
    ~PtyChild();
    PtyChild(const PtyChild&) = delete;
    PtyChild& operator=(const PtyChild&) = delete;

    // Reads until text has appeared in the output after position from; returns the position
    // just past it, or npos (and a test failure) at the deadline or the end of the output.
    std::size_t WaitFor(const std::string& text, std::size_t from = 0,
                        std::chrono::milliseconds timeout = 10s);
    void Type(const std::string& text);
    void Signal(int signal);
    // Reads what is left and waits for the end; the exit status as CliResult::status.
    int Wait(std::chrono::milliseconds timeout = 10s);
    // Whether the terminal echoes what is typed now.
    bool Echo() const;
    // Everything the terminal showed so far.
    const std::string& Output() const { return output_; }

private:
    // Reads what arrives within timeout; false at the end of the output.
    bool ReadSome(std::chrono::milliseconds timeout);

    pid_t pid_ = -1;
    int master_ = -1;
    bool ended_ = false;
    std::string output_;
};

// A loopback port that accepts connections and never answers them.
class SilentListener {
public:
    SilentListener();
    ~SilentListener();
    SilentListener(const SilentListener&) = delete;
    SilentListener& operator=(const SilentListener&) = delete;
    std::uint16_t Port() const { return port_; }

private:
    int fd_ = -1;
    std::uint16_t port_ = 0;
};

// The lines of text, without their line breaks.
std::vector<std::string> Lines(const std::string& text);

class CliTest : public ::testing::Test {
protected:
    CliTest();

    // The environment of a client logged in as user; no password: none in the environment.
    Environment Env(const std::string& user = "admin",
                    const std::optional<std::string>& password = "admin") const;
    CliResult Run(const std::vector<std::string>& args, const std::string& input = {}) const;
    CliResult RunAs(const std::string& user, const std::vector<std::string>& args) const;
    // Runs args with --json as admin; the command must succeed and print one document.
    nlohmann::json Json(std::vector<std::string> args) const;

    // The server's name of a file of the North Sea database ("Eastfield/N1/...").
    std::string NorthSea(const std::string& relative) const;

    const TempDir dir{"ostradb-cli-test"};
    const fs::path dataDir = dir / "data";  // the server's data
    const fs::path home = dir / "home";     // HOME and the client's configuration directory
    std::unique_ptr<sandbox::SandboxServer> server;
};

}  // namespace ostradb::test

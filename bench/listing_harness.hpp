#pragma once

// Level-file listings shaped like the sandbox's answers; a loopback server that sends them,
// with enough of the protocol for a client that logs in, looks a database up by name and
// lists its files or searches it (the command-line client); and the child processes that
// measure a listing in a process of its own.

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace ostradb::bench {

inline constexpr std::string_view kHead =
    "<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n<packet><answer>\n";
inline constexpr std::string_view kTail = "</answer></packet>\r\n";
// The one database the server has, its levels %field, %area, %well and %survey.
inline constexpr const char* kDatabase = "Западная Сибирь";

// Files [from, to) of a listing in Windows-1251: each with its attributes, two params with
// Cyrillic keys and values, a 4-level path and, with tables, one table of 3 curves with
// their plansheets.
std::string FilesBytes(int from, int to, bool tables = true);

// A socket listening on a free port of 127.0.0.1, which it puts into port; aborts when there
// is none.
int ListenOnLoopback(int& port);
// Sends all of bytes; false when the peer has gone.
bool SendAll(int fd, std::string_view bytes);

// A loopback server answering every connection, one request after another. A level-file
// listing has files files (with tables when the request asks for them): whole, when given,
// else made as it is sent, so that the server holds little; a search finds the same number
// of file names; any file's contents are payload bytes.
class ListingServer {
public:
    explicit ListingServer(int files, std::string_view whole = {}, std::int64_t payload = 0);
    ~ListingServer();
    ListingServer(const ListingServer&) = delete;
    ListingServer& operator=(const ListingServer&) = delete;

    int Port() const { return port_; }
    // The size of the last listing or search answer.
    std::size_t AnswerBytes() const { return answerBytes_; }

private:
    void Serve();
    bool Answer(int fd, const std::string& request);

    int files_;
    std::string_view whole_;
    std::int64_t payload_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<std::size_t> answerBytes_{0};
    std::thread thread_;
};

// A child process's run: whether it ended with status 0, the start of what it printed (up to
// 64 KiB), its lines, and the milliseconds from its start until its first lines had arrived
// and until it ended.
struct ChildRun {
    bool ok = false;
    std::string out;
    std::size_t lines = 0;
    double firstLinesMs = 0;
    double endMs = 0;
};

// Runs argv with the environment env (name=value), standard output into a pipe, standard
// error to the benchmark's; firstLines: how many lines firstLinesMs waits for.
ChildRun RunChild(const std::vector<std::string>& argv, const std::vector<std::string>& env,
                  std::size_t firstLines = 1);
// This process's environment, to run a child in.
std::vector<std::string> Environment();

// What a listing process (bench/listing_client) reported: best milliseconds, peak resident
// KiB, heap held by the list in bytes, files.
using Report = std::array<double, 4>;
bool RunListing(int port, const char* mode, int runs, Report& out);

}  // namespace ostradb::bench

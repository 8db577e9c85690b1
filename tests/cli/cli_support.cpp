#include "cli/cli_support.hpp"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <thread>

namespace ostradb::test {

namespace {

using Clock = std::chrono::steady_clock;

// argv or envp for exec: the strings stay owned by the vector they come from.
class CStrings {
public:
    explicit CStrings(const std::vector<std::string>& items) : items_(items) {
        for (std::string& item : items_)
            pointers_.push_back(item.data());
        pointers_.push_back(nullptr);
    }
    char* const* Get() { return pointers_.data(); }

private:
    std::vector<std::string> items_;
    std::vector<char*> pointers_;
};

std::vector<std::string> Argv(const std::vector<std::string>& args) {
    std::vector<std::string> argv{OSTRADB_CLI_PATH};
    argv.insert(argv.end(), args.begin(), args.end());
    return argv;
}

// The given environment, plus the sanitizers' settings of a sanitizer build.
std::vector<std::string> Envp(const Environment& env) {
    std::vector<std::string> envp;
    for (const auto& [name, value] : env)
        envp.push_back(name + "=" + value);
    for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"})
        if (const char* value = std::getenv(name)) envp.push_back(std::string(name) + "=" + value);
    return envp;
}

int MillisLeft(Clock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

int StatusOf(int raw) {
    if (WIFEXITED(raw)) return WEXITSTATUS(raw);
    if (WIFSIGNALED(raw)) return 128 + WTERMSIG(raw);
    return -1;
}

}  // namespace

CliResult RunCli(const std::vector<std::string>& args, const Environment& env,
                 const std::string& input, std::chrono::milliseconds timeout) {
    return RunProgram(Argv(args), env, input, timeout);
}

CliResult RunProgram(const std::vector<std::string>& args, const Environment& env,
                     const std::string& input, std::chrono::milliseconds timeout) {
    int in[2], out[2], err[2];
    if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe2 failed");
    // The input fits the pipe: written whole before the child starts, then closed.
    if (input.size() > 60000 ||
        ::write(in[1], input.data(), input.size()) != static_cast<ssize_t>(input.size()))
        throw std::runtime_error("the input does not fit the pipe");
    ::close(in[1]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
    CStrings argv(args);
    CStrings envp(Envp(env));
    pid_t pid = -1;
    const int spawned =
        ::posix_spawn(&pid, args.at(0).c_str(), &actions, nullptr, argv.Get(), envp.Get());
    posix_spawn_file_actions_destroy(&actions);
    for (const int fd : {in[0], out[1], err[1]})
        ::close(fd);
    if (spawned != 0) throw std::runtime_error("cannot start " + args.at(0));

    CliResult result;
    pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
    std::string* sinks[2] = {&result.out, &result.err};
    const auto deadline = Clock::now() + timeout;
    bool killed = false;
    while (fds[0].fd >= 0 || fds[1].fd >= 0) {
        if (!killed && Clock::now() >= deadline) {
            ::kill(pid, SIGKILL);
            killed = true;
            ADD_FAILURE() << args.at(0) << " did not finish in time; stderr so far: " << result.err;
        }
        if (::poll(fds, 2, killed ? 1000 : std::max(MillisLeft(deadline), 1)) < 0 && errno != EINTR)
            break;
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
            char buffer[65536];
            const ssize_t n = ::read(fds[i].fd, buffer, sizeof buffer);
            if (n > 0) {
                sinks[i]->append(buffer, static_cast<std::size_t>(n));
            } else if (n == 0 || errno != EINTR) {
                ::close(fds[i].fd);
                fds[i].fd = -1;
            }
        }
    }
    int raw = 0;
    ::waitpid(pid, &raw, 0);
    result.status = StatusOf(raw);
    return result;
}

// ---- PtyChild

PtyChild::PtyChild(const std::vector<std::string>& args, const Environment& env) {
    CStrings argv(Argv(args));
    CStrings envp(Envp(env));
    // Wide enough for the whole progress bar.
    winsize size{};
    size.ws_row = 40;
    size.ws_col = 120;
    pid_ = ::forkpty(&master_, nullptr, nullptr, &size);
    if (pid_ < 0) throw std::runtime_error("forkpty failed");
    if (pid_ == 0) {
        ::execve(OSTRADB_CLI_PATH, argv.Get(), envp.Get());
        ::_exit(127);
    }
    ::fcntl(master_, F_SETFD, FD_CLOEXEC);
}

PtyChild::~PtyChild() {
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    if (master_ >= 0) ::close(master_);
}

bool PtyChild::ReadSome(std::chrono::milliseconds timeout) {
    if (ended_) return false;
    pollfd p{master_, POLLIN, 0};
    if (::poll(&p, 1, static_cast<int>(timeout.count())) <= 0) return true;
    char buffer[4096];
    const ssize_t n = ::read(master_, buffer, sizeof buffer);
    if (n > 0) {
        output_.append(buffer, static_cast<std::size_t>(n));
        return true;
    }
    // The terminal answers EIO once the child and everything it started have closed it.
    if (n < 0 && errno == EINTR) return true;
    ended_ = true;
    return false;
}

std::size_t PtyChild::WaitFor(const std::string& text, std::size_t from,
                              std::chrono::milliseconds timeout) {
    const auto deadline = Clock::now() + timeout;
    for (;;) {
        const std::size_t at = output_.find(text, std::min(from, output_.size()));
        if (at != std::string::npos) return at + text.size();
        if (Clock::now() >= deadline ||
            !ReadSome(std::chrono::milliseconds(MillisLeft(deadline)))) {
            ADD_FAILURE() << "the terminal never showed \"" << text << "\"; it showed:\n"
                          << output_;
            return std::string::npos;
        }
    }
}

void PtyChild::Type(const std::string& text) {
    ASSERT_EQ(::write(master_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void PtyChild::Signal(int signal) {
    ::kill(pid_, signal);
}

bool PtyChild::Echo() const {
    termios settings{};
    return ::tcgetattr(master_, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
}

int PtyChild::Wait(std::chrono::milliseconds timeout) {
    const auto deadline = Clock::now() + timeout;
    while (Clock::now() < deadline && ReadSome(std::chrono::milliseconds(MillisLeft(deadline)))) {
    }
    // The terminal closes a moment before the child can be reaped.
    int raw = 0;
    pid_t done = 0;
    while ((done = ::waitpid(pid_, &raw, WNOHANG)) == 0 && Clock::now() < deadline)
        std::this_thread::sleep_for(5ms);
    if (done == 0) {
        ADD_FAILURE() << "ostradb did not finish in time on the terminal; it showed:\n" << output_;
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, &raw, 0);
    }
    pid_ = -1;
    return StatusOf(raw);
}

SilentListener::SilentListener() : fd_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof addr;
    if (::bind(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
        ::listen(fd_, 8) != 0 ||
        ::getsockname(fd_, reinterpret_cast<sockaddr*>(&addr), &length) != 0)
        throw std::runtime_error("cannot listen on a loopback port");
    port_ = ntohs(addr.sin_port);
}

SilentListener::~SilentListener() {
    ::close(fd_);
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

// ---- CliTest

CliTest::CliTest() {
    fs::create_directories(home);
    sandbox::SandboxOptions options;
    options.dataDir = dataDir;
    server = std::make_unique<sandbox::SandboxServer>(options);
    server->Start();
}

Environment CliTest::Env(const std::string& user,
                         const std::optional<std::string>& password) const {
    Environment env{{"OSTRADB_HOST", "127.0.0.1"},
                    {"OSTRADB_PORT", std::to_string(server->Port())},
                    {"OSTRADB_USER", user},
                    {"HOME", home.string()},
                    {"XDG_CONFIG_HOME", home.string()},
                    {"OSTRADB_CONFIG_DIR", home.string()},
                    {"LANG", "C.UTF-8"}};
    if (password) env["OSTRADB_PASSWORD"] = *password;
    return env;
}

CliResult CliTest::Run(const std::vector<std::string>& args, const std::string& input) const {
    return RunCli(args, Env(), input);
}

CliResult CliTest::RunAs(const std::string& user, const std::vector<std::string>& args) const {
    return RunCli(args, Env(user, user));
}

nlohmann::json CliTest::Json(std::vector<std::string> args) const {
    args.push_back("--json");
    const CliResult result = Run(args);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    try {
        return nlohmann::json::parse(result.out);
    } catch (const nlohmann::json::exception& e) {
        ADD_FAILURE() << "not one JSON document (" << e.what() << "):\n" << result.out;
        return {};
    }
}

std::string CliTest::NorthSea(const std::string& relative) const {
    return (dataDir / "databases/north-sea-demo" / relative).string();
}

}  // namespace ostradb::test

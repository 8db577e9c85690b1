#pragma once

// Ctrl-C and SIGTERM. The signals are blocked in every thread and taken by one watching
// thread, which may call what a signal handler may not: it aborts the running request with
// Client::terminate (which takes a lock) and lets the main thread end the command,
// removing what it wrote half-way. When the main thread does not finish soon (it waits for
// a connect, or the user presses Ctrl-C twice), the watcher removes the registered files and
// ends the process itself. Either way the exit status is 130.

#include <termios.h>

#include <atomic>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <mutex>
#include <set>
#include <thread>

namespace ostradb {
class Client;
}

namespace ostradb::cli {

inline constexpr int kExitInterrupted = 130;

// Thrown on the main thread when it notices an interrupt between requests.
class InterruptedError : public std::exception {
public:
    const char* what() const noexcept override { return "interrupted"; }
};

class InterruptWatcher {
public:
    ~InterruptWatcher();

    // Blocks SIGINT and SIGTERM in the calling thread, and so in every thread it starts
    // later, and starts watching. Call first thing in main.
    void Start();
    // Ends the watching thread. Idempotent.
    void Stop();

    bool Interrupted() const { return interrupted_; }
    // Raises InterruptedError once an interrupt has come.
    void ThrowIfInterrupted() const;

    // The client whose running request an interrupt aborts; null when none.
    void SetClient(Client* client);
    // While a hidden prompt waits: the terminal settings to put back before ending.
    void SetTerminalToRestore(const termios& settings);
    void ClearTerminalToRestore();
    // Files and directories removed when the watcher itself has to end the process.
    void RemoveOnExit(const std::filesystem::path& path);
    void ForgetOnExit(const std::filesystem::path& path);

private:
    void Run();
    void OnInterrupt();
    [[noreturn]] void ExitNow();

    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable stopped_;
    bool stopping_ = false;
    std::atomic<bool> interrupted_{false};
    Client* client_ = nullptr;
    bool restoreTerminal_ = false;
    termios terminal_{};
    std::set<std::filesystem::path> removeOnExit_;
};

// The process's watcher.
InterruptWatcher& Interrupts();

}  // namespace ostradb::cli

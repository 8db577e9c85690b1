#include "interrupt.hpp"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>

#include "ostradb/client/client.hpp"

namespace ostradb::cli {

namespace {

using namespace std::chrono_literals;

// How long the main thread has to end a command after an interrupt.
constexpr auto kGrace = 3s;

// SIGUSR1 only wakes the watcher when it is to stop.
sigset_t WatchedSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGUSR1);
    return set;
}

void WriteStderr(const char* text, std::size_t size) {
    while (size > 0) {
        const ssize_t n = ::write(STDERR_FILENO, text, size);
        if (n <= 0) return;
        text += n;
        size -= static_cast<std::size_t>(n);
    }
}

}  // namespace

InterruptWatcher& Interrupts() {
    static InterruptWatcher watcher;
    return watcher;
}

InterruptWatcher::~InterruptWatcher() {
    Stop();
}

void InterruptWatcher::Start() {
    const sigset_t set = WatchedSignals();
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    thread_ = std::thread([this] { Run(); });
}

void InterruptWatcher::Stop() {
    if (!thread_.joinable()) return;
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    stopped_.notify_all();
    ::pthread_kill(thread_.native_handle(), SIGUSR1);
    thread_.join();
}

void InterruptWatcher::ThrowIfInterrupted() const {
    if (interrupted_) throw InterruptedError();
}

void InterruptWatcher::SetClient(Client* client) {
    std::lock_guard lock(mutex_);
    client_ = client;
}

void InterruptWatcher::SetTerminalToRestore(const termios& settings) {
    std::lock_guard lock(mutex_);
    terminal_ = settings;
    restoreTerminal_ = true;
}

void InterruptWatcher::ClearTerminalToRestore() {
    std::lock_guard lock(mutex_);
    restoreTerminal_ = false;
}

void InterruptWatcher::RemoveOnExit(const std::filesystem::path& path) {
    std::lock_guard lock(mutex_);
    removeOnExit_.insert(path);
}

void InterruptWatcher::ForgetOnExit(const std::filesystem::path& path) {
    std::lock_guard lock(mutex_);
    removeOnExit_.erase(path);
}

void InterruptWatcher::Run() {
    const sigset_t set = WatchedSignals();
    for (;;) {
        int signal = 0;
        if (::sigwait(&set, &signal) != 0) continue;
        if (signal == SIGUSR1) {
            std::lock_guard lock(mutex_);
            if (stopping_) return;
            continue;
        }
        OnInterrupt();
    }
}

void InterruptWatcher::OnInterrupt() {
    std::unique_lock lock(mutex_);
    if (stopping_) return;
    if (interrupted_.exchange(true)) ExitNow();
    if (restoreTerminal_) {
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &terminal_);
        WriteStderr("\n", 1);
        ExitNow();
    }
    if (client_) client_->terminate();
    if (!stopped_.wait_for(lock, kGrace, [&] { return stopping_; })) ExitNow();
}

void InterruptWatcher::ExitNow() {
    for (const std::filesystem::path& path : removeOnExit_) {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    constexpr char kMessage[] = "ostradb: interrupted\n";
    WriteStderr(kMessage, sizeof kMessage - 1);
    ::_exit(kExitInterrupted);
}

}  // namespace ostradb::cli

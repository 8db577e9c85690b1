#include "call.hpp"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

#include "ostradb/protocol/errors.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"

namespace ostradb::python {

namespace {

using namespace std::chrono_literals;

// ---- Busy clients ---------------------------------------------------------------------------

struct Holder {
    std::thread::id thread;
    int depth = 0;
};

std::mutex busyMutex;
std::unordered_map<const TOstraDbProtocol*, Holder> busyClients;

// ---- Ctrl-C ---------------------------------------------------------------------------------
//
// Python runs its signal handlers on the main thread between bytecodes, which never happens
// while a request blocks in C++ without the GIL. So for the duration of a call on the main
// thread SIGINT gets a handler of ours, which only notes the signal and writes a byte to a
// pipe; a watching thread reads it and calls Terminate (which takes a lock, so a signal handler
// may not call it) until the call ends. Afterwards the previous handler is back and the
// interrupt is handed to Python as if the signal had just come.

std::atomic<unsigned long> mainThread{0};
std::atomic<bool> interrupted{false};
std::atomic<int> wakeFd{-1};

void OnSigint(int) {
    const int saved = errno;
    interrupted.store(true);
    const char byte = 1;
    [[maybe_unused]] const ssize_t n = ::write(wakeFd.load(), &byte, 1);
    errno = saved;
}

class InterruptWatch {
public:
    // Starts watching for a call on client; false when this is not the main thread or SIGINT
    // is not Python's to handle (ignored, or left to end the process).
    bool Begin(TOstraDbProtocol& client) {
        if (PyThread_get_thread_ident() != mainThread.load()) return false;
        const bool outermost = targets_.empty();
        if (outermost) {
            struct sigaction current {};
            if (::sigaction(SIGINT, nullptr, &current) != 0) return false;
            if (!(current.sa_flags & SA_SIGINFO) &&
                (current.sa_handler == SIG_IGN || current.sa_handler == SIG_DFL))
                return false;
            if (!StartThread()) return false;
        }
        // The target first, so that a signal coming right after the handler finds it.
        {
            std::lock_guard lock(mutex_);
            if (outermost) ++epoch_;
            targets_.push_back(&client);
        }
        if (outermost) {
            interrupted.store(false);
            struct sigaction ours {};
            ours.sa_handler = OnSigint;
            sigemptyset(&ours.sa_mask);
            ours.sa_flags = SA_RESTART;
            if (::sigaction(SIGINT, &ours, &previous_) != 0) {
                std::lock_guard lock(mutex_);
                targets_.pop_back();
                return false;
            }
        }
        return true;
    }

    // Ends watching for the innermost call; returns whether SIGINT came during the outermost.
    bool End() {
        const bool outermost = targets_.size() == 1;
        if (outermost) ::sigaction(SIGINT, &previous_, nullptr);
        {
            std::lock_guard lock(mutex_);
            targets_.pop_back();
        }
        ended_.notify_all();
        return outermost && interrupted.exchange(false);
    }

private:
    // The watching thread, started once per process (again in a forked child, which has the
    // pipe but not the thread).
    bool StartThread() {
        if (pid_ == ::getpid()) return true;
        int fds[2];
        if (::pipe2(fds, O_CLOEXEC) != 0) return false;
        ::fcntl(fds[1], F_SETFL, O_NONBLOCK);  // a full pipe loses a byte, not the handler
        std::thread([this, fd = fds[0]] { Watch(fd); }).detach();
        wakeFd.store(fds[1]);
        pid_ = ::getpid();
        return true;
    }

    void Watch(int fd) {
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
        for (;;) {
            char bytes[64];
            const ssize_t n = ::read(fd, bytes, sizeof bytes);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return;
            std::unique_lock lock(mutex_);
            // A byte left from a call that has already ended finds the flag cleared.
            if (!interrupted.load()) continue;
            // Terminate until the call ends: a command that sends several requests, or a
            // request that had not connected yet, would otherwise go on after the first.
            const std::uint64_t epoch = epoch_;
            while (!targets_.empty() && epoch_ == epoch) {
                for (TOstraDbProtocol* client : targets_)
                    client->Terminate();
                ended_.wait_for(lock, 50ms);
            }
        }
    }

    std::mutex mutex_;
    std::condition_variable ended_;
    std::vector<TOstraDbProtocol*> targets_;  // innermost last; only the main thread changes it
    std::uint64_t epoch_ = 0;
    struct sigaction previous_ {};
    pid_t pid_ = 0;
};

InterruptWatch& Interrupts() {
    static auto* watch = new InterruptWatch;  // outlives the interpreter: its thread may run on
    return *watch;
}

thread_local CallScope* currentScope = nullptr;

}  // namespace

void SetMainThread(unsigned long pythonThreadId) {
    mainThread.store(pythonThreadId);
}

BusyGuard::BusyGuard(const TOstraDbProtocol& client) : client_(client) {
    std::lock_guard lock(busyMutex);
    auto [it, added] = busyClients.try_emplace(&client, Holder{std::this_thread::get_id(), 0});
    if (!added && it->second.thread != std::this_thread::get_id())
        throw TOstraClientSocketException(ecProtocolBusy,
                                          "Protocol is busy: another thread is using this client");
    ++it->second.depth;
}

BusyGuard::~BusyGuard() {
    std::lock_guard lock(busyMutex);
    const auto it = busyClients.find(&client_);
    if (--it->second.depth == 0) busyClients.erase(it);
}

CallScope::CallScope(TOstraDbProtocol& client)
    : busy_(client), client_(client), outer_(currentScope) {
    watching_ = Interrupts().Begin(client);
    currentScope = this;
}

CallScope::~CallScope() {
    // Left without Finish (a conversion failed): the interrupt is raised at Python's next check.
    if (watching_ && Interrupts().End()) PyErr_SetInterrupt();
    currentScope = outer_;
}

void CallScope::Finish() {
    if (watching_) {
        watching_ = false;
        if (Interrupts().End()) {
            // As if the signal came now: Python's handler (or the program's own) runs here.
            PyErr_SetInterrupt();
            if (PyErr_CheckSignals() != 0) throw py::error_already_set();
        }
    }
    if (error_) {
        py::error_already_set error = std::move(*error_);
        error_.reset();
        throw error;
    }
}

void CallScope::Fail(py::error_already_set& error) {
    CallScope* scope = currentScope;
    if (!scope) {
        error.discard_as_unraisable("an ostradb callback");
        return;
    }
    if (!scope->error_) scope->error_.emplace(std::move(error));
    scope->client_.Terminate();
}

}  // namespace ostradb::python

#pragma once

// How a Python call reaches a client object: one thread at a time per client, without the GIL
// while the client waits for the network, and with Ctrl-C aborting the request.

#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

#include <pybind11/pybind11.h>

namespace ostradb {
class TOstraDbProtocol;
}

namespace ostradb::python {

namespace py = pybind11;

// Marks a client as used by the calling thread. The library's own busy flag is a plain bool
// that a second thread would race on: a call from another thread while one runs raises
// TOstraClientSocketException code 40 here instead, before it touches the client. The thread
// that holds the client may enter again (a callback of its request starting another call),
// and the library decides then.
class BusyGuard {
public:
    explicit BusyGuard(const TOstraDbProtocol& client);
    ~BusyGuard();
    BusyGuard(const BusyGuard&) = delete;
    BusyGuard& operator=(const BusyGuard&) = delete;

private:
    const TOstraDbProtocol& client_;
};

// One call into a client that may wait for the network. While it lasts: the client is held
// (BusyGuard); on the main thread, SIGINT aborts the request through
// TOstraDbProtocol::Terminate; a Python error raised by a callback or a file object that the
// request uses aborts the request and is raised in place of what the request ended with.
class CallScope {
public:
    explicit CallScope(TOstraDbProtocol& client);
    ~CallScope();
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;

    // Runs f without the GIL; then raises, in this order: what the program's SIGINT handler
    // raises (KeyboardInterrupt by default) when SIGINT came, the Python error a callback
    // recorded, what f raised; else returns f's result.
    template <class F>
    auto Run(F&& f) -> decltype(f());

    // Records the Python error being handled on this thread (by a callback or a file object)
    // and aborts the running request; the first error recorded wins. Outside a call the error
    // is reported as unraisable. GIL held.
    static void Fail(py::error_already_set& error);

private:
    void Finish();

    BusyGuard busy_;
    TOstraDbProtocol& client_;
    CallScope* outer_;
    bool watching_ = false;
    std::optional<py::error_already_set> error_;
};

// Remembers the interpreter's main thread: only there does Python run signal handlers.
void SetMainThread(unsigned long pythonThreadId);

template <class F>
auto CallScope::Run(F&& f) -> decltype(f()) {
    using R = decltype(f());
    std::exception_ptr failure;
    if constexpr (std::is_void_v<R>) {
        try {
            py::gil_scoped_release nogil;
            f();
        } catch (...) {
            failure = std::current_exception();
        }
        Finish();
        if (failure) std::rethrow_exception(failure);
    } else {
        std::optional<std::remove_cvref_t<R>> result;
        try {
            py::gil_scoped_release nogil;
            result.emplace(f());
        } catch (...) {
            failure = std::current_exception();
        }
        Finish();
        if (failure) std::rethrow_exception(failure);
        return std::move(*result);
    }
}

}  // namespace ostradb::python

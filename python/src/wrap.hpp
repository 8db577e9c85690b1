#pragma once

// The Python form of a TOstraDbProtocol method, made from the member function pointer:
//   Net<&TOstraDbProtocol::RequestFiles>::Call    a command: it may wait for the network
//   Local<&TOstraDbProtocol::GetHost>::Call       a quick call on the client's state
// Both hold the client against other threads (BusyGuard); Net also runs the call without the
// GIL and lets Ctrl-C abort it (CallScope). Parameters change their type as casters.hpp says;
// the plain out-values a method returns through references (numbers, strings) need a
// hand-written binding and are refused here at compile time.

#include <istream>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>

#include "call.hpp"
#include "casters.hpp"

namespace ostradb::python {

// How one C++ parameter type A is taken from Python (type) and handed on (Pass).
template <class A>
struct Arg {
    using type = A;
    static decltype(auto) Pass(type& a) {
        if constexpr (std::is_lvalue_reference_v<A>)
            return static_cast<A>(a);
        else
            return static_cast<A&&>(a);
    }
};
template <class T>
struct Arg<const T&> {
    using type = const T&;
    static const T& Pass(const T& a) { return a; }
};
template <class T>
struct Arg<T&> {
    static_assert(std::is_class_v<T> && !std::is_same_v<T, std::string>,
                  "a plain out-value needs a hand-written binding that returns it");
    using type = Out<T>;
    static T& Pass(type& a) { return *a.object; }
};
template <>
struct Arg<std::ostream*> {
    using type = OutStreamArg<true>&;
    static std::ostream* Pass(type a) { return a.stream.get(); }
};
template <>
struct Arg<std::ostream&> {
    using type = OutStreamArg<false>&;
    static std::ostream& Pass(type a) { return *a.stream; }
};
template <>
struct Arg<std::istream*> {
    using type = InStreamArg<true>&;
    static std::istream* Pass(type a) { return a.stream.get(); }
};
template <>
struct Arg<std::istream&> {
    using type = InStreamArg<false>&;
    static std::istream& Pass(type a) { return *a.stream; }
};
template <>
struct Arg<TInfoPacketEvent> {
    using type = InfoHandlerArg;
    static TInfoPacketEvent Pass(type& a) { return std::move(a.handler); }
};

// Strings come back as values, never as references into the client.
template <class R>
using Returned = std::conditional_t<std::is_reference_v<R>, std::remove_cvref_t<R>, R>;

template <auto M, class R, class... A>
struct NetCall {
    static Returned<R> Call(TOstraDbProtocol& self, typename Arg<A>::type... args) {
        CallScope scope(self);
        return scope.Run([&]() -> Returned<R> { return (self.*M)(Arg<A>::Pass(args)...); });
    }
};

template <auto M, class R, class... A>
struct LocalCall {
    static Returned<R> Call(TOstraDbProtocol& self, typename Arg<A>::type... args) {
        BusyGuard busy(self);
        return (self.*M)(Arg<A>::Pass(args)...);
    }
};

template <auto M>
struct Net;
template <class R, class... A, R (TOstraDbProtocol::*M)(A...)>
struct Net<M> : NetCall<M, R, A...> {};

template <auto M>
struct Local;
template <class R, class... A, R (TOstraDbProtocol::*M)(A...)>
struct Local<M> : LocalCall<M, R, A...> {};
template <class R, class... A, R (TOstraDbProtocol::*M)(A...) const>
struct Local<M> : LocalCall<M, R, A...> {};

// A hand-written command (one that returns plain out-values): f runs as Net runs a method.
template <class F>
auto Command(TOstraDbProtocol& client, F&& f) -> decltype(f()) {
    CallScope scope(client);
    return scope.Run(std::forward<F>(f));
}

#define OSTRADB_NET(name, ...) \
    def(#name, &::ostradb::python::Net<&TOstraDbProtocol::name>::Call __VA_OPT__(, ) __VA_ARGS__)
#define OSTRADB_LOCAL(name, ...) \
    def(#name, &::ostradb::python::Local<&TOstraDbProtocol::name>::Call __VA_OPT__(, ) __VA_ARGS__)

}  // namespace ostradb::python

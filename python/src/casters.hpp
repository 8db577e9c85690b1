#pragma once

// How the client's parameter types cross to Python:
//  - a set of enumeration values (TReqFilesFlags ...) is a Python set of the enumeration's
//    members; it is taken from any iterable of members (or their ordinals) or a bit mask;
//  - an object the client fills (a non-const reference to a class) is passed by the caller as
//    an object of exactly that class (Out<T>): no conversion, which would fill a temporary;
//  - payload streams are binary file objects, bytearrays or buffers (streams.hpp);
//  - handlers of info packets are Python callables.

#include <climits>
#include <cstdint>
#include <functional>
#include <istream>
#include <memory>
#include <ostream>
#include <string>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/util/set.hpp"
#include "streams.hpp"

namespace ostradb::python {

namespace py = pybind11;

// An object that a command fills, taken as it is.
template <class T>
struct Out {
    T* object = nullptr;
};

// A payload destination (std::ostream* when Nullable: None drops the payload).
template <bool Nullable>
struct OutStreamArg {
    std::unique_ptr<std::ostream> stream;
};
// A payload source (std::istream* when Nullable: None sends no payload).
template <bool Nullable>
struct InStreamArg {
    std::unique_ptr<std::istream> stream;
};

// A handler of info packets: a callable taking a dict of the packet's attributes, or None.
struct InfoHandlerArg {
    TInfoPacketEvent handler;
};

// The handler that calls fn with the attributes of each info packet (callbacks.cpp).
TInfoPacketEvent MakeInfoHandler(py::object fn);
// The Python callable behind a handler made by MakeInfoHandler, or None.
py::object InfoHandlerCallable(const TInfoPacketEvent& handler);

}  // namespace ostradb::python

namespace pybind11::detail {

template <class E>
struct type_caster<ostradb::Set<E>> {
    PYBIND11_TYPE_CASTER(ostradb::Set<E>,
                         const_name("set[") + make_caster<E>::name + const_name("]"));

    bool load(handle src, bool) {
        if (PyLong_Check(src.ptr()) && !PyBool_Check(src.ptr())) {
            const long long mask = PyLong_AsLongLong(src.ptr());
            if (mask == -1 && PyErr_Occurred()) {
                PyErr_Clear();
                return false;
            }
            if (mask < 0 || mask > 0xFFFFFFFFLL)
                throw value_error("a set mask is between 0 and 0xFFFFFFFF, not " +
                                  std::to_string(mask));
            value = ostradb::Set<E>::FromMask(static_cast<std::uint32_t>(mask));
            return true;
        }
        if (PyUnicode_Check(src.ptr()) || PyBytes_Check(src.ptr()) || !hasattr(src, "__iter__"))
            return false;
        ostradb::Set<E> result;
        for (handle item : reinterpret_borrow<iterable>(src)) {
            make_caster<E> member;
            if (member.load(item, false)) {
                result.Include(cast_op<E>(member));
            } else if (PyLong_Check(item.ptr()) && !PyBool_Check(item.ptr())) {
                const long ordinal = PyLong_AsLong(item.ptr());
                if (ordinal < 0 || ordinal > 31)
                    throw value_error("a set holds ordinals from 0 to 31, not " +
                                      std::string(str(item)));
                result.Include(static_cast<E>(ordinal));
            } else {
                return false;
            }
        }
        value = result;
        return true;
    }

    static handle cast(ostradb::Set<E> src, return_value_policy, handle) {
        set out;
        for (unsigned i = 0; i < 32; ++i)
            if (src.Mask() & (std::uint32_t{1} << i)) out.add(pybind11::cast(static_cast<E>(i)));
        return out.release();
    }
};

template <class T>
struct type_caster<ostradb::python::Out<T>> {
    PYBIND11_TYPE_CASTER(ostradb::python::Out<T>, make_caster<T>::name);

    bool load(handle src, bool) {
        make_caster<T> inner;
        if (!inner.load(src, false)) return false;
        value.object = &cast_op<T&>(inner);
        return true;
    }
    static handle cast(const ostradb::python::Out<T>& src, return_value_policy, handle parent) {
        return make_caster<T>::cast(src.object, return_value_policy::reference, parent);
    }
};

template <bool Nullable>
struct type_caster<ostradb::python::OutStreamArg<Nullable>> {
    PYBIND11_TYPE_CASTER(ostradb::python::OutStreamArg<Nullable>,
                         const_name<Nullable>("BinaryIO | bytearray | None",
                                              "BinaryIO | bytearray"));

    bool load(handle src, bool) {
        if (src.is_none()) return Nullable;
        value.stream = ostradb::python::MakeOutputStream(src);
        return true;
    }
    static handle cast(const ostradb::python::OutStreamArg<Nullable>&, return_value_policy,
                       handle) {
        return none().release();
    }
};

template <bool Nullable>
struct type_caster<ostradb::python::InStreamArg<Nullable>> {
    PYBIND11_TYPE_CASTER(ostradb::python::InStreamArg<Nullable>,
                         const_name<Nullable>("BinaryIO | bytes | None", "BinaryIO | bytes"));

    bool load(handle src, bool) {
        if (src.is_none()) return Nullable;
        value.stream = ostradb::python::MakeInputStream(src);
        return true;
    }
    static handle cast(const ostradb::python::InStreamArg<Nullable>&, return_value_policy, handle) {
        return none().release();
    }
};

template <>
struct type_caster<ostradb::python::InfoHandlerArg> {
    PYBIND11_TYPE_CASTER(ostradb::python::InfoHandlerArg,
                         const_name("Callable[[dict[str, str]], None] | None"));

    bool load(handle src, bool) {
        if (src.is_none()) return true;
        if (!PyCallable_Check(src.ptr())) return false;
        value.handler = ostradb::python::MakeInfoHandler(reinterpret_borrow<object>(src));
        return true;
    }
    static handle cast(const ostradb::python::InfoHandlerArg&, return_value_policy, handle) {
        return none().release();
    }
};

}  // namespace pybind11::detail

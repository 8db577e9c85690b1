#pragma once

// Python attributes from the declared-property tables (ostradb/serial/properties.hpp): a class
// that lists its serialisable properties gets one Python property per entry, converted by the
// entry's kind and C++ type, a constructor taking them as keyword arguments and a __repr__,
// all made at run time by walking its table. Nothing of such a class is restated by hand
// except the members its table leaves out.

#include <cstdint>
#include <memory>
#include <typeinfo>

#include <pybind11/pybind11.h>

#include "casters.hpp"
#include "ostradb/serial/properties.hpp"
#include "ostradb/util/set.hpp"

namespace ostradb::python {

namespace py = pybind11;

// Adds the properties of probe's table, and a __repr__ showing them, to cls.
void AddDeclaredProperties(py::handle cls, const Persistent& probe);
// Sets the properties named by the keywords; an unknown name or a wrong value raises
// TypeError or ValueError.
void ApplyKeywords(Persistent& object, const py::kwargs& values);

// The Python class of T with its declared properties; its constructor takes them as keywords.
template <class T, class... Bases>
py::class_<T, Bases...> DeclaredClass(py::handle scope, const char* name) {
    py::class_<T, Bases...> cls(scope, name);
    cls.def(py::init([](const py::kwargs& values) {
        auto object = std::make_unique<T>();
        ApplyKeywords(*object, values);
        return object;
    }));
    const T probe{};
    AddDeclaredProperties(cls, probe);
    return cls;
}

// How properties of the set type Set<E> convert; registered with the enumeration E.
struct SetConversion {
    py::object (*toPython)(std::uint32_t mask);
    std::uint32_t (*fromPython)(py::handle value);
};
void RegisterSetConversion(const std::type_info& setType, SetConversion conversion);

template <class E>
void RegisterSet() {
    RegisterSetConversion(
        typeid(Set<E>),
        {[](std::uint32_t mask) {
             return py::reinterpret_steal<py::object>(py::detail::make_caster<Set<E>>::cast(
                 Set<E>::FromMask(mask), py::return_value_policy::copy, {}));
         },
         [](py::handle value) { return value.cast<Set<E>>().Mask(); }});
}

}  // namespace ostradb::python

#pragma once

// The library's collections as Python sequences: len, indexing (negative indices too) and
// iteration give the items themselves, not copies, as in C++. An item taken out stays usable
// after its collection drops it (cleared, the item deleted, filled again by a command): it
// lives on, detached, as long as Python refers to it (item_refs.hpp).

#include <string>
#include <type_traits>

#include <pybind11/pybind11.h>

#include "item_refs.hpp"

namespace ostradb::python {

namespace py = pybind11;

// The position of index i (negative: from the end) in a sequence of count items.
inline int ItemIndex(int count, Py_ssize_t i) {
    if (i < 0) i += count;
    if (i < 0 || i >= count)
        throw py::index_error("index " + std::to_string(i) + " out of range for " +
                              std::to_string(count) + " items");
    return static_cast<int>(i);
}

// Binds the collection class C (a Collection<T> or a class derived from one).
template <class C, class... Bases>
py::class_<C, Bases...> BindCollection(py::handle scope, const char* name) {
    using T = typename C::value_type;
    py::class_<C, Bases...> cls(scope, name);
    cls.def(py::init<>())
        .def("__len__", [](const C& c) { return c.Count(); })
        .def(
            "__getitem__", [](C& c, Py_ssize_t i) -> T& { return c[ItemIndex(c.Count(), i)]; },
            ItemRef())
        .def("__delitem__", [](C& c, Py_ssize_t i) { c.Delete(ItemIndex(c.Count(), i)); })
        .def("Count", [](const C& c) { return c.Count(); })
        .def("Clear", [](C& c) { c.Clear(); })
        .def(
            "Delete", [](C& c, int i) { c.Delete(i); }, py::arg("i"));
    if constexpr (std::is_default_constructible_v<T>)
        cls.def(
            "Add", [](C& c) -> T& { return c.Add(); }, ItemRef());
    return cls;
}

}  // namespace ostradb::python

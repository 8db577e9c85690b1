#pragma once

// Items of the library's collections handed to Python. A wrapper refers to its item without
// owning it, and the collection may drop the item at any time (cleared, filled again by a
// command, the item deleted). So each item handed out is registered while its wrapper lives,
// and the keeper installed here takes a registered item that its collection drops: the wrapper
// goes on working on the item, now detached from the collection, which is deleted with its
// last wrapper. Members reached through an item keep the item's wrapper alive, and with it
// the item.

#include <pybind11/pybind11.h>

namespace ostradb::python {

namespace py = pybind11;

// Registers the object a non-owning wrapper refers to; nothing for None or an owning wrapper.
// GIL held.
void KeepItem(py::handle wrapper);
// Makes collections hand registered items to this module instead of deleting them.
void InstallItemKeeper();

// The return value policy of a method that returns an item of its object (or of a collection
// within): reference_internal, and the item registered with KeepItem.
struct ItemRef {};

}  // namespace ostradb::python

namespace pybind11::detail {

template <>
struct process_attribute<ostradb::python::ItemRef>
    : process_attribute_default<ostradb::python::ItemRef> {
    static void init(const ostradb::python::ItemRef&, function_record* r) {
        r->policy = return_value_policy::reference_internal;
    }
    static void postcall(function_call&, handle ret) { ostradb::python::KeepItem(ret); }
};

}  // namespace pybind11::detail

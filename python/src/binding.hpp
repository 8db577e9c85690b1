#pragma once

// What the translation units of the extension module share. Each Bind function registers one
// part of the module; module.cpp calls them in an order where every class comes after its
// base classes and the classes its members name.

#include <type_traits>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "casters.hpp"
#include "ostradb/ostradb.hpp"

namespace ostradb::python {

namespace py = pybind11;
using namespace pybind11::literals;

// A data member as a Python attribute: assignable when the member can be copied (a list
// assigned is copied, deeply for collections), else read-only; a class-typed member is read as
// the member itself, to fill in place.
template <class Cls, class D, class T>
void Field(Cls& cls, const char* name, T D::*member) {
    if constexpr (std::is_copy_assignable_v<T>)
        cls.def_readwrite(name, member);
    else
        cls.def_readonly(name, member);
}

#define OSTRADB_FIELD(cls, Class, name) ::ostradb::python::Field(cls, #name, &Class::name)

void BindErrors(py::module_& m);  // errors.cpp
// basics.cpp: enumerations, sets, string lists, the serializer, free functions.
void BindBasics(py::module_& m);
void BindLevelFiles(py::module_& m);    // level_files.cpp: level files, columns, trunks
void BindModel(py::module_& m);         // model.cpp: structures, levels, filters
void BindDatabases(py::module_& m);     // databases.cpp: databases, connection settings
void BindCommandTypes(py::module_& m);  // command_types.cpp: what the commands take and fill
void BindWellTypes(py::module_& m);     // well_types.cpp: well contents, maps
void BindUsers(py::module_& m);         // users.cpp: users, groups, server log and options
using ProtocolClass = py::class_<TOstraDbProtocol>;
void BindSession(ProtocolClass& c);       // session.cpp: connection, state, hooks, exchange
void BindCommands(ProtocolClass& c);      // commands.cpp: files, catalog, levels, search, admin
void BindWellCommands(ProtocolClass& c);  // well_commands.cpp: well contents, trunks, data layer
void BindResults(py::module_& m);         // results.cpp: the high-level client's result values
void BindClient(py::module_& m);          // client.cpp: the high-level client and connect()

}  // namespace ostradb::python

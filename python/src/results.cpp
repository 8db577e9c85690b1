// The high-level client's result values (ostradb/client/results.hpp) as small Python classes:
// a constructor taking the fields as keywords, one attribute per field, a repr that shows
// them, equality, and to_dict() for pandas.DataFrame([x.to_dict() for x in ...]).

#include <concepts>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "ostradb/client/client.hpp"
#include "ostradb/client/results.hpp"

namespace ostradb::python {

namespace py = pybind11;

namespace {

// A field's value as plain Python data: records as dicts, lists of them as lists of dicts.
py::object Plain(const py::object& value) {
    if (py::hasattr(value, "to_dict")) return value.attr("to_dict")();
    if (py::isinstance<py::list>(value)) {
        py::list items;
        for (py::handle item : value)
            items.append(Plain(py::reinterpret_borrow<py::object>(item)));
        return items;
    }
    return value;
}

py::tuple FieldNames(py::handle self) {
    return py::type::of(self).attr("_fields");
}

std::string Repr(py::handle self) {
    std::string text = py::str(py::type::of(self).attr("__name__"));
    text += "(";
    const char* separator = "";
    for (py::handle name : FieldNames(self)) {
        text += separator;
        text += py::str(name);
        text += "=";
        text += py::repr(self.attr(name));
        separator = ", ";
    }
    return text + ")";
}

py::dict ToDict(py::handle self) {
    py::dict fields;
    for (py::handle name : FieldNames(self))
        fields[name] = Plain(self.attr(name));
    return fields;
}

// The Python type a field of type M takes, for messages.
template <class M>
const char* TypeText() {
    if constexpr (std::is_same_v<M, bool>)
        return "a bool";
    else if constexpr (std::is_integral_v<M>)
        return "an int";
    else if constexpr (std::is_floating_point_v<M>)
        return "a float";
    else if constexpr (std::is_same_v<M, std::string>)
        return "a str";
    else if constexpr (std::is_same_v<M, std::vector<std::string>>)
        return "a list of str";
    else
        return "a list";
}

// The Python class of the result type T, built field by field and finished by Done().
template <class T>
class Record {
public:
    Record(py::module_& m, const char* name, const char* doc) : cls_(m, name, doc) {}

    template <class M>
    Record& Field(const char* name, M T::*member) {
        cls_.def_readwrite(name, member);
        names_.push_back(name);
        (*setters_)[name] = [member, name](T& object, py::handle value) {
            try {
                object.*member = value.cast<M>();
            } catch (const py::cast_error&) {
                throw py::type_error(std::string(name) + " takes " + TypeText<M>() + ", not " +
                                     std::string(py::str(py::type::of(value).attr("__name__"))));
            }
        };
        return *this;
    }

    void Done() {
        // The fields named in a dict, as keywords or a pickled state give them.
        auto make = [setters = setters_](const py::dict& values) {
            T object{};
            for (auto [key, value] : values) {
                const std::string name = py::str(key);
                const auto it = setters->find(name);
                if (it == setters->end()) throw py::type_error("no field named " + name);
                it->second(object, value);
            }
            return object;
        };
        cls_.def(py::init([make](const py::kwargs& values) { return make(values); }));
        cls_.def(py::pickle(
            [](py::handle self) {
                py::dict state;
                for (py::handle name : FieldNames(self))
                    state[name] = self.attr(name);
                return state;
            },
            make));
        cls_.attr("_fields") = py::tuple(py::cast(names_));
        cls_.def("__repr__", [](py::handle self) { return Repr(self); });
        cls_.def(
            "to_dict", [](py::handle self) { return ToDict(self); },
            "The fields as a dict; records within as dicts too.");
        if constexpr (std::equality_comparable<T>)
            cls_.def(
                "__eq__", [](const T& a, const T& b) { return a == b; }, py::is_operator());
    }

private:
    using Setter = std::function<void(T&, py::handle)>;
    py::class_<T> cls_;
    std::vector<const char*> names_;
    std::shared_ptr<std::map<std::string, Setter>> setters_ =
        std::make_shared<std::map<std::string, Setter>>();
};

}  // namespace

void BindResults(py::module_& m) {
    Record<StructureLevel>(m, "StructureLevel",
                           "One level of a database's structure (field, well, survey ...), top "
                           "first; title is the name to show, kind text, number, date, none or "
                           "other.")
        .Field("type", &StructureLevel::type)
        .Field("name", &StructureLevel::name)
        .Field("title", &StructureLevel::title)
        .Field("key", &StructureLevel::key)
        .Field("kind", &StructureLevel::kind)
        .Done();
    Record<Database>(m, "Database",
                     "A database; path is its folder on the server machine, levels its "
                     "structure (empty when listed without structures).")
        .Field("id", &Database::id)
        .Field("name", &Database::name)
        .Field("path", &Database::path)
        .Field("ext_path", &Database::ext_path)
        .Field("is_private", &Database::is_private)
        .Field("levels", &Database::levels)
        .Done();
    Record<Level>(m, "Level", "A value of a level below a path (a field, a well ...).")
        .Field("id", &Level::id)
        .Field("value", &Level::value)
        .Field("path", &Level::path)
        .Done();
    Record<File>(m, "File",
                 "A file of a database: name as the database lists it, full_name as get, put "
                 "and the file commands take it, path the level values from the top.")
        .Field("name", &File::name)
        .Field("full_name", &File::full_name)
        .Field("path", &File::path)
        .Field("type", &File::type)
        .Field("trunk", &File::trunk)
        .Field("main", &File::main)
        .Field("flags", &File::flags)
        .Field("rights", &File::rights)
        .Done();
    Record<Curve>(m, "Curve",
                  "A curve of a well file; file is set when several files were asked about.")
        .Field("name", &Curve::name)
        .Field("table", &Curve::table)
        .Field("units", &Curve::units)
        .Field("top", &Curve::top)
        .Field("bottom", &Curve::bottom)
        .Field("step", &Curve::step)
        .Field("count", &Curve::count)
        .Field("versions", &Curve::versions)
        .Field("file", &Curve::file)
        .Done();
    Record<User>(m, "User", "A user with its groups and the rights they give.")
        .Field("login", &User::login)
        .Field("name", &User::name)
        .Field("groups", &User::groups)
        .Field("rights", &User::rights)
        .Field("rights_mask", &User::rights_mask)
        .Done();
    Record<Group>(m, "Group", "A group of users with its rights.")
        .Field("name", &Group::name)
        .Field("rights", &Group::rights)
        .Field("rights_mask", &Group::rights_mask)
        .Field("users", &Group::users)
        .Done();
    Record<Option>(m, "Option", "A server option.")
        .Field("name", &Option::name)
        .Field("value", &Option::value)
        .Done();
    Record<LogRecord>(m, "LogRecord", "A message of the server's log; type is its code.")
        .Field("id", &LogRecord::id)
        .Field("time", &LogRecord::time)
        .Field("type", &LogRecord::type)
        .Field("user", &LogRecord::user)
        .Field("address", &LogRecord::address)
        .Field("text", &LogRecord::text)
        .Done();
    Record<FileResult>(m, "FileResult",
                       "The outcome of one file of a deletion; code is the server's (0 when ok).")
        .Field("file", &FileResult::file)
        .Field("ok", &FileResult::ok)
        .Field("code", &FileResult::code)
        .Field("message", &FileResult::message)
        .Done();
    Record<StatColumn>(m, "StatColumn",
                       "A column of file statistics: a grouping (text) column or a value column.")
        .Field("name", &StatColumn::name)
        .Field("text", &StatColumn::text)
        .Field("type", &StatColumn::type)
        .Done();
    Record<StatRow>(m, "StatRow", "A row of file statistics, for one value of the grouping level.")
        .Field("name", &StatRow::name)
        .Field("texts", &StatRow::texts)
        .Field("values", &StatRow::values)
        .Field("files", &StatRow::files)
        .Done();
    Record<FileStats>(m, "FileStats",
                      "File statistics: the columns (text columns first), one row per level "
                      "value, the data-quality rows when asked for, and the whole table as "
                      "tab-separated lines.")
        .Field("columns", &FileStats::columns)
        .Field("rows", &FileStats::rows)
        .Field("quality", &FileStats::quality)
        .Field("lines", &FileStats::lines)
        .Done();
    Record<MergeStatus>(m, "MergeStatus", "Where a merge of virtual tables stands.")
        .Field("percent", &MergeStatus::percent)
        .Field("result", &MergeStatus::result)
        .Done();
}

}  // namespace ostradb::python

#include "declared.hpp"

#include <charconv>
#include <cstdint>
#include <limits>
#include <string>
#include <typeindex>
#include <unordered_map>

#include "ostradb/util/string_list.hpp"
#include "ostradb/util/variant.hpp"

namespace ostradb::python {

namespace {

std::unordered_map<std::type_index, SetConversion>& SetConversions() {
    static std::unordered_map<std::type_index, SetConversion> conversions;
    return conversions;
}

// The Python enumeration bound for the C++ type, or null.
py::handle EnumType(const std::type_info* type) {
    if (!type) return {};
    py::handle cls = py::detail::get_type_handle(*type, false);
    return cls && py::hasattr(cls, "__members__") ? cls : py::handle();
}

struct Range {
    std::int64_t min, max;
};

template <class T>
std::pair<const std::type_index, Range> RangeOf() {
    return {typeid(T), {std::numeric_limits<T>::min(), std::numeric_limits<T>::max()}};
}

Range IntegerRange(const std::type_info* type) {
    static const std::unordered_map<std::type_index, Range> ranges{
        RangeOf<std::int8_t>(),   RangeOf<std::uint8_t>(), RangeOf<std::int16_t>(),
        RangeOf<std::uint16_t>(), RangeOf<std::int32_t>(), RangeOf<std::uint32_t>(),
        RangeOf<std::int64_t>(),
    };
    const auto it = type ? ranges.find(*type) : ranges.end();
    return it != ranges.end() ? it->second : Range{INT32_MIN, INT32_MAX};
}

// The integer value of an int or of an enumeration member.
std::int64_t AsInt(py::handle value) {
    auto number = py::reinterpret_steal<py::object>(PyNumber_Long(value.ptr()));
    if (!number) throw py::error_already_set();
    return number.cast<std::int64_t>();
}

bool IsBool(const PropInfo& p) {
    return p.type && *p.type == typeid(bool);
}

[[noreturn]] void Wrong(const PropInfo& p, const char* expected, py::handle value) {
    throw py::type_error(std::string(p.name) + " takes " + expected + ", not " +
                         std::string(py::str(py::type::of(value).attr("__name__"))));
}

std::int64_t IntegerValue(const PropInfo& p, py::handle value) {
    if (!PyLong_Check(value.ptr()) || PyBool_Check(value.ptr())) Wrong(p, "an int", value);
    const Range range = IntegerRange(p.type);
    const auto v = value.cast<long long>();
    if (v < range.min || v > range.max)
        throw py::value_error(std::string(p.name) + " is between " + std::to_string(range.min) +
                              " and " + std::to_string(range.max) + ", not " + std::to_string(v));
    return v;
}

std::int64_t EnumValue(const PropInfo& p, py::handle value) {
    if (IsBool(p)) {
        if (!PyBool_Check(value.ptr())) Wrong(p, "a bool", value);
        return value.ptr() == Py_True ? 1 : 0;
    }
    const py::handle cls = EnumType(p.type);
    if (!cls) return IntegerValue(p, value);
    if (!py::isinstance(value, cls) && !(PyLong_Check(value.ptr()) && !PyBool_Check(value.ptr())))
        Wrong(p, py::str(cls.attr("__name__")).cast<std::string>().c_str(), value);
    const std::int64_t v = AsInt(value);
    for (auto member : cls.attr("__members__").attr("values")())
        if (AsInt(member) == v) return v;
    throw py::value_error(std::string(p.name) + ": " + std::to_string(v) + " is no member of " +
                          py::str(cls.attr("__name__")).cast<std::string>());
}

// The double nearest the shortest decimal text of a float: 2701.8f reads as 2701.8, not as
// 2701.800048828125.
double ShortestDouble(float value) {
    char text[32];
    const auto [end, error] = std::to_chars(text, text + sizeof text, value);
    if (error != std::errc()) return value;
    double result = value;
    std::from_chars(text, end, result);
    return result;
}

py::object VariantToPython(const Variant& v) {
    switch (v.VarType()) {
        case varEmpty:
        case varNull:
            return py::none();
        case varBoolean:
            return py::bool_(v.Bool());
        case varSingle:
        case varDouble:
        case varCurrency:
        case varDate:
            return py::float_(v.Float());
        case varOleStr:
        case varString:
        case varStrArg:
            return py::str(v.Str());
        default:
            return py::int_(v.Int());
    }
}

Variant VariantFromPython(const PropInfo& p, py::handle value) {
    if (value.is_none()) return {};
    if (PyBool_Check(value.ptr())) return Variant(value.ptr() == Py_True);
    if (PyLong_Check(value.ptr())) return Variant(value.cast<std::int64_t>());
    if (PyFloat_Check(value.ptr())) return Variant(value.cast<double>());
    if (PyUnicode_Check(value.ptr())) return Variant(value.cast<std::string>());
    Wrong(p, "None, a bool, an int, a float or a str", value);
}

py::object GetProperty(const PropInfo& p, const Persistent& object, py::handle owner) {
    switch (p.kind) {
        case PropKind::Integer:
        case PropKind::Int64:
            return py::int_(p.getOrdinal(object));
        case PropKind::Char: {
            const char c = static_cast<char>(p.getOrdinal(object));
            return py::reinterpret_steal<py::object>(PyUnicode_DecodeLatin1(&c, 1, nullptr));
        }
        case PropKind::Enumeration: {
            const std::int64_t v = p.getOrdinal(object);
            if (IsBool(p)) return py::bool_(v != 0);
            const py::handle cls = EnumType(p.type);
            return cls ? cls(v) : py::int_(v);
        }
        case PropKind::Set: {
            const auto mask = static_cast<std::uint32_t>(p.getOrdinal(object));
            const auto it = p.type ? SetConversions().find(*p.type) : SetConversions().end();
            return it != SetConversions().end() ? it->second.toPython(mask) : py::int_(mask);
        }
        case PropKind::Float:
            return py::float_(p.single ? ShortestDouble(static_cast<float>(p.getFloat(object)))
                                       : p.getFloat(object));
        case PropKind::String:
            return p.refString ? py::str(*p.refString(object)) : py::str(p.getString(object));
        case PropKind::Variant:
            return VariantToPython(p.getVariant(object));
        case PropKind::Object: {
            Persistent* child = p.getObject(object);
            if (!child) return py::none();
            return py::cast(child, py::return_value_policy::reference_internal, owner);
        }
    }
    return py::none();
}

void SetProperty(const PropInfo& p, Persistent& object, py::handle value) {
    switch (p.kind) {
        case PropKind::Integer:
        case PropKind::Int64:
            p.setOrdinal(object, IntegerValue(p, value));
            return;
        case PropKind::Char: {
            if (!PyUnicode_Check(value.ptr()) || PyUnicode_GetLength(value.ptr()) != 1 ||
                PyUnicode_ReadChar(value.ptr(), 0) > 255)
                Wrong(p, "one Latin-1 character", value);
            p.setOrdinal(object, PyUnicode_ReadChar(value.ptr(), 0));
            return;
        }
        case PropKind::Enumeration:
            p.setOrdinal(object, EnumValue(p, value));
            return;
        case PropKind::Set: {
            const auto it = p.type ? SetConversions().find(*p.type) : SetConversions().end();
            p.setOrdinal(object, it != SetConversions().end() ? it->second.fromPython(value)
                                                              : IntegerValue(p, value));
            return;
        }
        case PropKind::Float:
            if (!PyFloat_Check(value.ptr()) &&
                !(PyLong_Check(value.ptr()) && !PyBool_Check(value.ptr())))
                Wrong(p, "a float", value);
            p.setFloat(object, value.cast<double>());
            return;
        case PropKind::String:
            if (!PyUnicode_Check(value.ptr())) Wrong(p, "a str", value);
            p.setString(object, value.cast<std::string>());
            return;
        case PropKind::Variant:
            p.setVariant(object, VariantFromPython(p, value));
            return;
        case PropKind::Object:
            // Objects are filled in place; a string list also takes a sequence of str.
            if (auto* list = dynamic_cast<TStringList*>(p.getObject(object))) {
                list->Assign(value.cast<const TStringList&>());
                return;
            }
            throw py::attribute_error(std::string(p.name) + " is filled in place, not assigned");
    }
}

bool Settable(const PropInfo& p, const Persistent& probe) {
    if (p.kind != PropKind::Object) return p.HasSetter();
    return dynamic_cast<const TStringList*>(p.getObject(probe)) != nullptr;
}

// The Python type of a property, for its documentation and the stubs.
std::string TypeName(const PropInfo& p, const Persistent& probe) {
    auto nameOf = [](py::handle cls) { return py::str(cls.attr("__name__")).cast<std::string>(); };
    switch (p.kind) {
        case PropKind::Integer:
        case PropKind::Int64:
            return "int";
        case PropKind::Char:
        case PropKind::String:
            return "str";
        case PropKind::Enumeration:
            if (IsBool(p)) return "bool";
            if (py::handle cls = EnumType(p.type)) return nameOf(cls);
            return "int";
        case PropKind::Set: {
            const auto it = p.type ? SetConversions().find(*p.type) : SetConversions().end();
            if (it == SetConversions().end()) return "int";
            const py::object sample = it->second.toPython(1);
            return "set[" + nameOf(py::type::of(*py::iter(sample))) + "]";
        }
        case PropKind::Float:
            return "float";
        case PropKind::Variant:
            return "object";
        case PropKind::Object: {
            const Persistent* child = p.getObject(probe);
            py::handle cls =
                child ? py::detail::get_type_handle(typeid(*child), false) : py::handle();
            return cls ? nameOf(cls) : "Persistent | None";
        }
    }
    return "object";
}

const PropInfo& Find(const Persistent& object, const char* name) {
    const PropInfo* p = object.Properties().Find(name);
    if (!p || p->name != std::string_view(name))
        throw py::type_error(std::string("no property named ") + name);
    return *p;
}

}  // namespace

void RegisterSetConversion(const std::type_info& setType, SetConversion conversion) {
    SetConversions()[setType] = conversion;
}

void AddDeclaredProperties(py::handle cls, const Persistent& probe) {
    const py::object property = py::module_::import("builtins").attr("property");
    for (const PropInfo& entry : probe.Properties()) {
        const PropInfo* p = &entry;  // the table is static: it outlives the module
        py::cpp_function get(
            [p](py::handle self) { return GetProperty(*p, self.cast<const Persistent&>(), self); });
        py::object set = py::none();
        if (Settable(*p, probe))
            set = py::cpp_function([p](py::handle self, py::handle value) {
                SetProperty(*p, self.cast<Persistent&>(), value);
            });
        py::setattr(cls, p->name, property(get, set, py::none(), TypeName(*p, probe)));
    }
    py::setattr(cls, "__repr__",
                py::cpp_function(
                    [](py::handle self) {
                        const auto& object = self.cast<const Persistent&>();
                        std::string text = py::str(py::type::of(self).attr("__name__"));
                        text += "(";
                        const char* separator = "";
                        for (const PropInfo& p : object.Properties()) {
                            if (p.kind == PropKind::Object) continue;
                            text += separator;
                            text += p.name;
                            text += "=";
                            text += py::repr(GetProperty(p, object, self));
                            separator = ", ";
                        }
                        return text + ")";
                    },
                    py::name("__repr__"), py::is_method(cls)));
}

void ApplyKeywords(Persistent& object, const py::kwargs& values) {
    for (auto [name, value] : values) {
        const std::string key = py::str(name);
        const PropInfo& p = Find(object, key.c_str());
        if (!Settable(p, object)) throw py::type_error(key + " cannot be set");
        SetProperty(p, object, value);
    }
}

}  // namespace ostradb::python

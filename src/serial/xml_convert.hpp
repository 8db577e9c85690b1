#pragma once

// The required-attribute conversions of the XML layer, for any node type with pugixml's
// interface (a parsed document's nodes and a streamed answer's records): one text for each
// error whichever way the answer was read.

#include <cstdint>
#include <string>
#include <string_view>

#include "ostradb/util/exceptions.hpp"
#include "ostradb/util/numbers.hpp"

namespace ostradb::xml::detail {

template <class Node>
std::string Where(Node node, const char* name) {
    std::string s = "attribute \"";
    s += name;
    s += "\" of <";
    s += node.name();
    s += '>';
    return s;
}

template <class Node>
[[noreturn]] void Malformed(Node node, const char* name, std::string_view text, const char* what) {
    std::string msg = "'";
    msg.append(text);
    msg += "' is not a valid ";
    msg += what;
    msg += " value (";
    msg += Where(node, name);
    msg += ')';
    throw EConvertError(msg);
}

template <class Node>
auto Required(Node node, const char* name) {
    auto a = node.attribute(name);
    if (!a) throw EConvertError("Missing " + Where(node, name));
    return a;
}

// The required attribute as a number, by parse (one of the TryStrTo... conversions).
template <class T, class Node, class Parse>
T Number(Node node, const char* name, Parse parse, const char* what) {
    const char* text = Required(node, name).value();
    T v;
    if (!parse(text, v)) Malformed(node, name, text, what);
    return v;
}

template <class Node>
std::int32_t AttrInt(Node node, const char* name) {
    return Number<std::int32_t>(
        node, name, [](const char* t, std::int32_t& v) { return TryStrToInt(t, v); }, "integer");
}

template <class Node>
std::int64_t AttrInt64(Node node, const char* name) {
    return Number<std::int64_t>(
        node, name, [](const char* t, std::int64_t& v) { return TryStrToInt64(t, v); }, "integer");
}

template <class Node>
double AttrFloat(Node node, const char* name) {
    return Number<double>(
        node, name, [](const char* t, double& v) { return TryStrToFloat(t, v); }, "floating point");
}

template <class Node>
bool AttrBool(Node node, const char* name) {
    const std::string_view text = Required(node, name).value();
    auto is = [&](std::string_view word) {
        if (text.size() != word.size()) return false;
        for (std::size_t i = 0; i < text.size(); ++i)
            if ((text[i] | 0x20) != word[i]) return false;
        return true;
    };
    if (is("true")) return true;
    if (is("false")) return false;
    std::int64_t v;
    if (!TryStrToInt64(text, v)) Malformed(node, name, text, "boolean");
    return v != 0;
}

}  // namespace ostradb::xml::detail

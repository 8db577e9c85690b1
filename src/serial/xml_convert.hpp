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

template <class Node>
std::int32_t AttrInt(Node node, const char* name) {
    const char* text = Required(node, name).value();
    std::int32_t v;
    if (!TryStrToInt(text, v)) Malformed(node, name, text, "integer");
    return v;
}

template <class Node>
std::int64_t AttrInt64(Node node, const char* name) {
    const char* text = Required(node, name).value();
    std::int64_t v;
    if (!TryStrToInt64(text, v)) Malformed(node, name, text, "integer");
    return v;
}

template <class Node>
double AttrFloat(Node node, const char* name) {
    const char* text = Required(node, name).value();
    double v;
    if (!TryStrToFloat(text, v)) Malformed(node, name, text, "floating point");
    return v;
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

#pragma once

// Renderings that let a test compare a whole record, list or XML element in one expectation.

#include <sstream>
#include <string>

#include <pugixml.hpp>

#include "ostradb/util/string_list.hpp"

namespace ostradb::test {

// The values joined, each followed by "|". The arguments are evaluated in no set order, so a
// command is called before, not inside.
template <class... T>
std::string Row(const T&... values) {
    std::ostringstream out;
    ((out << values << '|'), ...);
    return out.str();
}

// The lines of a list, each followed by "|".
inline std::string Joined(const TStringList& list) {
    std::string out;
    for (const std::string& line : list.Lines())
        out += line + "|";
    return out;
}

// A node as one line of XML.
inline std::string XmlText(pugi::xml_node node) {
    std::ostringstream text;
    node.print(text, "", pugi::format_raw | pugi::format_no_declaration);
    return text.str();
}

// A node's attributes in order as "name=value name=value".
inline std::string AttrText(pugi::xml_node node) {
    std::string out;
    for (pugi::xml_attribute a : node.attributes())
        out += (out.empty() ? "" : " ") + std::string(a.name()) + "=" + a.value();
    return out;
}

}  // namespace ostradb::test

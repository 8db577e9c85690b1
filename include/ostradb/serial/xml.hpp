#pragma once

// The reading and writing rules of the protocol's XML over pugixml:
//  - a child asked for by name is created empty when it is missing;
//  - a missing attribute reads as empty text;
//  - a required number that is missing or malformed raises EConvertError naming the
//    attribute and the element.

#include <cstdint>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "ostradb/export.hpp"

namespace ostradb::xml {

// The first child element named name; appended empty when there is none.
OSTRADB_API pugi::xml_node Child(pugi::xml_node node, const char* name);

OSTRADB_API bool HasAttr(pugi::xml_node node, const char* name);
// The attribute's text; empty when the attribute is missing.
OSTRADB_API std::string Attr(pugi::xml_node node, const char* name);
OSTRADB_API std::string_view AttrView(pugi::xml_node node, const char* name);

// Required values: a missing attribute or malformed text raises EConvertError.
OSTRADB_API std::int32_t AttrInt(pugi::xml_node node, const char* name);
OSTRADB_API std::int64_t AttrInt64(pugi::xml_node node, const char* name);
OSTRADB_API double AttrFloat(pugi::xml_node node, const char* name);
// "true"/"false" in any letter case, or an integer (non-zero is true).
OSTRADB_API bool AttrBool(pugi::xml_node node, const char* name);

// Writers. Attributes are set in place when present, appended otherwise.
OSTRADB_API void SetAttr(pugi::xml_node node, const char* name, std::string_view value);
OSTRADB_API void SetAttr(pugi::xml_node node, const char* name, const char* value);
OSTRADB_API void SetAttr(pugi::xml_node node, const char* name, std::int64_t value);
OSTRADB_API void SetAttr(pugi::xml_node node, const char* name, std::int32_t value);
OSTRADB_API void SetAttr(pugi::xml_node node, const char* name, std::uint32_t value);
// Shortest round-trip text with the library's decimal separator.
OSTRADB_API void SetAttrFloat(pugi::xml_node node, const char* name, double value);
// "true" or "false", lower case.
OSTRADB_API void SetBoolXmlAttr(pugi::xml_node node, const char* name, bool value);
// "True" or "False", as a boolean value is written directly.
OSTRADB_API void SetBoolAttr(pugi::xml_node node, const char* name, bool value);

// Parses UTF-8 text into doc; malformed text raises EXmlError with the offset and a few
// characters of the text where it broke. Text without a root element leaves doc without one
// (doc.document_element() is empty) and raises nothing.
OSTRADB_API void Parse(pugi::xml_document& doc, std::string_view utf8Text);
// The document as UTF-8 text with the given line break after every line; indented by two
// blanks, or on one line when indent is false.
OSTRADB_API std::string ToText(const pugi::xml_document& doc, bool indent = true,
                               std::string_view lineBreak = "\r\n");
// A new document with an XML declaration naming encoding and a root element rootName;
// returns the root.
OSTRADB_API pugi::xml_node NewDocument(pugi::xml_document& doc, const char* encoding,
                                       const char* rootName);

}  // namespace ostradb::xml

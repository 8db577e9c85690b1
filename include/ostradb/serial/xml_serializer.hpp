#pragma once

// The generic XML form of serialisable objects (see properties.hpp):
//  - ordinal properties (integers, characters, enumerations, booleans, sets) are attributes
//    holding the decimal ordinal; reading also accepts "true" and "false" in any case, and a
//    missing or malformed value gives the declared default (or leaves the property alone);
//  - floating-point properties are attributes with the shortest text that reads back exactly;
//  - strings are attributes; variants are two attributes, the value and "VarType_" + name;
//  - object properties are child elements named like the property, absent for an empty
//    reference; 64-bit integers are read but never written;
//  - a string list is one "Item" child per string (its text content), a collection one
//    "Item" child per item;
//  - TXmlSerialized objects first run their own hook, then their properties.

#include <filesystem>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "ostradb/export.hpp"
#include "ostradb/serial/persistent.hpp"

namespace ostradb {

// A serialisable object that writes or reads part of its form itself: the hooks run before
// the declared properties, on the object's own element.
class OSTRADB_API TXmlSerialized : public Persistent {
public:
    ~TXmlSerialized() override;
    virtual void SaveToXML(std::string_view name, pugi::xml_node node) const;
    virtual void LoadFromXML(std::string_view name, pugi::xml_node node);
};

// The same hooks for items of collections.
class OSTRADB_API TXmlSerializedCollectionItem : public TXmlSerialized {
public:
    ~TXmlSerializedCollectionItem() override;
};

// Writes obj into a new child element name of node, or onto node itself when name is empty.
// A null obj writes nothing.
OSTRADB_API void SaveToXML(const Persistent* obj, std::string_view name, pugi::xml_node node);
// Reads obj from node's child name (created empty when missing), or from node itself when name
// is empty. A stored non-object property without a setter raises Error.
OSTRADB_API void LoadFromXML(Persistent* obj, std::string_view name, pugi::xml_node node);

inline void SaveToXML(const Persistent& obj, std::string_view name, pugi::xml_node node) {
    SaveToXML(&obj, name, node);
}
inline void LoadFromXML(Persistent& obj, std::string_view name, pugi::xml_node node) {
    LoadFromXML(&obj, name, node);
}

// The text of a new UTF-8 document whose root element name holds obj. With oneLine the
// document's lines are joined as comma text (TStringList::CommaText) into one line.
OSTRADB_API std::string SaveToXMLString(const Persistent& obj, std::string_view name, bool oneLine);
// Reads obj from the root of the document in text (the one-line form when oneLine is set).
// A document without a root leaves obj unchanged; malformed text raises EXmlError.
OSTRADB_API void LoadFromXMLString(Persistent& obj, std::string_view name, bool oneLine,
                                   std::string_view text);

// SaveToXMLFile writes the UTF-8 document of SaveToXMLString. LoadFromXMLFile reads a file in
// the encoding its declaration names (UTF-8 without one; "windows-1251" from the system's other
// programs, or DOS 866); EFileError for a file that cannot be read or another encoding.
OSTRADB_API void SaveToXMLFile(const Persistent& obj, std::string_view name,
                               const std::filesystem::path& fileName);
OSTRADB_API void LoadFromXMLFile(Persistent& obj, std::string_view name,
                                 const std::filesystem::path& fileName);

}  // namespace ostradb

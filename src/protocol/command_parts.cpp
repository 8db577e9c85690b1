#include "protocol/command_parts.hpp"

#include "ostradb/serial/xml.hpp"
#include "ostradb/serial/xml_serializer.hpp"

namespace ostradb::detail {

void WriteLevelPath(pugi::xml_node node, const TIntegerArray& levels) {
    pugi::xml_node path = node.append_child("path");
    for (const std::int32_t id : levels)
        xml::SetAttr(path.append_child("item"), "id", id);
}

void WriteFileNames(pugi::xml_node node, const TStringList& names) {
    SaveToXML(names, "FileNames", node);
}

TStringList CheckedCopy(TOstraDbProtocol& client, const TStringList& names) {
    TStringList copy(names);
    client.CheckFileNames(copy);
    return copy;
}

}  // namespace ostradb::detail

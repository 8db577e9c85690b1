#pragma once

// Request pieces that several command families share.

#include <cstdint>
#include <vector>

#include <pugixml.hpp>

#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb::detail {

// The level path: a child "path" of node (always added, also for no levels) with one "item"
// per level identifier, in order, each with "id".
void WriteLevelPath(pugi::xml_node node, const TIntegerArray& levels);

// The names as the serializer writes a string list, under a new child "FileNames" of node.
void WriteFileNames(pugi::xml_node node, const TStringList& names);

// A copy of names passed through CheckFileNames, which may switch the client to the server
// the names address: hold a HostPortGuard around the request. The caller's list is not changed.
TStringList CheckedCopy(TOstraDbProtocol& client, const TStringList& names);

}  // namespace ostradb::detail

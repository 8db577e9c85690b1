#pragma once

// Readers of the answer forms of level files. The list readers run over answers of a hundred
// thousand files, so they walk each element's attributes once and never create elements in
// the answer.

#include <string>
#include <vector>

#include <pugixml.hpp>

#include "ostradb/model/level_files.hpp"
#include "serial/xml_record.hpp"

namespace ostradb::detail {

// The lower-cased level types of a structure, computed once per answer.
struct PathLevels {
    explicit PathLevels(const TDbStruct* structure);
    bool given = false;
    std::vector<std::string> names;
};

// For a parsed answer's pugi::xml_node and a streamed answer's xml::RecordNode alike.
template <class Node>
void ReadFile(TLevelFile& file, Node node, const PathLevels& levels);
template <class Node>
void ReadPath(TLevelFile& file, Node node, const PathLevels& levels);
template <class Node>
void ReadTable(TLevelFileTable& table, Node node);
template <class Node>
void ReadCurve(TLevelFileCurve& curve, Node node);
template <class Node>
void ReadRowCells(TLevelFileRow& row, Node node);

void ReadViewsListFile(TLevelFile& file, pugi::xml_node node);
void ReadViewsListTable(TLevelFileTable& table, pugi::xml_node node);

void ReadApiFile(TLevelFile& file, pugi::xml_node node);

}  // namespace ostradb::detail

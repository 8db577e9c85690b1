#pragma once

// Readers of the answer forms of level files. The list readers run over answers of a hundred
// thousand files, so they walk each element's attributes once and never create elements in
// the answer.

#include <string>
#include <vector>

#include <pugixml.hpp>

#include "ostradb/model/level_files.hpp"

namespace ostradb::detail {

// The lower-cased level types of a structure, computed once per answer.
struct PathLevels {
    explicit PathLevels(const TDbStruct* structure);
    bool given = false;
    std::vector<std::string> names;
};

void ReadFile(TLevelFile& file, pugi::xml_node node, const PathLevels& levels);
void ReadPath(TLevelFile& file, pugi::xml_node node, const PathLevels& levels);
void ReadTable(TLevelFileTable& table, pugi::xml_node node);
void ReadCurve(TLevelFileCurve& curve, pugi::xml_node node);
void ReadRowCells(TLevelFileRow& row, pugi::xml_node node);

void ReadViewsListFile(TLevelFile& file, pugi::xml_node node);
void ReadViewsListTable(TLevelFileTable& table, pugi::xml_node node);

void ReadApiFile(TLevelFile& file, pugi::xml_node node);

}  // namespace ostradb::detail

#pragma once

// Turning a level's file list into result values, in the order people read it.

#include <string>
#include <vector>

#include "ostradb/client/results.hpp"

namespace ostradb {
class TConnectionSettings;
class TDatabaseInfo;
class TLevelFilesList;
}  // namespace ostradb

namespace ostradb::detail {

// The name under which the server takes a file of the database (its folder and the short
// name), without the address prefixes a server reachable as a folder needs none of.
std::string FullFileName(const TDatabaseInfo& db, const std::string& shortName,
                         const TConnectionSettings& place);

// The files of list sorted by their level values, named by the database's level types
// (wells compared as well names), and within one place by name. The list is emptied as the
// values are made, so that a long listing is not held twice.
std::vector<File> TakeSortedFiles(TLevelFilesList& list, const TDatabaseInfo& db,
                                  const TConnectionSettings& place);

}  // namespace ostradb::detail

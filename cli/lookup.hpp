#pragma once

// Finding what the user names on the command line: databases by name or id, levels by their
// values, and the full names of a database's files.

#include <memory>
#include <string>
#include <vector>

#include "ostradb/model/databases.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"

namespace ostradb::cli {

// The server's databases; with their structures when asked.
TDatabasesList LoadDatabases(TOstraDbProtocol& client, bool withStructs);

// The database named name (ignoring case) or, failing that, with the id name. Raises
// CliError listing the databases there are.
const TDatabaseInfo& FindDatabase(const TDatabasesList& list, const std::string& name);

// The database as the filter and level commands take it, with its structure as the default
// logical structure.
std::unique_ptr<TDatabase> MakeDatabase(const TDatabaseInfo& info);

// The level ids of a path of level values, top first: each value is looked up among the
// values below the previous one (ignoring case, then as an id). Raises CliError naming the
// values there are.
TIntegerArray ResolveLevelPath(TOstraDbProtocol& client, const TDatabaseInfo& db,
                               const std::vector<std::string>& values);

// The name under which the server takes a file of the database (its directory and the short
// name), without the address prefixes a local server needs none of.
std::string FullFileName(const TDatabaseInfo& db, const std::string& shortName);

// The display name of level i of the database's structure, or its type, or "level i+1".
std::string LevelTitle(const TDbStruct& structure, int i);

}  // namespace ostradb::cli

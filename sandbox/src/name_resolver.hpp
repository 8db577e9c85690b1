#pragma once

// Turns the file names that clients send into files of a database. Accepted forms:
//   - full names, as clients build them from a database's path: "/data/db/Field/12/a.ws";
//   - with address parts before them: "WSTP://", "DIRECT:", "/HOST:name/", "/PORT:n/";
//   - short names relative to a database: "Field/12/a.ws" or "Field\12\a.ws";
//   - short names of a root: "${Root_3}\Field\12\a.ws";
//   - the database's name before a short name: "WSTP://Database name\Field\12\a.ws".
// A name that leaves every database's directories ("..", other absolute paths, drive letters,
// links pointing out) or that names one of the server's own files is refused with code 33.

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "catalog.hpp"

namespace ostradb::sandbox {

struct ResolvedName {
    const Database* db = nullptr;  // points into the catalog passed in
    std::filesystem::path path;    // absolute
    std::filesystem::path base;    // the database directory or root it lies in
    std::string shortName;         // as listings name the file
    std::int32_t rootId = -1;      // -1: the database's own directory
};

// Raises CommandError 33 for names refused as above and 21 for a short name that exists in
// no database (when more than one could hold it).
ResolvedName ResolveFileName(const Catalog& catalog, std::string_view name);

// The name without its address parts, as the client's address check leaves it.
std::string StripAddress(std::string_view name);

}  // namespace ostradb::sandbox

#pragma once

#include <string>
#include <string_view>

#include "ostradb/export.hpp"

namespace ostradb {

// The part of a file name after its last path delimiter ("\", "/" or the ":" of a drive).
OSTRADB_API std::string ExtractFileName(std::string_view fileName);
// A file name whose extension is empty ("a\b." ) loses the trailing dot ("a.." loses one);
// others are returned unchanged, and so are the directory names "." and "..".
OSTRADB_API std::string FixEmptyExtension(std::string_view fileName);

}  // namespace ostradb

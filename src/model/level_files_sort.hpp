#pragma once

// Sorting level files whose paths are level values alone.

#include <cstdint>
#include <string>
#include <vector>

namespace ostradb {
class TLevelFilesList;
}

namespace ostradb::detail {

// The order SmartSort would give the files (their indexes, first to last), a file's levels
// named by types[i] for its i-th path value where it has no PathNames and as many path values
// as types (lower-cased level types, "%well"), and the files of one place by name. Spares
// making "type=value" lines for every file of a long listing, and leaves the files where
// they are, so that they can be taken in the order they lie in memory.
std::vector<std::uint32_t> SmartSortOrder(const TLevelFilesList& list,
                                          const std::vector<std::string>& types);

}  // namespace ostradb::detail

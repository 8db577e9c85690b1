#pragma once

// Rights of a user, a group, a database or a file: seven bits of an unsigned 32-bit mask.

#include <cstdint>

#include "ostradb/export.hpp"
#include "ostradb/util/set.hpp"

namespace ostradb {

enum EUserRights : std::uint8_t {
    urView,          // 1: view data
    urChangeData,    // 2: change the data of ws files
    urChangeLevels,  // 4: add and delete ws files
    urChangeDbList,  // 8: manage the list of databases
    urAdminServer,   // 16: administer the server
    urAdminUsers,    // 32: administer user rights
    urListDirs,      // 64: browse directories
};

using TUserRights = Set<EUserRights>;

// The rights whose bits (1 to 64) are set in mask; higher bits are ignored.
OSTRADB_API TUserRights RightBitsToSet(std::uint32_t mask);

}  // namespace ostradb

#pragma once

// Well names carry a well number inside free text ("N105-2", "12a"): these take the number
// out, compare names number-first and sort lists of names.

#include <cstdint>
#include <string>
#include <string_view>

#include "ostradb/export.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb {

// The first run of ASCII digits in name; empty when there is none.
OSTRADB_API std::string ExtractWellNum(std::string_view name);
// ExtractWellNum as an integer; -1 when there is no number or it does not fit 32 bits.
OSTRADB_API std::int32_t ExtractWellNumInt(std::string_view name);
OSTRADB_API std::int32_t WellNameToNumber(std::string name);
// Appends to result the entries of list with the same well number as name, walking list from
// its last entry to its first (so they arrive in reverse order). result is not cleared.
OSTRADB_API void GetSimilarWellsList(std::string_view name, const TStringList& list,
                                     TStringList& result);
// Names with a number before names without; smaller numbers first; equal or absent numbers
// fall back to CompareText of the whole names.
OSTRADB_API int CompareWellNames(std::string_view a, std::string_view b);
// Sorts list in place by CompareWellNames (byWellName) or CompareText. Not stable.
OSTRADB_API void SortItemsList(TStringList& list, bool byWellName);

}  // namespace ostradb

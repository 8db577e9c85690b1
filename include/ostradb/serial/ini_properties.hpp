#pragma once

// The INI form of declared properties: one key per property, named like it, in one section.
//  - ordinals (integers, characters, enumerations, booleans, sets) as decimal ordinals;
//  - floating-point values with the INI file's float writer;
//  - strings as they are;
//  - string lists as comma text with every CR LF turned into "|".
// Reading leaves a property whose key is absent unchanged; ordinals are parsed as 64-bit
// integers (a key that is not one leaves the property too); "|" in list texts turns back into
// CR LF. Properties of other kinds (64-bit integers, variants, other objects) are skipped, as
// are properties that are not stored.

#include <string_view>

#include "ostradb/export.hpp"
#include "ostradb/serial/persistent.hpp"

namespace ostradb {

class TMemIniFile;

OSTRADB_API void SavePropertiesToIni(const Persistent& obj, TMemIniFile& ini,
                                     std::string_view section);
OSTRADB_API void LoadPropertiesFromIni(Persistent& obj, const TMemIniFile& ini,
                                       std::string_view section);

}  // namespace ostradb

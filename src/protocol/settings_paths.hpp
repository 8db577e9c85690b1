#pragma once

#include <filesystem>

namespace ostradb::detail {

// The user's configuration folder: $OSTRADB_CONFIG_DIR, else $XDG_CONFIG_HOME/ostradb, else
// ~/.config/ostradb.
std::filesystem::path UserConfigDir();
// The per-user settings store that stands in for the registry: an INI file with a section
// per key, in the user's configuration folder.
std::filesystem::path UserSettingsFile();

// The directory of the running executable (where an installation ships ConnSettings.xml).
std::filesystem::path ExecutableDir();
// Makes ExecutableDir() return dir instead; an empty path restores the real one. For tests.
void SetExecutableDirForTesting(const std::filesystem::path& dir);

}  // namespace ostradb::detail

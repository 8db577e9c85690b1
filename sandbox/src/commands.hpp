#pragma once

// The commands the sandbox answers, one handler each, grouped by subject in commands_*.cpp.

#include <cstdint>
#include <string_view>

#include "command_context.hpp"

namespace ostradb::sandbox {

using CommandHandler = void (*)(CommandContext&);

struct CommandEntry {
    std::string_view name;
    CommandHandler handler;
    bool needsLogin;
    // Rights the session must have (bits of the rights mask); a handler checks further
    // rights that depend on the request itself.
    std::uint32_t rights;
};

// The command of that name, or null.
const CommandEntry* FindCommand(std::string_view name);

// Session: commands_session.cpp
void GenerateAuthValue(CommandContext& ctx);
void LoginCommand(CommandContext& ctx);
void GetServerVersion(CommandContext& ctx);

// Databases: commands_catalog.cpp
void GetDbList(CommandContext& ctx);
void GetDbStruct(CommandContext& ctx);
void AddDb(CommandContext& ctx);
void DeleteDb(CommandContext& ctx);
void ReloadDbStruct(CommandContext& ctx);

// Levels and filters: commands_levels.cpp
void GetLogLevelValues(CommandContext& ctx);
void GetLogLevelFiles(CommandContext& ctx);
void SetFilters(CommandContext& ctx);
void GetFilterStats(CommandContext& ctx);
void SetLogDbStruct(CommandContext& ctx);
// File statistics of a level, grouped by the values of a lower one.
void GetFilesStat(CommandContext& ctx);

// Files: commands_files.cpp
void GetFileContents(CommandContext& ctx);
void PutFileContents(CommandContext& ctx);
void FileExists(CommandContext& ctx);
void GetFileRights(CommandContext& ctx);
void GetSimpleFilesInfo(CommandContext& ctx);
void DeleteFiles(CommandContext& ctx);
void MoveFile(CommandContext& ctx);

// Well contents and search: commands_wells.cpp
void GetTablesList(CommandContext& ctx);
void GetCurvesList(CommandContext& ctx);
void GetPlansheetsList(CommandContext& ctx);
void Search(CommandContext& ctx);

// Administration: commands_admin.cpp
void GetServOption(CommandContext& ctx);
void SetServOption(CommandContext& ctx);
void GetServOptions(CommandContext& ctx);
void SetServOptions(CommandContext& ctx);
void RequestLog(CommandContext& ctx);
void GetAuthData(CommandContext& ctx);
void SaveAuthData(CommandContext& ctx);

}  // namespace ostradb::sandbox

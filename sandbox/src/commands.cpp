#include "commands.hpp"

#include <array>

namespace ostradb::sandbox {

namespace {

constexpr std::uint32_t Bit(EUserRights right) {
    return 1u << right;
}

constexpr std::uint32_t kView = Bit(urView);

constexpr std::array kCommands = {
    CommandEntry{"generate_auth_value", GenerateAuthValue, false, 0},
    CommandEntry{"login", LoginCommand, false, 0},
    CommandEntry{"get_server_version", GetServerVersion, true, 0},

    CommandEntry{"get_db_list", GetDbList, true, kView},
    CommandEntry{"get_db_struct", GetDbStruct, true, kView},
    CommandEntry{"add_db", AddDb, true, Bit(urChangeDbList)},
    CommandEntry{"delete_db", DeleteDb, true, Bit(urChangeDbList)},
    CommandEntry{"reload_db_struct", ReloadDbStruct, true, Bit(urChangeDbList)},

    CommandEntry{"get_log_level_values", GetLogLevelValues, true, kView},
    CommandEntry{"get_log_level_files", GetLogLevelFiles, true, kView},
    CommandEntry{"set_filters", SetFilters, true, kView},
    CommandEntry{"get_filter_stats", GetFilterStats, true, kView},
    CommandEntry{"set_log_db_struct", SetLogDbStruct, true, kView},
    CommandEntry{"get_files_stat", GetFilesStat, true, kView},

    // Writing rights depend on whether the file exists: the handlers check them.
    CommandEntry{"get_file_contents", GetFileContents, true, kView},
    CommandEntry{"put_file_contents", PutFileContents, true, 0},
    CommandEntry{"file_exists", FileExists, true, kView},
    CommandEntry{"get_file_rights", GetFileRights, true, 0},
    CommandEntry{"get_simple_files_info", GetSimpleFilesInfo, true, kView},
    CommandEntry{"delete_files", DeleteFiles, true, Bit(urChangeLevels)},
    CommandEntry{"move_file", MoveFile, true, Bit(urChangeLevels)},

    CommandEntry{"get_tables_list", GetTablesList, true, kView},
    CommandEntry{"get_curves_list", GetCurvesList, true, kView},
    CommandEntry{"get_plansheets_list", GetPlansheetsList, true, kView},
    CommandEntry{"search", Search, true, kView},

    CommandEntry{"get_serv_option", GetServOption, true, kView},
    CommandEntry{"set_serv_option", SetServOption, true, Bit(urAdminServer)},
    CommandEntry{"get_serv_options", GetServOptions, true, kView},
    CommandEntry{"set_serv_options", SetServOptions, true, Bit(urAdminServer)},
    CommandEntry{"request_log", RequestLog, true, Bit(urAdminServer)},
    CommandEntry{"get_auth_data", GetAuthData, true, Bit(urAdminUsers)},
    CommandEntry{"save_auth_data", SaveAuthData, true, Bit(urAdminUsers)},
};

}  // namespace

const CommandEntry* FindCommand(std::string_view name) {
    for (const CommandEntry& entry : kCommands)
        if (entry.name == name) return &entry;
    return nullptr;
}

}  // namespace ostradb::sandbox

#include "commands.hpp"

#include <array>

namespace ostradb::sandbox {

namespace {

constexpr std::uint32_t Bit(EUserRights right) {
    return 1u << right;
}

constexpr std::uint32_t kView = Bit(urView);

constexpr std::array kCommands = {
    CommandSpec{"generate_auth_value", GenerateAuthValue, false, 0},
    CommandSpec{"login", LoginCommand, false, 0},
    CommandSpec{"get_server_version", GetServerVersion, true, 0},

    CommandSpec{"get_db_list", GetDbList, true, kView},
    CommandSpec{"get_db_struct", GetDbStruct, true, kView},
    CommandSpec{"add_db", AddDb, true, Bit(urChangeDbList)},
    CommandSpec{"delete_db", DeleteDb, true, Bit(urChangeDbList)},
    CommandSpec{"reload_db_struct", ReloadDbStruct, true, Bit(urChangeDbList)},

    CommandSpec{"get_log_level_values", GetLogLevelValues, true, kView},
    CommandSpec{"get_log_level_files", GetLogLevelFiles, true, kView},
    CommandSpec{"set_filters", SetFilters, true, kView},
    CommandSpec{"get_filter_stats", GetFilterStats, true, kView},
    CommandSpec{"set_log_db_struct", SetLogDbStruct, true, kView},
    CommandSpec{"get_files_stat", GetFilesStat, true, kView},

    // Writing rights depend on whether the file exists: the handlers check them.
    CommandSpec{"get_file_contents", GetFileContents, true, kView},
    CommandSpec{"put_file_contents", PutFileContents, true, 0},
    CommandSpec{"file_exists", FileExists, true, kView},
    CommandSpec{"get_file_rights", GetFileRights, true, 0},
    CommandSpec{"get_simple_files_info", GetSimpleFilesInfo, true, kView},
    CommandSpec{"delete_files", DeleteFiles, true, Bit(urChangeLevels)},
    CommandSpec{"move_file", MoveFile, true, Bit(urChangeLevels)},

    CommandSpec{"get_tables_list", GetTablesList, true, kView},
    CommandSpec{"get_curves_list", GetCurvesList, true, kView},
    CommandSpec{"get_plansheets_list", GetPlansheetsList, true, kView},
    CommandSpec{"search", Search, true, kView},

    CommandSpec{"get_serv_option", GetServOption, true, kView},
    CommandSpec{"set_serv_option", SetServOption, true, Bit(urAdminServer)},
    CommandSpec{"get_serv_options", GetServOptions, true, kView},
    CommandSpec{"set_serv_options", SetServOptions, true, Bit(urAdminServer)},
    CommandSpec{"request_log", RequestLog, true, Bit(urAdminServer)},
    CommandSpec{"get_auth_data", GetAuthData, true, Bit(urAdminUsers)},
    CommandSpec{"save_auth_data", SaveAuthData, true, Bit(urAdminUsers)},
};

}  // namespace

const CommandSpec* FindCommand(std::string_view name) {
    for (const CommandSpec& spec : kCommands)
        if (spec.name == name) return &spec;
    return nullptr;
}

}  // namespace ostradb::sandbox

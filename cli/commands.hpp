#pragma once

// The subcommands, one group per source file. Each group adds its subcommands to the
// application; the Run functions are what the subcommands do, so that the demo can walk
// through them with arguments of its own.

#include <string>
#include <vector>

#include "context.hpp"

namespace CLI {
class App;
}

namespace ostradb::cli {

// version, raw (server_commands.cpp)
void AddServerCommands(CLI::App& app, Context& ctx);
void RunVersion(Context& ctx);

// databases, structure, levels, files (catalog_commands.cpp)
void AddCatalogCommands(CLI::App& app, Context& ctx);
void RunDatabases(Context& ctx, bool withStructs);
void RunStructure(Context& ctx, const std::string& database);
void RunLevels(Context& ctx, const std::string& database, const std::vector<std::string>& path);
struct FilesArgs {
    std::string database;
    std::vector<std::string> path;
    std::vector<std::string> filters;  // simple filter lines, "key -> values"
    std::string mask;
};
void RunFiles(Context& ctx, const FilesArgs& args);

// get, put, exists, rm, mv (file_commands.cpp)
void AddFileCommands(CLI::App& app, Context& ctx);
// out empty or "-": standard output.
void RunGet(Context& ctx, const std::string& file, const std::string& out);
// in empty or "-": standard input.
void RunPut(Context& ctx, const std::string& file, const std::string& in);
void RunExists(Context& ctx, const std::string& file);

// search, tables, curves, plansheets (well_commands.cpp)
void AddWellCommands(CLI::App& app, Context& ctx);
void RunSearch(Context& ctx, const std::string& database,
               const std::vector<std::string>& conditions, const std::string& tables);
void RunCurves(Context& ctx, const std::vector<std::string>& files,
               const std::vector<std::string>& tables);

// options, option, users, log, stat (admin_commands.cpp)
void AddAdminCommands(CLI::App& app, Context& ctx);
void RunUsersList(Context& ctx);

// demo (demo_command.cpp)
void AddDemoCommand(CLI::App& app, Context& ctx);

// completion, and the hidden command it asks for database names (completion.cpp)
void AddCompletionCommands(CLI::App& app, Context& ctx);

// The command's name after its parents' ("ostradb users add") (manual.cpp).
std::string CommandLineOf(const CLI::App& command);
// The help texts of every command, laid out for help2man.
std::string ManualText(const CLI::App& app);

}  // namespace ostradb::cli

// The help texts of every command in one document laid out for help2man, which makes the
// manual page of them at build time: the program's help first, then a section with each
// subcommand's usage as a sub-heading, its description, arguments, options and examples.

#include <CLI/CLI.hpp>

#include <sstream>

#include "commands.hpp"

namespace ostradb::cli {

namespace {

constexpr std::size_t kColumn = 30;

// A help text's lines; help2man reads an indented line after "Examples:" whose text starts
// with "$ " as an example.
void AppendFooter(std::ostringstream& out, const std::string& footer) {
    std::istringstream lines(footer);
    bool examples = false;
    for (std::string line; std::getline(lines, line);) {
        if (line == "Example:" || line == "Examples:") {
            examples = true;
            out << '\n';
        } else if (examples && line.starts_with("  ")) {
            out << "  $ " << line.substr(2) << '\n';
        } else {
            out << "  " << line << '\n';
        }
    }
    out << '\n';
}

void AppendCommand(std::ostringstream& out, const CLI::App& command) {
    const CLI::Formatter formatter;
    std::string usage = formatter.make_usage(&command, CommandLineOf(command));
    usage = usage.substr(usage.find(": ") + 2);
    while (!usage.empty() && usage.back() == '\n')
        usage.pop_back();
    out << usage << ":\n  " << command.get_description() << "\n\n";
    const std::vector<const CLI::Option*> options = command.get_options(
        [&](const CLI::Option* option) { return option != command.get_help_ptr(); });
    // help2man takes a line for an option when two blanks or a line break and an indented
    // line part its name from its description.
    for (const CLI::Option* option : options) {
        const bool positional = !option->nonpositional();
        const std::string name = "  " + formatter.make_option_name(option, positional) +
                                 formatter.make_option_opts(option);
        out << name
            << (name.size() + 2 <= kColumn ? std::string(kColumn - name.size(), ' ')
                                           : "\n" + std::string(kColumn, ' '))
            << option->get_description() << '\n';
    }
    if (!options.empty()) out << '\n';
    if (!command.get_footer().empty()) AppendFooter(out, command.get_footer());
    for (const CLI::App* sub :
         command.get_subcommands([](const CLI::App* sub) { return !sub->get_group().empty(); }))
        AppendCommand(out, *sub);
}

}  // namespace

std::string CommandLineOf(const CLI::App& command) {
    std::string line = command.get_name();
    for (const CLI::App* p = command.get_parent(); p; p = p->get_parent())
        line = p->get_name() + " " + line;
    return line;
}

std::string ManualText(const CLI::App& app) {
    const CLI::Formatter formatter;
    std::ostringstream out;
    out << formatter.make_usage(&app, app.get_name()) << app.get_description() << "\n\n"
        << app.get_footer() << "\n\n"
        << formatter.make_groups(&app, CLI::AppFormatMode::Normal) << "\n*Subcommands*\n\n";
    for (const CLI::App* sub :
         app.get_subcommands([](const CLI::App* sub) { return !sub->get_group().empty(); }))
        AppendCommand(out, *sub);
    return out.str();
}

}  // namespace ostradb::cli

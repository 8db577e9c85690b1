// completion: the shell completion scripts, made from the command tree so that they never
// fall behind it, and the hidden command they ask for database names.
//
// Both scripts share one scanner written in the common ground of bash and zsh: it walks the
// words before the cursor as the command line parser would (subcommands, options and their
// values, arguments) and prints the candidates, one a line, a tab before a description;
// "@path" stands for local file names. Each shell's own function only hands the result over.

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include "commands.hpp"
#include "errors.hpp"
#include "output.hpp"

namespace ostradb::cli {

namespace {

constexpr const char* kDatabasesCommand = "__complete-databases";
// A tab press must never hang: a server that does not answer within this is no server.
constexpr double kDatabasesTimeout = 2;
const std::vector<std::string> kShells = {"bash", "zsh"};
// The connection options the scanner hands on to the hidden command.
const std::set<std::string> kConnectionOptions = {"--host", "--port", "--user", "--service"};

struct OptionSpec {
    std::vector<std::string> names;  // "-o", "--output"
    bool valued = false;
    bool connection = false;
    std::string values;  // candidates for the value, one a line, or "@path"
    std::string description;
};

struct CommandSpec {
    std::string path;                                              // "users add"; "" at the top
    std::vector<std::pair<std::string, std::string>> subcommands;  // name, description
    std::vector<OptionSpec> options;     // its own, then the inherited ones it does not shadow
    std::vector<std::string> arguments;  // what each argument completes to: "@db", "@path" ...
};

// The first clause of a help text: what fits on a completion menu's line.
std::string Brief(const std::string& text) {
    std::string brief = text.substr(0, text.find_first_of(";(\n"));
    while (!brief.empty() && brief.back() == ' ')
        brief.pop_back();
    return brief;
}

std::string Lines(const std::vector<std::string>& items) {
    std::string text;
    for (const std::string& item : items)
        text += (text.empty() ? "" : "\n") + item;
    return text;
}

bool Hidden(const CLI::App* command) {
    return command->get_group().empty();
}

OptionSpec OptionOf(const CLI::Option& option, bool connection) {
    OptionSpec spec;
    for (const std::string& name : option.get_snames())
        spec.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        spec.names.push_back("--" + name);
    spec.valued = option.get_expected_max() != 0;
    spec.connection =
        connection && std::any_of(spec.names.begin(), spec.names.end(),
                                  [](const std::string& n) { return kConnectionOptions.count(n); });
    if (option.get_type_name().starts_with("PATH")) spec.values = "@path";
    if (spec.names.back() == "--format")
        for (const auto& [name, format] : FormatsByName())
            spec.values += (spec.values.empty() ? "" : "\n") + name;
    spec.description = Brief(option.get_description());
    return spec;
}

void Collect(const CLI::App& command, const std::string& path,
             const std::vector<OptionSpec>& inherited, std::vector<CommandSpec>& specs) {
    CommandSpec spec{path, {}, {}, {}};
    std::set<std::string> own;
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_positional() && !option->nonpositional()) {
            const std::string name = option->get_name();
            spec.arguments.push_back(name == "DB"                                  ? "@db"
                                     : option->get_type_name().starts_with("PATH") ? "@path"
                                     : name == "SHELL"                             ? Lines(kShells)
                                                                                   : "");
            continue;
        }
        // The help flags of subcommands are copies of the top's.
        if (!path.empty() && option == command.get_help_ptr()) continue;
        spec.options.push_back(OptionOf(*option, path.empty()));
        for (const std::string& name : spec.options.back().names)
            own.insert(name);
    }
    std::vector<OptionSpec> passed = spec.options;
    for (const OptionSpec& option : inherited) {
        OptionSpec kept = option;
        std::erase_if(kept.names, [&](const std::string& name) { return own.count(name) > 0; });
        if (kept.names.empty()) continue;
        spec.options.push_back(kept);
        passed.push_back(std::move(kept));
    }
    std::vector<const CLI::App*> subcommands =
        command.get_subcommands([](const CLI::App* sub) { return !Hidden(sub); });
    for (const CLI::App* sub : subcommands)
        spec.subcommands.emplace_back(sub->get_name(), Brief(sub->get_description()));
    specs.push_back(std::move(spec));
    for (const CLI::App* sub : subcommands)
        Collect(*sub, path.empty() ? sub->get_name() : path + " " + sub->get_name(), passed, specs);
}

// A word in single quotes for either shell.
std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// What each command takes, as the scanner reads it: _ostradb_info CMD sets the variables.
std::string InfoFunction(const std::vector<CommandSpec>& specs) {
    std::ostringstream out;
    out << "_ostradb_info() {\n    case \"$1\" in\n";
    for (const CommandSpec& spec : specs) {
        std::vector<std::string> subs, options;
        std::string names = " ";
        for (const auto& [name, description] : spec.subcommands) {
            subs.push_back(name + "\t" + description);
            names += name + " ";
        }
        std::string valued = " ", connection = " ";
        for (const OptionSpec& option : spec.options)
            for (const std::string& name : option.names) {
                options.push_back(name + "\t" + option.description);
                if (option.valued) valued += name + " ";
                if (option.connection) connection += name + " ";
            }
        out << "    " << Quoted(spec.path) << ")\n"
            << "        _ostradb_subs=" << Quoted(Lines(subs)) << "\n"
            << "        _ostradb_subnames=" << Quoted(names) << "\n"
            << "        _ostradb_opts=" << Quoted(Lines(options)) << "\n"
            << "        _ostradb_valued=" << Quoted(valued) << "\n"
            << "        _ostradb_conn=" << Quoted(connection) << "\n"
            << "        ;;\n";
    }
    out << "    esac\n}\n\n";
    return out.str();
}

// The candidates of an option's value and of each argument: _ostradb_values CMD WORD and
// _ostradb_argument CMD INDEX print them.
std::string ValuesFunctions(const std::vector<CommandSpec>& specs) {
    std::map<std::string, std::vector<std::string>> values, arguments;
    for (const CommandSpec& spec : specs) {
        for (const OptionSpec& option : spec.options)
            if (!option.values.empty())
                for (const std::string& name : option.names)
                    values[option.values].push_back(Quoted(spec.path + "|" + name));
        for (std::size_t i = 0; i < spec.arguments.size(); ++i)
            if (!spec.arguments[i].empty())
                arguments[spec.arguments[i]].push_back(Quoted(spec.path + "|" + std::to_string(i)));
    }
    std::ostringstream out;
    auto function = [&](const char* name, const auto& cases) {
        out << name << "() {\n    case \"$1|$2\" in\n";
        for (const auto& [candidates, patterns] : cases) {
            std::string joined;
            for (const std::string& pattern : patterns)
                joined += (joined.empty() ? "" : "|") + pattern;
            out << "    " << joined << ")\n        printf '%s\\n' " << Quoted(candidates)
                << " ;;\n";
        }
        out << "    esac\n}\n\n";
    };
    function("_ostradb_values", values);
    function("_ostradb_argument", arguments);
    return out.str();
}

// The scanner: _ostradb_complete PROGRAM CURRENT WORDS... prints the candidates for the word
// CURRENT after WORDS (the words between the program's name and the cursor).
constexpr const char* kScanner = R"sh(_ostradb_complete() {
    local program=$1 current=$2 command='' word name value pending='' kind
    local count=0
    local -a connection
    connection=()
    shift 2
    while [ $# -gt 0 ]; do
        word=$1
        shift
        _ostradb_info "$command"
        case "$word" in
        --*=*)
            name=${word%%=*}
            case "$_ostradb_conn" in *" $name "*) connection+=("$name" "${word#*=}") ;; esac
            continue ;;
        -?*)
            case "$_ostradb_valued" in
            *" $word "*)
                # bash splits --host=db1 into three words.
                if [ $# -gt 0 ] && [ "$1" = = ]; then shift; fi
                if [ $# -eq 0 ]; then pending=$word; break; fi
                value=$1
                shift
                case "$_ostradb_conn" in *" $word "*) connection+=("$word" "$value") ;; esac
                ;;
            esac
            continue ;;
        esac
        if [ "$count" -eq 0 ]; then
            case "$_ostradb_subnames" in
            *" $word "*)
                command=${command:+$command }$word
                continue ;;
            esac
        fi
        count=$((count + 1))
    done
    _ostradb_info "$command"
    if [ -n "$pending" ]; then
        _ostradb_values "$command" "$pending"
        return 0
    fi
    case "$current" in
    -*)
        printf '%s\n' "$_ostradb_opts"
        return 0 ;;
    esac
    if [ "$count" -eq 0 ] && [ -n "$_ostradb_subs" ]; then
        printf '%s\n' "$_ostradb_subs"
        return 0
    fi
    kind=$(_ostradb_argument "$command" "$count")
    case "$kind" in
    @db) "$program" "${connection[@]}" )sh"
                                 "__complete-databases"
                                 R"sh( 2>/dev/null ;;
    ?*) printf '%s\n' "$kind" ;;
    esac
    return 0
}

)sh";

constexpr const char* kBash = R"sh(_ostradb() {
    local current=${COMP_WORDS[COMP_CWORD]} line word
    local IFS=$'\n'
    COMPREPLY=()
    for line in $(_ostradb_complete "${COMP_WORDS[0]}" "$current" \
            "${COMP_WORDS[@]:1:COMP_CWORD-1}"); do
        if [ "$line" = @path ]; then
            compopt -o filenames 2>/dev/null
            COMPREPLY+=($(compgen -f -- "$current"))
            continue
        fi
        word=${line%%$'\t'*}
        # What was typed may be the word itself or the word as the shell needs it written.
        if [[ $word == "$current"* ]]; then
            COMPREPLY+=("$(printf '%q' "$word")")
        elif [[ $(printf '%q' "$word") == "$current"* ]]; then
            COMPREPLY+=("$(printf '%q' "$word")")
        fi
    done
    return 0
}

complete -F _ostradb ostradb
)sh";

constexpr const char* kZsh = R"sh(_ostradb() {
    local line
    local -a lines described plain
    lines=("${(@f)$(_ostradb_complete "${words[1]}" "${words[CURRENT]}" \
        "${(@)words[2,CURRENT-1]}")}")
    for line in "${lines[@]}"; do
        case "$line" in
        @path) _files ;;
        *$'\t'*) described+=("${${line%%$'\t'*}//:/\\:}:${line#*$'\t'}") ;;
        ?*) plain+=("$line") ;;
        esac
    done
    (( ${#described} )) && _describe -t values ostradb described
    (( ${#plain} )) && compadd -a plain
    return 0
}

if [[ ${zsh_eval_context[-1]} == loadautofunc ]]; then
    _ostradb "$@"
else
    compdef _ostradb ostradb
fi
)sh";

std::string Script(const CLI::App& app, const std::string& shell) {
    std::vector<CommandSpec> specs;
    Collect(app, "", {}, specs);
    std::string script =
        shell == "zsh"
            ? "#compdef ostradb\n" + std::string(
                                         "# zsh completion of ostradb. Load it with\n"
                                         "#   source <(ostradb completion zsh)\n"
                                         "# or save it as _ostradb in a folder of $fpath.\n\n")
            : "# bash completion of ostradb. Load it with\n"
              "#   source <(ostradb completion bash)\n"
              "# or save it in ~/.local/share/bash-completion/completions/ostradb\n\n";
    script += InfoFunction(specs) + ValuesFunctions(specs) + kScanner;
    script += shell == "zsh" ? kZsh : kBash;
    return script;
}

// The names of the databases, one a line, for a tab press: quiet, quick, and silent when no
// server answers.
void RunCompleteDatabases(Context& ctx) {
    ctx.quiet = true;
    ConnectionFlags& connection = ctx.options.connection;
    connection.timeout =
        std::min(connection.timeout.value_or(kDatabasesTimeout), kDatabasesTimeout);
    try {
        std::string names;
        for (const Database& db : ctx.Client().databases())
            names += db.name + "\n";
        std::cout << names;
    } catch (...) {
        throw SilentFailure();
    }
}

}  // namespace

void AddCompletionCommands(CLI::App& app, Context& ctx) {
    auto shell = std::make_shared<std::string>();
    CLI::App* completion =
        app.add_subcommand("completion", "Print the shell completion script for bash or zsh");
    completion->add_option("SHELL", *shell, "bash or zsh")
        ->required()
        ->check(CLI::IsMember(kShells));
    completion->footer(
        "Completes subcommands, options, and the database names of the server the command line\n"
        "or the environment names.\n"
        "Examples:\n"
        "  source <(ostradb completion bash)      in ~/.bashrc\n"
        "  source <(ostradb completion zsh)       in ~/.zshrc, after compinit");
    ctx.SetAction(completion, [&app, shell] { std::cout << Script(app, *shell); });

    CLI::App* databases = app.add_subcommand(kDatabasesCommand, "");
    databases->group("");
    ctx.SetAction(databases, [&ctx] { RunCompleteDatabases(ctx); });
}

}  // namespace ostradb::cli

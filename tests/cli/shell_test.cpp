// What scripts and shells get: every listing in CSV, TSV, the table and JSON with the same
// columns, bash completion against the sandbox, and --version.

#include <algorithm>

#include "cli/cli_support.hpp"

namespace ostradb::test {
namespace {

using Row = std::vector<std::string>;

// CSV as RFC 4180 reads it: quoted fields may hold commas, doubled quotes and line breaks.
std::vector<Row> ParseCsv(const std::string& text) {
    std::vector<Row> rows;
    Row row;
    std::string field;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            if (c != '"')
                field += c;
            else if (i + 1 < text.size() && text[i + 1] == '"')
                field += text[++i];
            else
                quoted = false;
        } else if (c == '"') {
            quoted = true;
        } else if (c == ',' || c == '\n') {
            row.push_back(std::move(field));
            field.clear();
            if (c == '\n') {
                rows.push_back(std::move(row));
                row.clear();
            }
        } else {
            field += c;
        }
    }
    EXPECT_TRUE(row.empty() && field.empty() && !quoted) << "CSV not ended by a line break";
    return rows;
}

std::vector<Row> SplitTsv(const std::string& text) {
    std::vector<Row> rows;
    for (const std::string& line : Lines(text)) {
        Row& row = rows.emplace_back(1);
        for (const char c : line) {
            if (c == '\t')
                row.emplace_back();
            else
                row.back().push_back(c);
        }
    }
    return rows;
}

class ShellTest : public CliTest {
protected:
    // The candidates bash offers for the last of words, from the script the client prints.
    std::vector<std::string> Complete(const std::vector<std::string>& words,
                                      const Environment& env) const {
        std::vector<std::string> argv = {"/bin/bash", "-c", R"(
            source <("$0" completion bash) || exit 9
            COMP_WORDS=("$0" "$@")
            COMP_CWORD=$#
            _ostradb || exit 8
            ((${#COMPREPLY[@]})) && printf '%s\n' "${COMPREPLY[@]}"
            exit 0)",
                                         OSTRADB_CLI_PATH};
        argv.insert(argv.end(), words.begin(), words.end());
        const CliResult result = RunProgram(argv, env);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.err, "");
        std::vector<std::string> candidates = Lines(result.out);
        std::sort(candidates.begin(), candidates.end());
        return candidates;
    }
};

TEST_F(ShellTest, ListingsPrintTheSameColumnsInEveryFormat) {
    const std::string note = "Скв. 12, \"новая\"\tслой\nвторая";
    ASSERT_EQ(Run({"option", "Note", note}).status, 0);
    const struct {
        std::vector<std::string> args;
        std::string out;
    } exact[] = {
        {{"options", "Note", "--format", "csv"},
         "name,value\nNote,\"Скв. 12, \"\"новая\"\"\tслой\nвторая\"\n"},
        {{"options", "Note", "--format=tsv"},
         "name\tvalue\nNote\tСкв. 12, \"новая\"\\tслой\\nвторая\n"},
        {{"--format", "csv", "--no-header", "options", "Note"},
         "Note,\"Скв. 12, \"\"новая\"\"\tслой\nвторая\"\n"},
        {{"options", "ServerName", "--no-header"}, "ServerName  Песочница разработчика\n"},
        // Nothing found: the header alone, the table's message, or nothing.
        {{"options", "Zz*", "--format", "csv"}, "name,value\n"},
        {{"options", "Zz*"}, "(no options)\n"},
        {{"options", "Zz*", "--no-header"}, ""},
        {{"options", "Zz*", "--format", "tsv", "--no-header"}, ""},
    };
    for (const auto& c : exact) {
        const CliResult result = Run(c.args);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, c.out) << c.args[0] << " " << c.args.back();
    }

    // CSV and TSV carry the same cells, the table the same column heads; JSON is --json's.
    const std::string file = NorthSea("Eastfield/N1/Logging 2016/N1_log_2016.ws");
    const std::vector<std::string> listings[] = {{"databases", "--structures"},
                                                 {"structure", "2"},
                                                 {"levels", "2", "Eastfield"},
                                                 {"files", "2", "Eastfield"},
                                                 {"search", "2", "well=N1"},
                                                 {"tables", file},
                                                 {"curves", file},
                                                 {"options"},
                                                 {"users"},
                                                 {"stat", "2", "--group", "well", "--files"}};
    for (std::vector<std::string> args : listings) {
        const std::string name = args[0];
        args.insert(args.end(), {"--format", "tsv"});
        const std::vector<Row> tsv = SplitTsv(Run(args).out);
        args.back() = "csv";
        std::vector<Row> cells = ParseCsv(Run(args).out);
        for (Row& row : cells)
            for (std::string& cell : row) {  // as TSV writes them
                std::string escaped;
                for (const char c : cell)
                    escaped += c == '\t' ? "\\t" : c == '\n' ? "\\n" : std::string(1, c);
                cell = escaped;
            }
        ASSERT_GE(tsv.size(), 2u) << name;
        EXPECT_EQ(cells, tsv) << name;

        args.back() = "json";
        const std::string json = Run(args).out;
        args.pop_back();
        args.back() = "--json";
        EXPECT_EQ(json, Run(args).out) << name;
        if (name == "stat") continue;  // its table is the server's own text
        args.pop_back();
        std::string heads;
        for (const std::string& head : tsv[0])
            heads += (heads.empty() ? "" : " ") + head;
        std::string table = Lines(Run(args).out).at(0);
        table.erase(std::unique(table.begin(), table.end(),
                                [](char a, char b) { return a == ' ' && b == ' '; }),
                    table.end());
        std::transform(heads.begin(), heads.end(), heads.begin(), ::toupper);
        EXPECT_EQ(table.substr(table.find_first_not_of(' ')), heads) << name;
    }

    const CliResult quality = Run({"stat", "2", "--group", "well", "--quality", "--format", "csv"});
    EXPECT_EQ(quality.status, 2);
    EXPECT_NE(quality.err.find("--quality"), std::string::npos) << quality.err;
}

TEST_F(ShellTest, BashCompletesSubcommandsOptionsAndDatabaseNames) {
    const SilentListener silent;
    Environment silentServer = Env();
    silentServer["OSTRADB_PORT"] = std::to_string(silent.Port());
    Environment noServer = Env();
    noServer["OSTRADB_PORT"] = "1";

    const std::vector<std::string> databases = {"North\\ Sea\\ Demo", "Западная\\ Сибирь"};
    const std::string port = std::to_string(server->Port());
    const struct {
        std::vector<std::string> words;
        Environment env;
        std::vector<std::string> candidates;
    } cases[] = {
        {{"fi"}, Env(), {"files"}},
        {{"users", ""}, Env(), {"add", "check", "set-groups"}},
        {{"files", "--f"}, Env(), {"--filter", "--format"}},
        {{"databases", "-s"}, Env(), {"-s"}},
        {{"--format", ""}, Env(), {"csv", "json", "table", "tsv"}},
        {{"files", "--format", "=", "t"}, Env(), {"table", "tsv"}},
        {{"completion", ""}, Env(), {"bash", "zsh"}},
        // The first argument of a database's commands, with the names from the server.
        {{"files", ""}, Env(), databases},
        {{"search", "North\\ S"}, Env(), {databases[0]}},
        {{"files", "2", ""}, Env(), {}},
        // The connection the command line names; no server, or a silent one: no names.
        {{"-p", port, "structure", ""}, noServer, databases},
        {{"--port=" + port, "levels", ""}, noServer, databases},
        {{"structure", ""}, noServer, {}},
        {{"structure", ""}, silentServer, {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Complete(c.words, c.env), c.candidates) << ::testing::PrintToString(c.words);
}

}  // namespace
}  // namespace ostradb::test

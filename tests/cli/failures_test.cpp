// Exit statuses and error lines (usage errors, refusals, a server that is down, a wrong
// password), the packet trace, raw packets, and the demo.

#include <pugixml.hpp>
#include <regex>

#include "cli/cli_support.hpp"
#include "protocol/login_digest.hpp"
#include "support/render.hpp"
#include "support/scripted_server.hpp"

namespace ostradb::test {
namespace {

class FailuresTest : public CliTest {};
using test::Row;

// The one error line of a failure, which must be all of standard error.
std::string OnlyLine(const CliResult& result) {
    const auto lines = Lines(result.err);
    EXPECT_EQ(lines.size(), 1u) << result.err;
    EXPECT_TRUE(result.err.ends_with("\n"));
    return lines.empty() ? std::string() : lines.front();
}

TEST_F(FailuresTest, UsageErrorsExitTwoAndShowTheUsage) {
    const struct {
        std::vector<std::string> args;
        std::string message;
        std::string usage;  // the usage line of the command concerned
    } cases[] = {
        {{"frobnicate"},
         "unknown subcommand \"frobnicate\"",
         "Usage: ostradb [OPTIONS] SUBCOMMAND"},
        {{}, "A subcommand is required", "Usage: ostradb [OPTIONS] SUBCOMMAND"},
        {{"structure"}, "DB is required", "Usage: ostradb structure [OPTIONS] DB"},
        {{"get"}, "FILE is required", "Usage: ostradb get [OPTIONS] FILE"},
        {{"mv", "a"}, "DST is required", "Usage: ostradb mv [OPTIONS] SRC DST"},
        {{"stat", "2"}, "--group is required", "Usage: ostradb stat [OPTIONS] DB [PATH...]"},
        {{"--port", "0", "version"},
         "--port: Value 0 not in range",
         "Usage: ostradb [OPTIONS] SUBCOMMAND"},
        {{"version", "--bogus"}, "--bogus", "Usage: ostradb version [OPTIONS]"},
        {{"users", "add"}, "LOGIN is required", "Usage: ostradb users add [OPTIONS] LOGIN"},
        {{"options", "--format", "xml"},
         "--format: xml not in {table,csv,tsv,json}",
         "Usage: ostradb [OPTIONS] SUBCOMMAND"},
        {{"--json", "options", "--format", "csv"},
         "--format excludes --json",
         "Usage: ostradb [OPTIONS] SUBCOMMAND"},
        {{"completion", "fish"}, "SHELL: fish not in {bash,zsh}", "Usage: ostradb completion"},
    };
    for (const auto& c : cases) {
        const CliResult result = Run(c.args);
        EXPECT_EQ(Row(result.status, result.out), "2||") << c.message;
        EXPECT_TRUE(result.err.starts_with("ostradb: ") &&
                    result.err.find(c.message) != std::string::npos &&
                    result.err.find(c.usage) != std::string::npos)
            << result.err;
    }
    // Usage errors found once the command runs: one line, and where to read more.
    Environment badPort = Env();
    badPort["OSTRADB_PORT"] = "http";
    const std::pair<Environment, std::string> late[] = {
        {badPort, "OSTRADB_PORT: not a port number: \"http\""},
        {Env("admin", std::nullopt), "set OSTRADB_PASSWORD"}};
    for (const auto& [env, message] : late) {
        const CliResult result = RunCli({"version"}, env);
        EXPECT_EQ(result.status, 2) << result.err;
        EXPECT_TRUE(result.err.find(message) != std::string::npos &&
                    result.err.ends_with("\nRun 'ostradb --help' for usage.\n"))
            << result.err;
    }

    const CliResult help = Run({"--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* command : {"version", "raw",    "databases",  "structure", "levels", "files",
                                "get",     "put",    "exists",     "rm",        "mv",     "search",
                                "tables",  "curves", "plansheets", "options",   "option", "users",
                                "log",     "stat",   "demo",       "completion"})
        EXPECT_NE(help.out.find("\n  " + std::string(command) + " "), std::string::npos) << command;
    EXPECT_EQ(help.out.find("__complete"), std::string::npos);
}

// A request the server refuses: status 1 and one line naming the step, the server's code
// and its text.
TEST_F(FailuresTest, RefusalsExitOneWithTheServersCodeAndText) {
    const std::string file = NorthSea("Eastfield/N1/Logging 2016/N1_log_2016.ws");
    const std::string missing = NorthSea("Eastfield/N1/Logging 2016/nothere.ws");
    const struct {
        std::string user;
        std::vector<std::string> args;
        std::string line;  // what the line starts with
        std::string code;
    } cases[] = {
        {"viewer", {"rm", file}, "ostradb: deleting \"" + file + "\": Доступ запрещён", "16"},
        {"viewer",
         {"put", file, "/dev/null"},
         "ostradb: writing \"" + file + "\": Доступ запрещён",
         "16"},
        {"viewer", {"log"}, "ostradb: reading the server's log: Доступ запрещён", "16"},
        {"admin",
         {"get", missing},
         "ostradb: reading \"" + missing + "\": Указанный файл не найден",
         "5"},
        {"admin", {"tables", missing}, "ostradb: listing the tables of \"" + missing + "\": ", "5"},
        {"admin", {"raw", "<command cmd=\"nonsense\"/>"}, "ostradb: sending the packet: ", "6"},
    };
    for (const auto& c : cases) {
        const CliResult result = RunAs(c.user, c.args);
        EXPECT_EQ(result.status, 1) << c.line;
        const std::string line = OnlyLine(result);
        EXPECT_TRUE(line.starts_with(c.line)) << line;
        EXPECT_TRUE(line.ends_with(" (server code " + c.code + ")")) << line;
    }
    EXPECT_TRUE(fs::exists(file));

    // Names the client looks up itself: the line says what there is instead.
    const CliResult db = Run({"structure", "Atlantis"});
    EXPECT_EQ(db.status, 1);
    EXPECT_EQ(OnlyLine(db),
              "ostradb: reading the structure of \"Atlantis\": no database \"Atlantis\" on the "
              "server; it has \"Западная Сибирь\", \"North Sea Demo\"");
}

TEST_F(FailuresTest, ServerDownAndWrongPasswordFailClearly) {
    Environment env = Env();
    env["OSTRADB_PORT"] = std::to_string(ClosedPort());
    const CliResult down = RunCli({"databases"}, env);
    EXPECT_EQ(Row(down.status, down.out), "1||");
    const auto lines = Lines(down.err);
    ASSERT_EQ(lines.size(), 2u) << down.err;
    EXPECT_TRUE(lines[0].starts_with("ostradb: Невозможно подключит")) << lines[0];
    EXPECT_NE(lines[0].find("\"127.0.0.1\""), std::string::npos) << lines[0];
    EXPECT_TRUE(lines[1].starts_with("ostradb: cannot connect to the server on \"127.0.0.1\";"))
        << lines[1];

    // Without a terminal nobody can type another password: the refusal ends the run.
    const CliResult wrong = RunCli({"databases"}, Env("admin", "wrong"), "admin\n", 10s);
    EXPECT_EQ(Row(wrong.status, wrong.out), "1||");
    const std::string line = OnlyLine(wrong);
    EXPECT_TRUE(line.starts_with(
        "ostradb: logging in to 127.0.0.1:" + std::to_string(server->Port()) + ": "))
        << line;
    EXPECT_TRUE(line.ends_with("(server code 28)")) << line;
}

TEST_F(FailuresTest, TraceShowsThePacketsWithTheDigestMasked) {
    const CliResult plain = Run({"databases"});
    const CliResult traced = Run({"--trace", "databases"});
    ASSERT_EQ(traced.status, 0) << traced.err;
    EXPECT_EQ(traced.out, plain.out);
    for (const std::string& line : Lines(traced.err))
        EXPECT_TRUE(line.starts_with("> ") || line.starts_with("< ")) << line;
    EXPECT_NE(traced.err.find("> <packet version=\"1\">"), std::string::npos);
    EXPECT_NE(traced.err.find("cmd=\"get_db_list\""), std::string::npos);
    EXPECT_NE(traced.err.find("<   <answer>"), std::string::npos);
    EXPECT_NE(traced.err.find("cmd=\"login\" user=\"admin\" pass=\"***\""), std::string::npos)
        << traced.err;

    // The digest that went to the server is made from the challenge the trace shows.
    std::smatch challenge;
    ASSERT_TRUE(
        std::regex_search(traced.err, challenge, std::regex("<answer result=\"([0-9a-f]+)\"")));
    const std::string digest = detail::LoginDigest("admin", challenge[1].str());
    ASSERT_EQ(digest.size(), 32u);
    EXPECT_EQ(traced.err.find(digest), std::string::npos);
}

TEST_F(FailuresTest, RawSendsAPacketAndPrintsTheAnswer) {
    const CliResult version = Run({"raw", "<command cmd=\"get_server_version\"/>"});
    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_string(version.out.c_str())) << version.out;
    EXPECT_STREQ(doc.select_node("/packet/answer/Version").node().attribute("Minor").value(), "1");
    EXPECT_EQ(version.out.find('\r'), std::string::npos);

    // A whole packet from standard input, answered in the server's words.
    const CliResult list =
        Run({"raw", "-"}, "<packet version=\"1\"><command cmd=\"get_db_list\"/></packet>\n");
    ASSERT_TRUE(doc.load_string(list.out.c_str())) << list.out;
    const auto items = doc.select_nodes("/packet/answer/databases/item");
    ASSERT_EQ(items.size(), 2u);
    EXPECT_STREQ(items[0].node().attribute("name").value(), "Западная Сибирь");
    EXPECT_EQ(items[1].node().attribute("path").value(), NorthSea(""));

    const CliResult json = Run({"raw", "<command cmd=\"get_server_version\"/>", "--json"});
    EXPECT_EQ(nlohmann::json::parse(json.out).at("answer"), version.out);
    for (const char* bad : {"", "hello", "<packet>"}) {
        const CliResult result = Run({"raw", bad});
        EXPECT_EQ(result.status, 2) << bad;
        EXPECT_TRUE(result.err.starts_with("ostradb: raw: ")) << result.err;
    }
}

TEST_F(FailuresTest, DemoWalksThroughEveryStepAndCleansUp) {
    // The demo needs nothing of the environment: no server, no user, no password.
    const CliResult demo =
        RunCli({"demo"}, {{"HOME", home.string()}, {"OSTRADB_CONFIG_DIR", home.string()}}, {}, 60s);
    ASSERT_EQ(demo.status, 0) << demo.err;
    std::size_t at = 0;
    for (int step = 1; step <= 13; ++step) {
        at = demo.out.find("\n" + std::to_string(step) + ". ", at);
        ASSERT_NE(at, std::string::npos) << "step " << step << " missing:\n" << demo.out;
        EXPECT_EQ(demo.out.find("\n$ ostradb ", at), demo.out.find('\n', at + 1))
            << "step " << step << " shows no command";
    }
    for (const char* shown : {"server  0.1.0.0", "North Sea Demo", "ГК ",
                              "same bytes as the original: yes", "Your turn."})
        EXPECT_NE(demo.out.find(shown), std::string::npos) << shown;
    EXPECT_EQ(demo.out.find("ostradb: "), std::string::npos);
    // Its data lived in a temporary folder that is gone now.
    std::smatch copy;
    ASSERT_TRUE(std::regex_search(demo.out, copy, std::regex("sample data in (\\S+)/data\\.")));
    EXPECT_FALSE(fs::exists(copy[1].str())) << copy[1];
}

}  // namespace
}  // namespace ostradb::test

// The commands that change what the server holds, checked on the sandbox's data directory:
// uploads and downloads byte for byte, moves and deletions, options and users.

#include <pugixml.hpp>

#include "cli/cli_support.hpp"
#include "support/render.hpp"

namespace ostradb::test {
namespace {

using nlohmann::json;
using test::Row;

class ChangesTest : public CliTest {
protected:
    std::string Option(const std::string& name) const {
        pugi::xml_document doc;
        doc.load_file((dataDir / "options.xml").c_str());
        return doc.select_node(("/Options/Item[@Name='" + name + "']/@Value").c_str())
            .attribute()
            .value();
    }
    // The members of a group as users.xml stores them.
    std::vector<std::string> Members(const std::string& group) const {
        pugi::xml_document doc;
        doc.load_file((dataDir / "users.xml").c_str());
        std::vector<std::string> users;
        for (auto user :
             doc.select_nodes(("//Groups/Item[@Name='" + group + "']/Users/Item").c_str()))
            users.emplace_back(user.node().text().get());
        return users;
    }

    const std::string survey = NorthSea("Eastfield/N1/Logging 2016/");
};

TEST_F(ChangesTest, PutAndGetMoveTheExactBytes) {
    const std::string bytes = BinaryBytes(300000, 2463534242u);
    const fs::path local = dir / "local.bin";
    WriteFile(local, bytes);

    // From a file and from standard input; the server's file has exactly those bytes.
    const CliResult fromFile = Run({"put", survey + "new.ws", local.string()});
    EXPECT_EQ(Row(fromFile.status, fromFile.out, fromFile.err),
              Row(0, "300000 bytes written to " + survey + "new.ws\n", ""));
    EXPECT_TRUE(ReadFile(survey + "new.ws") == bytes);
    const std::string small = bytes.substr(1000, 777);
    const CliResult fromStdin = Run({"put", survey + "piped.ws", "--json"}, small);
    EXPECT_EQ(json::parse(fromStdin.out), (json{{"file", survey + "piped.ws"}, {"bytes", 777}}));
    EXPECT_EQ(ReadFile(survey + "piped.ws"), small);

    // To a pipe: the bytes and nothing else.
    const CliResult piped = Run({"get", survey + "new.ws"});
    EXPECT_TRUE(piped.status == 0 && piped.out == bytes && piped.err.empty()) << piped.err;

    // To a directory: the file under its own name, and no temporary left beside it.
    const fs::path downloads = dir / "downloads";
    fs::create_directories(downloads);
    const CliResult saved = Run({"get", survey + "new.ws", "-o", downloads.string()});
    EXPECT_EQ(saved.out, "300000 bytes written to " + (downloads / "new.ws").string() + "\n");
    EXPECT_EQ(ListDir(downloads), std::vector<std::string>{"new.ws"});
    EXPECT_TRUE(ReadFile(downloads / "new.ws") == bytes);
    // To a named file, replacing what was there.
    const fs::path named = downloads / "named.ws";
    WriteFile(named, "old contents, longer than the new ones ....................................");
    const json doc = Json({"get", survey + "piped.ws", "-o", named.string()});
    EXPECT_EQ(doc,
              (json{{"file", survey + "piped.ws"}, {"output", named.string()}, {"bytes", 777}}));
    EXPECT_EQ(ReadFile(named), small);

    // A missing file leaves nothing behind: no empty output and no temporary.
    EXPECT_EQ(Run({"get", survey + "nothere.ws", "-o", (downloads / "x.ws").string()}).status, 1);
    EXPECT_EQ(ListDir(downloads), (std::vector<std::string>{"named.ws", "new.ws"}));
}

// Transfers cut or garbled by the server lose nothing: a download keeps the local file that
// was there and leaves no temporary beside it; an upload the server did not acknowledge is
// reported as failed, the server's file unchanged unless the server stored it before the cut.
TEST_F(ChangesTest, CutTransfersLoseNothing) {
    const std::string file = survey + "N1_log_2016.ws";
    const std::string original = ReadFile(file);
    const fs::path local = dir / "transfers" / "local.ws";
    const fs::path upload = dir / "upload.bin";
    fs::create_directories(local.parent_path());
    WriteFile(local, "what was there");
    WriteFile(upload, BinaryBytes(300000));
    const struct {
        const char* command;
        std::int64_t sandbox::FaultSwitches::*cut;  // after how many bytes of what
        std::int64_t at;
        bool stored;  // the server stored the upload before the cut
    } cases[] = {
        {"get_file_contents", &sandbox::FaultSwitches::dropAfterAnswerBytes, 0, false},
        {"get_file_contents", &sandbox::FaultSwitches::dropAfterAnswerBytes, 60, false},
        {"get_file_contents", &sandbox::FaultSwitches::dropAfterPayloadBytes, 0, false},
        {"get_file_contents", &sandbox::FaultSwitches::dropAfterPayloadBytes, 5000, false},
        {"get_file_contents", nullptr, 0, false},  // malformed answer
        {"put_file_contents", &sandbox::FaultSwitches::dropAfterRequestPayloadBytes, 0, false},
        {"put_file_contents", &sandbox::FaultSwitches::dropAfterRequestPayloadBytes, 150000, false},
        {"put_file_contents", &sandbox::FaultSwitches::dropAfterAnswerBytes, 10, true},
    };
    for (const auto& c : cases) {
        sandbox::FaultSwitches faults;
        faults.command = c.command;
        if (c.cut)
            faults.*c.cut = c.at;
        else
            faults.malformedAnswer = true;
        server->SetFaults(faults);
        const bool get = std::string_view(c.command) == "get_file_contents";
        const CliResult result =
            get ? Run({"get", file, "-o", local.string()}) : Run({"put", file, upload.string()});
        SCOPED_TRACE(std::string(c.command) + " cut at " + std::to_string(c.at));
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(Lines(result.err).size(), 1u) << result.err;
        EXPECT_EQ(ListDir(local.parent_path()), std::vector<std::string>{"local.ws"});
        EXPECT_EQ(ReadFile(local), "what was there");
        EXPECT_EQ(ReadFile(file) == original, !c.stored);
        WriteFile(file, original);
    }
    server->ClearFaults();
    EXPECT_EQ(Run({"get", file, "-o", local.string()}).status, 0);
    EXPECT_TRUE(ReadFile(local) == original);
}

TEST_F(ChangesTest, ExistsMoveAndDelete) {
    const std::string a = survey + "N1_log_2016.ws";
    const std::string b = survey + "renamed.ws";
    const std::string original = ReadFile(a);
    EXPECT_EQ(Run({"exists", a}).out, "yes\n");
    EXPECT_EQ(Json({"exists", b}), (json{{"file", b}, {"exists", false}}));

    EXPECT_EQ(Run({"mv", a, b}).out, "moved \"" + a + "\" to \"" + b + "\"\n");
    EXPECT_EQ(Row(fs::exists(a), ReadFile(b) == original, Run({"exists", a}).out,
                  Run({"mv", a, b}).status),
              "0|1|no\n|1|");

    // Several files: each has its result; one that fails makes the status 1, the others go.
    const std::string c = survey + "N1_log_2016_rep.ws";
    const CliResult removed = Run({"rm", b, survey + "nothere.ws", c, "--json"});
    EXPECT_EQ(removed.status, 1);
    EXPECT_EQ(removed.err, "ostradb: deleting files: some files were not deleted\n");
    const json results = json::parse(removed.out).at("results");
    ASSERT_EQ(results.size(), 3u);
    EXPECT_EQ(results[0], (json{{"file", b}, {"ok", true}, {"code", 0}, {"message", "deleted"}}));
    EXPECT_EQ(Row(results[1].at("ok"), results[1].at("code"), results[2].at("ok"), fs::exists(b),
                  fs::exists(c)),
              "false|5|true|0|0|");

    const std::string d = survey + "N1_log_2016_ext.ws";
    const CliResult one = Run({"rm", d});
    EXPECT_EQ(Row(one.status, Lines(one.out).at(1), fs::exists(d)), Row(0, d + "  deleted", 0));
}

TEST_F(ChangesTest, OptionIsSetOnTheServer) {
    ASSERT_EQ(Option("LogLevel"), "1");
    EXPECT_EQ(Run({"option", "LogLevel", "3"}).out, "3\n");
    EXPECT_EQ(Option("LogLevel"), "3");
    EXPECT_EQ(Json({"option", "LogLevel"}), (json{{"name", "LogLevel"}, {"value", "3"}}));
    // A viewer may read it, not change it.
    EXPECT_EQ(Row(RunAs("viewer", {"option", "LogLevel"}).out,
                  RunAs("viewer", {"option", "LogLevel", "5"}).status, Option("LogLevel")),
              "3\n|1|3|");
}

TEST_F(ChangesTest, UsersAreAddedAndRegroupedOnTheServer) {
    const json before = Json({"users"});
    ASSERT_EQ(before.at("users").size(), 2u);
    EXPECT_EQ(before["users"][0].at("rights_mask"), 127);
    EXPECT_EQ(before["users"][1], (json{{"login", "viewer"},
                                        {"name", "Наблюдатель"},
                                        {"groups", {"Наблюдатели"}},
                                        {"rights", {"view"}},
                                        {"rights_mask", 1}}));

    Environment env = Env();
    env["OSTRADB_NEW_PASSWORD"] = "s3cret";
    EXPECT_EQ(RunCli({"users", "add", "anna", "--name", "Анна", "--group", "Наблюдатели"}, env).out,
              "added user anna (groups: Наблюдатели)\n");
    EXPECT_EQ(Members("Наблюдатели"), (std::vector<std::string>{"viewer", "anna"}));
    // The new user logs in with the new password, with the group's rights only.
    const Environment anna = Env("anna", "s3cret");
    EXPECT_EQ(
        Row(RunCli({"version"}, anna).status, RunCli({"option", "LogLevel", "4"}, anna).status),
        "0|1|");
    EXPECT_EQ(Run({"users", "set-groups", "anna", "Администраторы"}).status, 0);
    EXPECT_EQ(Members("Администраторы"), (std::vector<std::string>{"admin", "anna"}));
    EXPECT_EQ(Members("Наблюдатели"), std::vector<std::string>{"viewer"});
    EXPECT_EQ(RunCli({"option", "LogLevel", "4"}, anna).status, 0);

    // Refusals change nothing on the server.
    const std::string stored = ReadFile(dataDir / "users.xml");
    const struct {
        std::vector<std::string> args;
        int status;
        std::string message;
    } refused[] = {{{"users", "add", "anna"}, 1, "exists already"},
                   {{"users", "add", "bob", "--group", "Nobody"}, 2, "no group \"Nobody\""},
                   {{"users", "set-groups", "nobody", "Наблюдатели"}, 1, "no user \"nobody\""}};
    for (const auto& r : refused) {
        const CliResult result = RunCli(r.args, env);
        EXPECT_EQ(result.status, r.status) << r.message;
        EXPECT_NE(result.err.find(r.message), std::string::npos) << result.err;
    }
    EXPECT_EQ(ReadFile(dataDir / "users.xml"), stored);
    // Nobody left to administer users: refused before anything is saved.
    EXPECT_EQ(Run({"users", "set-groups", "anna"}).status, 0);
    const std::string lastAdmin = ReadFile(dataDir / "users.xml");
    const CliResult orphan = Run({"users", "set-groups", "admin", "Наблюдатели"});
    EXPECT_EQ(orphan.status, 1);
    EXPECT_EQ(ReadFile(dataDir / "users.xml"), lastAdmin);
    EXPECT_EQ(Json({"users", "check"}), (json{{"consistent", true}}));
    // Without a password for the new user and without a terminal: a usage error.
    EXPECT_EQ(Run({"users", "add", "carl"}).status, 2);
}

}  // namespace
}  // namespace ostradb::test

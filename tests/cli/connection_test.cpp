// Where the client connects and for how long it waits: the time-out against a server that never
// answers, the password file and connection names.

#include "cli/cli_support.hpp"

namespace ostradb::test {
namespace {

class ConnectionTest : public CliTest {};

TEST_F(ConnectionTest, TimeoutEndsACommandAgainstAServerThatNeverAnswers) {
    const SilentListener silent;
    const std::string where = "127.0.0.1:" + std::to_string(silent.Port());
    Environment env = Env();
    env["OSTRADB_PORT"] = std::to_string(silent.Port());
    Environment fromEnv = env;
    fromEnv["OSTRADB_TIMEOUT"] = "1";
    const struct {
        std::vector<std::string> args;
        Environment env;
        std::string seconds;
    } cases[] = {{{"--timeout", "2", "databases"}, env, "2"}, {{"databases"}, fromEnv, "1"}};
    for (const auto& c : cases) {
        const CliResult result = RunCli(c.args, c.env, {}, 15s);
        EXPECT_EQ(result.status, 1) << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find("the server at " + where + " did not respond within " +
                                  c.seconds + " s"),
                  std::string::npos)
            << result.err;
    }
}

TEST_F(ConnectionTest, PasswordFileAndConnectionNamesFillWhatIsNotGiven) {
    const fs::path passwords = home / "passwords";
    WriteFile(passwords,
              "127.0.0.1:*:viewer:viewer\n*:" + std::to_string(server->Port()) + ":admin:admin\n");
    fs::permissions(passwords, fs::perms::owner_read | fs::perms::owner_write);
    WriteFile(home / "servers.ini", "[sandbox]\nhost = 127.0.0.1\nport = " +
                                        std::to_string(server->Port()) + "\nuser = viewer\n");
    Environment env = Env("admin", std::nullopt);
    for (const char* name : {"OSTRADB_HOST", "OSTRADB_PORT", "OSTRADB_USER"})
        env.erase(name);

    // The section's user, or the one the flag names; each with its password from the file.
    const struct {
        std::vector<std::string> args;
        std::string login;
    } cases[] = {{{"-s", "sandbox", "--trace", "version"}, "user=\"viewer\""},
                 {{"--service", "sandbox", "-U", "admin", "--trace", "version"}, "user=\"admin\""}};
    for (const auto& c : cases) {
        const CliResult result = RunCli(c.args, env);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_NE(result.err.find("cmd=\"login\" " + c.login), std::string::npos) << result.err;
    }

    const CliResult unknown = RunCli({"-s", "elsewhere", "version"}, env);
    EXPECT_EQ(unknown.status, 2);
    EXPECT_NE(unknown.err.find("no connection \"elsewhere\""), std::string::npos) << unknown.err;
    EXPECT_NE(unknown.err.find("\"sandbox\""), std::string::npos) << unknown.err;

    // A password file others may read is not used: without a terminal, no password at all.
    fs::permissions(passwords, fs::perms::others_read, fs::perm_options::add);
    const CliResult exposed = RunCli({"-s", "sandbox", "version"}, env);
    EXPECT_EQ(exposed.status, 2);
    EXPECT_NE(exposed.err.find("ostradb: the password file " + passwords.string() + " is ignored"),
              std::string::npos)
        << exposed.err;
}

}  // namespace
}  // namespace ostradb::test

// Where the client connects: options over environment over connection names over stored
// settings, and the password file's matching and its refusal of a file others may read.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "ostradb/client/connect_options.hpp"
#include "ostradb/client/errors.hpp"
#include "support/files.hpp"

namespace ostradb {
namespace {

namespace fs = std::filesystem;

class ConnectOptionsTest : public ::testing::Test {
protected:
    ConnectOptionsTest() {
        for (const char* name : kVariables)
            ::unsetenv(name);
        ::setenv("OSTRADB_CONFIG_DIR", dir.c_str(), 1);
        test::WriteFile(
            dir / "servers.ini",
            "[prod]\nhost = db.example.org\nport = 5000\nuser = anna\n[bad]\nport = http\n");
    }
    ~ConnectOptionsTest() override {
        for (const char* name : kVariables)
            ::unsetenv(name);
        ::unsetenv("OSTRADB_CONFIG_DIR");
    }
    static void Set(const std::map<std::string, std::string>& env) {
        for (const auto& [name, value] : env)
            ::setenv(name.c_str(), value.c_str(), 1);
    }

    static constexpr const char* kVariables[] = {"OSTRADB_HOST",    "OSTRADB_PORT",
                                                 "OSTRADB_USER",    "OSTRADB_PASSWORD",
                                                 "OSTRADB_TIMEOUT", "OSTRADB_PASSFILE"};
    const test::TempDir tmp{"ostradb-options-test"};
    const fs::path dir = tmp.Path();
};

TEST_F(ConnectOptionsTest, EachFieldFromTheFirstPlaceThatHasIt) {
    const struct {
        ConnectOptions given;
        std::map<std::string, std::string> env;
        std::string expected;  // host:port user timeout
    } cases[] = {
        {{}, {}, "localhost:22344  300"},
        {{.service = "prod"}, {}, "db.example.org:5000 anna 300"},
        {{.service = "PROD"},
         {{"OSTRADB_USER", "boris"}, {"OSTRADB_PORT", "6000"}, {"OSTRADB_TIMEOUT", "2.5"}},
         "db.example.org:6000 boris 2.5"},
        {{.host = "h", .user = "carl", .timeout = 0, .service = "prod"},
         {{"OSTRADB_HOST", "e"}, {"OSTRADB_USER", "boris"}},
         "h:5000 carl 0"},
        {{.port = 7}, {{"OSTRADB_HOST", "e"}, {"OSTRADB_PORT", ""}}, "e:7  300"},
    };
    for (const auto& c : cases) {
        Set(c.env);
        const ConnectOptions r = resolve_connect_options(c.given);
        std::ostringstream text;
        text << r.host << ':' << r.port << ' ' << r.user << ' ' << *r.timeout;
        EXPECT_EQ(text.str(), c.expected);
        EXPECT_EQ(resolve_connect_options(r).host, r.host);
        for (const auto& [name, value] : c.env)
            ::unsetenv(name.c_str());
    }
    EXPECT_EQ(resolve_connect_options({}).password, std::nullopt);
    Set({{"OSTRADB_PASSWORD", ""}});
    EXPECT_EQ(resolve_connect_options({}).password, "");

    const struct {
        ConnectOptions given;
        std::map<std::string, std::string> env;
        std::string message;
    } refused[] = {
        {{}, {{"OSTRADB_PORT", "http"}}, "OSTRADB_PORT: not a port number: \"http\""},
        {{}, {{"OSTRADB_TIMEOUT", "-1"}}, "OSTRADB_TIMEOUT: not a number of seconds: \"-1\""},
        {{.port = 70000}, {}, "port 70000"},
        {{.service = "test"},
         {},
         "no connection \"test\" in " + (dir / "servers.ini").string() +
             "; it has \"prod\", \"bad\""},
        {{.service = "bad"}, {}, "[bad] port: not a port number: \"http\""},
    };
    for (const auto& r : refused) {
        Set(r.env);
        try {
            resolve_connect_options(r.given);
            ADD_FAILURE() << "accepted: " << r.message;
        } catch (const EArgumentError& e) {
            EXPECT_NE(std::string(e.what()).find(r.message), std::string::npos) << e.what();
        }
        for (const auto& [name, value] : r.env)
            ::unsetenv(name.c_str());
    }
}

TEST_F(ConnectOptionsTest, PasswordFileMatchesWildcardsAndRefusesAFileOthersMayRead) {
    const fs::path file = dir / "passwords";
    std::ofstream(file) << "# host:port:user:password\n"
                           "db.example.org:5000:anna:first\n"
                           "*:5000:anna:second\n"
                           "DB.EXAMPLE.ORG:*:*:third\n"
                           "*:*:bo\\:b:with:colons\\\\\n"
                           "short:line\n";
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
    const struct {
        std::string host;
        std::int32_t port;
        std::string user;
        std::optional<std::string> password;
    } cases[] = {
        {"db.example.org", 5000, "anna", "first"},
        {"other", 5000, "anna", "second"},
        {"db.example.org", 7, "zed", "third"},
        {"x", 1, "bo:b", "with:colons\\"},
        {"x", 1, "anna", std::nullopt},
    };
    std::vector<std::string> warnings;
    const WarningCallback warn = [&](const std::string& w) { warnings.push_back(w); };
    for (const auto& c : cases)
        EXPECT_EQ(password_from_file(c.host, c.port, c.user, warn), c.password) << c.user;
    EXPECT_TRUE(warnings.empty());

    fs::permissions(file, fs::perms::group_read, fs::perm_options::add);
    EXPECT_EQ(password_from_file("db.example.org", 5000, "anna", warn), std::nullopt);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find("chmod 600 " + file.string()), std::string::npos) << warnings[0];

    // Another file named by the environment.
    const fs::path other = dir / "other";
    std::ofstream(other) << "*:*:*:elsewhere\n";
    fs::permissions(other, fs::perms::owner_read);
    ::setenv("OSTRADB_PASSFILE", other.c_str(), 1);
    EXPECT_EQ(password_from_file("db.example.org", 5000, "anna", warn), "elsewhere");
}

}  // namespace
}  // namespace ostradb

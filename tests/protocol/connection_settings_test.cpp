// Connection settings through a real settings file and a real ConnSettings.xml in a temporary
// directory.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "ostradb/protocol/connection_settings.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/util/ini_file.hpp"
#include "protocol/settings_paths.hpp"

namespace ostradb {
namespace {

namespace fs = std::filesystem;

class ConnectionSettingsTest : public ::testing::Test {
protected:
    ConnectionSettingsTest()
        : dir_(fs::temp_directory_path() /
               ("ostradb-settings-" + std::to_string(::getpid()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name())) {
        fs::create_directories(dir_ / "bin");
        ::setenv("OSTRADB_CONFIG_DIR", (dir_ / "config").c_str(), 1);
        detail::SetExecutableDirForTesting(dir_ / "bin");
    }
    ~ConnectionSettingsTest() override {
        detail::SetExecutableDirForTesting({});
        ::unsetenv("OSTRADB_CONFIG_DIR");
        fs::remove_all(dir_);
    }
    // Writes values into the settings store under the default key.
    void Store(std::initializer_list<std::pair<const char*, const char*>> values) {
        TMemIniFile ini(detail::UserSettingsFile());
        for (const auto& [key, value] : values)
            ini.WriteString(TConnectionSettings().CurRegistryBranch, key, value);
        ini.UpdateFile();
    }
    void ShipXml(const std::string& text) {
        std::ofstream(dir_ / "bin" / "ConnSettings.xml") << text;
    }

    fs::path dir_;
};

TEST_F(ConnectionSettingsTest, StoreValuesAreRepairedOnLoad) {
    struct Case {
        std::initializer_list<std::pair<const char*, const char*>> values;
        bool local;
        const char* server;
        int port;
    } cases[] = {
        {{}, true, "localhost", 22344},  // the key exists but holds nothing
        {{{"Port", "0"}}, true, "localhost", 22344},
        {{{"Port", "70000"}}, true, "localhost", 22344},
        {{{"Port", "-1"}}, true, "localhost", 22344},
        {{{"Port", "4000"}, {"Local", "0"}, {"Server", "   "}}, false, "localhost", 4000},
        {{{"Local", "0"}, {"Server", ""}}, false, "localhost", 22344},
        {{{"Local", "0"}, {"Server", "db.example"}}, false, "db.example", 22344},
    };
    for (const Case& c : cases) {
        fs::remove_all(dir_ / "config");
        TMemIniFile ini(detail::UserSettingsFile());
        ini.WriteString(TConnectionSettings().CurRegistryBranch, "Marker", "1");
        ini.UpdateFile();
        Store(c.values);
        ShipXml(R"(<ConnectionSettings Local="0" Server="from-xml" Port="1"/>)");
        TConnectionSettings s;
        s.Load();
        EXPECT_EQ(s.Local, c.local);
        EXPECT_EQ(s.Server, c.server);
        EXPECT_EQ(s.Port, c.port);
    }
}

TEST_F(ConnectionSettingsTest, ShippedXmlIsReadOnlyWithoutAStoreKey) {
    TConnectionSettings defaults;
    defaults.Load();  // neither store nor file
    EXPECT_TRUE(defaults.Local);
    EXPECT_EQ(defaults.Port, 22344);

    ShipXml("<ConnectionSettings Local=\"0\" Server=\"srv\" Port=\"5000\"/>");
    TConnectionSettings fromXml;
    fromXml.Load();
    EXPECT_FALSE(fromXml.Local);
    EXPECT_EQ(fromXml.GetServer(), "srv");
    EXPECT_EQ(fromXml.Port, 5000);

    ShipXml("<ConnectionSettings Local=");  // broken: ignored
    TConnectionSettings broken;
    broken.Load();
    EXPECT_EQ(broken.GetServer(), "localhost");
}

TEST_F(ConnectionSettingsTest, SaveWritesTheServerInUse) {
    TConnectionSettings s;
    s.Server = "far-away";
    s.Port = 999;
    s.Save();
    const TMemIniFile ini(detail::UserSettingsFile());
    EXPECT_EQ(ini.ReadString(s.CurRegistryBranch, "Server", ""), "localhost");
    EXPECT_TRUE(ini.ReadBool(s.CurRegistryBranch, "Local", false));
    EXPECT_EQ(ini.ReadInteger(s.CurRegistryBranch, "Port", 0), 999);

    s.Local = false;
    s.Save();
    TConnectionSettings loaded;
    loaded.Load();
    EXPECT_FALSE(loaded.Local);
    EXPECT_EQ(loaded.Server, "far-away");
    EXPECT_EQ(loaded.Port, 999);
    EXPECT_FALSE(fs::exists(dir_ / "bin" / "ConnSettings.xml"));
}

TEST(ConnectionSettings, IsReallyLocalAndAppliesToTheClient) {
    struct Case {
        bool local;
        const char* server;
        bool reallyLocal;
        const char* host;
    } cases[] = {
        {true, "remote", true, "localhost"},     {false, "LocalHost", true, "LocalHost"},
        {false, "127.0.0.5", true, "127.0.0.5"}, {false, "127", false, "127"},
        {false, "10.0.0.1", false, "10.0.0.1"},
    };
    for (const Case& c : cases) {
        TConnectionSettings s;
        s.Local = c.local;
        s.Server = c.server;
        s.Port = 4321;
        EXPECT_EQ(s.IsReallyLocal(), c.reallyLocal) << c.server;
        TOstraDbProtocol client;
        s.SetConfigToSocket(client);
        EXPECT_EQ(client.GetHost(), c.host);
        EXPECT_EQ(client.GetPort(), 4321);
    }
    EXPECT_TRUE(TConnectionSettings().CurRegistryBranch.ends_with("OstraDBConnection"));
    EXPECT_EQ(&ConnSettings(), &ConnSettings());
}

}  // namespace
}  // namespace ostradb

// Connection settings through a real settings file and a real ConnSettings.xml in a temporary
// directory.

#include "ostradb/protocol/connection_settings.hpp"
#include "exchange_fixture.hpp"
#include "ostradb/util/ini_file.hpp"
#include "protocol/settings_paths.hpp"
#include "support/files.hpp"

namespace ostradb {
namespace {

namespace fs = std::filesystem;
using namespace test;

class ConnectionSettingsTest : public ::testing::Test {
protected:
    ConnectionSettingsTest() {
        fs::create_directories(dir_ / "bin");
        ::setenv("OSTRADB_CONFIG_DIR", (dir_ / "config").c_str(), 1);
        detail::SetExecutableDirForTesting(dir_ / "bin");
    }
    ~ConnectionSettingsTest() override {
        detail::SetExecutableDirForTesting({});
        ::unsetenv("OSTRADB_CONFIG_DIR");
    }
    // Writes values into the settings store under the default key.
    void Store(std::initializer_list<std::pair<const char*, const char*>> values) {
        TMemIniFile ini(detail::UserSettingsFile());
        for (const auto& [key, value] : values)
            ini.WriteString(TConnectionSettings().CurRegistryBranch, key, value);
        ini.UpdateFile();
    }
    void ShipXml(const std::string& text) { WriteFile(dir_ / "bin" / "ConnSettings.xml", text); }

    const TempDir dir_{"ostradb-settings"};
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
        EXPECT_EQ(Row(s.Local, s.Server, s.Port), Row(c.local, c.server, c.port));
    }
}

TEST_F(ConnectionSettingsTest, ShippedXmlIsReadOnlyWithoutAStoreKey) {
    TConnectionSettings defaults;
    defaults.Load();  // neither store nor file
    EXPECT_EQ(Row(defaults.Local, defaults.Port), "1|22344|");

    ShipXml("<ConnectionSettings Local=\"0\" Server=\"srv\" Port=\"5000\"/>");
    TConnectionSettings fromXml;
    fromXml.Load();
    EXPECT_EQ(Row(fromXml.Local, fromXml.GetServer(), fromXml.Port), "0|srv|5000|");

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
    const std::string& key = s.CurRegistryBranch;
    EXPECT_EQ(Row(ini.ReadString(key, "Server", ""), ini.ReadBool(key, "Local", false),
                  ini.ReadInteger(key, "Port", 0)),
              "localhost|1|999|");

    s.Local = false;
    s.Save();
    TConnectionSettings loaded;
    loaded.Load();
    EXPECT_EQ(Row(loaded.Local, loaded.Server, loaded.Port), "0|far-away|999|");
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
        TOstraDbProtocol client;
        s.SetConfigToSocket(client);
        EXPECT_EQ(Row(s.IsReallyLocal(), client.GetHost(), client.GetPort()),
                  Row(c.reallyLocal, c.host, 4321));
    }
}

}  // namespace
}  // namespace ostradb

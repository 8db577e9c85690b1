#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ostradb/model/databases.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/protocol/connection_settings.hpp"
#include "ostradb/util/exceptions.hpp"
#include "ostradb/util/ini_file.hpp"
#include "support/files.hpp"
#include "support/render.hpp"

namespace ostradb {
namespace {

using test::Row;

pugi::xml_node Load(pugi::xml_document& doc, const char* text) {
    EXPECT_TRUE(doc.load_string(text)) << text;
    return doc.document_element();
}

// The exception of class E with exactly this message.
template <class E = Error>
auto Raises(const std::string& message) {
    return testing::ThrowsMessage<E>(testing::StrEq(message));
}

const char* const kDatabasesAnswer = R"(<answer><databases>
  <item id="5" name="Main" path="D:\db\" ext_path="\\srv\db\" is_private="true">
    <path_list><Item>p1</Item><Item>p2</Item></path_list>
    <roots><root internal_dir="D:\r7\" external_dir="" id="7"/><other id="8"/>
           <root internal_dir="E:\" external_dir="" id="9"/></roots></item>
  <Item id="6" name="skipped" path="" ext_path=""/>
  <item id="8" name="Second" path="D:\second\" ext_path=""/>
</databases></answer>)";

TEST(DatabasesList, ReadsItemsWithOptionalAttributesAndRoots) {
    pugi::xml_document doc;
    TDatabasesList list;
    list.ReadFromXml(Load(doc, kDatabasesAnswer));
    ASSERT_EQ(list.GetCount(), 2);
    const TDatabaseInfo& a = list.GetItem(0);
    EXPECT_EQ(Row(a.Id, a.ExtPath, a.IsPrivate, test::Joined(a.PathList), a.Roots.GetCount(),
                  a.Roots.FindRootById(9)->InternalDir),
              "5|\\\\srv\\db\\|1|p1|p2||2|E:\\|");
    EXPECT_EQ(list.FindByName("SECOND"), &list.GetItem(1));
    EXPECT_EQ(list.FindById(6), nullptr);

    for (const char* attr : {"id", "name", "path", "ext_path"}) {
        pugi::xml_node root = Load(doc, kDatabasesAnswer);
        root.child("databases").find_child_by_attribute("item", "id", "8").remove_attribute(attr);
        EXPECT_THROW(list.ReadFromXml(root), EConvertError) << attr;
        EXPECT_EQ(list.GetItem(0).Name, "Main") << attr;  // what was read before stays
    }
}

TEST(DatabaseInfo, ReadKeepsAbsentOptionalsAndWriteUsesRequestForm) {
    pugi::xml_document doc;
    TDatabaseInfo info;
    info.IsPrivate = true;
    info.Roots.Items.Add().Id = 3;
    info.ReadFromXml(Load(doc, R"(<item id="12" name="N" path="P" ext_path=""/>)"));
    EXPECT_EQ(Row(info.IsPrivate, info.Roots.GetCount()), "1|1|");

    info.PathList.Add("x");
    for (int id : {12, -1}) {
        info.Id = id;
        pugi::xml_node command = doc.append_child("command");
        info.WriteToXml(command);
        EXPECT_EQ(test::XmlText(command), std::string("<command ") +
                                              (id == 12 ? "db_id=\"12\" " : "") +
                                              "name=\"N\" path=\"P\" ext_path=\"\" "
                                              "is_private=\"true\"><path_list><Item>x</Item>"
                                              "</path_list></command>");
    }
    TDatabaseInfo dst;  // Assign leaves the path list and the project flag
    dst.PathList.Add("dst");
    dst.IsProjectDatabase = true;
    dst.Assign(info);
    EXPECT_EQ(
        Row(dst.Name, dst.Roots.GetItem(0).Id, test::Joined(dst.PathList), dst.IsProjectDatabase),
        "N|3|dst||1|");
}

// Sets the process-wide connection settings for one test and restores them after.
class FileNames : public ::testing::Test {
protected:
    FileNames() {
        info_.Name = "Db";
        info_.Path = "D:\\db\\";
        info_.ExtPath = "\\\\srv\\db\\";
        TDbRootDir& root = info_.Roots.Items.Add();
        root.Id = 7;
        root.InternalDir = "D:\\data\\";
        root.ExternalDir = "\\\\srv\\data\\";
        info_.Roots.Items.Add().Id = 8;
    }
    ~FileNames() override { Use(saved_); }
    struct Conn {
        bool local;
        std::string server;
        std::int32_t port;
    };
    static void Use(const Conn& c) {
        ConnSettings().Local = c.local;
        ConnSettings().Server = c.server;
        ConnSettings().Port = c.port;
    }
    const Conn saved_{ConnSettings().Local, ConnSettings().Server, ConnSettings().Port};
    TDatabaseInfo info_;
};

TEST_F(FileNames, FullAndLocalFileNames) {
    struct Case {
        Conn conn;
        const char* shortName;
        bool hostAndPort;
        const char* expected;
    } cases[] = {
        {{true, "x", 1}, "${Root_7}\\a\\b.ws", false, "WSTP://DIRECT:D:\\data\\a\\b.ws"},
        {{false, "127.0.0.5", 1}, "x.", false, "WSTP://DIRECT:D:\\db\\x"},
        {{false, "srv", 1}, "${Root_7}\\a.ws", false, "WSTP://DIRECT:\\\\srv\\data\\a.ws"},
        {{false, "srv", 1}, "${Root_8}\\a.ws", false, "WSTP://Db\\${Root_8}\\a.ws"},
        {{false, "srv", 40}, "x.ws", true, "WSTP://DIRECT:/HOST:srv//PORT:40/\\\\srv\\db\\x.ws"},
        {{false, "srv", 40}, "${Root_8}\\a", true, "WSTP:///HOST:srv//PORT:40/Db\\${Root_8}\\a"},
    };
    for (const Case& c : cases) {
        Use(c.conn);
        EXPECT_EQ(info_.ShortFileNameToFullFileName(c.shortName, c.hostAndPort), c.expected);
    }
    const std::pair<const char*, const char*> failures[] = {
        {"${Root_}\\x", "Empty root ID in \"${Root_}\\x\""},
        {"${Root_x}\\y", "Wrong root ID x"},
        {"${Root_7/x", "End of root id is not recognized in \"${Root_7/x\""},
        {"${Root_5}\\x", "Root with ID = 5 not found for database \"Db\""},
    };
    for (const auto& [name, message] : failures)
        EXPECT_THAT(([&, &n = name] { info_.ShortFileNameToFullFileName(n, false); }),
                    Raises<TDbRootDirException>(message));

    info_.IsProjectDatabase = true;
    EXPECT_EQ(info_.ShortFileNameToFullFileName("${Root_}\\a.", true), "${Root_}\\a.");
    info_.IsProjectDatabase = false;
    info_.Roots.Items.Clear();  // without roots the prefix is part of an ordinary name
    Use({true, "", 1});
    EXPECT_EQ(Row(info_.ShortFileNameToFullFileName("${Root_7}\\x", false),
                  info_.ShortFileNameToLocalFileName("a\\b.")),
              "WSTP://DIRECT:D:\\db\\${Root_7}\\x|D:\\db\\a\\b|");
    Use({false, "srv", 1});
    EXPECT_EQ(info_.ShortFileNameToLocalFileName("a.ws"), "\\\\srv\\db\\a.ws");
    info_.ExtPath.clear();
    EXPECT_THAT([&] { info_.ShortFileNameToLocalFileName("a.ws"); },
                Raises<EFileCantBeAccessedLocally>("Database Db can't be accessed locally"));
}

TEST(Database, ProjectDatabaseLevelsAndFiles) {
    TDatabase db;
    db.SetDbType(dtLocalProject);
    EXPECT_TRUE(db.Info.IsProjectDatabase);
    db.ConfigureAsProjectDatabase();
    ASSERT_EQ(db.GetStructure().GetItemsCount(), 1);
    EXPECT_EQ(Row(db.Info.Name, db.GetStructure().GetItem(0).DisplayName,
                  db.LogicalStructures.GetDefault()->GetItem(0).ItemType),
              "Проект WS|Имя файла в проекте|%file_level|");
    db.LevelFiles()->Add().Name = "C:\\wells\\a.ws";
    db.LevelFiles()->Add().Name = "b.ws";
    db.ConfigureAsProjectDatabase();  // keeps the files

    TLevelsList levels;
    levels.AddNew();
    db.GetLevelsForProject(levels);
    ASSERT_EQ(levels.GetCount(), 3);
    EXPECT_EQ(Row(levels.GetItem(1).Name, levels.GetItem(2).Id), "a.ws|1|");
    TLevelFilesList files;
    db.GetFilesForLevel(std::vector<std::int32_t>{1, 0}, files);
    ASSERT_EQ(files.GetCount(), 1);
    EXPECT_EQ(files.GetItem(0).Name, "b.ws");
    db.GetFilesForLevel({}, files);
    EXPECT_EQ(files.GetCount(), 2);

    TDatabase copy;
    copy.Assign(db);
    ASSERT_NE(copy.LevelFiles(), nullptr);
    EXPECT_EQ(Row(copy.LevelFiles()->GetCount(), copy.DbType == dtUndef), "2|1|");
}

TEST(Databases, CurrentLookupsActiveListAndFileTypes) {
    TDatabases set;
    TDatabase& a = set.Add();
    a.Info.Id = 1;
    a.Info.Name = "Twin";
    TDatabase& b = set.Add();
    b.Info.Id = 2;
    b.Info.Name = "twin";
    EXPECT_EQ(set.FindByDbName("TWIN"), &a);
    set.SetCurrent(&b);
    EXPECT_EQ(set.GetCurrent(), &b);
    TDatabase foreign;
    set.SetCurrent(&foreign);
    EXPECT_EQ(set.CurrentId, -1);
    set.Add();  // a new database has id -1, which never makes it current
    EXPECT_EQ(set.GetCurrent(), nullptr);

    set.AddToActiveList(&a);
    set.AddToActiveList(&a);
    set.AddToActiveList(&foreign);
    EXPECT_EQ(set.GetActiveCount(), 2);
    set.Clear();
    ASSERT_EQ(set.GetActiveCount(), 1);  // the set's own entries went with it
    EXPECT_EQ(set.GetActiveItem(0), &foreign);

    std::string s = "keep";
    GetFileTypeString(5, s);
    EXPECT_EQ(s, "keep");
    GetFileTypeString(3, s);
    EXPECT_EQ(s, "Файл с некорректным путём");
}

class Settings : public ::testing::Test {
protected:
    // "Alpha" and "Beta" as the server lists them, each with its default logical structure.
    void Fill(TDatabases& set) const {
        set.SettingsDir = dir_.Path().string();
        for (const char* name : {"Alpha", "Beta"}) {
            TDatabase& db = set.Add();
            db.Info.Id = set.GetCount();
            db.Info.Name = name;
            db.GetStructure().AddNewItem().Type = "%well";
            db.LogicalStructures.SetDefaultStruct(db.GetStructure());
        }
    }
    std::string FileText() const { return test::ReadFile(File()); }
    std::filesystem::path File() const { return dir_ / "Marvolt.srv.ini"; }
    const test::TempDir dir_{"ostradb-settings"};
};

TEST_F(Settings, RoundTripMatchesDatabasesByName) {
    TDatabases saved;
    EXPECT_THAT([&] { saved.GetSettingsFileName("srv"); }, Raises("Не задан SettingsFileName"));
    Fill(saved);
    EXPECT_EQ(saved.GetSettingsFileName("  srv \t"), File().string());
    saved.SaveSettingsToIniEx("srv");  // never loaded: nothing is written
    EXPECT_FALSE(std::filesystem::exists(File()));
    saved.LoadSettingsFromIniEx("srv");  // no file yet
    TDatabase& beta = saved.GetItem(1);
    beta.Options.ShowCurves = false;
    beta.Options.LastOpenedPaths().Add("F\\W");
    beta.LogicalStructures.Add().Name = "Wells";
    beta.LogicalStructures.SetCurrent(&beta.LogicalStructures.GetItem(1));
    saved.Filters.Add().Name = "F1";
    saved.Filters.GetItem(0).Add().Key = "%well";
    saved.SetCurrent(&beta);
    saved.SaveSettingsToIniEx(" srv ");

    TDatabases loaded;
    Fill(loaded);
    std::swap(loaded.GetItem(0).Info.Name, loaded.GetItem(1).Info.Name);
    loaded.LoadSettingsFromIniEx("srv");
    TDatabase& b = loaded.GetItem(0);
    EXPECT_EQ(loaded.GetCurrent(), &b);
    EXPECT_EQ(
        Row(b.Options.ShowCurves, test::Joined(b.Options.GetLastOpenedPaths()),
            b.LogicalStructures.GetCurrent()->Name, loaded.GetItem(1).LogicalStructures.GetCount(),
            loaded.Filters.FindByName("f1")->GetItem(0).Key),
        "0|F\\W||Wells|1|%well|");

    loaded.Items.Delete(0);  // saving rewrites the file: Beta's sections go
    loaded.SaveSettingsToIniEx("srv");
    const TMemIniFile ini(File());
    EXPECT_EQ(Row(ini.SectionExists("Beta/Options"), ini.SectionExists("Alpha/Options"),
                  ini.ValueExists("Main", "Current")),
              "0|1|0|");

    const std::string before = FileText();
    loaded.GetItem(0).Info.Name = "Bad]Name";  // cannot be an INI section
    EXPECT_THROW(loaded.SaveSettingsToIniEx("srv"), Error);
    EXPECT_EQ(FileText(), before);  // the failed save left the previous file
}

TEST_F(Settings, MissingEmptyAndNonsenseFilesLoadWhatTheyCan) {
    for (const char* text :
         {"",
          "garbage\r\n[Filters]\r\nCount=999999999\r\n[Filters1]\r\nName=F\r\nCount=x\r\n"
          "[Alpha/Options]\r\nShowFiles=abc\r\nShowCurves=0\r\nLastOpenedPaths=\"a|b\",c\r\n"
          "[Alpha/LogStructure]\r\nCount=-4\r\n[Main]\r\nCurrent=Nobody\r\n"}) {
        test::WriteFile(File(), text);
        TDatabases set;
        Fill(set);
        set.LoadSettingsFromIniEx("srv");
        const TDatabaseOptions& o = set.GetItem(0).Options;
        EXPECT_EQ(Row(set.SettingsLoaded, set.GetCurrent() == nullptr, o.ShowFiles,
                      set.GetItem(0).LogicalStructures.GetCount()),
                  "1|1|1|1|");
        if (*text) {
            // Counts beyond what the file holds make no more entries than it has.
            EXPECT_EQ(set.Filters.GetCount(), 5);
            EXPECT_EQ(Row(o.ShowCurves, test::Joined(o.GetLastOpenedPaths()),
                          set.Filters.GetItem(0).Name),
                      "0|a\r\nb|c||F|");
        }
    }
}

}  // namespace
}  // namespace ostradb

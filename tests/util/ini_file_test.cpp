#include "ostradb/util/ini_file.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "ostradb/util/code_pages.hpp"
#include "ostradb/util/exceptions.hpp"

#ifndef _WIN32
#include <sys/resource.h>
#endif

namespace ostradb {
namespace {

namespace fs = std::filesystem;

class IniFile : public testing::Test {
protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("ostradb-ini-" + std::to_string(std::random_device()()) + "-" +
                testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(dir_);
        fs::create_directories(dir_);
    }
    void TearDown() override {
        std::error_code ec;
        fs::permissions(dir_, fs::perms::owner_all, fs::perm_options::add, ec);
        fs::remove_all(dir_, ec);
    }

    static std::string ReadAll(const fs::path& p) {
        std::ifstream in(p, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
    static void WriteAll(const fs::path& p, const std::string& text) {
        std::ofstream(p, std::ios::binary) << text;
    }
    std::vector<std::string> Entries() const {
        std::vector<std::string> names;
        for (const auto& e : fs::directory_iterator(dir_))
            names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    fs::path dir_;
};

TEST_F(IniFile, ValuesRoundTripThroughAFileAsGiven) {
    const fs::path file = dir_ / "sub" / "deeper" / "settings.ini";
    struct Case {
        const char* key;
        const char* value;
        const char* fromFile = nullptr;  // when the file changes it: blanks at either end go
    };
    const std::vector<Case> cases = {
        {"Values1", "\"a,b\""},            // a filter's comma text in its own quotes
        {"Values2", "\"\"\"x y\"\",z\""},  // the same with a quoted item inside
        {"Lead", "  lead", "lead"},
        {"Trail", "trail\t", "trail"},
        {"Quote", "\""},
        {"TwoQuotes", "\"\""},
        {"Inner", "a \"b\" c"},
        {"HalfQuoted", "\"abc"},
        {"Empty", ""},
        {"Equals", "a=b=c"},
        {"Comment", "; not a comment"},
        {"Ключ", "Значение с пробелом ", "Значение с пробелом"},
    };
    {
        TMemIniFile ini(file);
        for (const Case& c : cases)
            ini.WriteString("Db/LogStructure/a-1--b", c.key, c.value);
        ini.WriteString("Месторождение", "Имя", "Скв. 12");
        ini.WriteString("Main", "Current", "db1");
        // Before the file is written, values read back as they were written too.
        for (const Case& c : cases)
            EXPECT_EQ(ini.ReadString("Db/LogStructure/a-1--b", c.key, "?"), c.value) << c.key;
        ini.UpdateFile();
    }
    // Windows-1251 on disk, and no quotes of the INI's own.
    const std::string disk = ReadAll(file);
    EXPECT_NE(disk.find(Utf8ToCp1251("\nValues1=\"a,b\"\n")), std::string::npos) << disk;
    EXPECT_NE(disk.find(Utf8ToCp1251("[Месторождение]\nИмя=Скв. 12\n")), std::string::npos);
    TMemIniFile again(file);
    for (const Case& c : cases)
        EXPECT_EQ(again.ReadString("Db/LogStructure/a-1--b", c.key, "?"),
                  c.fromFile ? c.fromFile : c.value)
            << c.key;
    EXPECT_EQ(again.ReadString("Месторождение", "Имя", ""), "Скв. 12");

    TStringList sections, keys;
    again.ReadSections(sections);
    EXPECT_EQ(sections, (TStringList{"Db/LogStructure/a-1--b", "Месторождение", "Main"}));
    again.ReadSection("Db/LogStructure/a-1--b", keys);
    ASSERT_EQ(keys.Count(), static_cast<int>(cases.size()));
    for (int i = 0; i < keys.Count(); ++i)
        EXPECT_EQ(keys[i], cases[i].key);
}

TEST_F(IniFile, NamesIgnoreAsciiCaseAndSurroundingBlanks) {
    TMemIniFile ini(dir_ / "a.ini");
    ini.WriteString("Main", "Current", "one");
    ini.WriteString(" MAIN ", "CURRENT", "two");
    EXPECT_EQ(ini.ReadString("main", "current ", ""), "two");
    EXPECT_EQ(ini.ToText(), "[Main]\nCurrent=two\n");
    EXPECT_TRUE(ini.SectionExists("mAIN") && ini.ValueExists("Main", "current"));
    EXPECT_FALSE(ini.ValueExists("Main", "Other") || ini.SectionExists("Other"));
    ini.WriteString("Main", "y", "2");
    ini.WriteString("B", "z", "3");
    ini.DeleteKey("main", "CURRENT");
    ini.EraseSection("b");
    EXPECT_EQ(ini.ToText(), "[Main]\ny=2\n");
    ini.Clear();
    EXPECT_EQ(ini.ToText(), "");
}

TEST_F(IniFile, ReadsHandWrittenFiles) {
    const fs::path file = dir_ / "hand.ini";
    WriteAll(file,
             "\xEF\xBB\xBF; comment\r\n[S]\r\nA = \"quoted\"\r\nB =  spaced  \r\n"
             "C=\"\r\n#D=hidden\r\nnot a key line\r\n[T]\nE=1\nЖ=ё😀\n"
             // Section lines never closed are not INI syntax either.
             "[U\rF=2\n[\n\nV]\nG=3\n");
    TMemIniFile ini(file);
    EXPECT_EQ(ini.ReadString("S", "A", ""), "\"quoted\"");
    EXPECT_EQ(ini.ReadString("S", "B", ""), "spaced");
    EXPECT_EQ(ini.ReadString("S", "C", ""), "\"");
    EXPECT_FALSE(ini.ValueExists("S", "#D"));
    EXPECT_EQ(ini.ReadInteger("T", "E", 0), 1);
    // A UTF-8 file is read as UTF-8; what Windows-1251 cannot hold is not written back.
    EXPECT_EQ(ini.ReadString("T", "Ж", ""), "ё😀");
    const std::string before = ReadAll(file);
    EXPECT_THROW(ini.UpdateFile(), EEncodingError);
    EXPECT_EQ(ReadAll(file), before);
    // The system's other programs write Windows-1251.
    WriteAll(dir_ / "cp.ini", Utf8ToCp1251("[Скважина]\r\nИмя=Юг\r\n"));
    EXPECT_EQ(TMemIniFile(dir_ / "cp.ini").ReadString("Скважина", "Имя", ""), "Юг");
    TStringList sections, keys;
    ini.ReadSections(sections);
    ini.ReadSection("T", keys);
    EXPECT_EQ(sections.CommaText() + " " + keys.CommaText(), "S,T E,Ж,F,G");
    // Written back, the file reads the same.
    const std::string text = ini.ToText();
    WriteAll(file, text);
    EXPECT_EQ(TMemIniFile(file).ToText(), text);
}

TEST_F(IniFile, TypedValues) {
    const fs::path file = dir_ / "typed.ini";
    {
        TMemIniFile ini(file);
        ini.WriteInteger("N", "Big", 1LL << 40);
        ini.WriteInteger("N", "Neg", -7);
        ini.WriteFloat("N", "Third", 1.0 / 3);
        ini.WriteFloat("N", "Tiny", -1e-300);
        ini.WriteBool("N", "Yes", true);
        ini.WriteBool("N", "No", false);
        ini.WriteString("N", "Text", "12abc");
        ini.UpdateFile();
    }
    TMemIniFile ini(file);
    EXPECT_EQ(ini.ReadInt64("N", "Big", 0), 1LL << 40);
    EXPECT_EQ(ini.ReadInteger("N", "Big", 5), 5);  // does not fit 32 bits
    EXPECT_EQ(ini.ReadInteger("N", "Neg", 0), -7);
    EXPECT_EQ(ini.ReadInteger("N", "Text", 9), 9);
    EXPECT_EQ(ini.ReadInteger("N", "Missing", 9), 9);
    EXPECT_EQ(ini.ReadFloat("N", "Third", 0), 1.0 / 3);
    EXPECT_EQ(ini.ReadFloat("N", "Tiny", 0), -1e-300);
    EXPECT_EQ(ini.ReadFloat("N", "Text", 2.5), 2.5);
    EXPECT_TRUE(ini.ReadBool("N", "Yes", false));
    EXPECT_FALSE(ini.ReadBool("N", "No", true));

    struct Case {
        const char* text;
        bool def, expected;
    };
    for (const Case& c :
         {Case{"TRUE", false, true}, Case{"False", true, false}, Case{"yes", false, false},
          Case{"2", true, true}, Case{"", false, false}, Case{"0", true, false}}) {
        ini.WriteString("B", "v", c.text);
        EXPECT_EQ(ini.ReadBool("B", "v", c.def), c.expected) << c.text;
    }
}

TEST_F(IniFile, MissingFileIsEmptyGarbageIsSkippedAndAnUnreadableOneRaises) {
    TMemIniFile missing(dir_ / "none.ini");
    TStringList sections;
    missing.ReadSections(sections);
    EXPECT_TRUE(sections.Empty());
    EXPECT_EQ(missing.ReadString("a", "b", "def"), "def");
    EXPECT_FALSE(fs::exists(dir_ / "none.ini"));

    std::string garbage;
    for (int i = 0; i < 4096; ++i)
        garbage += static_cast<char>((i * 7919) % 251 + 1);
    WriteAll(dir_ / "garbage.ini", garbage + "\n[Ok]\nkey=value\n" + garbage);
    TMemIniFile ini(dir_ / "garbage.ini");
    EXPECT_EQ(ini.ReadString("Ok", "key", ""), "value");

    fs::create_directories(dir_ / "folder.ini");
    EXPECT_THROW(TMemIniFile(dir_ / "folder.ini"), EFileError);
}

TEST_F(IniFile, RefusesWhatALineCannotHold) {
    TMemIniFile ini(dir_ / "r.ini");
    EXPECT_THROW(ini.WriteString("S", "k", "line\r\n[Main]\r\nCurrent=x"), EConvertError);
    EXPECT_THROW(ini.WriteString("S", "k=v", "x"), EConvertError);
    EXPECT_THROW(ini.WriteString("S", "  ", "x"), EConvertError);
    EXPECT_THROW(ini.WriteString("S", ";k", "x"), EConvertError);
    EXPECT_THROW(ini.WriteString("a]b", "k", "x"), EConvertError);
    EXPECT_THROW(ini.WriteString("S", "k", std::string("a\0b", 3)), EConvertError);
    EXPECT_THROW(ini.WriteString("S", "k", "😀"), EEncodingError);  // not in Windows-1251
    EXPECT_EQ(ini.ToText(), "");
}

TEST_F(IniFile, FailedUpdateLeavesTheOldFile) {
    const fs::path file = dir_ / "target.ini";
    TMemIniFile ini(file);
    ini.WriteString("S", "k", "v");
    // The target name is taken by a directory: the rename fails.
    fs::create_directories(file);
    WriteAll(file / "inside.txt", "old");
    EXPECT_THROW(ini.UpdateFile(), EFileError);
    EXPECT_EQ(ReadAll(file / "inside.txt"), "old");
    EXPECT_EQ(Entries(), std::vector<std::string>{"target.ini"});
}

#ifndef _WIN32
// A file size limit makes the write of the temporary fail half-way, even for root.
TEST_F(IniFile, FailedWriteLeavesTheOldFile) {
    const fs::path file = dir_ / "target.ini";
    WriteAll(file, "[S]\nk=old\n");
    TMemIniFile ini(file);
    for (int i = 0; i < 2000; ++i)
        ini.WriteString("S", "key" + std::to_string(i), "some value");

    rlimit saved{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    rlimit small = saved;
    small.rlim_cur = 4096;
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_THROW(ini.UpdateFile(), EFileError);
    ::setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, oldHandler);

    EXPECT_EQ(ReadAll(file), "[S]\nk=old\n");
    EXPECT_EQ(Entries(), std::vector<std::string>{"target.ini"});
    ini.UpdateFile();  // with the limit gone the same object writes
    EXPECT_EQ(TMemIniFile(file).ReadString("S", "key1999", ""), "some value");
}

TEST_F(IniFile, ReadOnlyDirectoryLeavesTheOldFile) {
    const fs::path file = dir_ / "target.ini";
    WriteAll(file, "[S]\nk=old\n");
    TMemIniFile ini(file);
    ini.WriteString("S", "k", "new");
    fs::permissions(dir_, fs::perms::owner_read | fs::perms::owner_exec);
    if (std::ofstream(dir_ / "probe")) {
        fs::permissions(dir_, fs::perms::owner_all);
        GTEST_SKIP() << "permissions do not bind this user";
    }
    EXPECT_THROW(ini.UpdateFile(), EFileError);
    fs::permissions(dir_, fs::perms::owner_all);
    EXPECT_EQ(ReadAll(file), "[S]\nk=old\n");
    EXPECT_EQ(Entries(), std::vector<std::string>{"target.ini"});
}
#endif

}  // namespace
}  // namespace ostradb

#include "ostradb/util/ini_file.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "ostradb/util/code_pages.hpp"
#include "ostradb/util/exceptions.hpp"
#include "support/files.hpp"
#include "support/render.hpp"

#ifndef _WIN32
#include <sys/resource.h>
#endif

namespace ostradb {
namespace {

namespace fs = std::filesystem;
using test::ListDir;
using test::ReadFile;
using test::Row;

class IniFile : public testing::Test {
protected:
    const test::TempDir dir_{"ostradb-ini"};
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
    const std::string disk = ReadFile(file);
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
    EXPECT_EQ(Row(ini.SectionExists("mAIN"), ini.ValueExists("Main", "current"),
                  ini.ValueExists("Main", "Other"), ini.SectionExists("Other")),
              "1|1|0|0|");
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
    test::WriteFile(file,
                    "\xEF\xBB\xBF; comment\r\n[S]\r\nA = \"quoted\"\r\nB =  spaced  \r\n"
                    "C=\"\r\n#D=hidden\r\nnot a key line\r\n[T]\nE=1\nЖ=ё😀\n"
                    // Section lines never closed are not INI syntax either.
                    "[U\rF=2\n[\n\nV]\nG=3\n");
    TMemIniFile ini(file);
    TStringList sections, keys;
    ini.ReadSections(sections);
    ini.ReadSection("T", keys);
    // A UTF-8 file is read as UTF-8; quotes are part of the value.
    EXPECT_EQ(
        Row(ini.ReadString("S", "A", ""), ini.ReadString("S", "B", ""),
            ini.ReadString("S", "C", ""), ini.ValueExists("S", "#D"), ini.ReadInteger("T", "E", 0),
            ini.ReadString("T", "Ж", ""), sections.CommaText(), keys.CommaText()),
        "\"quoted\"|spaced|\"|0|1|ё😀|S,T|E,Ж,F,G|");
    // What Windows-1251 cannot hold is not written back.
    const std::string before = ReadFile(file);
    EXPECT_THROW(ini.UpdateFile(), EEncodingError);
    EXPECT_EQ(ReadFile(file), before);
    // Written back as text, the file reads the same.
    const std::string text = ini.ToText();
    test::WriteFile(file, text);
    EXPECT_EQ(TMemIniFile(file).ToText(), text);
    // The system's other programs write Windows-1251.
    test::WriteFile(dir_ / "cp.ini", Utf8ToCp1251("[Скважина]\r\nИмя=Юг\r\n"));
    EXPECT_EQ(TMemIniFile(dir_ / "cp.ini").ReadString("Скважина", "Имя", ""), "Юг");
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
    // "Big" does not fit 32 bits.
    EXPECT_EQ(Row(ini.ReadInt64("N", "Big", 0), ini.ReadInteger("N", "Big", 5),
                  ini.ReadInteger("N", "Neg", 0), ini.ReadInteger("N", "Text", 9),
                  ini.ReadInteger("N", "Missing", 9), ini.ReadFloat("N", "Text", 2.5),
                  ini.ReadBool("N", "Yes", false), ini.ReadBool("N", "No", true)),
              "1099511627776|5|-7|9|9|2.5|1|0|");
    EXPECT_EQ(ini.ReadFloat("N", "Third", 0), 1.0 / 3);
    EXPECT_EQ(ini.ReadFloat("N", "Tiny", 0), -1e-300);

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
    EXPECT_EQ(Row(sections.Count(), missing.ReadString("a", "b", "def")), "0|def|");
    EXPECT_FALSE(fs::exists(dir_ / "none.ini"));

    std::string garbage;
    for (int i = 0; i < 4096; ++i)
        garbage += static_cast<char>((i * 7919) % 251 + 1);
    test::WriteFile(dir_ / "garbage.ini", garbage + "\n[Ok]\nkey=value\n" + garbage);
    TMemIniFile ini(dir_ / "garbage.ini");
    EXPECT_EQ(ini.ReadString("Ok", "key", ""), "value");

    fs::create_directories(dir_ / "folder.ini");
    EXPECT_THROW(TMemIniFile(dir_ / "folder.ini"), EFileError);
}

TEST_F(IniFile, RefusesWhatALineCannotHold) {
    TMemIniFile ini(dir_ / "r.ini");
    const std::vector<std::string> refused[] = {{"S", "k", "line\r\n[Main]\r\nCurrent=x"},
                                                {"S", "k=v", "x"},
                                                {"S", "  ", "x"},
                                                {"S", ";k", "x"},
                                                {"S", "#k", "x"},
                                                {"S", "[k", "x"},
                                                {"a]b", "k", "x"},
                                                {"S", "k", std::string("a\0b", 3)}};
    for (const auto& r : refused)
        EXPECT_THROW(ini.WriteString(r[0], r[1], r[2]), EConvertError) << r[1];
    EXPECT_THROW(ini.WriteString("S", "k", "😀"), EEncodingError);  // not in Windows-1251
    EXPECT_EQ(ini.ToText(), "");
}

TEST_F(IniFile, FailedUpdateLeavesTheOldFile) {
    const fs::path file = dir_ / "target.ini";
    TMemIniFile ini(file);
    ini.WriteString("S", "k", "v");
    // The target name is taken by a directory: the rename fails.
    fs::create_directories(file);
    test::WriteFile(file / "inside.txt", "old");
    EXPECT_THROW(ini.UpdateFile(), EFileError);
    EXPECT_EQ(ReadFile(file / "inside.txt"), "old");
    EXPECT_EQ(ListDir(dir_.Path()), std::vector<std::string>{"target.ini"});
}

#ifndef _WIN32
// A file size limit makes the write of the temporary fail half-way, even for root.
TEST_F(IniFile, FailedWriteLeavesTheOldFile) {
    const fs::path file = dir_ / "target.ini";
    test::WriteFile(file, "[S]\nk=old\n");
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

    EXPECT_EQ(ReadFile(file), "[S]\nk=old\n");
    EXPECT_EQ(ListDir(dir_.Path()), std::vector<std::string>{"target.ini"});
    ini.UpdateFile();  // with the limit gone the same object writes
    EXPECT_EQ(TMemIniFile(file).ReadString("S", "key1999", ""), "some value");
}
#endif

}  // namespace
}  // namespace ostradb

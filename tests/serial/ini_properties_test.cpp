#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "ostradb/serial/ini_properties.hpp"
#include "ostradb/serial/properties.hpp"
#include "ostradb/util/ini_file.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb {
namespace {

// The class names differ from those of the other serializer tests on purpose: GCC gives the
// accessor lambdas of declared properties weak linkage even for local classes, so two test
// files with a same-named local class and member would share one accessor.

enum EShade : std::uint8_t { shLight, shDark, shBlack };

class IniInner : public Persistent {
public:
    std::int32_t Value = 1;
    const PropertyList& Properties() const override {
        static const PropertyList list{Prop<&IniInner::Value>("Value")};
        return list;
    }
};

class IniSample : public Persistent {
public:
    std::int32_t Count = 0;
    bool Flag = false;
    EShade Shade = shLight;
    Set<EShade> Shades;
    char Letter = 'a';
    double Ratio = 0;
    float Single = 0;
    std::string Name;
    std::int64_t Big = 0;
    TStringList Lines;
    IniInner Child;
    std::int32_t Hidden = 0;

    const PropertyList& Properties() const override {
        static const PropertyList list{
            Prop<&IniSample::Count>("Count"),   Prop<&IniSample::Flag>("Flag"),
            Prop<&IniSample::Shade>("Shade"),   Prop<&IniSample::Shades>("Shades"),
            Prop<&IniSample::Letter>("Letter"), Prop<&IniSample::Ratio>("Ratio"),
            Prop<&IniSample::Single>("Single"), Prop<&IniSample::Name>("Name"),
            Prop<&IniSample::Big>("Big"),       Prop<&IniSample::Lines>("Lines"),
            Prop<&IniSample::Child>("Child"),   Prop<&IniSample::Hidden>("Hidden").NotStored(),
        };
        return list;
    }
};

TEST(IniProperties, WritesEachKindInItsFormAndReadsItBackFromFile) {
    const auto file = std::filesystem::temp_directory_path() /
                      ("ostradb-iniprops-" + std::to_string(::getpid()) + ".ini");
    IniSample s;
    s.Count = -42;
    s.Flag = true;
    s.Shade = shBlack;
    s.Shades = {shDark, shBlack};
    s.Letter = 'Z';
    s.Ratio = -2.5e-7;
    s.Single = 1.25f;
    s.Name = "Имя, с запятой";
    s.Big = 1LL << 40;
    s.Lines = {"one", "two\r\nlines", ""};
    s.Hidden = 5;
    {
        TMemIniFile ini(file);
        SavePropertiesToIni(s, ini, "Sec");
        ini.UpdateFile();
    }
    const TMemIniFile ini(file);
    std::filesystem::remove(file);
    const std::pair<const char*, const char*> expected[] = {
        {"Count", "-42"},
        {"Flag", "1"},
        {"Shade", "2"},
        {"Shades", "6"},
        {"Letter", "90"},
        {"Name", "Имя, с запятой"},
        {"Lines", "one,\"two|lines\",\"\""},
    };
    for (const auto& [key, text] : expected)
        EXPECT_EQ(ini.ReadString("Sec", key, "<none>"), text) << key;
    for (const char* skipped : {"Big", "Child", "Value", "Hidden"})
        EXPECT_FALSE(ini.ValueExists("Sec", skipped)) << skipped;

    IniSample back;
    back.Lines.Add("stale");
    LoadPropertiesFromIni(back, ini, "Sec");
    TMemIniFile again(file);  // never written to disk
    SavePropertiesToIni(back, again, "Sec");
    EXPECT_EQ(again.ToText(), ini.ToText());
    EXPECT_EQ(back.Lines, s.Lines);
}

TEST(IniProperties, AbsentOrMalformedKeysLeavePropertiesAlone) {
    TMemIniFile ini(std::filesystem::temp_directory_path() / "ostradb-never-written.ini");
    ini.WriteString("S", "Count", "not a number");
    ini.WriteString("S", "Ratio", "x1");
    ini.WriteString("S", "Flag", "1");
    ini.WriteString("S", "Big", "99");
    ini.WriteString("S", "Hidden", "7");
    IniSample s;
    s.Count = 3;
    s.Ratio = 1.5;
    s.Name = "kept";
    s.Lines = {"kept"};
    LoadPropertiesFromIni(s, ini, "S");
    EXPECT_EQ(s.Count, 3);
    EXPECT_DOUBLE_EQ(s.Ratio, 1.5);
    EXPECT_TRUE(s.Flag);
    EXPECT_EQ(s.Big + s.Hidden, 0);
    EXPECT_EQ(s.Name, "kept");
    EXPECT_EQ(s.Lines, (TStringList{"kept"}));
}

}  // namespace
}  // namespace ostradb

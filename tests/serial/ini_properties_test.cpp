#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "ostradb/serial/ini_properties.hpp"
#include "ostradb/serial/properties.hpp"
#include "ostradb/util/ini_file.hpp"
#include "ostradb/util/string_list.hpp"
#include "support/render.hpp"

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

TEST(IniProperties, WritesEachKindInItsFormAndReadsItBack) {
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
    // Never written to disk: the settings file's own tests prove what survives a file.
    TMemIniFile ini(std::filesystem::temp_directory_path() / "ostradb-never-written.ini");
    SavePropertiesToIni(s, ini, "Sec");
    // No 64-bit integers, objects or unstored properties.
    EXPECT_EQ(ini.ToText(),
              "[Sec]\nCount=-42\nFlag=1\nShade=2\nShades=6\nLetter=90\nRatio=-2.5e-07\n"
              "Single=1.25\nName=Имя, с запятой\nLines=one,\"two|lines\",\"\"\n");
    IniSample back;
    back.Lines.Add("stale");
    LoadPropertiesFromIni(back, ini, "Sec");
    TMemIniFile again(ini.FileName());
    SavePropertiesToIni(back, again, "Sec");
    EXPECT_EQ(again.ToText(), ini.ToText());

    // Absent or malformed keys leave their properties alone.
    ini.Clear();
    for (const auto& [key, value] :
         {std::pair{"Count", "x1"}, {"Ratio", "x1"}, {"Flag", "1"}, {"Big", "99"}, {"Hidden", "7"}})
        ini.WriteString("S", key, value);
    back.Name = "kept";
    back.Flag = false;
    LoadPropertiesFromIni(back, ini, "S");
    EXPECT_EQ(test::Row(back.Count, back.Ratio, back.Flag, back.Big, back.Hidden, back.Name,
                        test::Joined(back.Lines)),
              "-42|-2.5e-07|1|0|0|kept|one|two\r\nlines|||");
}

}  // namespace
}  // namespace ostradb

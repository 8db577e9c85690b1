#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "ostradb/model/databases.hpp"
#include "ostradb/model/filters.hpp"
#include "ostradb/util/code_pages.hpp"
#include "ostradb/util/dates.hpp"
#include "ostradb/util/exceptions.hpp"
#include "ostradb/util/ini_file.hpp"
#include "support/files.hpp"
#include "support/render.hpp"

namespace ostradb {
namespace {

using test::Row;
using test::XmlText;

void AddItem(TFilter& f, const char* key, TStringList values, bool no = false, bool all = false,
             const char* oper = "=") {
    TFilterItem& item = f.Add();
    item.Key = key;
    item.Values = std::move(values);
    item.Not = no;
    item.And = all;
    item.Oper = oper;
}

TEST(FilterItem, TypesAndKeyExplosion) {
    const std::tuple<const char*, EFilterItemType, const char*> cases[] = {
        {"", fitNone, "|"},
        {"%well", fitLevel, "|"},
        {"*strat.name.x", fitKeyValue, "strat|name.x"},
        {"*strat", fitKeyValue, "strat|"},
        {"curves", fitOther, "|"},
    };
    for (const auto& [key, type, parts] : cases) {
        TFilterItem item;
        item.Key = key;
        std::string table = "t", column = "c";
        const bool exploded = item.ExplodeKeyIntoTableAndColName(table, column);
        EXPECT_EQ(Row(int(item.GetItemType()), exploded, table) + column,
                  Row(int(type), type == fitKeyValue) + parts)
            << key;
    }
}

TEST(FilterItem, SimpleTextBothWays) {
    // Each text is read into an item that had both flags and a value, then written back.
    const std::pair<const char*, const char*> cases[] = {
        {"%well -> 12", "%well -> 12"},
        {" %well , not,and->1, 2 ", "%well,not,and -> 1,2"},
        {"curves,AND -> \"a b\",\"c,d\"", "curves,and -> \"a b\",\"c,d\""},
        {"%field", "%field -> "},
        // A key holding a comma or an arrow is quoted.
        {"\"*t.a,b->c\",not -> 1", "\"*t.a,b->c\",not -> 1"},
        {"\"a->b\" -> 1", "\"a->b\" -> 1"},
    };
    for (const auto& [text, written] : cases) {
        TFilterItem item;
        item.Not = item.And = true;
        item.Values.Add("old");
        item.FromSimpleText(text);
        EXPECT_EQ(item.ToSimpleText(), written);
    }
    TFilterItem item;
    item.FromSimpleText("%well,not,and -> 1,\"2 3\"");
    EXPECT_TRUE(item.GetItemType() == fitLevel && item.Key == "%well" && item.Not && item.And);
    EXPECT_EQ(item.Values, (TStringList{"1", "2 3"}));
    TFilter f;
    f.ReadimpleText(TStringList{"%well,not -> 1", "  ", "tables -> a,b"});
    TStringList lines;
    f.FillToSimpleText(lines);
    EXPECT_EQ(lines, (TStringList{"%well,not -> 1", "tables -> a,b"}));
    f.ReadSimpleText(TStringList{"curves -> GK"});
    EXPECT_EQ(f.GetCount(), 1);
}

TEST(Filter, XmlBothWaysWritesOnlyItemsWithKeyAndValues) {
    TFilter f;
    AddItem(f, "%well", {"12", "a<b"}, true, false, "!=");
    AddItem(f, "", {"lost"});
    AddItem(f, "%field", {});
    AddItem(f, "curves", {"GK"}, false, true);
    pugi::xml_document doc;
    pugi::xml_node command = doc.append_child("command");
    f.FillToXml(nullptr, command);
    EXPECT_EQ(XmlText(command),
              "<command><Filter>"
              "<Item Param=\"%well\" Oper=\"!=\" Not=\"true\"><Items><Item>12</Item>"
              "<Item>a&lt;b</Item></Items></Item>"
              "<Item Param=\"curves\" Oper=\"=\" And=\"true\"><Items><Item>GK</Item></Items></Item>"
              "</Filter></command>");
    f.CheckAndCorrect();  // only the empty key goes
    EXPECT_EQ(Row(f.GetCount(), f.GetFilledItemsCount()), "3|2|");

    ASSERT_TRUE(doc.load_string(R"(<answer><Filter>
        <Item Param="%well" And="True" Not="0"><Items><Item>1</Item><x>no</x></Items></Item>
        <item Param="skipped"/><Item Param="curves" Oper="!=" Not="1"/></Filter></answer>)"));
    f.ReadFromXml(nullptr, doc.document_element());
    ASSERT_EQ(f.GetCount(), 2);
    EXPECT_EQ(Row(f.GetItem(0).Oper, f.GetItem(0).And, f.GetItem(0).Not, f.GetItem(0).Values.Text(),
                  f.GetItem(1).Not, f.GetItem(1).Oper, f.GetItem(1).Values.Count()),
              "=|1|0|1\r\n|1|!=|0|");

    const std::string text = f.FillToXmlStr();  // the UTF-8 document form
    EXPECT_NE(text.find("encoding=\"UTF-8\""), std::string::npos);
    TFilter back;
    back.ReadFromXmlStr(text);
    ASSERT_EQ(back.GetCount(), 1);
    EXPECT_TRUE(back.GetItem(0).And);
    for (const char* bad : {"<Filter><Item Param=\"a\"", "not xml", ""}) {
        back.ReadFromXmlStr(bad);
        EXPECT_EQ(back.GetCount(), 0) << bad;
    }
}

TEST(Filter, CheckedXmlSkipsMissingLevelsAndConvertsDates) {
    SetShortDateFormat("dd.MM.yyyy");
    TDatabase db;
    db.GetStructure().AddNewItem().Type = "%well";
    TDbStructItem& date = db.GetStructure().AddNewItem();
    date.Type = "%date";
    date.ExType = dsetDate;
    auto write = [&](const TFilter& f, TFilterCheckFlags flags) {
        pugi::xml_document doc;
        f.FillToXmlWithCheck(&db, doc.append_child("c"), flags);
        return XmlText(doc.first_child());
    };

    TFilter f;
    AddItem(f, "%gone", {"2"});
    AddItem(f, "%date", {"1.2.2020", ">3.4.2021", "<05.06.2022", "1.2.2020 - 3.4.2021", "0"});
    AddItem(f, "hist_date", {"7.8.2019"});
    AddItem(f, "%well", {"1.2.2020"});  // not a date level: as it stands
    const std::string rest =
        "<Item Param=\"%date\" Oper=\"=\"><Items><Item>01.02.2020</Item>"
        "<Item>&gt;03.04.2021</Item><Item>&lt;05.06.2022</Item>"
        "<Item>01.02.2020-03.04.2021</Item><Item>0</Item></Items></Item>"
        "<Item Param=\"hist_date\" Oper=\"=\"><Items><Item>07.08.2019</Item></Items></Item>"
        "<Item Param=\"%well\" Oper=\"=\"><Items><Item>1.2.2020</Item></Items></Item></Filter></c>";
    const std::string gone =
        "<c><Filter><Item Param=\"%gone\" Oper=\"=\"><Items><Item>2</Item>"
        "</Items></Item>";
    EXPECT_EQ(write(f, {fcfCheckAll}), "<c><Filter>" + rest);
    EXPECT_EQ(write(f, {fcfCheckLevels}), "<c><Filter>" + rest);
    EXPECT_EQ(write(f, {fcfCheckKeyValues}), gone + rest);

    TFilter bad;
    AddItem(bad, "file_date", {"31.02.2020"});
    EXPECT_THAT([&] { write(bad, {}); },
                testing::ThrowsMessage<EConvertError>(testing::StrEq(
                    "Строка даты \"31.02.2020\" не соотвествует формату \"dd.MM.yyyy\" либо "
                    "введённые значения некорректные")));
}

TEST(Filter, HumanReadableText) {
    TDbStruct s;
    TDbStructItem& well = s.AddNewItem();
    well.Type = "%well";
    well.DisplayName = "Скважина";
    TFilter f;
    AddItem(f, "%WELL", {"1", "2"}, false, true);
    AddItem(f, "*strat.name", {"J1"}, true);
    AddItem(f, "strat_any_names", {"a"}, true, false, "!=");
    AddItem(f, "curves", {"GK"}, false, false, "!=");
    AddItem(f, "%other", {});
    EXPECT_EQ(f.ToHumanReadableText(&s),
              "Скважина = (ВСЕ) 1, 2\r\nstrat.name != J1\r\n"
              "Любой из объектов стратиграфии = a\r\nКривые != GK\r\n%other = ");
}

TEST(Filters, CurrentFindAndDelete) {
    TFilters set;
    EXPECT_EQ(set.FindByName("")->GetCount(), 0);  // adds an empty filter and makes it current
    ASSERT_EQ(set.GetCount(), 1);
    TFilter foreign;
    foreign.Name = "Copy";
    AddItem(foreign, "%well", {"1"});
    set.SetCurrent(&foreign);  // a copy is added
    ASSERT_EQ(set.GetCount(), 2);
    EXPECT_NE(set.GetCurrent(), &foreign);
    EXPECT_EQ(set.FindByName("copy"), set.GetCurrent());
    EXPECT_EQ(set.GetCurrent()->GetItem(0).Values, (TStringList{"1"}));

    EXPECT_THAT([&] { set.Delete("nothing"); },
                testing::ThrowsMessage<Error>(
                    testing::StrEq("TFilters.Delete: Указанный фильтр Filter не найден")));
    set.Delete("");  // the unnamed first filter; the current one stays current
    EXPECT_EQ(set.GetCurrent()->Name, "Copy");
    set.Delete("COPY");
    EXPECT_EQ(set.CurrentIndex, -1);
}

TEST(Filters, IniRoundTripThroughFile) {
    const test::TempDir dir;
    const auto file = dir / "filters.ini";
    TFilters saved;
    saved.UseAsGlobal = true;
    saved.Add().Name = "A";
    AddItem(saved.GetItem(0), "%well", {"1", "two words", "x\"y"}, true, true, "!=");
    saved.Add().Name = "B";
    AddItem(saved.GetItem(1), "curves", {"a,b"});
    saved.SetCurrent(&saved.GetItem(1));
    {
        TMemIniFile ini(file);
        saved.SaveSettingsToIni(ini, "Db/");
        ini.UpdateFile();
    }
    std::string disk;
    {
        std::fstream io(file, std::ios::in | std::ios::out | std::ios::binary | std::ios::ate);
        io.seekg(0);
        disk.assign(std::istreambuf_iterator<char>(io), std::istreambuf_iterator<char>());
        // A filter as the system's other programs write it: Windows-1251, one value "Юг,Север".
        io.seekp(0, std::ios::end);
        io << Utf8ToCp1251(
            "[Hand]\r\nCount=3\r\nKey1=%well\r\nValue1=\"\"Юг,Север\"\"\r\nValue2=no key\r\n"
            "Key3=curves\r\nValue3=x\"\r\n");  // quoted at one end only: kept
    }
    // The comma text in one pair of quotes, none added by the INI.
    EXPECT_NE(disk.find("\nValue1=\"\"a,b\"\"\n"), std::string::npos) << disk;
    const TMemIniFile ini(file);
    EXPECT_EQ(
        Row(ini.ReadString("Db/Filters", "CurrentFilter", ""),
            ini.ReadString("Db/Filters2", "Name", ""), ini.ReadString("Db/Filters2", "Value1", "")),
        "B|B|\"\"a,b\"\"|");

    // What was loaded saves to the same text.
    TFilters loaded;
    loaded.LoadSettingsFromIni(ini, "Db/");
    std::filesystem::remove(file);
    auto text = [&](const TFilters& f) {
        TMemIniFile mem(file);  // the file is gone: an empty one, never written
        f.SaveSettingsToIni(mem, "Db/");
        return mem.ToText();
    };
    EXPECT_EQ(text(loaded), text(saved));
    EXPECT_EQ(loaded.GetCurrent(), &loaded.GetItem(1));

    TFilter hand;
    hand.LoadSettingsFromIni(ini, "Hand");
    ASSERT_EQ(hand.GetCount(), 2);  // the item without a key is dropped
    EXPECT_EQ(Row(test::Joined(hand.GetItem(0).Values), hand.GetItem(1).Oper,
                  test::Joined(hand.GetItem(1).Values)),
              "Юг,Север||=|x\"||");
}

}  // namespace
}  // namespace ostradb

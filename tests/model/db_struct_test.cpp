#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "ostradb/model/db_struct.hpp"
#include "ostradb/model/level_files.hpp"
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

std::string Fields(const TDbStructItem& i) {
    std::ostringstream s;
    s << i.Type << '|' << i.View << '|' << int(i.ExType) << '|' << i.DisplayName << '|' << i.NoData
      << '|' << i.DictName << '|' << i.DictCol1 << '|' << i.DictCol2 << '|' << i.SearchLink << '|'
      << i.UseDict << '|' << i.Real << '|' << i.IsKey;
    return s.str();
}

const char* const kStructAnswer = R"(<DbStructData dir_count="3" main_file_type="2"><struct_items>
  <Item type="%field" df_view="v1" ex_type="1" real_name="Месторождение" no_data="-"
        dict_name="d" dict_col1="2" dict_col2="3" search_link="s" use_dict="true" df_real="r1"/>
  <item type="%lower" df_view="" ex_type="1" real_name="" no_data="" dict_name="" dict_col1="0"
        dict_col2="0" search_link="" use_dict="0" df_real=""/>
  <Item type="%well" df_view="v2" ex_type="3" real_name="Скважина" no_data="" dict_name=""
        dict_col1="-1" dict_col2="-1" search_link="" use_dict="0" df_real="r2" is_key="1"/>
</struct_items></DbStructData>)";

TEST(DbStruct, ReadsCapitalItemsAndLooksUpIgnoringCase) {
    pugi::xml_document doc;
    TDbStruct s;
    s.ReadFromXml(Load(doc, kStructAnswer));
    EXPECT_EQ(Row(s.DirCount, s.MainFileType == dsmft_ManyMainFiles), "3|1|");
    ASSERT_EQ(s.GetItemsCount(), 2);
    EXPECT_EQ(Fields(s.GetItem(0)) + "\n" + Fields(s.GetItem(1)),
              "%field|v1|1|Месторождение|-|d|2|3|s|1|r1|0\n%well|v2|3|Скважина|||-1|-1||0|r2|1");

    s.AddNewItem().Type = "%WELL";  // a second match is never returned
    EXPECT_EQ(s.IndexOfType("%WeLL"), 1);
    EXPECT_EQ(s.GetItemByType("field"), nullptr);
    EXPECT_EQ(s.FindItemByRealName("СКВАЖИНА"), &s.GetItem(1));
    TDbStructItem target;  // Assign leaves the key flag alone
    target.IsKey = true;
    target.Assign(s.GetItem(0));
    EXPECT_EQ(Fields(target), "%field|v1|1|Месторождение|-|d|2|3|s|1|r1|1");

    for (const char* attr : {"type", "df_view", "ex_type", "real_name", "no_data", "dict_name",
                             "dict_col1", "dict_col2", "search_link", "use_dict", "df_real"}) {
        pugi::xml_node root = Load(doc, kStructAnswer);
        root.child("struct_items").find_child_by_attribute("type", "%well").remove_attribute(attr);
        EXPECT_THROW(s.ReadFromXml(root), EConvertError) << attr;
        EXPECT_EQ(s.GetItem(0).Type, "%field") << attr;  // what was read before stays
    }
}

TEST(DbLogicalStruct, ItemOperationsAndSerializerForm) {
    TDbLogicalStruct s;
    for (const char* t : {"%field", "%well", "%Well"})
        s.Add().ItemType = t;
    TDbLogicalStructItem* first = &s.GetItem(0);
    s.Swap(0, 1);
    EXPECT_EQ(&s.GetItem(0), first);  // contents move, items stay
    EXPECT_EQ(s.GetItem(0).ItemType + s.GetItem(1).ItemType, "%well%field");
    EXPECT_EQ(s.FindByType("%Well"), &s.GetItem(2));
    EXPECT_EQ(s.FindByType("%WELL"), nullptr);
    EXPECT_EQ(s.IndexByName("%WELL"), 0);

    s.Name = "По скважинам";
    pugi::xml_document doc;
    pugi::xml_node command = doc.append_child("command");
    SaveToXML(&s, "LogStruct", command);
    EXPECT_EQ(test::XmlText(command),
              "<command><LogStruct Name=\"По скважинам\" IsDefault=\"0\"><Items>"
              "<Item ItemType=\"%well\"/><Item ItemType=\"%field\"/><Item ItemType=\"%Well\"/>"
              "</Items></LogStruct></command>");
    TDbStruct real;
    real.AddNewItem().Type = "%a";
    s.ReadFromRealStruct(real);
    EXPECT_EQ(Row(s.IsDefault, s.GetCount()), "1|1|");
    LoadFromXML(&s, "LogStruct", command);
    EXPECT_EQ(Row(s.IsDefault, s.GetCount()), "0|3|");
}

// A default structure and two user ones, "a[1]=b" and "Second".
void Fill(TDbLogicalStructures& set) {
    TDbStruct real;
    real.AddNewItem().Type = "%field";
    real.AddNewItem().Type = "%well";
    set.SetDefaultStruct(real);
    set.Add().Name = "a[1]=b";
    set.GetItem(1).Add().ItemType = "%well";
    set.Add().Name = "Second";
    set.GetItem(2).Add().ItemType = "%well";
    set.GetItem(2).Add().ItemType = "%field";
}

TEST(DbLogicalStructures, CurrentDefaultDeleteAndFind) {
    TDbLogicalStructures set;
    EXPECT_EQ(set.GetCurrent(), nullptr);
    Fill(set);
    EXPECT_EQ(set.GetItem(0).Name, "По умолчанию");
    EXPECT_EQ(set.GetCurrent(), set.GetDefault());
    EXPECT_EQ(set.FindByName("SECOND"), &set.GetItem(2));
    EXPECT_EQ(set.FindByName("По умолчанию"), nullptr);
    TDbLogicalStruct foreign;
    set.SetCurrent(&set.GetItem(2));
    set.SetCurrent(&foreign);
    EXPECT_EQ(set.CurrentIndex, 2);

    set.Delete(0);  // the default stays
    set.Delete(1);  // an earlier one: the index is not shifted
    EXPECT_EQ(set.GetCount(), 2);
    EXPECT_EQ(set.CurrentIndex, 2);
    set.CurrentIndex = 5;
    set.Items.Delete(1);
    EXPECT_EQ(set.GetCurrent(), &set.GetItem(0));  // the only one, whatever the index
    Fill(set);
    set.CurrentIndex = 2;
    set.Delete(2);  // the current one: back to the default
    EXPECT_EQ(set.GetCurrent(), &set.GetItem(0));
}

TEST(DbLogicalStructures, IniRoundTripThroughFile) {
    const test::TempDir dir;
    const auto file = dir / "logstruct.ini";
    TDbLogicalStructures saved;
    Fill(saved);
    saved.SetCurrent(&saved.GetItem(1));
    {
        TMemIniFile ini(file);
        saved.SaveSettingsToIni("Db", ini);
        ini.WriteString("Other/LogStructure", "Count", "1000000000");  // hand-edited nonsense
        ini.WriteString("Other/LogStructure", "Current", "По умолчанию");
        ini.UpdateFile();
    }
    const TMemIniFile ini(file);
    // The default is not stored.
    EXPECT_EQ(Row(ini.ReadString("Db/LogStructure/a-1--b", "Item1", ""),
                  ini.ReadInteger("Db/LogStructure", "Count", 0)),
              "%well|2|");

    TDbLogicalStructures loaded;
    Fill(loaded);
    loaded.GetItem(0).Items.Delete(1);
    loaded.LoadSettingsFromIni("Db", ini);
    ASSERT_EQ(loaded.GetCount(), 3);
    EXPECT_EQ(loaded.GetItem(2).GetItem(1).ItemType, "%field");
    EXPECT_EQ(loaded.GetCurrent(), &loaded.GetItem(1));
    loaded.GetItem(0).LoadSettingsFromIni(ini, "Db/LogStructure/Second");
    EXPECT_EQ(loaded.GetItem(0).GetCount(), 1);  // a default structure is never loaded

    loaded.CurrentIndex = -1;
    loaded.LoadSettingsFromIni("Other", ini);
    EXPECT_EQ(loaded.GetCurrent(), &loaded.GetItem(0));
}

TEST(LevelsList, ReadsLevelValuesWithOptionalAttributesAndRights) {
    pugi::xml_document doc;
    TLevelsList list;
    list.ReadFromXml(Load(doc, R"(<answer><level_values>
        <item id="1" name="W1" path="F\W1" name_is_correct="false" StrType="well" date="44000.5"
              UserRights="4294967360" quality_mark="3">
          <fap><file extra_path="" name="a.ws" type="1" trunk_id="T" is_main="true"/></fap></item>
        <Item id="9" name="skipped" path=""/>
        <item id="2" name="W2" path="F\W2" UserRights="1"/>
        <item id="3" name="W3" path="F\W3" UserRights="65"/></level_values></answer>)"),
                     nullptr);
    ASSERT_EQ(list.GetCount(), 3);
    const TLevelItem& a = list.GetItem(0);
    const TLevelItem& b = list.GetItem(1);
    // UserRights: the low 32 bits of the 64-bit mask.
    EXPECT_EQ(
        Row(a.Name, a.Path, a.StrType, a.NameIsCorrect, a.Date, a.QualityMark, a.UserRights,
            a.LevelFiles().GetItem(0).Name, b.NameIsCorrect, b.Date, b.QualityMark, b.StrType),
        "W1|F\\W1|well|0|44000.5|3|64|a.ws|1|0|0||");
    std::string access;
    for (const TLevelItem& item : list.Items)
        access += Row(item.IsReadOnly(), item.IsNavigateOnly(), item.IsFullAccess());
    EXPECT_EQ(access, "0|1|0|1|0|0|0|0|0|");
    EXPECT_THROW(
        list.ReadFromXml(Load(doc, "<a><level_values><item id='1' name='x'/></level_values></a>"),
                         nullptr),
        EConvertError);
}

TEST(VTables, ReadTablesAndOptions) {
    pugi::xml_document doc;
    TVTables tables;
    tables.ReadFromXml(Load(doc, R"(<answer><all_vtables use_delete="true" collection_path="C:\v">
        <item name="t1" file_name="t1.db" only_login_update="false"/>
        <Item name="skip" file_name="" only_login_update="0"/>
        <item name="t2" file_name="t2.db" only_login_update="1"/></all_vtables></answer>)"));
    ASSERT_EQ(tables.GetItemsCount(), 2);
    EXPECT_EQ(Row(tables.UseDelete, tables.CollectionPath, tables.GetItem(1).OnlyLoginUpdate),
              "1|C:\\v|1|");

    TVTableOptions options;
    options.ReadFromXml(Load(doc, R"(<answer><vtable_options><item section="s" key="k" value="v"/>
        <option section="x" key="y" value="z"/></vtable_options></answer>)"));
    ASSERT_EQ(options.GetItemsCount(), 1);
    EXPECT_EQ(options.GetItem(0).Section + options.GetItem(0).Key + options.GetItem(0).Value,
              "skv");
}

}  // namespace
}  // namespace ostradb

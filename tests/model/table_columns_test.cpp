#include <gtest/gtest.h>

#include <string>

#include "ostradb/model/table_columns.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "support/render.hpp"

namespace ostradb {
namespace {

TEST(TableCols, ReadsOnlyFieldChildren) {
    pugi::xml_document doc;
    xml::Parse(doc, R"(<Fields><Field Name="DEPTH"/><field Name="lower"/><FIELD Name="x"/>
                       <Field/><Other Name="y"/><Field Name="ГК"/></Fields>)");
    TTableCols cols;
    cols.Items.Add().Name = "stale";
    cols.LoadFromWSViewsListXml(doc.document_element());
    ASSERT_EQ(cols.GetCount(), 3);
    EXPECT_EQ(test::Row(cols.GetItem(0).Name, cols.GetItem(1).Name, cols.GetItem(2).Name),
              "DEPTH||ГК|");

    TTableCols copy;
    copy.Assign(cols);
    copy.GetItem(0).Name = "changed";
    EXPECT_EQ(cols.GetItem(0).Name, "DEPTH");

    xml::Parse(doc, R"(<v name="TOP" value="1500.5" type="float"/>)");
    TTableValue v;
    v.LoadFromXML(doc.document_element());
    EXPECT_EQ(v.Name + "|" + v.Value + "|" + v.Type, "TOP|1500.5|float");
}

TTableColumnNames Sample() {
    TTableColumnNames names;
    TTableColumnNamesItem& strat = names.Add();
    strat.Table = "Стратиграфия";
    strat.ColNames = TStringList{"Кровля", "Подошва"};
    TTableColumnNamesItem& main = names.Add();
    main.Table = "main";
    main.ColNames = TStringList{"GK"};
    return names;
}

TEST(TableColumnNames, WritesItemsWithoutAnElementOfTheirOwn) {
    const TTableColumnNames names = Sample();
    pugi::xml_document doc;
    pugi::xml_node root = doc.append_child("answer");
    SaveToXML(names, "ColumnNames", root);
    EXPECT_EQ(xml::ToText(doc, false, ""),
              "<answer><ColumnNames><Item Table=\"Стратиграфия\"><ColNames><Item>Кровля</Item>"
              "<Item>Подошва</Item></ColNames></Item><Item Table=\"main\"><ColNames>"
              "<Item>GK</Item></ColNames></Item></ColumnNames></answer>");

    TTableColumnNames back;
    back.Add().Table = "stale";
    LoadFromXML(back, "ColumnNames", root);
    pugi::xml_document again;
    SaveToXML(back, "ColumnNames", again.append_child("answer"));
    EXPECT_EQ(xml::ToText(again, false, ""), xml::ToText(doc, false, ""));
}

TEST(TableColumnNames, LookUpsIgnoreCaseAndDeleteNeedsTheTable) {
    TTableColumnNames names = Sample();
    EXPECT_EQ(test::Row(names.Exists("СТРАТИГРАФИЯ", "кровля"), names.Exists("MAIN", "gk"),
                        names.Exists("main", "Кровля"), names.Exists("unknown", "GK")),
              "1|1|0|0|");
    EXPECT_EQ(names.FindByTableName("Main"), &names.GetItem(1));
    EXPECT_EQ(names.FindByTableName("mai"), nullptr);

    TTableColumnNames copy;
    copy.Assign(names);
    copy.GetItem(0).ColNames.Add("extra");
    EXPECT_EQ(names.GetItem(0).ColNames.Count(), 2);

    names.DeleteByName("стратиграфия");
    ASSERT_EQ(names.GetCount(), 1);
    EXPECT_EQ(names.GetItem(0).Table, "main");
    EXPECT_THROW(names.DeleteByName("стратиграфия"), EListError);
}

}  // namespace
}  // namespace ostradb

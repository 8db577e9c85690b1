// Trunk and map commands: what each sends and reads, the extra-column text form and the map
// trunk attributes.

#include <tuple>

#include "exchange_fixture.hpp"
#include "ostradb/model/filters.hpp"
#include "ostradb/model/trunks.hpp"
#include "ostradb/protocol/trunk_commands.hpp"

namespace ostradb {
namespace {

using namespace test;

TEST(MapSpecialCols, ReadFromTextSplitsTableFromColumnAtTheFirstDot) {
    using Col = std::tuple<std::string, std::string, std::string>;
    const struct {
        const char* text;
        std::vector<Col> cols;
    } cases[] = {
        {"Depth=WELLS.DEPTH", {{"Depth", "WELLS", "DEPTH"}}},
        {"Kp=GIS.KP.MEAN", {{"Kp", "GIS", "KP.MEAN"}}},
        {"Kp=.KP", {{"Kp", "", "KP"}}},
        {"Kp=GIS\nKp2=GIS.\nKp3=\nKp4=.", {}},
        {"", {}},
        {"A=B.C\r\nA=B.C\r\n", {{"A", "B", "C"}, {"A", "B", "C"}}},
        // no "=", an empty name; CR alone ends a line too
        {"Depth\r=X.Y\rB=T.C", {{"B", "T", "C"}}},
        // a repeated name, in any letter case, takes its first line's value
        {"K=A.B\nk=C.D", {{"K", "A", "B"}, {"k", "A", "B"}}},
    };
    for (const auto& c : cases) {
        TMapSpecialCols cols;
        cols.Add("P", "T", "C");  // kept
        cols.ReadFromText(c.text);
        std::vector<Col> got;
        for (const TMapSpecialCol& col : cols.Items)
            got.emplace_back(col.Param, col.Table, col.Col);
        std::vector<Col> expected{{"P", "T", "C"}};
        expected.insert(expected.end(), c.cols.begin(), c.cols.end());
        EXPECT_EQ(got, expected) << c.text;
    }
}

TEST(MapTrunkAttributes, TypedValuesAndLookUp) {
    TMapTrunkAttributes attrs;
    TMapTrunkAttr& a = attrs.AddNew();
    a.Name = "Глубина";
    for (const char* notANumber : {"abc", "", "1.5x"}) {
        a.Value = notANumber;
        EXPECT_EQ(a.GetFloat(), 0.0f) << notANumber;
        EXPECT_EQ(a.GetInteger(), 0) << notANumber;
    }
    a.SetInteger(-5);
    EXPECT_EQ(a.Value, "-5");
    a.SetFloat(0.1f);
    EXPECT_EQ(a.Value, "0.1");
    EXPECT_EQ(a.GetFloat(), 0.1f);

    EXPECT_EQ(&attrs.FindByNameOrCreate("ГЛУБИНА"), &a);
    TMapTrunkAttr& created = attrs.FindByNameOrCreate("Kp");
    ASSERT_EQ(attrs.Count(), 2);
    EXPECT_EQ(&attrs.Item(1), &created);
    EXPECT_EQ(created.Name, "Kp");
    EXPECT_EQ(attrs.FindByName("none"), nullptr);
}

TEST_F(ExchangeTest, TrunkAndMapCommandsSendAndRead) {
    for (const char* answer :
         {R"(<Trunks><Item TId="t1" DbId="5" Well="12"/></Trunks>)", "",
          R"(<Result><FilesList><Item TrunkId="t1"><FilesNames><Item>a.ws</Item>)"
          R"(<Item>b.ws</Item></FilesNames></Item></FilesList></Result>)",
          R"(<Result><Trunks><Item TID="t1"><PlastsCross><Item TID="t1" PlastName="P" X="1.5")"
          R"( Y="2" Z="-3"/></PlastsCross><Attributes><Item Name="Depth" Value="1500"/>)"
          R"(</Attributes></Item></Trunks><StratIdents><Item>S1</Item></StratIdents></Result>)",
          "", R"(<Result><Item>P1</Item><Item>P2</Item></Result>)",
          R"(<Result><PlastsCross><Item TID="t2" PlastName="P1" X="1" Y="2" Z="3"/>)"
          R"(</PlastsCross></Result>)"})
        server.Expect().Reply(AnswerPacket({}, answer));
    TFilter filter;
    TFilterItem& item = filter.Add();
    item.Key = "%well";
    item.Values.Add("12");
    // No database to check against: date values go as given, even one no date parser takes.
    TFilterItem& dates = filter.Add();
    dates.Key = "hist_date";
    dates.Values.Add("1.2.2020");
    dates.Values.Add(">31.02.2020");
    TTrunkList trunks, toSave;
    toSave.Add().TId = "t9";
    TFilesForTrunkList files;
    TMapTrunks map, toWrite;
    TMapTrunk& mt = toWrite.AddNew();
    mt.TID = "t1";
    mt.Attributes.FindByNameOrCreate("Depth").SetInteger(1500);
    mt.PlastsCross.AddNew().PlastName = "P1";
    toWrite.StratIdents.Add("S1");
    TMapSpecialCols extra;
    extra.Add("Depth", "WELLS", "DEPTH");
    TStringList plastNames{"stale"};
    TMapPlastsCrossItems crosses;
    client.GetTrunkObjects(TStringList{"t1", "t2"}, trunks);
    client.SetTrunkObjects(toSave);
    client.GetFilesNamesForTrunks(7, TStringList{"t1"}, &filter, files);
    client.GetMapTrunks(8, &filter, extra, map);
    client.WriteTrunksAndPlastsData(9, "S1", toWrite, true, false);
    client.GetPlastNamesForMap(10, nullptr, "S2", plastNames);
    client.GetPlastsCrossItems(11, &filter, "S3", "P1", crosses);

    // A trunk's many attributes belong to the trunk model: the line ends after its first three.
    std::string sent = Commands(server);
    const std::size_t cut = sent.find(R"(FileName="")") + 11;
    sent.erase(cut, sent.find('\n', cut) - cut);
    // The filter as it stands in the command element itself.
    const std::string F =
        R"(<Filter><Item Param="%well" Oper="="><Items><Item>12</Item></Items></Item>)"
        R"(<Item Param="hist_date" Oper="="><Items><Item>1.2.2020</Item>)"
        R"(<Item>&gt;31.02.2020</Item></Items></Item></Filter>)";
    EXPECT_EQ(
        sent,
        R"(<command cmd="get_trunk_data"><Ids><Item>t1</Item><Item>t2</Item></Ids></command>
<command cmd="set_trunk_data"><Trunks><Item TId="t9" DbId="0" FileName=""
<command cmd="get_files_for_trunks" db_id="7"><Trunks><Item>t1</Item></Trunks>)" +
            F + R"(</command>
<command cmd="get_map_trunks" db_id="8">)" +
            F + R"(<ExtraCols><Item Param="Depth" Table="WELLS" Col="DEPTH"/></ExtraCols></command>
<command cmd="set_map_data" db_id="9" strat_ident="S1" clear_attrs="true" clear_crosses="false"><Trunks><Trunks><Item TID="t1"><PlastsCross><Item TID="" PlastName="P1" X="0" Y="0" Z="0"/></PlastsCross><Attributes><Item Name="Depth" Value="1500"/></Attributes></Item></Trunks><StratIdents><Item>S1</Item></StratIdents></Trunks></command>
<command cmd="get_map_plast_names" db_id="10" strat_ident="S2"/>
<command cmd="get_plasts_cross" db_id="11" strat_ident="S3" plast_name="P1">)" +
            F + R"(</command>
)");
    ASSERT_EQ(Row(trunks.GetCount(), files.Count(), map.Count(), crosses.Count()), "1|1|1|1|");
    const TMapTrunk& t = map.Item(0);
    ASSERT_EQ(t.Attributes.Count() + t.PlastsCross.Count(), 2);
    EXPECT_EQ(Row(trunks.GetItem(0).DbId, trunks.GetItem(0).Well, files.Item(0).TrunkId,
                  Joined(files.Item(0).FilesNames), t.TID, t.Attributes.Item(0).GetInteger(),
                  t.PlastsCross.Item(0).X, t.PlastsCross.Item(0).Z, Joined(map.StratIdents),
                  Joined(plastNames), crosses.Item(0).TID, crosses.Item(0).Y),
              "5|12|t1|a.ws|b.ws||t1|1500|1.5|-3|S1||P1|P2||t2|2|");
    server.Verify();
}

TEST_F(ExchangeTest, TrunksForFilesStripsTheCallersNamesAndRestoresTheServer) {
    client.SetHostPort("elsewhere.invalid", 1);
    const std::string address =
        "WSTP://DIRECT:/HOST:127.0.0.1//PORT:" + std::to_string(server.Port()) + "/";
    TStringList names{address + "D:\\a.ws", "D:\\b.ws"};
    TTrunkList trunks;
    server.Expect().Reply(AnswerPacket({}, R"(<Trunks><Item TId="t"/></Trunks>)"));
    server.Expect().Reply(test::ErrorPacket(3, "нет данных"));

    client.GetTrunkObjectsForFiles(names, trunks);
    EXPECT_EQ(names.Lines(), (std::vector<std::string>{"D:\\a.ws", "D:\\b.ws"}));
    EXPECT_EQ(test::CommandText(server.Request(0)),
              R"(<command cmd="get_trunks_for_files"><FileNames><Item>D:\a.ws</Item>)"
              R"(<Item>D:\b.ws</Item></FileNames></command>)");
    EXPECT_EQ(test::Row(trunks.GetCount(), client.GetHost(), client.GetPort()),
              "1|elsewhere.invalid|1|");

    names = TStringList{address + "D:\\c.ws"};
    test::ExpectServerError([&] { client.GetTrunkObjectsForFiles(names, trunks); }, 3,
                            "нет данных");
    EXPECT_EQ(test::Row(trunks.GetCount(), client.GetHost(), client.GetPort()),
              "1|elsewhere.invalid|1|");
    server.Verify();
}

}  // namespace
}  // namespace ostradb

// Data-layer calls: command names, attributes and handle elements in order, payloads both
// ways, result codes and out values, and the order in which answers are read.

#include "ostradb/protocol/dataserver_commands.hpp"
#include "exchange_fixture.hpp"

namespace ostradb {
namespace {

using namespace test;

const TObjectHandle kLF{7, 1, 2};
const TObjectHandle kLR{-1, 255, 0};
const TObjectHandle kDesc{300000, 4, 9};

std::string H(const TObjectHandle& h) {
    return std::to_string(h.H) + "." + std::to_string(h.T) + "." + std::to_string(h.M);
}

TEST_F(ExchangeTest, DataLayerCallsSendAndRead) {
    // The answers' attributes, children and payload, in the order of the calls below.
    const struct {
        const char* attrs;
        const char* body;
        std::string payload;
    } answers[] = {
        {R"(RetValue="0" RowNumber="13")", "", "ws bytes"},
        {R"(RetValue="-2" RowNumber="65535")", "", ""},
        {R"(RetValue="1")", "", ""},
        {R"(RetValue="0")", "", ""},
        {R"(RetValue="0")", R"(<LFHandle H="5" T="6" M="7"/>)", ""},
        {R"(TableName="ТАБЛ" RetValue="0")", "", ""},
        {R"(RetValue="0")", "", "obj"},
        {R"(RetValue="1")", "", ""},
        {R"(RetValue="0")", R"(<LRHandle H="8" T="2" M="1"/>)", ""},
        {R"(RetValue="0")", R"(<LRHandle H="9" T="3" M="0"/>)", ""},
        {R"(RetValue="0")", "", "fld"},
        {R"(RetValue="0")", "", "fld2"},
        {R"(RetValue="0")", "", "o17"},
        {R"(RetValue="0" TDCounter="40000")", "", ""},
        {R"(RetValue="0")", R"(<SearchDataH H="11" T="0" M="5"/>)", ""},
        {R"(RetValue="70000")", "", ""},
        {R"(RetValue="0")", "", "found"},
        {R"(RetValue="0" WSName="srv/D:\a.ws")", "", ""},
        {R"(RetValue="3" WSName="")", "", ""},
        {R"(RetValue="-70000")", "", ""},
        {R"(RetValue="70000" Names="A;B")", "", ""},
        {R"(RetValue="6")", "", ""},
        {R"(RetValue="0")", "", "xobj"},
        {R"(RetValue="0")", R"(<LRHandle H="1" T="1" M="1"/><TDescHandle H="21" T="22" M="23"/>)",
         ""},
    };
    for (const auto& a : answers) {
        if (a.payload.empty()) {
            server.Expect().Reply(AnswerPacket(a.attrs, a.body));
        } else {
            server.Expect().Reply(PayloadPacket(std::ssize(a.payload), a.attrs));
            server.Send(a.payload);
        }
    }
    std::uint16_t row = 12, counter = 0;
    std::string text = "stale", names;
    TObjectHandle lr = kLR, lf, lr2, search, desc;
    std::istringstream file("file body"), small("xy");
    std::ostringstream got;  // every payload received, in order
    auto& c = client;
    std::string r = Row(c.DatServ_Load_WS("r.ws", "l", "aim", "T", row, got));
    r += Row(row);
    r += Row(c.DatServ_Load_WSEx("r", "l", "a", "t", row, got));
    r += Row(row);
    r += Row(c.DatServ_Save_WS("aim", "T", "f.ws", 2, file));
    r += Row(c.DatServ_Save_WSExRW("a", "t", "g.ws", 0, small));
    r += Row(c.DatServ_SysLFInitOpenEx("a.ws", lf, 3, -4));
    r += Row(H(lf));
    r += Row(c.DatServ_GetTableName(kLR, text));
    r += Row(text);
    r += Row(c.DatServ_GetCurObj(kLR, got));
    r += Row(c.DatServ_GetObjState(kDesc, 65535));
    r += Row(c.DatServ_Get_TableNew("TT", kLF, lr));
    r += Row(H(lr));
    r += Row(c.DatServ_Get_Table("TT", kLF, lr2));
    r += Row(H(lr2));
    r += Row(c.DatServ_GetTDescFldsN(kDesc, "DEPTH", got));
    r += Row(c.DatServ_GetTDescFldsI(kDesc, 65535, got));
    r += Row(c.DatServ_GetObjByIdN(kLR, 17, got));
    r += Row(c.DatServ_GetTDescCounter(kDesc, counter));
    r += Row(counter);
    r += Row(c.DatServ_SSearchDataInit("n1", "v1", "n2", "v2", "n3", "v3", kLF, search));
    r += Row(H(search));
    // A code that does not fit in 16 bits keeps its low 16 bits.
    r += Row(c.DatServ_SetSTable(kLF, "WELLS"));
    r += Row(c.DatServ_FindFirst(kLF, kLR, got));
    r += Row(c.DatServ_GetWSName(kLR, text));
    r += Row(text);
    r += Row(c.DatServ_GetWSName(kLR, text));
    r += Row(text);
    r += Row(c.DatServ_TableExistX("TT", kLF, 5));
    r += Row(c.DatServ_DSGetTableNames(kLF, 2, names));
    r += Row(names);
    r += Row(c.DatServ__OneHandleFunc("ds_close", "ObjHandle", kLF));
    r += Row(c.DatServ__InHandle_OutObj("ds_x", "SOHandle", kLR, got));
    r += Row(c.DatServ__InHandle_OutHandle("ds_y", "LRHandle", "TDescHandle", kLR, desc));
    r += Row(H(desc));
    EXPECT_EQ(r,
              "0|13|-2|65535|1|0|0|5.6.7|0|ТАБЛ|0|1|0|8.2.1|0|9.3.0|0|0|0|0|40000|0|11.0.5|"
              "4464|0|0|WSTP://srv/D:\\a.ws|3||-4464|70000|A;B|6|0|0|21.22.23|");
    EXPECT_EQ(got.str(), "ws bytesobjfldfld2o17foundxobj");
    EXPECT_EQ(server.Request(2).payload + server.Request(3).payload, "file bodyxy");
    EXPECT_EQ(
        Commands(server),
        R"(<command cmd="ds_load_ws" ResFName="r.ws" LoadFName="l" Selected_Aim="aim" TName="T" RowNumber="12"/>
<command cmd="ds_load_ws_ex" ResFName="r" LoadFName="l" Selected_Aim="a" TName="t" RowNumber="13"/>
<command cmd="ds_save_ws" Selected_Aim="aim" TName="T" FileName="f.ws" CheckCopy="true"/>
<command cmd="ds_save_ws_exrw" Selected_Aim="a" TName="t" FileName="g.ws" CheckCopy="false"/>
<command cmd="ds_sys_lf_init_open_ex" FileName="a.ws" LROption="3" ObjOption="-4"/>
<command cmd="ds_get_table_name"><LRHandle H="-1" T="255" M="0"/></command>
<command cmd="ds_get_cur_obj"><LRHandle H="-1" T="255" M="0"/></command>
<command cmd="ds_get_obj_state" Mask="65535"><ObjHandle H="300000" T="4" M="9"/></command>
<command cmd="ds_get_table_new" TableName="TT"><LFHandle H="7" T="1" M="2"/><LRHandle H="-1" T="255" M="0"/></command>
<command cmd="ds_get_table" TableName="TT"><LFHandle H="7" T="1" M="2"/></command>
<command cmd="ds_get_tdesc_fld_n" FieldName="DEPTH"><TDescHandle H="300000" T="4" M="9"/></command>
<command cmd="ds_get_tdesc_fld_i" FieldNumber="65535"><TDescHandle H="300000" T="4" M="9"/></command>
<command cmd="ds_get_obj_by_idn" Idn="17"><LRHandle H="-1" T="255" M="0"/></command>
<command cmd="ds_get_tdesc_counter"><TDescHandle H="300000" T="4" M="9"/></command>
<command cmd="ds_ssearch_data_init" Name1="n1" Val1="v1" Name2="n2" Val2="v2" Name3="n3" Val3="v3"><TableHandle H="7" T="1" M="2"/></command>
<command cmd="ds_set_s_table" TablName="WELLS"><SOHandle H="7" T="1" M="2"/></command>
<command cmd="ds_find_first"><LFHandle H="7" T="1" M="2"/><SOHandle H="-1" T="255" M="0"/></command>
<command cmd="ds_get_ws_name"><LRHandle H="-1" T="255" M="0"/></command>
<command cmd="ds_get_ws_name"><LRHandle H="-1" T="255" M="0"/></command>
<command cmd="ds_table_exists_x" TableName="TT" Option="5"><LFHandle H="7" T="1" M="2"/></command>
<command cmd="ds_ds_get_table_names" LROption="2"><LFHandle H="7" T="1" M="2"/></command>
<command cmd="ds_close"><ObjHandle H="7" T="1" M="2"/></command>
<command cmd="ds_x"><SOHandle H="-1" T="255" M="0"/></command>
<command cmd="ds_y"><LRHandle H="-1" T="255" M="0"/></command>
)");
    server.Verify();
}

// Values are read in a fixed order, so a read that fails leaves the later out values alone
// and keeps the earlier ones, fields of a handle included.
TEST_F(ExchangeTest, DataLayerAnswersAreReadInOrder) {
    std::uint16_t row = 12;
    std::ostringstream sink;
    server.Expect("ds_load_ws").Reply(AnswerPacket(R"(RowNumber="13")"));
    EXPECT_THROW(client.DatServ_Load_WS("r", "l", "a", "t", row, sink), EConvertError);
    EXPECT_EQ(row, 12);

    std::string name = "old";
    server.Expect("ds_get_table_name").Reply(AnswerPacket(R"(TableName="NEW")"));
    EXPECT_THROW(client.DatServ_GetTableName(kLR, name), EConvertError);
    EXPECT_EQ(name, "NEW");

    TObjectHandle lr{1, 2, 3};
    server.Expect("ds_get_table").Reply(AnswerPacket(R"(RetValue="0")", R"(<LRHandle H="4"/>)"));
    EXPECT_THROW(client.DatServ_Get_Table("T", kLF, lr), EConvertError);
    EXPECT_EQ(lr, (TObjectHandle{4, 2, 3}));

    server.Expect("ds_get_table").Reply(AnswerPacket(R"(RetValue="0")"));
    EXPECT_THROW(client.DatServ_Get_Table("T", kLF, lr), EConvertError);
    EXPECT_EQ(lr, (TObjectHandle{4, 2, 3}));

    server.Expect("ds_get_ws_name").Reply(test::ErrorPacket(12, "нет файла"));
    test::ExpectServerError([&] { client.DatServ_GetWSName(kLR, name); }, 12, "нет файла");
    EXPECT_EQ(name, "NEW");
    server.Verify();
}

}  // namespace
}  // namespace ostradb

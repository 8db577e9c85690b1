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

struct DsCase {
    std::function<std::int64_t(std::ostream&)> call;
    std::string request;  // the command element
    std::string answer;   // attributes of the answer element
    std::string answerBody;
    std::string payload;  // of the answer
    std::int64_t result;
    std::function<void(const test::RecordedRequest&)> check;
};

TEST_F(ExchangeTest, DataLayerCallsSendAndRead) {
    std::uint16_t row = 12, counter = 0;
    std::string text = "stale";
    TObjectHandle lr = kLR, out;
    std::istringstream toSave;
    auto& c = client;
    using Req = const test::RecordedRequest&;
    // A check that the handle holds want once the call is done.
    auto Is = [](const TObjectHandle& handle, TObjectHandle want) {
        return [&handle, want](Req) { EXPECT_EQ(handle, want); };
    };
    const DsCase cases[] = {
        {[&](std::ostream& s) { return c.DatServ_Load_WS("r.ws", "l", "aim", "T", row, s); },
         R"(<command cmd="ds_load_ws" ResFName="r.ws" LoadFName="l" Selected_Aim="aim" TName="T" RowNumber="12"/>)",
         R"(RetValue="0" RowNumber="13")", "", "ws bytes", 0, [&](Req) { EXPECT_EQ(row, 13); }},
        {[&](std::ostream& s) { return c.DatServ_Load_WSEx("r", "l", "a", "t", row, s); },
         R"(<command cmd="ds_load_ws_ex" ResFName="r" LoadFName="l" Selected_Aim="a" TName="t" RowNumber="13"/>)",
         R"(RetValue="-2" RowNumber="65535")", "", "", -2, [&](Req) { EXPECT_EQ(row, 65535); }},
        {[&](std::ostream&) {
             toSave.str("file body");
             return c.DatServ_Save_WS("aim", "T", "f.ws", 2, toSave);
         },
         R"(<command cmd="ds_save_ws" Selected_Aim="aim" TName="T" FileName="f.ws" CheckCopy="true"/>)",
         R"(RetValue="1")", "", "", 1, [](Req r) { EXPECT_EQ(r.payload, "file body"); }},
        {[&](std::ostream&) {
             toSave.clear();
             toSave.str("xy");
             return c.DatServ_Save_WSExRW("a", "t", "g.ws", 0, toSave);
         },
         R"(<command cmd="ds_save_ws_exrw" Selected_Aim="a" TName="t" FileName="g.ws" CheckCopy="false"/>)",
         R"(RetValue="0")", "", "", 0, [](Req r) { EXPECT_EQ(r.payload, "xy"); }},
        {[&](std::ostream&) { return c.DatServ_SysLFInitOpenEx("a.ws", out, 3, -4); },
         R"(<command cmd="ds_sys_lf_init_open_ex" FileName="a.ws" LROption="3" ObjOption="-4"/>)",
         R"(RetValue="0")", R"(<LFHandle H="5" T="6" M="7"/>)", "", 0, Is(out, {5, 6, 7})},
        {[&](std::ostream&) { return c.DatServ_GetTableName(kLR, text); },
         R"(<command cmd="ds_get_table_name"><LRHandle H="-1" T="255" M="0"/></command>)",
         R"(TableName="ТАБЛ" RetValue="0")", "", "", 0, [&](Req) { EXPECT_EQ(text, "ТАБЛ"); }},
        {[&](std::ostream& s) { return c.DatServ_GetCurObj(kLR, s); },
         R"(<command cmd="ds_get_cur_obj"><LRHandle H="-1" T="255" M="0"/></command>)",
         R"(RetValue="0")", "", "obj", 0, nullptr},
        {[&](std::ostream&) { return c.DatServ_GetObjState(kDesc, 65535); },
         R"(<command cmd="ds_get_obj_state" Mask="65535"><ObjHandle H="300000" T="4" M="9"/></command>)",
         R"(RetValue="1")", "", "", 1, nullptr},
        {[&](std::ostream&) { return c.DatServ_Get_TableNew("TT", kLF, lr); },
         R"(<command cmd="ds_get_table_new" TableName="TT"><LFHandle H="7" T="1" M="2"/><LRHandle H="-1" T="255" M="0"/></command>)",
         R"(RetValue="0")", R"(<LRHandle H="8" T="2" M="1"/>)", "", 0, Is(lr, {8, 2, 1})},
        {[&](std::ostream&) { return c.DatServ_Get_Table("TT", kLF, lr); },
         R"(<command cmd="ds_get_table" TableName="TT"><LFHandle H="7" T="1" M="2"/></command>)",
         R"(RetValue="0")", R"(<LRHandle H="9" T="3" M="0"/>)", "", 0, Is(lr, {9, 3, 0})},
        {[&](std::ostream& s) { return c.DatServ_GetTDescFldsN(kDesc, "DEPTH", s); },
         R"(<command cmd="ds_get_tdesc_fld_n" FieldName="DEPTH"><TDescHandle H="300000" T="4" M="9"/></command>)",
         R"(RetValue="0")", "", "fld", 0, nullptr},
        {[&](std::ostream& s) { return c.DatServ_GetTDescFldsI(kDesc, 65535, s); },
         R"(<command cmd="ds_get_tdesc_fld_i" FieldNumber="65535"><TDescHandle H="300000" T="4" M="9"/></command>)",
         R"(RetValue="0")", "", "fld2", 0, nullptr},
        {[&](std::ostream& s) { return c.DatServ_GetObjByIdN(kLR, 17, s); },
         R"(<command cmd="ds_get_obj_by_idn" Idn="17"><LRHandle H="-1" T="255" M="0"/></command>)",
         R"(RetValue="0")", "", "o17", 0, nullptr},
        {[&](std::ostream&) { return c.DatServ_GetTDescCounter(kDesc, counter); },
         R"(<command cmd="ds_get_tdesc_counter"><TDescHandle H="300000" T="4" M="9"/></command>)",
         R"(RetValue="0" TDCounter="40000")", "", "", 0, [&](Req) { EXPECT_EQ(counter, 40000); }},
        {[&](std::ostream&) {
             return c.DatServ_SSearchDataInit("n1", "v1", "n2", "v2", "n3", "v3", kLF, out);
         },
         R"(<command cmd="ds_ssearch_data_init" Name1="n1" Val1="v1" Name2="n2" Val2="v2" Name3="n3" Val3="v3"><TableHandle H="7" T="1" M="2"/></command>)",
         R"(RetValue="0")", R"(<SearchDataH H="11" T="0" M="5"/>)", "", 0, Is(out, {11, 0, 5})},
        // A code that does not fit in 16 bits keeps its low 16 bits.
        {[&](std::ostream&) { return c.DatServ_SetSTable(kLF, "WELLS"); },
         R"(<command cmd="ds_set_s_table" TablName="WELLS"><SOHandle H="7" T="1" M="2"/></command>)",
         R"(RetValue="70000")", "", "", 4464, nullptr},
        {[&](std::ostream& s) { return c.DatServ_FindFirst(kLF, kLR, s); },
         R"(<command cmd="ds_find_first"><LFHandle H="7" T="1" M="2"/><SOHandle H="-1" T="255" M="0"/></command>)",
         R"(RetValue="0")", "", "found", 0, nullptr},
        {[&](std::ostream&) { return c.DatServ_GetWSName(kLR, text); },
         R"(<command cmd="ds_get_ws_name"><LRHandle H="-1" T="255" M="0"/></command>)",
         R"(RetValue="0" WSName="srv/D:\a.ws")", "", "", 0,
         [&](Req) { EXPECT_EQ(text, "WSTP://srv/D:\\a.ws"); }},
        {[&](std::ostream&) { return c.DatServ_GetWSName(kLR, text); },
         R"(<command cmd="ds_get_ws_name"><LRHandle H="-1" T="255" M="0"/></command>)",
         R"(RetValue="3" WSName="")", "", "", 3, [&](Req) { EXPECT_EQ(text, ""); }},
        {[&](std::ostream&) { return c.DatServ_TableExistX("TT", kLF, 5); },
         R"(<command cmd="ds_table_exists_x" TableName="TT" Option="5"><LFHandle H="7" T="1" M="2"/></command>)",
         R"(RetValue="-70000")", "", "", -4464, nullptr},
        {[&](std::ostream&) { return c.DatServ_DSGetTableNames(kLF, 2, text); },
         R"(<command cmd="ds_ds_get_table_names" LROption="2"><LFHandle H="7" T="1" M="2"/></command>)",
         R"(RetValue="70000" Names="A;B")", "", "", 70000, [&](Req) { EXPECT_EQ(text, "A;B"); }},
        {[&](std::ostream&) { return c.DatServ__OneHandleFunc("ds_close", "ObjHandle", kLF); },
         R"(<command cmd="ds_close"><ObjHandle H="7" T="1" M="2"/></command>)", R"(RetValue="6")",
         "", "", 6, nullptr},
        {[&](std::ostream& s) { return c.DatServ__InHandle_OutObj("ds_x", "SOHandle", kLR, s); },
         R"(<command cmd="ds_x"><SOHandle H="-1" T="255" M="0"/></command>)", R"(RetValue="0")", "",
         "xobj", 0, nullptr},
        {[&](std::ostream&) {
             return c.DatServ__InHandle_OutHandle("ds_y", "LRHandle", "TDescHandle", kLR, out);
         },
         R"(<command cmd="ds_y"><LRHandle H="-1" T="255" M="0"/></command>)", R"(RetValue="0")",
         R"(<LRHandle H="1" T="1" M="1"/><TDescHandle H="21" T="22" M="23"/>)", "", 0,
         Is(out, {21, 22, 23})},
    };
    std::size_t i = 0;
    for (const DsCase& k : cases) {
        SCOPED_TRACE(k.request);
        if (k.payload.empty()) {
            server.Expect().Reply(AnswerPacket(k.answer, k.answerBody));
        } else {
            server.Expect().Reply(test::PayloadPacket(std::ssize(k.payload), k.answer));
            server.Send(k.payload);
        }
        std::ostringstream received;
        EXPECT_EQ(k.call(received), k.result);
        const test::RecordedRequest& r = server.Request(i++);
        EXPECT_EQ(test::CommandText(r), k.request);
        EXPECT_EQ(received.str(), k.payload);
        if (k.check) k.check(r);
    }
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

// Streamed list answers: the reader fed bytes in pieces of any size gives what a reader of the
// parsed whole answer gives, refuses what the parser refuses, and the exchange keeps its rules
// (information packets, re-login, errors) with records arriving as they come.

#include "protocol/answer_stream.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "exchange_fixture.hpp"
#include "ostradb/model/db_struct.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "protocol/list_answers.hpp"
#include "protocol/wire.hpp"

namespace ostradb {
namespace {

using test::AnswerPacket;
using test::ErrorPacket;

// Everything the reader fills, rows included (the serializer form leaves them out).
std::string Rendered(const TLevelFilesList& list) {
    std::string text = SaveToXMLString(list, "L", false);
    for (const TLevelFile& f : list.Files)
        for (const TLevelFileTable& t : f.Tables)
            for (const TLevelFileRow& r : t.Rows.Items)
                text += "\n" + r.GetKeyStr();
    return text;
}

TDbStruct Levels() {
    TDbStruct s;
    s.AddNewItem().Type = "%field";
    s.AddNewItem().Type = "%well";
    return s;
}

// The packet's Windows-1251 bytes fed in pieces of piece bytes; the list and the document.
std::string Streamed(const std::string& bytes, std::size_t piece, pugi::xml_document& doc,
                     std::size_t cap = std::size_t{1} << 20) {
    const TDbStruct levels = Levels();
    TLevelFilesList list;
    list.Add().Name = "from before";
    detail::FileRecords sink(list, &levels);
    detail::AnswerReader reader(&sink, cap);
    for (std::size_t i = 0; i < bytes.size(); i += piece)
        reader.Feed(std::string_view(bytes).substr(i, piece));
    reader.Finish(doc);
    sink.Complete();
    return Rendered(list);
}

std::string Parsed(const std::string& bytes) {
    const TDbStruct levels = Levels();
    pugi::xml_document doc;
    wire::ParsePacket(wire::DecodeText(bytes), doc);
    TLevelFilesList list;
    list.ReadFromXml(xml::Child(doc.document_element(), "answer"), &levels);
    return Rendered(list);
}

const char* const kFile =
    R"(<file extra_path="" name="Скв_1.ws" type="1" trunk_id="T1" is_main="true" file_id="7" flags="2" UserRights="7">)"
    R"(<params><param key="size" value="10"/><param key="автор" value="Иванов"/></params>)"
    R"(<path><item value="Самотлорское"/><item value="12а"/></path>)"
    R"(<table name="main"><data><curve name="ГК" start="1.5" stop="2e3" step="0.1" nvers="1" keystr="k" keyvalue="v" dclass="3" table="other" quality_mark="2">)"
    R"(<planshets><item name="Основной"/></planshets></curve></data>)"
    R"(<rows><row><value name="DEPTH" value="1500" type="float"/></row></rows></table>)"
    R"(<planshet name="П1"/></file>)";

TEST(AnswerReader, GivesWhatTheParsedAnswerGivesFedInAnyPieces) {
    const std::vector<std::string> answers = {
        AnswerPacket(R"(exec_time="0.25")", std::string(kFile) + "\n" + kFile),
        // Entities, blanks and line breaks in values, single quotes, blanks around "=".
        AnswerPacket("",
                     "<file name = 'a&amp;b&lt;&gt;&quot;&apos;&#1046;&#x416;&#x1F600;' "
                     "type=\"1\" is_main=\"true\" extra_path=\"t\tx\r\ny\nz\rw\" "
                     "trunk_id=\"&#12a; &unknown; &amp &#; &#x; &am &ap; &g &q &#0;cut\"/>"),
        // Comments, instructions, character data and text around and inside records.
        "<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n<!DOCTYPE packet [<!ENTITY a "
        "\"]>\">]>"
        "<!-- <file/> --><packet><answer> text <![CDATA[<file name=\"no\"/>]]>"
        "<file name=\"a\" type=\"1\" is_main=\"1\"><!-- </file> --><?pi x?>tail<![CDATA[</file>]]>"
        "<table name=\"t\"/></file><?x <file/> ?></answer></packet>",
        // Only "file" children of the first "answer" count; an element named "file" deeper in
        // a record, or elsewhere, is not a record.
        R"(<packet><answer><other><file name="no" type="1" is_main="1"/></other>)"
        R"(<file name="x" type="2" is_main="false"><file name="inner"/></file>)"
        R"(<file name="y" type="3" is_main="TRUE"/></answer>)"
        R"(<answer><file name="second answer" type="1" is_main="1"/></answer></packet>)",
        AnswerPacket(),
        // A second element after an empty root holds no records.
        R"(<packet/><packet><answer><file name="no" type="1" is_main="1"/></answer></packet>)",
    };
    for (const std::string& answer : answers) {
        SCOPED_TRACE(answer);
        const std::string bytes = test::WirePacket(answer);
        const std::string expected = Parsed(bytes);
        for (std::size_t piece : {std::size_t{1}, std::size_t{3}, std::size_t{64}, bytes.size()}) {
            pugi::xml_document doc;
            EXPECT_EQ(Streamed(bytes, piece, doc), expected) << "pieces of " << piece;
            // The rest of the answer is there for the exchange and the command.
            const pugi::xml_node root = doc.document_element();
            EXPECT_EQ(std::string(root.name()) + xml::Attr(root.child("answer"), "exec_time") +
                          (root.child("answer").child("file") ? "+file" : ""),
                      answer == answers[0] ? "packet0.25" : "packet");
        }
    }
}

TEST(AnswerReader, RefusesWhatTheParserRefuses) {
    const std::string bodies[] = {
        R"(<file name="a")",                      // ends inside a tag
        R"(<file name="a"><path></file>)",        // end tag of another element
        R"(<file name=a/>)",                      // value without quotes
        R"(<file name="a"type="1"/>)",            // no blank between attributes
        std::string("<file name=\"a\0\"/>", 17),  // a zero byte
        R"(<file><!-- never closed </file>)",
        R"(<file name="a">)",
        R"(<file/></answer></answer>)",
        R"(<file><1/></file>)",
        R"(<file><!x></file>)",
        R"(<file><?xml version="1.0"?></file>)",
    };
    for (const std::string& body : bodies) {
        const std::string bytes = test::WirePacket(AnswerPacket("", body));
        SCOPED_TRACE(bytes);
        EXPECT_THROW(Parsed(bytes), Error);
        for (std::size_t piece : {std::size_t{1}, bytes.size()}) {
            pugi::xml_document doc;
            EXPECT_THROW(Streamed(bytes, piece, doc), Error) << "pieces of " << piece;
        }
    }
}

TEST(AnswerReader, BoundsWhatItHoldsNotTheWholeAnswer) {
    std::string body;
    for (int i = 0; i < 200; ++i)
        body += R"(<file name="f)" + std::to_string(i) + R"(" type="1" is_main="true"/>)";
    const std::string bytes = test::WirePacket(AnswerPacket("", body));
    pugi::xml_document doc;
    // 200 records in an answer ten times the cap.
    EXPECT_EQ(Streamed(bytes, 100, doc, bytes.size() / 10), Parsed(bytes));
    // One record longer than the cap.
    const std::string big = test::WirePacket(AnswerPacket(
        "", R"(<file name=")" + std::string(500, 'x') + R"(" type="1" is_main="1"/>)"));
    EXPECT_THROW(Streamed(big, 64, doc, 400), Error);
    // Information packets are read whole: their handler sees every child.
    const std::string info =
        test::WirePacket(R"(<packet type="info"><answer><file name="a"/></answer></packet>)");
    EXPECT_EQ(Streamed(info, 5, doc).find("Name=\"a\""), std::string::npos);
    EXPECT_TRUE(doc.document_element().child("answer").child("file"));
}

class StreamedExchangeTest : public ExchangeTest {};

// A re-login asked for after some records: the list holds the resent answer's records only.
// An information packet on the way keeps its children. A refused record leaves the records
// before it and the connection usable; a server error leaves an empty list.
TEST_F(StreamedExchangeTest, KeepsTheExchangeRules) {
    client.SetLoginDialog([&](TOstraDbProtocol&, TLoginDialogData& data) {
        data.User = "u";
        return ldrOk;
    });
    std::string infoChild;
    client.OnInfo = [&](TOstraDbProtocol&, pugi::xml_node root) {
        infoChild = xml::Attr(root.child("answer").child("file"), "name");
    };
    const std::string file = R"(<file name="new" type="1" is_main="true"/>)";
    server.Expect("get_log_level_files")
        .Reply(R"(<packet><answer><file name="stale" type="1" is_main="true"/></answer>)"
               R"(<error code="27" text="log in"/></packet>)");
    server.Expect("generate_auth_value").Reply(AnswerPacket(R"(result="abc")"));
    server.Expect("login").Reply(AnswerPacket(R"(rights="3")"));
    server.Expect("get_log_level_files")
        .SendInPieces(
            test::WirePacket(R"(<packet type="info"><answer>)" + file + "</answer></packet>") +
                test::WirePacket(AnswerPacket("", file + file)),
            7, std::chrono::milliseconds(0));
    TLevelFilesList files;
    client.RequestFiles(files, 5, {}, {}, "");
    EXPECT_EQ(test::Row(files.GetCount(), files.GetItem(1).Name, infoChild), "2|new|new|");

    server.Expect("get_log_level_files")
        .Reply(AnswerPacket("", file + R"(<file name="bad" type="x" is_main="1"/>)" + file));
    server.Expect("get_log_level_files").Reply(AnswerPacket("", file));
    EXPECT_THROW(client.RequestFiles(files, 5, {}, {}, ""), EConvertError);
    EXPECT_EQ(files.GetCount(), 2);  // the first and the one that failed
    client.RequestFiles(files, 5, {}, {}, "");
    EXPECT_EQ(test::Row(files.GetCount(), server.Connections()), "1|1|");

    server.Expect("get_log_level_files")
        .Reply(R"(<packet><answer>)" + file + R"(</answer><error code="3" text="no"/></packet>)");
    test::ExpectServerError([&] { client.RequestFiles(files, 5, {}, {}, ""); }, 3, "no");
    EXPECT_EQ(files.GetCount(), 0);
    server.Verify();
}

}  // namespace
}  // namespace ostradb

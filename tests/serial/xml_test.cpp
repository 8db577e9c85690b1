#include <gtest/gtest.h>

#include <string>

#include "ostradb/serial/xml.hpp"
#include "ostradb/util/exceptions.hpp"
#include "support/render.hpp"

namespace ostradb {
namespace {

TEST(XmlAccess, MissingChildrenAreCreatedAndMissingAttributesReadEmpty) {
    pugi::xml_document doc;
    xml::Parse(doc, "<packet><answer a=\"1\"/></packet>");
    pugi::xml_node root = doc.document_element();
    pugi::xml_node error = xml::Child(root, "error");
    // Created once.
    EXPECT_EQ(test::Row(bool(error), xml::Child(root, "error") == error, xml::Attr(error, "code"),
                        xml::HasAttr(error, "code"), xml::AttrInt(xml::Child(root, "answer"), "a")),
              "1|1||0|1|");
}

TEST(XmlAccess, RequiredValuesNameTheAttributeWhenTheyFail) {
    pugi::xml_document doc;
    xml::Parse(doc, "<answer percent=\"37,5\" count=\"x\" ok=\"TRUE\" no=\"0\" big=\"-1\"/>");
    pugi::xml_node a = doc.document_element();
    EXPECT_EQ(test::Row(xml::AttrBool(a, "ok"), xml::AttrBool(a, "no"), xml::AttrInt64(a, "big")),
              "1|0|-1|");
    try {
        xml::AttrInt(a, "db_id");
        FAIL();
    } catch (const EConvertError& e) {
        EXPECT_NE(std::string(e.what()).find("\"db_id\" of <answer>"), std::string::npos);
    }
    EXPECT_THROW(xml::AttrInt(a, "count"), EConvertError);
    EXPECT_THROW(xml::AttrFloat(a, "percent"), EConvertError);  // a comma is not a point
    EXPECT_THROW(xml::AttrBool(a, "count"), EConvertError);
}

TEST(XmlAccess, WritersUseTheProtocolsBooleanSpellings) {
    pugi::xml_document doc;
    pugi::xml_node root = xml::NewDocument(doc, "Windows-1251", "packet");
    xml::SetBoolXmlAttr(root, "a", true);
    xml::SetBoolAttr(root, "b", false);
    xml::SetAttrFloat(root, "c", 37.5);
    xml::SetAttr(root, "a", std::string_view("again"));  // replaces in place
    root.append_child("command");
    const std::string text = xml::ToText(doc);
    EXPECT_EQ(text,
              "<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n"
              "<packet a=\"again\" b=\"False\" c=\"37.5\">\r\n  <command />\r\n</packet>\r\n");
}

TEST(XmlAccess, MalformedTextSaysWhereItBroke) {
    pugi::xml_document doc;
    try {
        xml::Parse(doc, "<packet><answer></packet>");
        FAIL();
    } catch (const EXmlError& e) {
        EXPECT_EQ(e.Offset(), 18);
        EXPECT_NE(std::string(e.what()).find("near \"packet>\""), std::string::npos) << e.what();
    }
    xml::Parse(doc, "");
    EXPECT_FALSE(doc.document_element());
}

}  // namespace
}  // namespace ostradb

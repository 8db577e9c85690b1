#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ostradb/serial/properties.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/code_pages.hpp"
#include "ostradb/util/collection.hpp"
#include "ostradb/util/numbers.hpp"
#include "ostradb/util/string_list.hpp"
#include "support/files.hpp"
#include "support/render.hpp"

namespace ostradb {
namespace {

enum EColor : std::uint8_t { clRed, clGreen, clBlue };

class Child : public Persistent {
public:
    std::string Name;
    std::int32_t Size = 0;
    const PropertyList& Properties() const override {
        static const PropertyList list{Prop<&Child::Name>("Name"), Prop<&Child::Size>("Size")};
        return list;
    }
};

class Sample : public Persistent {
public:
    std::int32_t Count = 5;
    bool Flag = false;
    EColor Color = clRed;
    Set<EColor> Colors;
    std::int64_t Big = 0;
    float Single = 0;
    double Double = 0;
    std::string Name;
    Variant Var;
    char Letter = 'a';
    std::uint32_t Mask = 0;
    TStringList Lines;
    Collection<Child> Children;
    std::unique_ptr<Child> Extra;
    std::string Hidden;

    const PropertyList& Properties() const override {
        static const PropertyList list{
            Prop<&Sample::Count>("Count").Default(-1),
            Prop<&Sample::Flag>("Flag").Default(true),
            Prop<&Sample::Color>("Color"),
            Prop<&Sample::Colors>("Colors"),
            Prop<&Sample::Big>("Big"),
            Prop<&Sample::Single>("Single"),
            Prop<&Sample::Double>("Double"),
            Prop<&Sample::GetName, &Sample::SetName>("Name"),
            Prop<&Sample::Var>("Var"),
            Prop<&Sample::Letter>("Letter"),
            Prop<&Sample::Mask>("Mask"),
            Prop<&Sample::Lines>("Lines"),
            Prop<&Sample::Children>("Children"),
            Prop<&Sample::Extra>("Extra"),
            Prop<&Sample::Hidden>("Hidden").StoredIf<&Sample::HiddenStored>(),
        };
        return list;
    }
    std::string GetName() const { return Name; }
    void SetName(std::string v) { Name = std::move(v); }
    bool HiddenStored() const { return !Hidden.empty(); }
};

// A class whose second property has no setter: reading it is a declaration error.
class NoSetter : public Persistent {
public:
    std::string First;
    std::int32_t Value() const { return 7; }
    const PropertyList& Properties() const override {
        static const PropertyList list{Prop<&NoSetter::First>("First"),
                                       PropReadOnly<&NoSetter::Value>("Value")};
        return list;
    }
};

// Writes an extra attribute through its hook, then its properties follow.
class Hooked : public TXmlSerializedCollectionItem {
public:
    std::string Tag;
    mutable std::string seenName;
    std::string Code;
    void SaveToXML(std::string_view name, pugi::xml_node node) const override {
        seenName = std::string(name);
        xml::SetAttr(node, "Result", Code);
    }
    void LoadFromXML(std::string_view name, pugi::xml_node node) override {
        seenName = std::string(name);
        Code = xml::Attr(node, "Result");
    }
    const PropertyList& Properties() const override {
        static const PropertyList list{Prop<&Hooked::Tag>("Tag")};
        return list;
    }
};

pugi::xml_node Root(pugi::xml_document& doc) {
    return doc.append_child("root");
}

using test::AttrText;
using test::Row;

TEST(Serializer, WritesEachKindInDeclarationOrder) {
    Sample s;
    s.Count = 42;
    s.Flag = true;
    s.Color = clBlue;
    s.Colors = {clRed, clBlue};
    s.Big = 1234567890123;
    s.Single = 0.1f;
    s.Double = 2.5;
    s.Name = "Скважина 12";
    s.Var = Variant(7);
    s.Letter = 'Z';
    s.Mask = 0x80000001u;
    s.Lines = {"one", "два"};

    pugi::xml_document doc;
    SaveToXML(s, "S", Root(doc));
    pugi::xml_node n = doc.child("root").child("S");
    ASSERT_TRUE(n);
    // No Int64 attribute; the unstored property is absent.
    EXPECT_EQ(AttrText(n),
              "Count=42 Flag=1 Color=2 Colors=5 Single=0.1 Double=2.5 Name=Скважина 12 Var=7 "
              "VarType_Var=varInteger Letter=90 Mask=2147483649");
    // Object properties: the list as Item children; an empty collection writes an empty
    // element and a null reference none.
    const std::string text = xml::ToText(doc, false, "");
    EXPECT_TRUE(
        text.ends_with("\"><Lines><Item>one</Item><Item>два</Item></Lines><Children/></S></root>"))
        << text;
}

TEST(Serializer, RoundTripsThroughTextInBothForms) {
    Sample s;
    s.Count = -7;
    s.Double = 1.0 / 3.0;
    s.Name = "a, \"quoted\" value";
    s.Lines = {"", " spaced ", "x,y"};
    s.Children.Add().Name = "c1";
    s.Children.Add().Size = 9;
    s.Extra = std::make_unique<Child>();
    s.Extra->Name = "extra";
    s.Hidden = "kept";
    s.Var = Variant::Date(45000.25);

    for (bool oneLine : {false, true}) {
        SCOPED_TRACE(oneLine);
        const std::string text = SaveToXMLString(s, "Sample", oneLine);
        if (oneLine) {
            EXPECT_EQ(text.find('\n'), std::string::npos);
        }
        Sample r;
        r.Extra = std::make_unique<Child>();
        LoadFromXMLString(r, "Sample", oneLine, text);
        EXPECT_EQ(r.Hidden, "");  // not read while it is empty in the target
        r.Hidden = s.Hidden;
        EXPECT_EQ(SaveToXMLString(r, "Sample", oneLine), text);  // everything else came back
        EXPECT_EQ(r.Lines, s.Lines);
    }
}

TEST(Serializer, ReadsOrdinalsLeniently) {
    struct Case {
        const char* count;
        const char* flag;
        std::int32_t wantCount;
        bool wantFlag;
    };
    const Case cases[] = {
        {"12", "TRUE", 12, true},      // words in any letter case
        {"true", "False", 1, false},   // "true" is 1 for any ordinal
        {"abc", "maybe", -1, true},    // malformed: declared defaults
        {nullptr, nullptr, -1, true},  // missing: declared defaults
    };
    for (const Case& c : cases) {
        pugi::xml_document doc;
        pugi::xml_node n = Root(doc);
        if (c.count) n.append_attribute("Count") = c.count;
        if (c.flag) n.append_attribute("Flag") = c.flag;
        Sample s;
        s.Color = clGreen;
        LoadFromXML(s, "", n);
        // Color has no declared default: left alone.
        EXPECT_EQ(Row(s.Count, s.Flag, int(s.Color)), Row(c.wantCount, c.wantFlag, 1)) << c.count;
    }
}

TEST(Serializer, ReadsHandWrittenElements) {
    pugi::xml_document doc;
    xml::Parse(doc, R"(<S Big="-9000000000000" Colors="6" Letter="66" Var="12"
        VarType_Var="varNoSuchType" Double="0.5"><Lines><other>skipped</other></Lines>
        <Children><item/></Children></S>)");
    pugi::xml_node n = doc.document_element();
    Sample s;
    s.Name = "keep";
    s.Lines = {"old"};
    s.Children.Add();
    s.Var = Variant("before");
    LoadFromXML(s, "", n);
    // An unknown type name leaves the value, a missing string stays, a list without Item
    // children is emptied, and a lower-case "item" is not an item.
    EXPECT_EQ(Row(s.Big, s.Colors.Mask(), s.Letter, s.Var == Variant("before"), s.Double, s.Name,
                  s.Lines.Count(), s.Children.Count()),
              "-9000000000000|6|B|1|0.5|keep|0|0|");

    n.attribute("Double") = "half";
    EXPECT_THROW(LoadFromXML(s, "", n), EConvertError);
}

TEST(Serializer, PropertyWithoutSetterRaisesAfterEarlierOnesAreRead) {
    pugi::xml_document doc;
    pugi::xml_node n = Root(doc);
    n.append_attribute("First") = "read";
    n.append_attribute("Value") = "1";
    NoSetter o;
    try {
        LoadFromXML(o, "", n);
        FAIL() << "expected an error";
    } catch (const Error& e) {
        EXPECT_STREQ(e.what(), "Не определён метод Set для свойства \"Value\"");
    }
    EXPECT_EQ(o.First, "read");
}

TEST(Serializer, HooksRunOnTheObjectsOwnElementBeforeProperties) {
    Collection<Hooked> items;
    items.Add().Code = "0";
    items.Add().Code = "3";
    items[1].Tag = "t";
    pugi::xml_document doc;
    SaveToXML(items, "Log", Root(doc));
    pugi::xml_node second = doc.child("root").child("Log").child("Item").next_sibling("Item");
    EXPECT_EQ(AttrText(second), "Result=3 Tag=t");
    EXPECT_EQ(items[1].seenName, "Item");

    Collection<Hooked> back;
    LoadFromXML(back, "Log", doc.child("root"));
    ASSERT_EQ(back.Count(), 2);
    EXPECT_EQ(back[1].Code + back[1].Tag, "3t");
}

TEST(Serializer, DecimalSeparatorAppliesToFloats) {
    struct Restore {
        ~Restore() { SetDecimalSeparator('.'); }
    } restore;
    SetDecimalSeparator(',');
    Sample s;
    s.Double = 2.5;
    pugi::xml_document doc;
    SaveToXML(s, "", Root(doc));
    EXPECT_STREQ(doc.child("root").attribute("Double").value(), "2,5");
    Sample r;
    LoadFromXML(r, "", doc.child("root"));
    EXPECT_EQ(r.Double, 2.5);
}

TEST(Serializer, DocumentsWithoutRootOrMalformedText) {
    Sample s;
    s.Count = 3;
    LoadFromXMLString(s, "Sample", false, "<?xml version=\"1.0\"?>");
    EXPECT_EQ(s.Count, 3);
    try {
        LoadFromXMLString(s, "Sample", false, "<Sample Count=\"1\"><Lines></Sample>");
        FAIL() << "expected an error";
    } catch (const EXmlError& e) {
        EXPECT_GT(e.Offset(), 0);
        EXPECT_NE(std::string(e.what()).find("offset"), std::string::npos);
    }
}

TEST(Serializer, FilesRoundTripAndMissingFileRaises) {
    const test::TempDir dir;
    const auto path = dir / "settings.xml";
    Sample s;
    s.Name = "файл";
    s.Lines = {"a"};
    SaveToXMLFile(s, "Settings", path);
    Sample r;
    LoadFromXMLFile(r, "Settings", path);
    EXPECT_EQ(r.Name + r.Lines.Text(), "файлa\r\n");
    EXPECT_THROW(LoadFromXMLFile(r, "Settings", dir / "missing.xml"), EFileError);

    // Another program's file is read in the encoding its declaration names.
    const auto write = [&](const std::string& encoding) {
        test::WriteFile(path, Utf8ToCp1251("<?xml version=\"1.0\" encoding=\"" + encoding +
                                           "\"?>\r\n<Settings Name=\"Скважина\"/>\r\n"));
    };
    write("windows-1251");
    LoadFromXMLFile(r, "Settings", path);
    EXPECT_EQ(r.Name, "Скважина");
    write("koi8-r");
    EXPECT_THROW(LoadFromXMLFile(r, "Settings", path), EFileError);
}

}  // namespace
}  // namespace ostradb

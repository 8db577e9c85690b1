#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ostradb/model/trunks.hpp"
#include "ostradb/serial/properties.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/util/text.hpp"
#include "support/render.hpp"

namespace ostradb {
namespace {

std::vector<std::string> SplitRows(const std::string& text) {
    std::vector<std::string> rows;
    std::size_t start = 0;
    for (std::size_t at; (at = text.find("\n\r", start)) != std::string::npos; start = at + 2)
        rows.push_back(text.substr(start, at - start));
    rows.push_back(text.substr(start));
    return rows;
}

std::string TrimmedPart(const std::string& row, std::size_t fromCp, std::size_t cpCount) {
    // Code points fromCp..fromCp+cpCount of row, without the padding.
    std::size_t i = 0, cp = 0, begin = std::string::npos;
    for (; i < row.size(); ++i) {
        if ((static_cast<unsigned char>(row[i]) & 0xC0) == 0x80) continue;
        if (cp == fromCp) begin = i;
        if (cp == fromCp + cpCount) break;
        ++cp;
    }
    return TrimRight(row.substr(begin, i - begin));
}

TEST(TrunkWsPattern, HasTwentySevenRowsOfFortyOneCharacters) {
    const std::string pattern = TTrunk::GetWsPattern();
    EXPECT_EQ(CodePointCount(pattern), 1159u);
    EXPECT_EQ(pattern.find("\r\n"), std::string::npos);
    const std::vector<std::string> rows = SplitRows(pattern);
    ASSERT_EQ(rows.size(), 27u);
    for (const std::string& row : rows) {
        EXPECT_EQ(CodePointCount(row), 41u) << row;
        EXPECT_EQ(row.find_first_of("\r\n"), std::string::npos) << row;
    }
    EXPECT_EQ(rows[0], "страна,                 Country          ");
    EXPECT_EQ(rows[6], "альтитуда_стола_ротора, AltRot, м        ");
    // Cyrillic х (U+0445) in the X key, Latin y in the Y key, Cyrillic у (U+0443) in the
    // bottom offset key.
    EXPECT_EQ(TrimmedPart(rows[9], 0, 24), "коорд_\u0445_устья,");
    EXPECT_EQ(TrimmedPart(rows[10], 0, 24), "коорд_y_устья,");
    EXPECT_EQ(TrimmedPart(rows[25], 0, 24), "смещ_\u0445_глуб_фактич,");
    EXPECT_EQ(TrimmedPart(rows[26], 0, 24), "смещ_\u0443_глуб_фактич,");

    // The rows name the trunk's properties in declaration order, all but the first three.
    const PropertyList& props = TTrunk().Properties();
    ASSERT_EQ(props.size(), 30u);
    for (std::size_t r = 0; r < rows.size(); ++r) {
        std::string field = TrimmedPart(rows[r], 24, 17);
        const bool metres = field.size() > 4 && field.ends_with(", м");
        if (metres) field.resize(field.size() - std::string(", м").size());
        EXPECT_EQ(field, props[r + 3].name);
        // Lengths (single floats) are in metres; dates are not.
        EXPECT_EQ(metres, props[r + 3].kind == PropKind::Float && props[r + 3].single) << field;
    }
}

TEST(TrunkList, SerializesDeclaredPropertiesAndFindsByExactId) {
    TTrunkList trunks;
    TTrunk& t = trunks.Add();
    t.TId = "Tr-1";
    t.DbId = 4;
    t.Field = "Самотлор";
    t.AltRot = 52.5f;
    t.DrillBegDate = 40000.25;
    trunks.Add().TId = "tr-1";

    pugi::xml_document doc;
    pugi::xml_node root = doc.append_child("answer");
    SaveToXML(trunks, "Trunks", root);
    const pugi::xml_node item = root.child("Trunks").child("Item");
    std::vector<std::string> names;
    for (pugi::xml_attribute a : item.attributes())
        names.push_back(a.name());
    ASSERT_EQ(names.size(), 30u);
    EXPECT_EQ(test::Row(names[0], names[5], names[29]), "TId|Field|OffsetYBottom|");
    EXPECT_STREQ(item.attribute("Field").value(), "Самотлор");

    TTrunkList back;
    LoadFromXML(back, "Trunks", root);
    pugi::xml_document again;
    SaveToXML(back, "Trunks", again.append_child("answer"));
    EXPECT_EQ(xml::ToText(again, false, ""), xml::ToText(doc, false, ""));

    EXPECT_EQ(test::Row(back.Find("tr-1"), back.Find("Tr-1"), back.Find("TR-1")),
              test::Row(&back.GetItem(1), &back.GetItem(0), static_cast<const TTrunk*>(nullptr)));
}

}  // namespace
}  // namespace ostradb

// File statistics of a database: the answer of "get_files_stat" and its tab-separated text.

#include <string>

#include "ostradb/protocol/admin_commands.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/util/numbers.hpp"

namespace ostradb {

namespace {

constexpr const char* kCaption = "Статистика по файлам";
constexpr const char* kFilesOfLevel = "Список файлов для уровня ";
constexpr const char* kQualityCaption =
    "Проверка качества данных (вид проверки, правило, статус, кол-во замечаний в БД):";

// The "value" attributes of the children named exactly "item".
void ReadItemValues(pugi::xml_node node, TStringList& list) {
    list.Clear();
    for (pugi::xml_node item : node.children("item"))
        list.Add(xml::Attr(item, "value"));
}

}  // namespace

void TFilesStatResultHat::ReadFromXml(pugi::xml_node Node) {
    Items.Clear();
    TextColumns.Clear();
    for (pugi::xml_node item : xml::Child(Node, "values").children("item")) {
        TFilesStatResultHatValueItem& column = Items.Add();
        column.ValueType = xml::AttrInt(item, "type");
        column.Name = xml::Attr(item, "name");
    }
    ReadItemValues(xml::Child(Node, "text"), TextColumns);
}

void TFilesStatResultLine::ReadFromXml(pugi::xml_node Node, int Count) {
    const pugi::xml_node values = xml::Child(Node, "values");
    Values.clear();
    for (int i = 1; i <= Count; ++i)
        Values.push_back(xml::AttrInt(values, ("v" + std::to_string(i)).c_str()));
    ReadItemValues(xml::Child(Node, "text"), Texts);
    ReadItemValues(xml::Child(Node, "files"), Files);
    Name = xml::Attr(Node, "name");
}

void TFilesStatResultLine::QualitiesToStrings(TStringList&) const {}

void TFilesStatResultLines::ReadFromXml(pugi::xml_node Node, int ValueCount) {
    Items.Clear();
    for (pugi::xml_node line : Node.children("line"))
        Items.Add().ReadFromXml(line, ValueCount);
}

void TFilesStatResult::ReadFromXml(pugi::xml_node Answer) {
    const pugi::xml_node stat = xml::Child(Answer, "files_stat");
    Hat.ReadFromXml(xml::Child(stat, "hat"));
    Lines.ReadFromXml(xml::Child(stat, "lines"), Hat.Count());
    Qualities.Clear();
    for (pugi::xml_node item : xml::Child(stat, "quality").children("item")) {
        Qualities.Add(xml::Attr(item, "msg_kind") + '\t' + xml::Attr(item, "rule") + '\t' +
                      xml::Attr(item, "status") + '\t' + xml::Attr(item, "cnt"));
    }
}

void TFilesStatResult::ToStrings(TStringList& Strings) const {
    Strings.Add(kCaption);
    // The head's first column, above the row captions, is a single blank.
    std::string head = " ";
    for (const std::string& caption : Hat.TextColumns)
        head += '\t' + caption;
    for (const TFilesStatResultHatValueItem& column : Hat.Items)
        head += '\t' + column.Name;
    Strings.Add(std::move(head));

    for (const TFilesStatResultLine& row : Lines.Items) {
        std::string line = row.Name.empty() ? std::string(" ") : row.Name;
        for (const std::string& text : row.Texts)
            line += '\t' + text;
        for (const std::int32_t value : row.Values)
            line += '\t' + IntToStr(value);
        Strings.Add(std::move(line));
    }

    for (const TFilesStatResultLine& row : Lines.Items) {
        if (row.Files.Empty()) continue;
        Strings.Add("");
        Strings.Add(kFilesOfLevel + row.Texts.Join("\\") + ":");
        for (const std::string& file : row.Files)
            Strings.Add(file);
    }

    if (!Qualities.Empty()) {
        Strings.Add("");
        Strings.Add(kQualityCaption);
        for (const std::string& quality : Qualities)
            Strings.Add(quality);
    }
}

}  // namespace ostradb

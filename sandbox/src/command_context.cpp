#include "command_context.hpp"

#include <unistd.h>

#include <charconv>

#include "ostradb/util/numbers.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb::sandbox {

AnswerFile::~AnswerFile() {
    if (fd_ >= 0) ::close(fd_);
}

void CommandContext::Require(EUserRights right) const {
    if (!Has(right)) throw CommandError(ecAccessDenied);
}

void CommandContext::SendInfo(const std::vector<std::pair<std::string, std::string>>& attrs) const {
    pugi::xml_document doc;
    pugi::xml_node decl = doc.append_child(pugi::node_declaration);
    decl.append_attribute("version") = "1.0";
    decl.append_attribute("encoding") = "Windows-1251";
    pugi::xml_node root = doc.append_child("packet");
    root.append_attribute("type") = "info";
    // The same on a child: the packet then ends with its closing tag, which frames it.
    pugi::xml_node info = root.append_child("info");
    for (const auto& [name, value] : attrs) {
        root.append_attribute(name.c_str()) = value.c_str();
        info.append_attribute(name.c_str()) = value.c_str();
    }
    if (sendInfo_) sendInfo_(doc);
}

const Database& CommandContext::DatabaseArg(const char* attr) const {
    const std::int32_t id = IntArg(command, attr);
    const Database* db = catalog->FindById(id);
    if (!db) throw Refusal(ecDatabaseNotFound, std::to_string(id));
    return *db;
}

std::string RequiredAttr(pugi::xml_node node, const char* name) {
    const pugi::xml_attribute attr = node.attribute(name);
    if (!attr) throw Refusal(ecXmlTagsMissing, name);
    return attr.value();
}

std::int32_t IntArg(pugi::xml_node node, const char* name) {
    const std::string text = RequiredAttr(node, name);
    std::int32_t value = 0;
    if (!TryStrToInt(Trim(text), value))
        throw Refusal(ecWrongArguments, std::string(name) + "=" + text);
    return value;
}

bool BoolArg(pugi::xml_node node, const char* name, bool def) {
    const pugi::xml_attribute attr = node.attribute(name);
    if (!attr) return def;
    const std::string text = LowerCase(Trim(attr.value()));
    if (text == "true") return true;
    if (text == "false") return false;
    std::int64_t number = 0;
    if (!TryStrToInt64(text, number))
        throw Refusal(ecWrongArguments, std::string(name) + "=" + attr.value());
    return number != 0;
}

std::vector<std::string> ListArg(pugi::xml_node node, const char* name) {
    std::vector<std::string> values;
    for (pugi::xml_node item : node.child(name).children("Item"))
        values.emplace_back(item.text().get());
    return values;
}

std::vector<std::int32_t> LevelPathArg(pugi::xml_node command) {
    std::vector<std::int32_t> path;
    for (pugi::xml_node item : command.child("path").children("item"))
        path.push_back(IntArg(item, "id"));
    return path;
}

std::string NumberText(double value) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

void SetNumber(pugi::xml_node node, const char* name, double value) {
    node.append_attribute(name) = NumberText(value).c_str();
}

void SetText(pugi::xml_node node, const char* name, std::string_view value) {
    node.append_attribute(name).set_value(value.data(), value.size());
}

void AppendList(pugi::xml_node node, const char* name, const std::vector<std::string>& values) {
    pugi::xml_node list = node.append_child(name);
    for (const std::string& value : values) {
        pugi::xml_node item = list.append_child("Item");
        item.text().set(value.c_str());
    }
}

}  // namespace ostradb::sandbox

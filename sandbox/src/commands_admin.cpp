// Server options, the server's log, and users and rights.

#include "commands.hpp"
#include "conditions.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb::sandbox {

void GetServOption(CommandContext& ctx) {
    const std::string name = RequiredAttr(ctx.command, "name");
    std::string value = ctx.command.attribute("def").as_string();
    for (const auto& [key, stored] : ctx.store.GetOptions())
        if (SameText(key, name)) {
            value = stored;
            break;
        }
    SetText(ctx.answer, "value", value);
}

void SetServOption(CommandContext& ctx) {
    const std::string name = Trim(RequiredAttr(ctx.command, "name"));
    if (name.empty()) throw Refusal(ecWrongArguments, "name");
    ctx.store.SetOptions({{name, RequiredAttr(ctx.command, "value")}});
}

void GetServOptions(CommandContext& ctx) {
    const std::vector<std::string> masks = ListArg(ctx.command, "Masks");
    pugi::xml_node list = ctx.answer.append_child("Options");
    for (const auto& [name, value] : ctx.store.GetOptions()) {
        const bool wanted = masks.empty() || std::any_of(masks.begin(), masks.end(),
                                                         [&n = name](const std::string& m) {
                                                             return WildcardMatch(Trim(m), n);
                                                         });
        if (!wanted) continue;
        pugi::xml_node item = list.append_child("Item");
        SetText(item, "Name", name);
        SetText(item, "Value", value);
    }
}

void SetServOptions(CommandContext& ctx) {
    ServerOptions changes;
    for (pugi::xml_node item : ctx.command.child("Options").children("Item")) {
        const std::string name = Trim(item.attribute("Name").as_string());
        if (name.empty()) throw Refusal(ecWrongArguments, "Name");
        changes.emplace_back(name, item.attribute("Value").as_string());
    }
    ctx.store.SetOptions(changes);
}

void RequestLog(CommandContext& ctx) {
    pugi::xml_node log = ctx.answer.append_child("log");
    for (const LogRecord& record : ctx.store.Log().Records()) {
        pugi::xml_node item = log.append_child("item");
        item.append_attribute("id") = record.id;
        item.append_attribute("type") = record.type;
        SetText(item, "user", record.user);
        SetText(item, "addr", record.addr);
        SetText(item, "text", record.text);
        SetNumber(item, "time", record.time);
    }
}

void GetAuthData(CommandContext& ctx) {
    const auto doc = ctx.store.GetAccountsDoc();
    ctx.answer.append_copy(doc->document_element());
}

void SaveAuthData(CommandContext& ctx) {
    const pugi::xml_node data = ctx.command.child("UserPermissionsData");
    if (!data) throw Refusal(ecXmlTagsMissing, "UserPermissionsData");
    ctx.store.SaveAccounts(data);
    ctx.store.Log().Add(kLogInfo, ctx.session.user, ctx.session.peer,
                        "Изменены пользователи и права");
}

}  // namespace ostradb::sandbox

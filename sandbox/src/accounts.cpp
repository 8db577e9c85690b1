#include "accounts.hpp"

#include "command_error.hpp"
#include "ostradb/users/rights.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb::sandbox {

const Account* Accounts::Find(std::string_view login) const {
    for (const Account& user : users)
        if (user.login == login) return &user;
    return nullptr;
}

std::uint32_t Accounts::RightsOf(std::string_view login) const {
    std::uint32_t rights = 0;
    for (const AccountGroup& group : groups)
        for (const std::string& member : group.members)
            if (SameText(member, login)) {
                rights |= group.rights;
                break;
            }
    return rights;
}

Accounts ReadAccounts(pugi::xml_node data) {
    Accounts accounts;
    for (pugi::xml_node item : data.child("Users").children("Item")) {
        Account user{item.attribute("User").as_string(), item.attribute("Pass").as_string()};
        if (user.login.empty())
            throw CommandError(ecWrongArguments, "Пользователь без имени входа");
        if (accounts.Find(user.login))
            throw CommandError(ecWrongArguments, "Пользователь " + user.login + " указан дважды");
        accounts.users.push_back(std::move(user));
    }
    for (pugi::xml_node item : data.child("Groups").children("Item")) {
        AccountGroup group;
        group.name = item.attribute("Name").as_string();
        group.rights = item.attribute("Rights").as_uint(0);
        for (pugi::xml_node member : item.child("Users").children("Item"))
            group.members.emplace_back(member.text().get());
        accounts.groups.push_back(std::move(group));
    }
    // Nobody could ever change the users again: refuse, as the client's own check does.
    if (!accounts.users.empty()) {
        std::uint32_t combined = 0;
        for (const Account& user : accounts.users)
            combined |= accounts.RightsOf(user.login);
        if ((combined & (1u << urAdminUsers)) == 0)
            throw CommandError(ecWrongArguments,
                               "В списке пользователей нету пользователей с правами управления "
                               "списком пользователей");
    }
    return accounts;
}

}  // namespace ostradb::sandbox

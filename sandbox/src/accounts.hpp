#pragma once

// The users and groups of the data directory (users.xml), kept in the form the clients fetch
// and save them in ("UserPermissionsData"). A user's rights are the rights of the groups that
// list the user's login. Passwords are stored in plain text: the login digest needs them, and
// this is a sandbox.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace ostradb::sandbox {

struct Account {
    std::string login;
    std::string password;
};

struct AccountGroup {
    std::string name;
    std::uint32_t rights = 0;
    std::vector<std::string> members;
};

struct Accounts {
    std::vector<Account> users;
    std::vector<AccountGroup> groups;

    // The user with exactly this login (letter case counts), or null.
    const Account* Find(std::string_view login) const;
    // The rights of the groups that list login (ignoring letter case).
    std::uint32_t RightsOf(std::string_view login) const;
};

// Reads a "UserPermissionsData" element. Raises CommandError 7 for a user without a login, a
// login given twice, or a data set in which nobody could administer users.
Accounts ReadAccounts(pugi::xml_node data);

}  // namespace ostradb::sandbox

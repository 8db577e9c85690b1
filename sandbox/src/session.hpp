#pragma once

// The state of one client connection: who is logged in, and what the client set for itself.

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "conditions.hpp"

namespace ostradb::sandbox {

struct Session {
    std::string peer;  // "address:port"
    std::string user;  // empty until a login succeeds
    std::uint32_t rights = 0;
    std::chrono::steady_clock::time_point loginTime;
    // The value of the last "generate_auth_value", until a "login" uses it up.
    std::string challenge;
    // "set_filters", per database id.
    std::map<std::int32_t, Filter> filters;
    // "set_log_db_struct": the level types in the order the client navigates them.
    std::vector<std::string> logStruct;

    bool LoggedIn() const { return !user.empty(); }
    void LogOut() {
        user.clear();
        rights = 0;
    }
};

}  // namespace ostradb::sandbox

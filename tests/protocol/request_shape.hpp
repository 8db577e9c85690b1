#pragma once

// A recorded request's "command" element as one line of XML text, so that a test compares
// the command name, every attribute in order and every child in one expectation.

#include <sstream>
#include <string>

#include <pugixml.hpp>

#include "support/scripted_server.hpp"

namespace ostradb::test {

inline std::string CommandText(const RecordedRequest& request) {
    std::ostringstream text;
    request.Command().print(text, "", pugi::format_raw);
    return text.str();
}

}  // namespace ostradb::test

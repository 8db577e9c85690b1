#pragma once

// Reading the password file's text, apart from the file, so that it can be fuzzed.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ostradb::detail {

// The password of the first line of a password file's text that matches host (ignoring ASCII
// case), port and user; nullopt when none does.
std::optional<std::string> PasswordIn(std::string_view text, std::string_view host,
                                      std::int32_t port, std::string_view user);

}  // namespace ostradb::detail

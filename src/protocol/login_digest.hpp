#pragma once

#include <string>
#include <string_view>

namespace ostradb::detail {

// The response to the server's login challenge: MD5, as 32 lower-case hex digits, of the
// Windows-1251 bytes of a fixed string, the password, the random value and a second fixed
// string. Raises EEncodingError for a character Windows-1251 cannot hold.
std::string LoginDigest(std::string_view password, std::string_view randomValue);

}  // namespace ostradb::detail

#pragma once

// Texts of the numeric error codes of the server's data layer (distinct from the one-byte
// codes of the exchange).

#include <cstddef>
#include <string>

#include "ostradb/export.hpp"

namespace ostradb {

// The message of code: 0 and 300..327 have texts of their own, every other code gives
// "ошибка #<code>".
OSTRADB_API std::string getErrMsg(int code);
// The same message copied into buffer, zero-terminated and cut to bufferSize - 1 bytes
// (never in the middle of a character). Nothing is written when bufferSize is 0.
OSTRADB_API void getCErrMsg(int code, char* buffer, std::size_t bufferSize);

}  // namespace ostradb

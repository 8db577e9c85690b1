#pragma once

// A command's refusal: the error code and text that go into the answer's "error" element.

#include <cstdint>
#include <stdexcept>
#include <string>

#include "ostradb/protocol/errors.hpp"

namespace ostradb::sandbox {

class CommandError : public std::runtime_error {
public:
    // With the standard text of the code.
    explicit CommandError(EOstraClientSocketExceptionCodes code)
        : CommandError(code, DbErrCodeToString(code)) {}
    CommandError(EOstraClientSocketExceptionCodes code, const std::string& text)
        : std::runtime_error(text), code_(code) {}

    EOstraClientSocketExceptionCodes Code() const { return code_; }

private:
    EOstraClientSocketExceptionCodes code_;
};

// The standard text of code followed by a detail, e.g. "Указанный файл не найден: a.ws".
inline CommandError Refusal(EOstraClientSocketExceptionCodes code, const std::string& detail) {
    return CommandError(code, DbErrCodeToString(code) + ": " + detail);
}

}  // namespace ostradb::sandbox

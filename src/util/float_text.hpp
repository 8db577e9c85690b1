#pragma once

#include <charconv>
#include <cmath>
#include <cstring>

#include "ostradb/util/numbers.hpp"

namespace ostradb::detail {

// Writes the shortest round-trip text of value into buf (at least 32 bytes) with the library's
// decimal separator and returns its length. single: shortest for single precision.
inline std::size_t FormatFloat(char* buf, double value, bool single) {
    if (std::isnan(value)) {
        std::memcpy(buf, "NAN", 3);
        return 3;
    }
    if (std::isinf(value)) {
        if (value > 0) {
            std::memcpy(buf, "INF", 3);
            return 3;
        }
        std::memcpy(buf, "-INF", 4);
        return 4;
    }
    const auto r = single ? std::to_chars(buf, buf + 32, static_cast<float>(value))
                          : std::to_chars(buf, buf + 32, value);
    const auto n = static_cast<std::size_t>(r.ptr - buf);
    const char sep = DecimalSeparator();
    if (sep != '.')
        if (char* dot = static_cast<char*>(std::memchr(buf, '.', n))) *dot = sep;
    return n;
}

}  // namespace ostradb::detail

#include "ostradb/util/numbers.hpp"

#include <atomic>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "ostradb/util/exceptions.hpp"
#include "util/float_text.hpp"

namespace ostradb {

namespace {

std::atomic<char> gDecimalSeparator{'.'};

std::string_view SkipLeadingBlanks(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    return text;
}

std::string_view TrimBlanks(std::string_view text) {
    text = SkipLeadingBlanks(text);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
        text.remove_suffix(1);
    return text;
}

template <class Int>
bool ParseInt(std::string_view text, Int& value) {
    text = SkipLeadingBlanks(text);
    bool negative = false;
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    int base = 10;
    if (!text.empty() && text.front() == '$') {
        base = 16;
        text.remove_prefix(1);
    } else if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    if (text.empty()) return false;
    // Parse the magnitude unsigned so that the most negative value is accepted.
    using U = std::make_unsigned_t<Int>;
    U magnitude = 0;
    const char* end = text.data() + text.size();
    auto [ptr, ec] = std::from_chars(text.data(), end, magnitude, base);
    if (ec != std::errc() || ptr != end) return false;
    const U limit =
        negative ? U(std::numeric_limits<Int>::max()) + 1 : U(std::numeric_limits<Int>::max());
    if (magnitude > limit) return false;
    value = negative ? static_cast<Int>(U(0) - magnitude) : static_cast<Int>(magnitude);
    return true;
}

std::string Quoted(std::string_view text) {
    std::string s = "'";
    s.append(text);
    s += '\'';
    return s;
}

}  // namespace

char DecimalSeparator() {
    return gDecimalSeparator.load(std::memory_order_relaxed);
}
void SetDecimalSeparator(char separator) {
    gDecimalSeparator.store(separator, std::memory_order_relaxed);
}

bool TryStrToInt(std::string_view text, std::int32_t& value) {
    return ParseInt(text, value);
}
bool TryStrToInt64(std::string_view text, std::int64_t& value) {
    return ParseInt(text, value);
}

std::int32_t StrToIntDef(std::string_view text, std::int32_t def) {
    std::int32_t v;
    return TryStrToInt(text, v) ? v : def;
}

std::int64_t StrToInt64Def(std::string_view text, std::int64_t def) {
    std::int64_t v;
    return TryStrToInt64(text, v) ? v : def;
}

std::int32_t StrToInt(std::string_view text) {
    std::int32_t v;
    if (!TryStrToInt(text, v)) throw EConvertError(Quoted(text) + " is not a valid integer value");
    return v;
}

std::int64_t StrToInt64(std::string_view text) {
    std::int64_t v;
    if (!TryStrToInt64(text, v))
        throw EConvertError(Quoted(text) + " is not a valid integer value");
    return v;
}

std::string IntToStr(std::int64_t value) {
    return std::to_string(value);
}

std::string FloatToStr(double value) {
    char buf[32];
    return std::string(buf, detail::FormatFloat(buf, value, false));
}

std::string FloatToStr(float value) {
    char buf[32];
    return std::string(buf, detail::FormatFloat(buf, value, true));
}

bool TryStrToFloat(std::string_view text, double& value) {
    text = TrimBlanks(text);
    if (text.empty()) return false;
    std::string buf(text);
    const char sep = gDecimalSeparator.load(std::memory_order_relaxed);
    if (sep != '.')
        for (char& c : buf)
            if (c == sep) c = '.';
    std::string_view s = buf;
    if (s.front() == '+') s.remove_prefix(1);
    if (s == "NAN" || s == "nan") {
        value = std::numeric_limits<double>::quiet_NaN();
        return true;
    }
    if (s == "INF" || s == "inf" || s == "-INF" || s == "-inf") {
        value = s.front() == '-' ? -std::numeric_limits<double>::infinity()
                                 : std::numeric_limits<double>::infinity();
        return true;
    }
    const char* end = s.data() + s.size();
    auto [ptr, ec] = std::from_chars(s.data(), end, value, std::chars_format::general);
    return ec == std::errc() && ptr == end;
}

double StrToFloat(std::string_view text) {
    double v;
    if (!TryStrToFloat(text, v))
        throw EConvertError(Quoted(text) + " is not a valid floating point value");
    return v;
}

}  // namespace ostradb

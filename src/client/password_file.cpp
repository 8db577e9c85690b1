// The password file: lines host:port:user:password, "*" matching any value of a field.

#include <sys/stat.h>

#include <fstream>
#include <iostream>

#include "ostradb/client/connect_options.hpp"

namespace ostradb {

namespace {

bool SameAsciiText(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; };
        if (lower(a[i]) != lower(b[i])) return false;
    }
    return true;
}

// The first three fields of a line, split at the colons that no backslash escapes, and the
// rest as the fourth; "\x" stands for x. Fewer than four fields: an empty result.
std::vector<std::string> Fields(std::string_view line) {
    std::vector<std::string> fields(1);
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (c == '\\' && i + 1 < line.size()) {
            fields.back() += line[++i];
        } else if (c == ':' && fields.size() < 4) {
            fields.emplace_back();
        } else {
            fields.back() += c;
        }
    }
    if (fields.size() < 4) fields.clear();
    return fields;
}

bool Matches(const std::string& field, std::string_view value, bool ignoreCase = false) {
    return field == "*" || (ignoreCase ? SameAsciiText(field, value) : field == value);
}

}  // namespace

std::optional<std::string> password_from_file(const std::string& host, std::int32_t port,
                                              const std::string& user,
                                              const WarningCallback& warn) {
    const std::filesystem::path file = password_file_path();
    struct stat info {};
    if (::stat(file.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
    if (info.st_mode & (S_IRWXG | S_IRWXO)) {
        const std::string text = "the password file " + file.string() +
                                 " is ignored: group or others may read or change it (chmod "
                                 "600 " +
                                 file.string() + ")";
        if (warn)
            warn(text);
        else
            std::cerr << text << '\n';
        return std::nullopt;
    }
    std::ifstream in(file);
    const std::string portText = std::to_string(port);
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line.front() == '#') continue;
        const std::vector<std::string> f = Fields(line);
        if (!f.empty() && Matches(f[0], host, true) && Matches(f[1], portText) &&
            Matches(f[2], user))
            return f[3];
    }
    return std::nullopt;
}

}  // namespace ostradb

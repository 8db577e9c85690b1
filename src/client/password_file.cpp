// The password file: lines host:port:user:password, "*" matching any value of a field.

#include "client/password_file.hpp"

#include <sys/stat.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "ostradb/client/connect_options.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb {

namespace {

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
    return field == "*" || (ignoreCase ? SameText(field, value) : field == value);
}

}  // namespace

namespace detail {

std::optional<std::string> PasswordIn(std::string_view text, std::string_view host,
                                      std::int32_t port, std::string_view user) {
    const std::string portText = std::to_string(port);
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (line.empty() || line.front() == '#') continue;
        const std::vector<std::string> f = Fields(line);
        if (!f.empty() && Matches(f[0], host, true) && Matches(f[1], portText) &&
            Matches(f[2], user))
            return f[3];
    }
    return std::nullopt;
}

}  // namespace detail

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
    std::ifstream in(file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    return detail::PasswordIn(text, host, port, user);
}

}  // namespace ostradb

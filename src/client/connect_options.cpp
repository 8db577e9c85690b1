// Resolving where the client connects: the caller's options, the environment, the servers
// file, the stored connection settings.

#include "ostradb/client/connect_options.hpp"

#include <charconv>
#include <cmath>
#include <cstdlib>

#include "client/session.hpp"
#include "ostradb/client/errors.hpp"
#include "ostradb/protocol/connection_settings.hpp"
#include "ostradb/util/ini_file.hpp"
#include "ostradb/util/string_list.hpp"
#include "protocol/settings_paths.hpp"

namespace ostradb {

namespace {

// An environment variable that is set and not empty.
std::optional<std::string> Env(const char* name) {
    const char* value = std::getenv(name);
    if (!value || !*value) return std::nullopt;
    return std::string(value);
}

std::int32_t ParsePort(std::string_view text, const std::string& source) {
    std::int32_t port = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (ec != std::errc() || end != text.data() + text.size() || port < 1 || port > 65535)
        throw EArgumentError(source + ": not a port number: " + detail::Quoted(text));
    return port;
}

double ParseTimeout(std::string_view text, const std::string& source) {
    double seconds = -1;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (ec != std::errc() || end != text.data() + text.size() || !(seconds >= 0) ||
        !std::isfinite(seconds))
        throw EArgumentError(source + ": not a number of seconds: " + detail::Quoted(text));
    return seconds;
}

// Fills host, port and user from the section of the servers file named service.
void ApplyService(ConnectOptions& options, const std::string& service) {
    const std::filesystem::path file = servers_file_path();
    std::error_code ec;
    if (!std::filesystem::exists(file, ec))
        throw EArgumentError("no connection " + detail::Quoted(service) + ": there is no " +
                             file.string());
    const TMemIniFile ini(file);
    if (!ini.SectionExists(service)) {
        TStringList sections;
        ini.ReadSections(sections);
        const std::string known = detail::QuotedList(sections.Lines());
        throw EArgumentError("no connection " + detail::Quoted(service) + " in " + file.string() +
                             (known.empty() ? "" : "; it has " + known));
    }
    const std::string where = file.string() + " [" + service + "] ";
    if (options.host.empty()) options.host = ini.ReadString(service, "host", "");
    if (options.port == 0)
        if (const std::string port = ini.ReadString(service, "port", ""); !port.empty())
            options.port = ParsePort(port, where + "port");
    if (options.user.empty()) options.user = ini.ReadString(service, "user", "");
}

}  // namespace

ConnectOptions resolve_connect_options(ConnectOptions options) {
    if (options.host.empty()) options.host = Env("OSTRADB_HOST").value_or("");
    if (options.port == 0)
        if (const auto port = Env("OSTRADB_PORT")) options.port = ParsePort(*port, "OSTRADB_PORT");
    if (options.port < 0 || options.port > 65535)
        throw EArgumentError("port " + std::to_string(options.port) + " is not in 1..65535");
    if (options.user.empty()) options.user = Env("OSTRADB_USER").value_or("");
    // Set but empty is a password too.
    if (!options.password)
        if (const char* password = std::getenv("OSTRADB_PASSWORD")) options.password = password;
    if (!options.timeout) {
        if (const auto timeout = Env("OSTRADB_TIMEOUT"))
            options.timeout = ParseTimeout(*timeout, "OSTRADB_TIMEOUT");
    } else if (!(*options.timeout >= 0) || !std::isfinite(*options.timeout)) {
        throw EArgumentError("the time-out must be 0 or more seconds");
    }
    if (options.service) ApplyService(options, *options.service);
    if (options.host.empty() || options.port == 0) {
        TConnectionSettings stored;
        stored.Load();
        if (options.host.empty()) options.host = stored.GetServer();
        if (options.port == 0) options.port = stored.Port;
    }
    if (!options.timeout) options.timeout = kDefaultTimeout;
    return options;
}

std::filesystem::path password_file_path() {
    if (const auto own = Env("OSTRADB_PASSFILE")) return *own;
    return detail::UserConfigDir() / "passwords";
}

std::filesystem::path servers_file_path() {
    return detail::UserConfigDir() / "servers.ini";
}

}  // namespace ostradb

#include "ostradb/protocol/connection_settings.hpp"

#include <cstdlib>
#include <memory>

#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/serial/properties.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/ini_file.hpp"
#include "ostradb/util/text.hpp"
#include "protocol/settings_paths.hpp"

namespace ostradb {

namespace detail {

namespace {
std::filesystem::path& ExecutableDirOverride() {
    static std::filesystem::path dir;
    return dir;
}
}  // namespace

std::filesystem::path UserConfigDir() {
    if (const char* own = std::getenv("OSTRADB_CONFIG_DIR"); own && *own) return own;
    if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg)
        return std::filesystem::path(xdg) / "ostradb";
    if (const char* home = std::getenv("HOME"); home && *home)
        return std::filesystem::path(home) / ".config" / "ostradb";
    return std::filesystem::current_path();
}

std::filesystem::path UserSettingsFile() {
    return UserConfigDir() / "settings.ini";
}

std::filesystem::path ExecutableDir() {
    if (!ExecutableDirOverride().empty()) return ExecutableDirOverride();
    std::error_code ec;
    const auto exe = std::filesystem::read_symlink("/proc/self/exe", ec);
    return ec ? std::filesystem::path() : exe.parent_path();
}

void SetExecutableDirForTesting(const std::filesystem::path& dir) {
    ExecutableDirOverride() = dir;
}

}  // namespace detail

namespace {

constexpr std::int32_t kDefaultPort = 22344;
// The application's root key in the settings store.
constexpr const char* kApplicationRoot = "Software\\OstraDB\\";

TConnectionSettings::AskUserHandler& AskUserHandlerSlot() {
    static TConnectionSettings::AskUserHandler handler;
    return handler;
}

TConnectionSettings* processSettings = nullptr;

}  // namespace

TConnectionSettings::TConnectionSettings()
    : CurRegistryBranch(std::string(kApplicationRoot) + "OstraDBConnection") {}

TConnectionSettings::~TConnectionSettings() {
    if (processSettings == this) processSettings = nullptr;
}

const PropertyList& TConnectionSettings::Properties() const {
    static const PropertyList list{
        Prop<&TConnectionSettings::Local>("Local").Default(1),
        Prop<&TConnectionSettings::Server>("Server"),
        Prop<&TConnectionSettings::Port>("Port").Default(kDefaultPort),
        Prop<&TConnectionSettings::CurRegistryBranch>("CurRegistryBranch"),
    };
    return list;
}

std::string TConnectionSettings::GetServer() const {
    return Local ? "localhost" : Server;
}

void TConnectionSettings::Load() {
    const TMemIniFile store(detail::UserSettingsFile());
    if (store.SectionExists(CurRegistryBranch)) {
        const std::string& key = CurRegistryBranch;
        if (store.ValueExists(key, "Server")) Server = store.ReadString(key, "Server", Server);
        if (store.ValueExists(key, "Local")) Local = store.ReadBool(key, "Local", Local);
        if (store.ValueExists(key, "Port")) Port = store.ReadInteger(key, "Port", Port);
    } else {
        try {
            LoadFromXMLFile(*this, "ConnectionSettings",
                            detail::ExecutableDir() / "ConnSettings.xml");
        } catch (const Error&) {
            // An installation need not ship the file, and a broken one is no reason to fail.
        }
    }
    if (Server.empty()) Server = "localhost";
    if (Port == 0) Port = kDefaultPort;
    Check();
}

void TConnectionSettings::Save() const {
    TMemIniFile store(detail::UserSettingsFile());
    store.WriteString(CurRegistryBranch, "Server", GetServer());
    store.WriteBool(CurRegistryBranch, "Local", Local);
    store.WriteInteger(CurRegistryBranch, "Port", Port);
    store.UpdateFile();
}

void TConnectionSettings::Check() {
    if (Port < 1 || Port > 65535) Port = kDefaultPort;
    if (!Local && Trim(GetServer()).empty()) Server = "localhost";
}

void TConnectionSettings::SetConfigToSocket(TOstraDbProtocol& client) const {
    client.SetHostPort(Local ? std::string("localhost") : GetServer(), Port);
}

bool TConnectionSettings::IsReallyLocal() const {
    const std::string server = GetServer();
    return Local || LowerCase(server) == "localhost" || server.starts_with("127.");
}

bool TConnectionSettings::AskUser() {
    const auto& handler = AskUserHandlerSlot();
    return handler ? handler(*this) : false;
}

void TConnectionSettings::SetAskUserHandler(AskUserHandler handler) {
    AskUserHandlerSlot() = std::move(handler);
}

TConnectionSettings& ConnSettings() {
    static std::unique_ptr<TConnectionSettings> settings;
    if (!processSettings) {
        settings = std::make_unique<TConnectionSettings>();
        processSettings = settings.get();
    }
    return *processSettings;
}

}  // namespace ostradb

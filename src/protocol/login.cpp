// Login by challenge and response, and the server's version.

#include <openssl/evp.h>

#include <algorithm>

#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "protocol/command.hpp"
#include "protocol/login_digest.hpp"
#include "protocol/scope_exit.hpp"
#include "protocol/wire.hpp"

namespace ostradb {

namespace detail {

std::string LoginDigest(std::string_view password, std::string_view randomValue) {
    // Fixed strings that the server uses the same way.
    constexpr std::string_view kBefore = "teal is quiet!!!";
    constexpr std::string_view kAfter = "teal waits!!!!";
    std::string text(kBefore);
    text += password;
    text += randomValue;
    text += kAfter;
    // The server computes over 8-bit text, so the digest covers the Windows-1251 bytes.
    const std::string bytes = wire::EncodeText(text);

    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_md5(), nullptr) != 1)
        throw Error("MD5 is not available");
    static constexpr char kHex[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(2 * length);
    for (unsigned int i = 0; i < length; ++i) {
        hex += kHex[digest[i] >> 4];
        hex += kHex[digest[i] & 0x0F];
    }
    return hex;
}

}  // namespace detail

std::string TOstraDbProtocol::RequestRandomAuthValue() {
    detail::Request req(*this, "generate_auth_value");
    return xml::Attr(req.Exchange().answer, "result");
}

bool TOstraDbProtocol::SendLoginCommand(const std::string& User, const std::string& Password) {
    // A demand to log in again while logging in is an error, not a reason to recurse.
    const bool saved = loggingIn_;
    loggingIn_ = true;
    detail::ScopeExit restore([&] { loggingIn_ = saved; });

    detail::Request req(*this, "login");
    const std::string random = RequestRandomAuthValue();
    req.Set("user", User).Set("pass", detail::LoginDigest(Password, random));
    const detail::Answer ans = req.Exchange();
    FUserRights = RightBitsToSet(static_cast<std::uint32_t>(xml::AttrInt64(ans.answer, "rights")));
    const pugi::xml_node error = ans.Root().child("error");
    if (error && xml::HasAttr(error, "code")) return xml::AttrInt(error, "code") == 0;
    return true;
}

bool TOstraDbProtocol::Login(const std::string& User, const std::string& Password) {
    TLoginDialogData data;
    data.User = User.empty() ? lastUser_ : User;
    data.Password = Password.empty() ? lastPassword_ : Password;
    data.AllowToSelectServer = allowToSelectServer_;
    for (std::int32_t attempt = 1;;) {
        data.Attempt = attempt;
        if (loginDialog_) {
            const ELoginDialogResult result = loginDialog_(*this, data);
            if (result == ldrCancel) {
                FLoginCanceled = true;
                FUserRights = {};
                return false;
            }
            if (result == ldrRetry) continue;
        }
        bool ok = false;
        try {
            detail::ScopeExit remember([&] {
                lastUser_ = data.User;
                lastPassword_ = data.Password;
            });
            ok = SendLoginCommand(data.User, data.Password);
        } catch (const TOstraClientSocketException& e) {
            loginCounter_ = std::max(0, loginCounter_ - 1);
            // Only a refusal of these credentials is worth another try in the dialog.
            const bool refused =
                e.Code == ecWrongPassword || e.Code == ecUserNotFound || e.Code == ecAccessDenied;
            if (!loginDialog_ || !refused || attempt >= kMaxLoginAttempts) throw;
            data.Message = e.what();
            ++attempt;
            continue;
        }
        if (ok) {
            loginCounter_ = 1;
            return true;
        }
        loginCounter_ = std::max(0, loginCounter_ - 1);
        if (!loginDialog_ || attempt >= kMaxLoginAttempts) return false;
        data.Message = "Некорректный пароль";
        ++attempt;
    }
}

void TOstraDbProtocol::GetServerVersion(TServerVersion& Version) {
    Version.SetValues(0, 0, 0, 0);
    try {
        detail::Request req(*this, "get_server_version");
        LoadFromXML(Version, "Version", req.Exchange().answer);
    } catch (const TOstraClientSocketException& e) {
        // A server that does not know the command has no version to tell; the client's own
        // refusals (busy, terminated) are not an answer of the server.
        if (e.Code == ecProtocolBusy || e.Code == ecTerminated) throw;
        Version.SetValues(0, 0, 0, 0);
    }
}

}  // namespace ostradb

// Login by challenge and response, and the server's version.

#include <openssl/rand.h>

#include "commands.hpp"
#include "protocol/login_digest.hpp"

namespace ostradb::sandbox {

namespace {

std::string RandomValue() {
    unsigned char bytes[16];
    if (RAND_bytes(bytes, sizeof bytes) != 1) throw CommandError(ecInternalError);
    static constexpr char kHex[] = "0123456789abcdef";
    std::string text;
    for (unsigned char b : bytes) {
        text += kHex[b >> 4];
        text += kHex[b & 0x0F];
    }
    return text;
}

}  // namespace

void GenerateAuthValue(CommandContext& ctx) {
    ctx.session.challenge = RandomValue();
    ctx.answer.append_attribute("result") = ctx.session.challenge.c_str();
}

void LoginCommand(CommandContext& ctx) {
    const std::string user = RequiredAttr(ctx.command, "user");
    const std::string digest = RequiredAttr(ctx.command, "pass");
    // Each value serves one attempt, right or wrong.
    const std::string challenge = std::move(ctx.session.challenge);
    ctx.session.challenge.clear();
    ctx.session.LogOut();

    const auto accounts = ctx.store.GetAccounts();
    const Account* account = accounts->Find(user);
    bool ok = account && !challenge.empty();
    if (ok) {
        try {
            ok = detail::LoginDigest(account->password, challenge) == digest;
        } catch (const std::exception&) {
            ok = false;  // a stored password that Windows-1251 cannot carry never matches
        }
    }
    if (!ok) {
        ctx.store.Log().Add(kLogWarning, user, ctx.session.peer, "Вход отклонён");
        throw CommandError(ecWrongPassword);
    }
    ctx.session.user = user;
    ctx.session.rights = accounts->RightsOf(user);
    ctx.session.loginTime = std::chrono::steady_clock::now();
    ctx.store.Log().Add(kLogInfo, user, ctx.session.peer, "Вход выполнен");
    ctx.answer.append_attribute("rights") = ctx.session.rights;
}

void GetServerVersion(CommandContext& ctx) {
    pugi::xml_node version = ctx.answer.append_child("Version");
    int numbers[4] = {0, 0, 0, 0};
    std::sscanf(OSTRADB_SANDBOX_VERSION, "%d.%d.%d.%d", &numbers[0], &numbers[1], &numbers[2],
                &numbers[3]);
    version.append_attribute("Mayor") = numbers[0];
    version.append_attribute("Minor") = numbers[1];
    version.append_attribute("Maintenance") = numbers[2];
    version.append_attribute("Revision") = numbers[3];
}

}  // namespace ostradb::sandbox

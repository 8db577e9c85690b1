#include "errors.hpp"

#include <iostream>

#include "interrupt.hpp"
#include "ostradb/client/errors.hpp"
#include "ostradb/protocol/errors.hpp"
#include "ostradb/protocol/socket_errors.hpp"

namespace ostradb::cli {

namespace {

// Line breaks of a message become blanks, so that every failure takes one line.
std::string OneLine(std::string text) {
    std::string out;
    for (const char c : text) {
        if (c == '\r') continue;
        if (c == '\n') {
            if (!out.empty() && out.back() != ' ') out += ' ';
            continue;
        }
        out += c;
    }
    while (!out.empty() && out.back() == ' ')
        out.pop_back();
    return out;
}

void Line(const std::string& doing, const std::string& message) {
    std::cerr << "ostradb: " << (doing.empty() ? "" : doing + ": ") << OneLine(message) << '\n';
}

}  // namespace

int ReportCurrentException(const std::string& doing) {
    try {
        throw;
    } catch (const SilentFailure& e) {
        return e.Status();
    } catch (const InterruptedError&) {
        std::cerr << "ostradb: interrupted\n";
        return kExitInterrupted;
    } catch (const TOstraClientSocketException& e) {
        if (Interrupts().Interrupted()) {
            std::cerr << "ostradb: interrupted\n";
            return kExitInterrupted;
        }
        std::string text = e.what();
        if (text.empty())
            text = DbErrCodeToString(static_cast<EOstraClientSocketExceptionCodes>(e.Code));
        if (text.empty()) text = "error";
        Line(doing, text + " (server code " + std::to_string(e.Code) + ")");
        return kExitFailure;
    } catch (const EConnectError& e) {
        // The library's message is Russian; readers of English get its meaning below it.
        const std::string message = e.what();
        const std::size_t open = message.find('"');
        const std::size_t close = message.find('"', open == std::string::npos ? 0 : open + 1);
        const std::string host = open != std::string::npos && close != std::string::npos
                                     ? message.substr(open, close - open + 1)
                                     : std::string("the given computer");
        Line("", message);
        std::cerr << "ostradb: cannot connect to the server on " << host
                  << "; the computer may be switched off or the server is not running there\n";
        return kExitFailure;
    } catch (const ETimeoutError& e) {
        Line(doing, std::string(e.what()) + "; --timeout or OSTRADB_TIMEOUT sets it");
        return kExitFailure;
    } catch (const CliError& e) {
        Line(e.Status() == kExitUsage ? "" : doing, e.what());
        if (e.Status() == kExitUsage) std::cerr << "Run 'ostradb --help' for usage.\n";
        return e.Status();
    } catch (const EArgumentError& e) {
        // What the command line or the settings gave cannot be used.
        Line("", e.what());
        std::cerr << "Run 'ostradb --help' for usage.\n";
        return kExitUsage;
    } catch (const std::exception& e) {
        if (Interrupts().Interrupted()) {
            std::cerr << "ostradb: interrupted\n";
            return kExitInterrupted;
        }
        Line(doing, e.what());
        return kExitFailure;
    }
}

}  // namespace ostradb::cli

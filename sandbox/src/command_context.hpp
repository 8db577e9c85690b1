#pragma once

// What a command handler works with: the request's "command" element, the "answer" element to
// fill, the session, the data, the request's payload and the answer's payload.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

#include "catalog.hpp"
#include "command_error.hpp"
#include "data_store.hpp"
#include "ostradb/users/rights.hpp"
#include "session.hpp"

namespace ostradb::sandbox {

struct SandboxOptions;

// The bytes that followed the request's packet text, read on demand.
class RequestPayload {
public:
    virtual ~RequestPayload() = default;
    virtual std::uint64_t Size() const = 0;
    // Up to size bytes; 0 once every byte was read. Raises ConnectionEnd when the client
    // stops sending.
    virtual std::size_t Read(char* data, std::size_t size) = 0;
};

// An open file whose bytes follow the answer.
class AnswerFile {
public:
    AnswerFile(int fd, std::uint64_t size) : fd_(fd), size_(size) {}
    ~AnswerFile();
    AnswerFile(const AnswerFile&) = delete;
    AnswerFile& operator=(const AnswerFile&) = delete;
    int Fd() const { return fd_; }
    std::uint64_t Size() const { return size_; }

private:
    int fd_;
    std::uint64_t size_;
};

class CommandContext {
public:
    using InfoSender = std::function<void(const pugi::xml_document&)>;

    CommandContext(pugi::xml_node command, pugi::xml_node answer, Session& session,
                   DataStore& store, const SandboxOptions& options, RequestPayload& payload,
                   InfoSender sendInfo)
        : command(command),
          answer(answer),
          session(session),
          store(store),
          options(options),
          payload(payload),
          catalog(store.GetCatalog()),
          sendInfo_(std::move(sendInfo)) {}

    pugi::xml_node command;
    pugi::xml_node answer;
    Session& session;
    DataStore& store;
    const SandboxOptions& options;
    RequestPayload& payload;
    // The catalog as it was when the command started.
    std::shared_ptr<const Catalog> catalog;
    // Set by a handler whose answer carries a file's bytes.
    std::unique_ptr<AnswerFile> answerFile;

    // CommandError 16 unless the session has the right.
    void Require(EUserRights right) const;
    bool Has(EUserRights right) const { return (session.rights >> right) & 1u; }
    // Sends an intermediate "info" packet (root "packet" with type="info" and attrs).
    void SendInfo(const std::vector<std::pair<std::string, std::string>>& attrs) const;

    // The database named by the request's "db_id" (or another attribute); CommandError 4
    // when there is none.
    const Database& DatabaseArg(const char* attr = "db_id") const;

private:
    InfoSender sendInfo_;
};

// ---- Reading request arguments ---------------------------------------------------------

// A required attribute: CommandError 11 when missing.
std::string RequiredAttr(pugi::xml_node node, const char* name);
// A required integer: 11 when missing, 7 when malformed.
std::int32_t IntArg(pugi::xml_node node, const char* name);
// An optional boolean ("true"/"false" in any case, or a number): def when missing, 7 when
// malformed.
bool BoolArg(pugi::xml_node node, const char* name, bool def = false);
// A list of strings written as "Item" children of the child element name.
std::vector<std::string> ListArg(pugi::xml_node node, const char* name);
// The level path: the "id" of each "item" of the child "path".
std::vector<std::int32_t> LevelPathArg(pugi::xml_node command);

// ---- Writing answers -------------------------------------------------------------------

// Shortest text that reads back as the same number, with a full stop.
std::string NumberText(double value);
void SetNumber(pugi::xml_node node, const char* name, double value);
void SetText(pugi::xml_node node, const char* name, std::string_view value);
// A list of strings as the child name with one "Item" (text content) per string.
void AppendList(pugi::xml_node node, const char* name, const std::vector<std::string>& values);

}  // namespace ostradb::sandbox

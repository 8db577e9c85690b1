#pragma once

// What the high-level client returns: plain values that can be copied, kept and compared,
// holding no pointers into other objects. Field names are those of the Python package. Every
// field has an initializer, so that designated initializers may leave any of them out.

#include <cstdint>
#include <string>
#include <vector>

#include "ostradb/export.hpp"

namespace ostradb {

// One level of a database's structure (field, well, survey ...), top first.
struct StructureLevel {
    std::string type{};   // "%well"
    std::string name{};   // the display name, may be empty
    std::string title{};  // the display name, else the type, else "level N"
    bool key = false;
    std::string kind{};  // "text", "number", "date", "none" or "other"

    bool operator==(const StructureLevel&) const = default;
};

struct Database {
    std::int32_t id = -1;
    std::string name{};
    std::string path{};      // the database's folder on the server machine
    std::string ext_path{};  // the same folder as other machines see it; may be empty
    bool is_private = false;
    std::vector<StructureLevel> levels{};  // empty when listed without structures

    bool operator==(const Database&) const = default;
};

// A value of a level below a path (a field, a well ...).
struct Level {
    std::int32_t id = -1;  // the server's number, valid for this session
    std::string value{};
    std::string path{};

    bool operator==(const Level&) const = default;
};

struct File {
    std::string name{};               // the short name the database lists
    std::string full_name{};          // the name get, put and the file commands take
    std::vector<std::string> path{};  // the level values, top first
    std::int32_t type = 0;
    std::string trunk{};
    bool main = false;
    std::int64_t flags = 0;    // bits of FileFlagToString
    std::int64_t rights = -1;  // rights bit mask; -1 when the server sent none

    bool operator==(const File&) const = default;
};

struct Curve {
    std::string name{};
    std::string table{};
    std::string units{};
    std::int32_t top = 0;
    std::int32_t bottom = 0;
    std::int32_t step = 0;
    std::int32_t count = -1;  // number of values
    std::string versions{};
    std::string file{};  // set when several files were asked about

    bool operator==(const Curve&) const = default;
};

// A user with the groups it belongs to and the rights these give.
struct User {
    std::string login{};
    std::string name{};
    std::vector<std::string> groups{};
    std::vector<std::string> rights{};  // "view", "change-data" ... (see right_names)
    std::uint32_t rights_mask = 0;

    bool operator==(const User&) const = default;
};

struct Group {
    std::string name{};
    std::vector<std::string> rights{};
    std::uint32_t rights_mask = 0;
    std::vector<std::string> users{};

    bool operator==(const Group&) const = default;
};

struct Option {
    std::string name{};
    std::string value{};

    bool operator==(const Option&) const = default;
};

struct LogRecord {
    std::int32_t id = -1;
    std::string time{};     // "yyyy-mm-dd hh:nn:ss"
    std::int32_t type = 0;  // the server's message code
    std::string user{};
    std::string address{};
    std::string text{};

    bool operator==(const LogRecord&) const = default;
};

// The outcome of one file of a deletion.
struct FileResult {
    std::string file{};
    bool ok = false;
    std::uint8_t code = 0;  // the server's error code; 0 when ok
    std::string message{};

    bool operator==(const FileResult&) const = default;
};

// File statistics: one row per value of the grouping level.
struct StatColumn {
    std::string name{};
    bool text = false;      // a grouping column, else a value column
    std::int32_t type = 0;  // the server's code of a value column
    bool operator==(const StatColumn&) const = default;
};

struct StatRow {
    std::string name{};
    std::vector<std::string> texts{};    // one per text column
    std::vector<std::int32_t> values{};  // one per value column
    std::vector<std::string> files{};    // when asked for
    bool operator==(const StatRow&) const = default;
};

struct FileStats {
    std::vector<StatColumn> columns{};  // the text columns first
    std::vector<StatRow> rows{};
    std::vector<std::string> quality{};  // data-quality rows, tab-separated, when asked for
    std::vector<std::string> lines{};    // the whole table as tab-separated lines
};

// Where a merge of virtual tables stands.
struct MergeStatus {
    double percent = 0;
    std::string result{};
};

// Short names of the rights bits 1, 2, 4 ... 64 that are set in mask.
OSTRADB_API std::vector<std::string> right_names(std::uint32_t mask);

}  // namespace ostradb

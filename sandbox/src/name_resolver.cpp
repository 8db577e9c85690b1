#include "name_resolver.hpp"

#include <optional>
#include <system_error>
#include <vector>

#include "atomic_file.hpp"
#include "command_error.hpp"
#include "ostradb/util/numbers.hpp"
#include "ostradb/util/text.hpp"
#include "ws_files.hpp"

namespace ostradb::sandbox {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kRootPrefix = "${Root_";

bool CutPrefix(std::string& text, std::string_view prefix) {
    if (text.size() < prefix.size() || !StartsText(prefix, text.substr(0, prefix.size())))
        return false;
    text.erase(0, prefix.size());
    return true;
}

[[noreturn]] void BadName(std::string_view name) {
    throw Refusal(ecWrongFileName, std::string(name));
}

// The folders and file name of a relative name; refuses what could step outside.
std::vector<std::string> Components(std::string_view rest, std::string_view name) {
    std::vector<std::string> parts;
    std::string part;
    auto flush = [&] {
        if (part.empty()) return;
        if (part == "." || part == ".." || part.find(':') != std::string::npos ||
            part.starts_with(kTempPrefix))
            BadName(name);
        parts.push_back(std::move(part));
        part.clear();
    };
    for (char c : rest) {
        if (c == '/' || c == '\\') {
            flush();
        } else {
            if (static_cast<unsigned char>(c) < 0x20) BadName(name);
            part += c;
        }
    }
    flush();
    if (parts.empty() || IsReservedFileName(parts.back())) BadName(name);
    return parts;
}

fs::path Join(const fs::path& base, const std::vector<std::string>& parts) {
    fs::path path = base;
    for (const std::string& part : parts)
        path /= part;
    return path;
}

// Whether path, with its links followed, still lies below base.
bool StaysBelow(const fs::path& base, const fs::path& path) {
    std::error_code ec;
    const fs::path realBase = fs::weakly_canonical(base, ec);
    if (ec) return false;
    const fs::path realPath = fs::weakly_canonical(path, ec);
    if (ec) return false;
    const fs::path relative = realPath.lexically_relative(realBase);
    return !relative.empty() && *relative.begin() != ".." && relative != ".";
}

ResolvedName Make(const Database& db, std::int32_t rootId, const fs::path& base,
                  const std::vector<std::string>& parts, std::string_view name) {
    ResolvedName resolved;
    resolved.db = &db;
    resolved.rootId = rootId;
    resolved.base = base;
    resolved.path = Join(base, parts);
    if (!StaysBelow(base, resolved.path)) BadName(name);
    resolved.shortName = RelativeName(base, resolved.path);
    if (rootId >= 0)
        resolved.shortName = "${Root_" + std::to_string(rootId) + "}\\" + resolved.shortName;
    return resolved;
}

// "${Root_N}\rest" (or with "/"): the root and what follows it, when text has that form.
std::optional<ResolvedName> ResolveRoot(const Catalog& catalog, const Database* only,
                                        std::string_view text, std::string_view name) {
    if (!text.starts_with(kRootPrefix)) return std::nullopt;
    const std::size_t close = text.find('}');
    if (close == std::string_view::npos || close + 1 >= text.size() ||
        (text[close + 1] != '\\' && text[close + 1] != '/'))
        BadName(name);
    std::int32_t rootId = -1;
    if (!TryStrToInt(text.substr(kRootPrefix.size(), close - kRootPrefix.size()), rootId))
        BadName(name);
    const std::vector<std::string> parts = Components(text.substr(close + 2), name);
    for (const Database& db : catalog.databases) {
        if (only && &db != only) continue;
        if (const RootDir* root = db.FindRoot(rootId))
            return Make(db, rootId, root->dir, parts, name);
    }
    BadName(name);
}

}  // namespace

std::string StripAddress(std::string_view name) {
    std::string text(name);
    CutPrefix(text, "WSTP://");
    CutPrefix(text, "DIRECT:");
    if (CutPrefix(text, "/HOST:")) {
        const std::size_t slash = text.find('/');
        text.erase(0, slash == std::string::npos ? 1 : slash + 1);
    }
    if (CutPrefix(text, "/PORT:")) {
        const std::size_t slash = text.find('/');
        text.erase(0, slash == std::string::npos ? text.size() : slash + 1);
    }
    return text;
}

ResolvedName ResolveFileName(const Catalog& catalog, std::string_view name) {
    const std::string text = StripAddress(name);
    if (text.empty()) BadName(name);
    // Drive letters and network shares do not exist here.
    if ((text.size() >= 2 && text[1] == ':') || text.starts_with("\\\\")) BadName(name);

    if (auto root = ResolveRoot(catalog, nullptr, text, name)) return *root;

    if (text.front() == '/' || text.front() == '\\') {
        // A full name: the database directory or root that holds it.
        const std::vector<std::string> parts = Components(text, name);
        const fs::path full = Join("/", parts);
        for (const Database& db : catalog.databases) {
            auto below = [&](const fs::path& base) {
                const fs::path relative = full.lexically_relative(base);
                return !relative.empty() && *relative.begin() != ".." && relative != ".";
            };
            auto resolve = [&](const fs::path& base, std::int32_t rootId) {
                const fs::path relative = full.lexically_relative(base);
                std::vector<std::string> rest;
                for (const fs::path& part : relative)
                    rest.push_back(part.string());
                return Make(db, rootId, base, rest, name);
            };
            if (below(db.dir)) return resolve(db.dir, -1);
            for (const RootDir& r : db.roots)
                if (below(r.dir)) return resolve(r.dir, r.id);
        }
        BadName(name);
    }

    // "Database name\short name".
    const std::size_t sep = text.find_first_of("\\/");
    if (sep != std::string::npos) {
        if (const Database* db = catalog.FindByName(text.substr(0, sep))) {
            const std::string rest = text.substr(sep + 1);
            if (auto root = ResolveRoot(catalog, db, rest, name)) return *root;
            return Make(*db, -1, db->dir, Components(rest, name), name);
        }
    }

    // A short name: the database that holds such a file, or the only database.
    const std::vector<std::string> parts = Components(text, name);
    for (const Database& db : catalog.databases) {
        std::error_code ec;
        if (fs::exists(Join(db.dir, parts), ec)) return Make(db, -1, db.dir, parts, name);
    }
    if (catalog.databases.size() == 1) {
        const Database& db = catalog.databases.front();
        return Make(db, -1, db.dir, parts, name);
    }
    throw Refusal(ecFileNotInDatabase, std::string(name));
}

}  // namespace ostradb::sandbox

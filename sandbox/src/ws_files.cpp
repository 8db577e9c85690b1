#include "ws_files.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <system_error>

#include <pugixml.hpp>

#include "atomic_file.hpp"
#include "catalog.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb::sandbox {

namespace fs = std::filesystem;

namespace {

bool EndsWithNoCase(std::string_view text, std::string_view suffix) {
    if (text.size() < suffix.size()) return false;
    const std::string_view tail = text.substr(text.size() - suffix.size());
    return std::equal(tail.begin(), tail.end(), suffix.begin(), [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) ==
               std::tolower(static_cast<unsigned char>(b));
    });
}

void ScanLevel(const fs::path& dir, std::size_t depth, std::size_t levels,
               std::vector<std::string>& values, const fs::path& base, const std::string& prefix,
               std::int32_t rootId, std::vector<WsFile>& out) {
    std::error_code ec;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        // Links could lead out of the database; its files are its own folders' only.
        if (name.empty() || name.front() == '.' || it->is_symlink(ec)) continue;
        const bool isDir = it->is_directory(ec);
        if (depth < levels) {
            if (!isDir) continue;
            values.push_back(name);
            ScanLevel(it->path(), depth + 1, levels, values, base, prefix, rootId, out);
            values.pop_back();
        } else if (!isDir && IsWsFileName(name) && it->is_regular_file(ec)) {
            WsFile file;
            file.path = it->path();
            file.shortName = prefix + RelativeName(base, it->path());
            file.values = values;
            file.rootId = rootId;
            out.push_back(std::move(file));
        }
    }
}

}  // namespace

std::int32_t CurveInfo::Count() const {
    if (step <= 0 || stop < start) return 0;
    return static_cast<std::int32_t>(std::floor((stop - start) / step + 1e-6)) + 1;
}

bool WsMeta::HasTable(std::string_view name) const {
    return std::any_of(tables.begin(), tables.end(),
                       [&](const TableInfo& t) { return SameText(t.name, name); });
}

bool WsMeta::HasCurve(std::string_view name) const {
    for (const TableInfo& table : tables)
        for (const CurveInfo& curve : table.curves)
            if (SameText(curve.name, name)) return true;
    return false;
}

bool WsMeta::HasPlanshet(std::string_view name) const {
    return std::any_of(planshets.begin(), planshets.end(),
                       [&](const std::string& p) { return SameText(p, name); });
}

bool IsWsFileName(std::string_view fileName) {
    return !fileName.empty() && fileName.front() != '.' && EndsWithNoCase(fileName, kWsExtension);
}

bool IsReservedFileName(std::string_view fileName) {
    return fileName.starts_with(kTempPrefix) ||
           EndsWithNoCase(fileName, std::string(kWsExtension) + std::string(kSideExtension));
}

fs::path SidePath(const fs::path& wsPath) {
    fs::path side = wsPath;
    side += kSideExtension;
    return side;
}

std::string RelativeName(const fs::path& base, const fs::path& path) {
    return path.lexically_relative(base).generic_string();
}

std::vector<WsFile> ScanDatabase(const Database& db) {
    std::vector<WsFile> files;
    std::vector<std::string> values;
    ScanLevel(db.dir, 0, db.levels.size(), values, db.dir, {}, -1, files);
    for (const RootDir& root : db.roots) {
        const std::string prefix = "${Root_" + std::to_string(root.id) + "}\\";
        ScanLevel(root.dir, 0, db.levels.size(), values, root.dir, prefix, root.id, files);
    }
    std::sort(files.begin(), files.end(),
              [](const WsFile& a, const WsFile& b) { return a.shortName < b.shortName; });
    return files;
}

WsMeta ReadSideFile(const fs::path& sidePath) {
    WsMeta meta;
    pugi::xml_document doc;
    if (!doc.load_file(sidePath.c_str())) return meta;
    const pugi::xml_node root = doc.child("wsinfo");
    meta.trunkId = root.attribute("trunk_id").as_string();
    meta.isMain = root.attribute("main").as_bool(false);
    for (pugi::xml_node p : root.children("param"))
        meta.params.emplace_back(p.attribute("key").as_string(), p.attribute("value").as_string());
    for (pugi::xml_node p : root.children("planshet"))
        meta.planshets.emplace_back(p.attribute("name").as_string());
    for (pugi::xml_node t : root.children("table")) {
        TableInfo table;
        table.name = t.attribute("name").as_string();
        for (pugi::xml_node c : t.children("curve")) {
            CurveInfo curve;
            curve.name = c.attribute("name").as_string();
            curve.table = table.name;
            curve.start = c.attribute("start").as_double();
            curve.stop = c.attribute("stop").as_double();
            curve.step = c.attribute("step").as_double();
            curve.nvers = c.attribute("nvers").as_int(1);
            curve.dclass = c.attribute("dclass").as_int(1);
            curve.units = c.attribute("units").as_string();
            curve.keystr = c.attribute("keystr").as_string();
            for (pugi::xml_node p : c.children("planshet"))
                curve.planshets.emplace_back(p.attribute("name").as_string());
            table.curves.push_back(std::move(curve));
        }
        meta.tables.push_back(std::move(table));
    }
    return meta;
}

std::shared_ptr<const WsMeta> MetaCache::Get(const fs::path& wsPath) {
    const fs::path side = SidePath(wsPath);
    struct stat st {};
    if (::stat(side.c_str(), &st) != 0) return std::make_shared<const WsMeta>();
    const auto size = static_cast<std::uintmax_t>(st.st_size);
    const std::int64_t mtime =
        static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1'000'000'000 + st.st_mtim.tv_nsec;
    const std::string key = side.string();
    {
        std::lock_guard lock(mutex_);
        const auto it = entries_.find(key);
        if (it != entries_.end() && it->second.size == size && it->second.mtime == mtime)
            return it->second.meta;
    }
    auto meta = std::make_shared<const WsMeta>(ReadSideFile(side));
    std::lock_guard lock(mutex_);
    entries_[key] = Entry{size, mtime, meta};
    return meta;
}

}  // namespace ostradb::sandbox

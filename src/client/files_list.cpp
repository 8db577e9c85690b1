#include "client/files_list.hpp"

#include <memory>

#include "client/session.hpp"
#include "model/level_files_sort.hpp"
#include "ostradb/model/databases.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb::detail {

std::string FullFileName(const TDatabaseInfo& db, const std::string& shortName,
                         const TConnectionSettings& place) {
    std::string name = db.ShortFileNameToFullFileName(shortName, false, place);
    constexpr std::string_view kLocal = "WSTP://DIRECT:";
    if (name.starts_with(kLocal)) name.erase(0, kLocal.size());
    return name;
}

namespace {

// The full names of a database's files. Names in the database's own folder (all but those
// of another root, "${Root_N}\\...") share one prefix, made once instead of once a file.
class FullNames {
public:
    FullNames(const TDatabaseInfo& db, const TConnectionSettings& place) : db_(db), place_(place) {
        const std::string probe = FullFileName(db, "x", place);
        shared_ = !db.IsProjectDatabase && probe.ends_with('x');
        if (shared_) prefix_ = probe.substr(0, probe.size() - 1);
    }

    std::string operator()(const std::string& name) const {
        // A name ending in "." loses it: also left to the library.
        if (!shared_ || name.empty() || name.starts_with('$') || name.back() == '.')
            return FullFileName(db_, name, place_);
        std::string full;
        full.reserve(prefix_.size() + name.size());
        full += prefix_;
        full += name;
        return full;
    }

private:
    const TDatabaseInfo& db_;
    const TConnectionSettings& place_;
    bool shared_ = false;
    std::string prefix_;
};

}  // namespace

std::vector<File> TakeSortedFiles(TLevelFilesList& list, const TDatabaseInfo& db,
                                  const TConnectionSettings& place) {
    // Named by their level types, the path values sort the files by field, then by well, and
    // so on down; the files of one place by name.
    std::vector<std::string> types;
    for (const TDbStructItem& item : db.Structure.Items)
        types.push_back(LowerCase(item.Type));
    const std::vector<std::uint32_t> order = SmartSortOrder(list, types);
    std::vector<std::uint32_t> position(order.size());  // where each file goes
    for (std::uint32_t k = 0; k < order.size(); ++k)
        position[order[k]] = k;

    // Taken from the end in the order they arrived (and lie in memory), each file's strings
    // are moved into its value and the file is freed.
    const FullNames fullName(db, place);
    std::vector<File> files(order.size());
    for (int i = list.GetCount() - 1; i >= 0; --i) {
        const std::unique_ptr<TLevelFile> taken = list.Files.Extract(i);
        File& file = files[position[static_cast<std::size_t>(i)]];
        file.full_name = fullName(taken->Name);
        file.name = std::move(taken->Name);
        file.path = TakeLines(taken->PathValues);
        file.type = taken->FileType;
        file.trunk = std::move(taken->TrunkId);
        file.main = taken->IsMain;
        file.flags = taken->Flags;
        file.rights = taken->UserRights;
    }
    return files;
}

}  // namespace ostradb::detail

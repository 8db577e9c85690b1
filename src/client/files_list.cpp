#include "client/files_list.hpp"

#include <algorithm>
#include <memory>

#include "client/session.hpp"
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

std::vector<File> TakeSortedFiles(TLevelFilesList& list, const TDatabaseInfo& db,
                                  const TConnectionSettings& place) {
    // Named by their level types, the path values sort the files by field, then by well, and
    // so on down.
    const TDbStruct& structure = db.Structure;
    std::vector<std::string> types;
    for (const TDbStructItem& item : structure.Items)
        types.push_back(LowerCase(item.Type) + "=");
    for (TLevelFile& file : list.Files)
        if (file.PathNames.Empty() && file.PathValues.Count() == static_cast<int>(types.size()))
            for (int i = 0; i < file.PathValues.Count(); ++i)
                file.PathNames.Add(types[static_cast<std::size_t>(i)] + file.PathValues[i]);
    list.SmartSort();

    // Taken from the end, each file's strings are moved into its value and the file is freed.
    std::vector<File> files(static_cast<std::size_t>(list.GetCount()));
    for (int i = list.GetCount() - 1; i >= 0; --i) {
        const std::unique_ptr<TLevelFile> taken = list.Files.Extract(i);
        File& file = files[static_cast<std::size_t>(i)];
        file.full_name = FullFileName(db, taken->Name, place);
        file.name = std::move(taken->Name);
        file.path = TakeLines(taken->PathValues);
        file.type = taken->FileType;
        file.trunk = std::move(taken->TrunkId);
        file.main = taken->IsMain;
        file.flags = taken->Flags;
        file.rights = taken->UserRights;
    }
    // SmartSort orders the places but is not stable: the files of one place by name.
    for (auto begin = files.begin(); begin != files.end();) {
        const auto end =
            std::find_if(begin, files.end(), [&](const File& f) { return f.path != begin->path; });
        std::sort(begin, end, [](const File& a, const File& b) { return a.name < b.name; });
        begin = end;
    }
    return files;
}

}  // namespace ostradb::detail

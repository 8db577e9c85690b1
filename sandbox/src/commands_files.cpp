// Reading, writing, moving and deleting files, and what the server tells about them.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <memory>
#include <system_error>

#include "atomic_file.hpp"
#include "commands.hpp"
#include "name_resolver.hpp"
#include "ws_files.hpp"

namespace ostradb::sandbox {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kChunkSize = std::size_t{256} << 10;
// Day 0 is 30 December 1899; the Unix epoch is day 25569.
constexpr double kUnixEpochDay = 25569.0;

double LocalDayCount(const timespec& time) {
    std::tm local{};
    localtime_r(&time.tv_sec, &local);
    const double seconds = static_cast<double>(time.tv_sec + local.tm_gmtoff) +
                           static_cast<double>(time.tv_nsec) / 1e9;
    return kUnixEpochDay + seconds / 86400.0;
}

bool IsRegularFile(const fs::path& path) {
    std::error_code ec;
    return fs::is_regular_file(path, ec);
}

// Removes the folders that a deletion or move left empty, up to the database's directory.
void RemoveEmptyFolders(const ResolvedName& name) {
    std::error_code ec;
    for (fs::path dir = name.path.parent_path(); dir != name.base && dir.has_relative_path();
         dir = dir.parent_path()) {
        if (!fs::is_empty(dir, ec) || ec || !fs::remove(dir, ec)) break;
    }
}

std::uint32_t FileRights(const CommandContext& ctx, const fs::path& path) {
    std::uint32_t rights = ctx.session.rights;
    // A file the server cannot write is read-only for everybody.
    if (::access(path.c_str(), W_OK) != 0 && errno == EACCES) rights &= ~(1u << urChangeData);
    return rights;
}

}  // namespace

void GetFileContents(CommandContext& ctx) {
    const std::string name = RequiredAttr(ctx.command, "file_name");
    const ResolvedName file = ResolveFileName(*ctx.catalog, name);
    const int fd = ::open(file.path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        throw Refusal(errno == ENOENT || errno == ENOTDIR ? ecFileNotFound : ecCannotOpenFile,
                      name);
    struct statx st {};
    if (::statx(fd, "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &st) != 0 ||
        !S_ISREG(st.stx_mode)) {
        ::close(fd);
        throw Refusal(ecFileNotFound, name);
    }
    ctx.answerFile = std::make_unique<AnswerFile>(fd, st.stx_size);
    auto day = [](const statx_timestamp& t) {
        return LocalDayCount(timespec{static_cast<time_t>(t.tv_sec), static_cast<long>(t.tv_nsec)});
    };
    SetText(ctx.answer, "RealFileName", file.path.string());
    pugi::xml_node times = ctx.answer.append_child("FileTimes");
    SetNumber(times, "CreateTime", day((st.stx_mask & STATX_BTIME) ? st.stx_btime : st.stx_mtime));
    SetNumber(times, "WriteTime", day(st.stx_mtime));
    SetNumber(times, "AccessTime", day(st.stx_atime));
}

void PutFileContents(CommandContext& ctx) {
    const std::string name = RequiredAttr(ctx.command, "file_name");
    const ResolvedName file = ResolveFileName(*ctx.catalog, name);
    std::error_code ec;
    if (fs::is_directory(file.path, ec)) throw Refusal(ecCannotCreateFile, name);
    // Changing a file's data and adding a file are different rights.
    ctx.Require(IsRegularFile(file.path) ? urChangeData : urChangeLevels);
    fs::create_directories(file.path.parent_path(), ec);
    if (ec) throw Refusal(ecCannotCreateDirectory, file.path.parent_path().string());

    std::unique_ptr<AtomicFileWriter> writer;
    try {
        writer = std::make_unique<AtomicFileWriter>(file.path);
    } catch (const fs::filesystem_error&) {
        throw Refusal(ecCannotCreateFile, name);
    }
    auto buffer = std::make_unique_for_overwrite<char[]>(kChunkSize);
    try {
        while (const std::size_t n = ctx.payload.Read(buffer.get(), kChunkSize))
            writer->Write(buffer.get(), n);
        writer->Commit();
    } catch (const fs::filesystem_error&) {
        throw Refusal(ecCannotWriteFile, name);
    }
}

void FileExists(CommandContext& ctx) {
    const ResolvedName file = ResolveFileName(*ctx.catalog, RequiredAttr(ctx.command, "file_name"));
    ctx.answer.append_attribute("result") = IsRegularFile(file.path) ? "True" : "False";
}

void GetFileRights(CommandContext& ctx) {
    const ResolvedName file = ResolveFileName(*ctx.catalog, RequiredAttr(ctx.command, "file_name"));
    ctx.answer.append_attribute("rights") = FileRights(ctx, file.path);
}

void GetSimpleFilesInfo(CommandContext& ctx) {
    pugi::xml_node result = ctx.answer.append_child("Result");
    for (const std::string& name : ListArg(ctx.command, "FileNames")) {
        const ResolvedName file = ResolveFileName(*ctx.catalog, name);
        if (!IsRegularFile(file.path)) continue;
        const std::uint32_t rights = FileRights(ctx, file.path);
        pugi::xml_node item = result.append_child("Item");
        SetText(item, "FileName", name);
        item.append_attribute("Database") = file.db->id;
        item.append_attribute("IsReadOnly") = (rights & (1u << urChangeData)) ? 0 : 1;
        item.append_attribute("FileRights") = rights;
    }
}

void DeleteFiles(CommandContext& ctx) {
    pugi::xml_node log = ctx.answer.append_child("Log");
    for (const std::string& name : ListArg(ctx.command, "FileNames")) {
        std::uint8_t code = ecSuccess;
        try {
            const ResolvedName file = ResolveFileName(*ctx.catalog, name);
            if (!IsRegularFile(file.path)) throw CommandError(ecFileNotFound);
            if (::unlink(file.path.c_str()) != 0) throw CommandError(ecCannotDeleteFile);
            ::unlink(SidePath(file.path).c_str());
            SyncDirectory(file.path.parent_path());
            RemoveEmptyFolders(file);
        } catch (const CommandError& e) {
            code = e.Code();
        }
        pugi::xml_node item = log.append_child("Item");
        SetText(item, "ItemName", name);
        item.append_attribute("Result") = code;
    }
}

void MoveFile(CommandContext& ctx) {
    const std::string source = RequiredAttr(ctx.command, "ScrFileName");
    const std::string target = RequiredAttr(ctx.command, "DstFileName");
    const ResolvedName from = ResolveFileName(*ctx.catalog, source);
    const ResolvedName to = ResolveFileName(*ctx.catalog, target);
    if (!IsRegularFile(from.path)) throw Refusal(ecFileNotFound, source);
    std::error_code ec;
    if (fs::exists(to.path, ec)) throw Refusal(ecCannotCreateFile, target);
    fs::create_directories(to.path.parent_path(), ec);
    if (ec) throw Refusal(ecCannotCreateDirectory, to.path.parent_path().string());
    // Each rename is atomic, and never replaces a file that appeared meanwhile; the side file
    // follows its ws file.
    int moved =
        ::renameat2(AT_FDCWD, from.path.c_str(), AT_FDCWD, to.path.c_str(), RENAME_NOREPLACE);
    if (moved != 0 && errno == EINVAL) moved = ::rename(from.path.c_str(), to.path.c_str());
    if (moved != 0) throw Refusal(errno == EEXIST ? ecCannotCreateFile : ecCannotWriteFile, target);
    const fs::path side = SidePath(from.path);
    if (fs::exists(side, ec)) ::rename(side.c_str(), SidePath(to.path).c_str());
    SyncDirectory(to.path.parent_path());
    SyncDirectory(from.path.parent_path());
    RemoveEmptyFolders(from);
}

}  // namespace ostradb::sandbox

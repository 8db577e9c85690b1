// File contents in and out, and the commands on server files.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <istream>
#include <memory>
#include <ostream>
#include <vector>

#include "client/session.hpp"
#include "client/transfer_streams.hpp"
#include "ostradb/client/atomic_file.hpp"
#include "ostradb/protocol/file_commands.hpp"
#include "ostradb/util/file_names.hpp"
#include "protocol/scope_exit.hpp"

namespace ostradb {

namespace fs = std::filesystem;

namespace {

using detail::ClientSession;

// A stream that cannot seek, copied into a file of its own that is gone once closed.
class Spool {
public:
    explicit Spool(std::istream& in) {
        std::string pattern = (fs::temp_directory_path() / "ostradb-put-XXXXXX").string();
        const int fd = ::mkostemp(pattern.data(), O_CLOEXEC);
        if (fd < 0)
            throw EFileError("cannot create a temporary file in \"" +
                             fs::temp_directory_path().string() + "\": " + std::strerror(errno));
        ::close(fd);
        file_.open(pattern, std::ios::in | std::ios::out | std::ios::binary | std::ios::trunc);
        ::unlink(pattern.c_str());
        if (!file_) throw EFileError("cannot write the temporary file \"" + pattern + "\"");
        // An empty stream puts no bytes and sets failbit; that is not a failure.
        if (in.peek() != std::char_traits<char>::eof()) file_ << in.rdbuf();
        if (in.bad() || !file_.flush())
            throw EFileError("cannot copy the data to send into \"" + pattern + "\"");
    }
    std::iostream& Stream() { return file_; }

private:
    std::fstream file_;
};

bool CanSeek(std::istream& in) {
    in.clear();
    return in.rdbuf() && in.rdbuf()->pubseekoff(0, std::ios::end, std::ios::in) != -1;
}

// Runs a transfer's request. A failure that may leave payload bytes on the connection (a
// stream that broke off, the connection lost half-way) resets the connection, so that the
// next request starts afresh; the progress callback's own exception goes before the failure
// it caused.
template <class F>
void Transfer(ClientSession& s, const detail::ProgressReport& report, F&& request) {
    try {
        request();
        // All the bytes may have come before the callback's failure could stop them.
        report.RethrowIfFailed();
    } catch (const TOstraClientSocketException&) {
        report.RethrowIfFailed();
        throw;
    } catch (...) {
        s.protocol.Disconnect();
        report.RethrowIfFailed();
        throw;
    }
}

std::string DeletionMessage(std::uint8_t code) {
    if (code == 0) return "deleted";
    const std::string text = DbErrCodeToString(static_cast<EOstraClientSocketExceptionCodes>(code));
    return (text.empty() ? std::string("failed") : text) + " (server code " + std::to_string(code) +
           ")";
}

}  // namespace

std::int64_t Client::get(const std::string& file, std::ostream& out, ProgressCallback progress) {
    if (!out.rdbuf()) throw EArgumentError("get: the stream has no buffer to write to");
    ClientSession& s = session();
    return detail::Run(s, [&] {
        detail::ProgressReport report(std::move(progress), s.protocol);
        detail::CountingOutBuf counted(*out.rdbuf(), [&](std::int64_t n) { report.Done(n); });
        std::ostream stream(&counted);
        s.payloadSize = [&](std::int64_t size) { report.SetTotal(size); };
        const detail::ScopeExit stopWatching([&] { s.payloadSize = nullptr; });
        Transfer(s, report, [&] { s.protocol.GetFileContents(file, &stream); });
        if (!stream.flush()) throw Error("get: writing to the stream failed");
        return counted.Count();
    });
}

fs::path Client::download_path(const std::string& file, const fs::path& destination) {
    std::error_code ec;
    if (fs::is_directory(destination, ec)) return destination / ExtractFileName(file);
    return destination;
}

std::int64_t Client::get(const std::string& file, const fs::path& destination,
                         ProgressCallback progress) {
    AtomicFile out(download_path(file, destination));
    const std::int64_t bytes = get(file, out.stream(), std::move(progress));
    out.commit();
    return bytes;
}

std::int64_t Client::put(const std::string& file, std::istream& in, ProgressCallback progress) {
    std::unique_ptr<Spool> spool;
    std::istream* source = &in;
    if (!CanSeek(in)) {
        spool = std::make_unique<Spool>(in);
        source = &spool->Stream();
    }
    const std::streamoff size = source->rdbuf()->pubseekoff(0, std::ios::end, std::ios::in);
    ClientSession& s = session();
    return detail::Run(s, [&] {
        detail::ProgressReport report(std::move(progress), s.protocol);
        report.SetTotal(size);
        detail::CountingInBuf counted(*source->rdbuf(), [&](std::int64_t n) { report.Done(n); });
        std::istream stream(&counted);
        Transfer(s, report, [&] { s.protocol.PutFileContents(file, &stream); });
        return static_cast<std::int64_t>(size);
    });
}

std::int64_t Client::put(const std::string& file, const fs::path& source,
                         ProgressCallback progress) {
    std::ifstream in(source, std::ios::binary);
    if (!in) throw EFileError("cannot read \"" + source.string() + "\": " + std::strerror(errno));
    return put(file, in, std::move(progress));
}

std::int64_t Client::put_bytes(const std::string& file, std::string_view bytes,
                               ProgressCallback progress) {
    detail::BytesInBuf buffer(bytes);
    std::istream in(&buffer);
    return put(file, in, std::move(progress));
}

bool Client::exists(const std::string& file) {
    ClientSession& s = session();
    return detail::Run(s, [&] { return s.protocol.FileExists(file); });
}

std::vector<FileResult> Client::remove(const std::vector<std::string>& files) {
    ClientSession& s = session();
    return detail::Run(s, [&] {
        TSimpleResultLog log;
        s.protocol.DeleteFiles(TStringList(files), log);
        std::vector<FileResult> results;
        for (TSimpleResultLogRec& rec : log)
            results.push_back({std::move(rec.ItemName), rec.Result == 0, rec.Result,
                               DeletionMessage(rec.Result)});
        return results;
    });
}

void Client::move(const std::string& from, const std::string& to) {
    ClientSession& s = session();
    detail::Run(s, [&] { s.protocol.MoveFile(from, to); });
}

}  // namespace ostradb

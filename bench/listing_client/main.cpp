// One measurement of a listing in a process of its own, so that its peak resident memory is
// the whole process's: ostradb_bench_listing PORT MODE RUNS FILES
//   MODE library:   RequestFiles with tables and curves into a TLevelFilesList;
//   MODE paths:     RequestFiles with the level paths only (what the command-line client
//                   asks for);
//   MODE search:    a search of every file into a string list;
//   MODE reference: the request's bytes written to a socket, the answer read into a growing
//                   buffer and parsed in place by pugixml (the least a reader of a whole
//                   answer does; nothing is built from it).
// With RUNS above 1 the process keeps the memory it frees (no trimming, no mmap for large
// blocks) and repeats, so that later runs fault in no new pages. Prints the best run's
// milliseconds, the peak resident size in KiB, the heap the last result holds in bytes, and
// the files counted.

#include <arpa/inet.h>
#include <malloc.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "ostradb/model/level_files.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/protocol/search_commands.hpp"

namespace {

constexpr std::string_view kRequest =
    "<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n<packet version=\"1\">\r\n"
    "  <command cmd=\"get_log_level_files\" db_id=\"1\"/>\r\n</packet>\r\n";
constexpr std::string_view kEnd = "</packet>\r\n";

[[noreturn]] void Die(const char* what) {
    std::perror(what);
    std::exit(2);
}

std::size_t Reference(int fd) {
    for (std::size_t sent = 0; sent < kRequest.size();) {
        const ssize_t n = send(fd, kRequest.data() + sent, kRequest.size() - sent, 0);
        if (n <= 0) Die("send");
        sent += static_cast<std::size_t>(n);
    }
    std::string buffer;
    std::size_t used = 0;
    for (;;) {
        if (buffer.size() - used < (64u << 10))
            buffer.resize(std::max<std::size_t>(buffer.size() * 2, 1u << 20));
        const ssize_t n = recv(fd, buffer.data() + used, buffer.size() - used, 0);
        if (n <= 0) Die("recv");
        used += static_cast<std::size_t>(n);
        if (used >= kEnd.size() &&
            std::string_view(buffer.data() + used - kEnd.size(), kEnd.size()) == kEnd)
            break;
    }
    pugi::xml_document doc;
    if (!doc.load_buffer_inplace(buffer.data(), used, pugi::parse_default, pugi::encoding_utf8))
        Die("parse");
    std::size_t files = 0;
    for (pugi::xml_node f : doc.document_element().child("answer").children("file"))
        files += static_cast<bool>(f);
    return files;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s PORT library|paths|search|reference RUNS\n", argv[0]);
        return 2;
    }
    const int port = std::atoi(argv[1]);
    const std::string mode = argv[2];
    const int runs = std::atoi(argv[3]);
    if (runs > 1) {
        mallopt(M_MMAP_THRESHOLD, 1 << 30);
        mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    }
    double best = 1e300;
    std::size_t files = 0, held = 0;
    ostradb::TOstraDbProtocol client;
    client.SetHostPort("127.0.0.1", port);
    int fd = -1;
    if (mode == "reference") {
        fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_port = htons(static_cast<std::uint16_t>(port));
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (fd < 0 || connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0)
            Die("connect");
    }
    for (int r = 0; r < runs; ++r) {
        const std::size_t heapBefore = mallinfo2().uordblks;
        const auto start = std::chrono::steady_clock::now();
        if (fd >= 0) {
            files = Reference(fd);
        } else if (mode == "search") {
            ostradb::TSearchRequest request;
            request.ReadFromSimpleText("*\r\n\r\nwell=*\r\n");
            ostradb::TStringList found;
            client.Search(request, found);
            files = static_cast<std::size_t>(found.Count());
            held = mallinfo2().uordblks - heapBefore;
        } else {
            ostradb::TLevelFilesList list;
            ostradb::TReqFilesFlags flags = {ostradb::rffInclFilePath};
            if (mode == "library")
                flags.Include(ostradb::rffInclTables).Include(ostradb::rffInclCurves);
            client.RequestFiles(list, 1, {}, flags, "");
            files = static_cast<std::size_t>(list.GetCount());
            held = mallinfo2().uordblks - heapBefore;
        }
        best = std::min(best, std::chrono::duration<double, std::milli>(
                                  std::chrono::steady_clock::now() - start)
                                  .count());
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("%.3f %ld %zu %zu\n", best, usage.ru_maxrss, held, files);
    if (fd >= 0) close(fd);
    return 0;
}

#include "listing_harness.hpp"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "level_names.hpp"
#include "protocol/wire.hpp"

extern char** environ;

namespace ostradb::bench {

namespace {

const char* const kCurves[] = {"ГК", "НГК", "ПС", "КС", "ДС", "ИК", "БК", "АК"};
const char* const kPlanshets[] = {"Основной", "Корреляция"};

std::uint64_t Mix(std::uint64_t x) {
    x += 0x9E3779B97F4A7C15u;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
    return x ^ (x >> 31);
}

// The same random numbers for file i every time.
class Draw {
public:
    explicit Draw(int i) : r_(Mix(static_cast<std::uint64_t>(i))) {}
    unsigned operator()(unsigned n) {
        r_ = Mix(r_);
        return static_cast<unsigned>(r_ % n);
    }

private:
    std::uint64_t r_;
};

// Where file i lies: its level values.
struct Place {
    const char* field;
    unsigned area, well;
    const char* suffix;
    const char* survey;
};

Place PlaceOf(Draw& next) {
    Place p{};
    p.field = kFields[next(std::size(kFields))];
    p.area = next(12) + 1;
    p.well = next(4000) + 1;
    p.suffix = next(5) == 0 ? "а" : "";
    p.survey = kSurveys[next(std::size(kSurveys))];
    return p;
}

// File i of the listing, as the sandbox writes it.
void AppendFile(std::string& out, int i, bool tables) {
    Draw next(i);
    const Place p = PlaceOf(next);
    char buf[1024];
    std::snprintf(buf, sizeof buf,
                  "<file extra_path=\"\" name=\"%u%s_gis_%07d.ws\" type=\"1\" trunk_id=\"T-%u%s\" "
                  "is_main=\"%s\" file_id=\"%d\" flags=\"0\" UserRights=\"127\">"
                  "<params><param key=\"Оператор\" value=\"Партия %u\"/>"
                  "<param key=\"Дата\" value=\"%u\"/></params>"
                  "<path><item value=\"%s\"/><item value=\"Площадь %u\"/>"
                  "<item value=\"%u%s\"/><item value=\"%s\"/></path>",
                  p.well, p.suffix, i, p.well, p.suffix, i % 3 ? "false" : "true", i, next(40) + 1,
                  2000 + next(24), p.field, p.area, p.well, p.suffix, p.survey);
    out += buf;
    if (tables) {
        out += "<table name=\"ГИС\"><data>";
        for (int c = 0; c < 3; ++c) {
            const unsigned top = next(2000) + 500;
            std::snprintf(buf, sizeof buf,
                          "<curve name=\"%s\" start=\"%u\" stop=\"%u.4\" step=\"0.1\" nvers=\"1\" "
                          "keystr=\"\" dclass=\"1\" table=\"ГИС\"><planshets><item name=\"%s\"/>"
                          "</planshets></curve>",
                          kCurves[next(std::size(kCurves))], top, top + 800,
                          kPlanshets[next(std::size(kPlanshets))]);
            out += buf;
        }
        out += "</data></table>";
    }
    out += "</file>\n";
}

// The full name of file i as a search finds it.
void AppendFound(std::string& out, int i) {
    Draw next(i);
    const Place p = PlaceOf(next);
    char buf[512];
    std::snprintf(buf, sizeof buf,
                  "<file filename=\"/srv/ostradb/west-siberia/%s/Площадь %u/%u%s/%s/"
                  "%u%s_gis_%07d.ws\"/>\n",
                  p.field, p.area, p.well, p.suffix, p.survey, p.well, p.suffix, i);
    out += buf;
}

// The answers of the commands a client sends before it lists files.
std::string SmallAnswer(const std::string& request) {
    std::string body;
    if (request.find("\"generate_auth_value\"") != std::string::npos) {
        body = "<answer result=\"0123456789abcdef0123456789abcdef\"/>";
    } else if (request.find("\"login\"") != std::string::npos) {
        body = "<answer rights=\"127\"/>";
    } else if (request.find("\"get_db_list\"") != std::string::npos) {
        body = std::string("<answer><databases><item id=\"1\" name=\"") + kDatabase +
               "\" path=\"/srv/ostradb/west-siberia/\" ext_path=\"\" is_private=\"false\">"
               "<path_list/><roots/></item></databases></answer>";
    } else if (request.find("\"get_db_struct\"") != std::string::npos) {
        body = "<answer><DbStructData dir_count=\"4\" main_file_type=\"1\"><struct_items>";
        for (const char* level : {"%field", "%area", "%well", "%survey"})
            body += std::string("<Item type=\"") + level +
                    "\" df_view=\"\" ex_type=\"1\" real_name=\"\" no_data=\"\" dict_name=\"\" "
                    "dict_col1=\"-1\" dict_col2=\"-1\" search_link=\"\" use_dict=\"false\" "
                    "df_real=\"\" is_key=\"true\"/>";
        body += "</struct_items></DbStructData></answer>";
    } else {
        return {};
    }
    return wire::EncodeText("<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n<packet>" + body +
                            "</packet>\r\n");
}

}  // namespace

std::string FilesBytes(int from, int to, bool tables) {
    std::string utf8;
    for (int i = from; i < to; ++i)
        AppendFile(utf8, i, tables);
    return wire::EncodeText(utf8);
}

int ListenOnLoopback(int& port) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&addr), len) != 0 || listen(fd, 4) != 0 ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) != 0)
        std::abort();
    port = ntohs(addr.sin_port);
    return fd;
}

bool SendAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (n <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

ListingServer::ListingServer(int files, std::string_view whole, std::int64_t payload)
    : files_(files), whole_(whole), payload_(payload) {
    listener_ = ListenOnLoopback(port_);
    thread_ = std::thread([this] { Serve(); });
}

ListingServer::~ListingServer() {
    shutdown(listener_, SHUT_RDWR);
    close(listener_);
    thread_.join();
}

void ListingServer::Serve() {
    for (;;) {
        const int fd = accept(listener_, nullptr, nullptr);
        if (fd < 0) return;
        std::string request;
        char buf[4096];
        for (;;) {
            const ssize_t n = recv(fd, buf, sizeof buf, 0);
            if (n <= 0) break;
            request.append(buf, static_cast<std::size_t>(n));
            if (request.find("</packet>\r\n") == std::string::npos) continue;
            const bool ok = Answer(fd, request);
            request.clear();
            if (!ok) break;
        }
        close(fd);
    }
}

bool ListingServer::Answer(int fd, const std::string& request) {
    std::size_t total = 0;
    auto put = [&](std::string_view bytes) {
        total += bytes.size();
        return SendAll(fd, bytes);
    };
    if (const std::string small = SmallAnswer(request); !small.empty()) return put(small);
    if (request.find("\"get_file_contents\"") != std::string::npos) {
        static const std::string chunk(std::size_t{1} << 20, 'p');
        bool ok = SendAll(fd,
                          "<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n"
                          "<packet bin_data_size=\"" +
                              std::to_string(payload_) + "\">\r\n<answer/>\r\n</packet>\r\n");
        for (std::int64_t left = payload_; ok && left > 0; left -= std::ssize(chunk))
            ok = SendAll(
                fd,
                std::string_view(chunk).substr(
                    0, static_cast<std::size_t>(std::min<std::int64_t>(left, std::ssize(chunk)))));
        return ok;
    }
    const bool search = request.find("\"search\"") != std::string::npos;
    if (!search && request.find("\"get_log_level_files\"") == std::string::npos)
        return put(
            "<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n<packet><answer/>"
            "</packet>\r\n");
    const bool tables = request.find("include_tables=\"true\"") != std::string::npos;
    bool ok = true;
    if (!whole_.empty() && !search && tables) {
        ok = put(whole_);
    } else {
        ok = put(kHead);
        std::string utf8;
        for (int i = 0; ok && i < files_; i += 1000) {
            utf8.clear();
            for (int f = i; f < std::min(files_, i + 1000); ++f)
                search ? AppendFound(utf8, f) : AppendFile(utf8, f, tables);
            ok = put(wire::EncodeText(utf8));
        }
        ok = ok && put(kTail);
    }
    answerBytes_ = total;
    return ok;
}

ChildRun RunChild(const std::vector<std::string>& argv, const std::vector<std::string>& env,
                  std::size_t firstLines) {
    ChildRun run;
    std::vector<char*> args, envp;
    for (const std::string& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    for (const std::string& e : env)
        envp.push_back(const_cast<char*>(e.c_str()));
    envp.push_back(nullptr);
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return run;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
    const auto start = std::chrono::steady_clock::now();
    auto since = [&] {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
            .count();
    };
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(fds[1]);
    static char buf[1 << 16];
    for (ssize_t n; (n = read(fds[0], buf, sizeof buf)) > 0;) {
        const std::size_t size = static_cast<std::size_t>(n);
        if (run.out.size() < sizeof buf)
            run.out.append(buf, std::min(size, sizeof buf - run.out.size()));
        const std::size_t before = run.lines;
        run.lines += static_cast<std::size_t>(std::count(buf, buf + size, '\n'));
        if (before < firstLines && run.lines >= firstLines) run.firstLinesMs = since();
    }
    close(fds[0]);
    if (spawned != 0) return run;
    int status = 0;
    waitpid(pid, &status, 0);
    run.endMs = since();
    run.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return run;
}

std::vector<std::string> Environment() {
    std::vector<std::string> env;
    for (char** e = environ; *e; ++e)
        env.emplace_back(*e);
    return env;
}

bool RunListing(int port, const char* mode, int runs, Report& out) {
    const ChildRun run = RunChild(
        {OSTRADB_BENCH_LISTING, std::to_string(port), mode, std::to_string(runs)}, Environment());
    return run.ok &&
           std::sscanf(run.out.c_str(), "%lf %lf %lf %lf", &out[0], &out[1], &out[2], &out[3]) == 4;
}

}  // namespace ostradb::bench

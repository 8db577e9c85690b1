// The high-level client against a sandbox in the test's process: look-ups by the names people
// use, sorted listings, transfers that keep the caller's files whole, progress and time-outs.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "ostradb/client/client.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/util/well_names.hpp"
#include "ostradb_sandbox/sandbox_server.hpp"
#include "support/files.hpp"
#include "support/scripted_server.hpp"

namespace ostradb {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

using test::BinaryBytes;
using test::ReadFile;

// A stream that cannot seek, as a pipe is.
class PipeBuf : public std::stringbuf {
public:
    using std::stringbuf::stringbuf;

protected:
    pos_type seekoff(off_type, std::ios_base::seekdir, std::ios_base::openmode) override {
        return pos_type(off_type(-1));
    }
    pos_type seekpos(pos_type, std::ios_base::openmode) override { return pos_type(off_type(-1)); }
};

// A stream that knows its size but breaks off after 1000 bytes, as a failing disk does.
class BrokenBuf : public std::stringbuf {
public:
    using std::stringbuf::stringbuf;

protected:
    std::streamsize xsgetn(char* s, std::streamsize n) override {
        return std::stringbuf::xsgetn(s, std::min<std::streamsize>(n, 1000 - (gptr() - eback())));
    }
};

class ClientTest : public ::testing::Test {
protected:
    ClientTest() {
        sandbox::SandboxOptions options;
        options.dataDir = dir / "data";
        server = std::make_unique<sandbox::SandboxServer>(options);
        server->Start();
    }

    Client Connect() {
        return Client::connect(
            {.host = "127.0.0.1", .port = server->Port(), .user = "admin", .password = "admin"});
    }
    fs::path NorthSea(const std::string& relative) const {
        return dir / "data/databases/north-sea-demo" / relative;
    }

    const test::TempDir tmp{"ostradb-client-test"};
    const fs::path dir = tmp.Path();
    std::unique_ptr<sandbox::SandboxServer> server;  // stopped before the directory goes
};

TEST_F(ClientTest, FindsDatabasesAndLevelPathsByNameIdOrAnyCase) {
    Client c = Connect();
    for (const char* name : {"North Sea Demo", "2", "nORTH sea DEMO"})
        EXPECT_EQ(c.find_database(name), c.databases().at(1)) << name;
    const Database db = c.find_database("north sea demo");
    ASSERT_EQ(db.levels.size(), 3u);
    EXPECT_EQ(db.levels[1], (StructureLevel{"%well", "Well", "Well", true, "text"}));

    std::string n1;
    for (const Level& well : c.levels(db, {"Eastfield"}))
        if (well.value == "N1") n1 = std::to_string(well.id);
    const struct {
        std::vector<std::string> path;
        std::string folder;
    } paths[] = {{{}, ""}, {{"EASTFIELD"}, "Eastfield"}, {{"eastfield", n1}, "Eastfield/N1"}};
    for (const auto& p : paths) {
        std::set<std::string> values;
        for (const Level& level : c.levels(db, p.path))
            values.insert(level.value);
        EXPECT_EQ(std::vector<std::string>(values.begin(), values.end()),
                  test::ListDir(NorthSea(p.folder)))
            << p.folder;
    }

    const struct {
        std::function<void()> call;
        ENotFoundError::Kind kind;
        std::string named;  // what the message offers instead
    } missing[] = {
        {[&] { c.find_database("Atlantis"); }, ENotFoundError::Kind::database,
         "\"North Sea Demo\""},
        {[&] {
             c.levels(db, {"Eastfield", "Z9"});
         },
         ENotFoundError::Kind::level_value, "\"N2\""},
        {[&] { c.file_stats(db, {}, "basin"); }, ENotFoundError::Kind::level, "%survey"},
        {[&] { c.set_user_groups("nobody", {}); }, ENotFoundError::Kind::user, "nobody"},
        {[&] { c.set_user_groups("viewer", {"Nobody"}); }, ENotFoundError::Kind::group,
         "\"Наблюдатели\""},
    };
    for (const auto& m : missing) {
        try {
            m.call();
            ADD_FAILURE() << "no error naming " << m.named;
        } catch (const ENotFoundError& e) {
            EXPECT_EQ(e.kind(), m.kind) << e.what();
            EXPECT_NE(std::string(e.what()).find(m.named), std::string::npos) << e.what();
        }
    }
}

TEST_F(ClientTest, FilesComeSortedByWellNameAndNameTheFilesGetReads) {
    Client c = Connect();
    const Database db = c.find_database("North Sea Demo");
    const std::vector<File> files = c.files(db, {"Eastfield"});
    ASSERT_FALSE(files.empty());
    std::vector<std::string> wells;
    for (std::size_t i = 0; i < files.size(); ++i) {
        const File& f = files[i];
        ASSERT_EQ(f.path.size(), 3u) << f.name;
        EXPECT_TRUE(fs::exists(f.full_name)) << f.full_name;
        if (wells.empty() || wells.back() != f.path[1]) wells.push_back(f.path[1]);
        if (i > 0 && files[i - 1].path == f.path) {
            EXPECT_LT(files[i - 1].name, f.name);
        }
    }
    std::vector<std::string> byWellName(wells);
    std::sort(byWellName.begin(), byWellName.end(),
              [](const auto& a, const auto& b) { return CompareWellNames(a, b) < 0; });
    EXPECT_EQ(wells, byWellName);
    EXPECT_EQ(std::set<std::string>(wells.begin(), wells.end()).size(), wells.size());

    std::ostringstream bytes;
    const std::int64_t size = c.get(files[0].full_name, bytes);
    EXPECT_EQ(bytes.str(), ReadFile(files[0].full_name));
    EXPECT_EQ(size, static_cast<std::int64_t>(bytes.str().size()));

    const auto reps = c.files(db, {}, {.filters = {"%well -> n1"}, .name = "*_rep*"});
    ASSERT_FALSE(reps.empty());
    for (const File& f : reps)
        EXPECT_TRUE(f.path[1] == "N1" && f.name.find("_rep") != std::string::npos) << f.full_name;
    EXPECT_THROW(c.files(db, {}, {.filters = {"%well N1"}}), EArgumentError);
    EXPECT_THROW(c.search(db, {"well"}), EArgumentError);
    // A database by id; the found files are those the listing has.
    const std::vector<std::string> found = c.search("2", "well=N1");
    std::set<std::string> listed;
    for (const File& f : c.files(db, {"Eastfield", "N1"}))
        listed.insert(f.full_name);
    EXPECT_EQ(std::set<std::string>(found.begin(), found.end()), listed);
}

TEST_F(ClientTest, TransfersMoveExactBytesAndAFailedDownloadKeepsTheOldFile) {
    Client c = Connect();
    const std::string bytes = BinaryBytes(300000);
    const fs::path local = dir / "local.bin";
    std::ofstream(local, std::ios::binary) << bytes;
    const std::string name = NorthSea("Eastfield/N1/Logging 2016/new.ws").string();

    const struct {
        const char* how;
        std::function<std::int64_t(ProgressCallback)> put;
    } puts[] = {
        {"bytes", [&](ProgressCallback p) { return c.put_bytes(name, bytes, p); }},
        {"path", [&](ProgressCallback p) { return c.put(name, local, p); }},
        {"pipe",
         [&](ProgressCallback p) {
             PipeBuf pipe(bytes);
             std::istream in(&pipe);
             return c.put(name, in, p);
         }},
    };
    for (const auto& p : puts) {
        fs::remove(name);
        std::pair<std::int64_t, std::int64_t> last{-1, -1};
        EXPECT_EQ(p.put([&](std::int64_t done, std::int64_t total) {
            last = {done, total};
        }),
                  300000)
            << p.how;
        EXPECT_EQ(last, std::make_pair(std::int64_t{300000}, std::int64_t{300000})) << p.how;
        EXPECT_EQ(ReadFile(name), bytes) << p.how;
    }

    // Into a path: a complete download replaces the file; a failed one leaves it as it was
    // and no temporary file behind.
    const fs::path out = dir / "out";
    fs::create_directories(out);
    const fs::path target = out / "copy.ws";
    std::ofstream(target) << "old";
    sandbox::FaultSwitches drop;
    drop.command = "get_file_contents";
    drop.dropAfterPayloadBytes = 100000;
    drop.times = 1;
    server->SetFaults(drop);
    const struct {
        const char* why;
        std::string file;
        ProgressCallback progress;
        std::string what;  // the message, when it is the test's own
    } failures[] = {
        {"connection dropped", name, nullptr, ""},
        {"no such file", name + ".missing", nullptr, ""},
        {"progress callback failed half-way", name,
         [](std::int64_t done, std::int64_t) {
             if (done > 50000) throw std::runtime_error("stop");
         },
         "stop"},
        {"progress callback failed at the last byte", name,
         [](std::int64_t done, std::int64_t total) {
             if (done == total) throw std::runtime_error("last");
         },
         "last"},
    };
    for (const auto& f : failures) {
        try {
            c.get(f.file, target, f.progress);
            ADD_FAILURE() << "no error: " << f.why;
        } catch (const std::exception& e) {
            if (!f.what.empty()) {
                EXPECT_EQ(e.what(), f.what);
            }
        }
        EXPECT_EQ(ReadFile(target), "old") << f.why;
        EXPECT_EQ(test::ListDir(out), std::vector<std::string>{"copy.ws"}) << f.why;
    }
    // And the session goes on.
    EXPECT_EQ(c.get(name, out), 300000);
    EXPECT_EQ(ReadFile(out / "new.ws"), bytes);
    EXPECT_EQ(c.get(name, target), 300000);
    EXPECT_EQ(ReadFile(target), bytes);

    // A source that breaks off: the upload ends at once, the file is as it was.
    BrokenBuf broken(std::string(5000, 'x'));
    std::istream in(&broken);
    EXPECT_THROW(c.put(name, in), Error);
    EXPECT_EQ(ReadFile(name), bytes);
    EXPECT_TRUE(c.exists(name));
}

TEST_F(ClientTest, JobProgressReachesTheCallbackAndTheSessionSurvivesAMove) {
    Client c = Connect();
    TOstraDbProtocol* protocol = &c.protocol();
    Client moved = std::move(c);
    EXPECT_EQ(&moved.protocol(), protocol);
    fs::create_directories(dir / "data/databases/added");
    std::vector<std::map<std::string, std::string>> reports;
    const Database added =
        moved.add_database({.name = "Added", .path = (dir / "data/databases/added").string()},
                           [&](const auto& info) { reports.push_back(info); });
    EXPECT_EQ(added.name, "Added");
    EXPECT_EQ(added.levels.size(), 3u);
    ASSERT_FALSE(reports.empty());
    EXPECT_EQ(reports.back().at("percent"), "100");
    EXPECT_NE(reports.back().at("text"), "");
    // A callback's exception ends the job's request instead of being swallowed by it.
    fs::create_directories(dir / "data/databases/other");
    EXPECT_THROW(
        moved.add_database({.name = "Other", .path = (dir / "data/databases/other").string()},
                           [](const auto&) { throw std::range_error("enough"); }),
        std::range_error);
    EXPECT_NE(moved.version(), "");
    EXPECT_THROW(c.version(), Error);
}

// Against a scripted server: progress packets count as signs of life, however long the job
// runs, and a server that stops answering ends the request with its address in the message.
TEST(ClientTimeout, ProgressKeepsAJobAliveAndSilenceEndsARequest) {
    test::ScriptedServer server;
    server.Expect("generate_auth_value").Reply(test::AnswerPacket(R"(result="R1")"));
    server.Expect("login").Reply(test::AnswerPacket(R"(rights="127")"));
    server.Expect("reload_bad_files");
    for (int percent = 25; percent <= 100; percent += 25)
        server.Pause(250ms).Reply(test::InfoPacket("percent=\"" + std::to_string(percent) + "\""));
    server.Reply(test::AnswerPacket());
    server.Expect("get_server_version").StallUntilClosed();

    Client c = Client::connect(
        {.host = "127.0.0.1", .port = server.Port(), .user = "u", .password = "p", .timeout = 0.4});
    std::vector<std::string> percents;
    c.reload_bad_files({.id = 1},
                       [&](const auto& info) { percents.push_back(info.at("percent")); });
    EXPECT_EQ(percents, (std::vector<std::string>{"25", "50", "75", "100"}));
    try {
        c.version();
        ADD_FAILURE() << "no time-out";
    } catch (const ETimeoutError& e) {
        const std::string message = e.what();
        EXPECT_NE(message.find("127.0.0.1:" + std::to_string(server.Port())), std::string::npos)
            << message;
        EXPECT_NE(message.find(" 0.4 s"), std::string::npos) << message;
    }
    server.Verify();
}

}  // namespace
}  // namespace ostradb

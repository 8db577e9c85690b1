// The commands that read what the server holds: their tables for people and their JSON for
// scripts, checked against the sandbox's data directory wherever the answer can be derived
// from it.

#include <pugixml.hpp>

#include <algorithm>
#include <cctype>
#include <set>

#include "cli/cli_support.hpp"
#include "support/render.hpp"

namespace ostradb::test {
namespace {

using nlohmann::json;
using test::Row;

class CatalogTest : public CliTest {
protected:
    // The sub-directories of a folder of the North Sea database: its level values.
    std::set<std::string> Folders(const std::string& relative) const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(NorthSea(relative)))
            if (entry.is_directory()) names.insert(entry.path().filename().string());
        return names;
    }
    // The server's names of the data files below a folder whose path contains part.
    std::set<std::string> DataFiles(const std::string& relative, const std::string& part) const {
        std::set<std::string> names;
        for (const auto& entry : fs::recursive_directory_iterator(NorthSea(relative)))
            if (entry.path().extension() == ".ws" &&
                entry.path().string().find(part) != std::string::npos)
                names.insert(entry.path().string());
        return names;
    }
    static std::set<std::string> Strings(const json& array, const char* key = nullptr) {
        std::set<std::string> items;
        for (const json& item : array)
            items.insert(key ? item.at(key).get<std::string>() : item.get<std::string>());
        return items;
    }

    const std::string logFile = NorthSea("Eastfield/N1/Logging 2016/N1_log_2016.ws");
};

TEST_F(CatalogTest, VersionDatabasesAndStructure) {
    const CliResult flag = RunCli({"--version"}, {});
    EXPECT_EQ(Row(flag.status, flag.out), Row(0, "ostradb " OSTRADB_VERSION_TEXT "\n"));
    const std::string where = "127.0.0.1:" + std::to_string(server->Port());
    EXPECT_EQ(Run({"version"}).out,
              "client  " OSTRADB_VERSION_TEXT "\nserver  0.1.0.0 at " + where + "\n");
    EXPECT_EQ(Json({"version"}), (json{{"client", OSTRADB_VERSION_TEXT},
                                       {"server", "0.1.0.0"},
                                       {"host", "127.0.0.1"},
                                       {"port", server->Port()}}));

    const json databases = Json({"databases"}).at("databases");
    ASSERT_EQ(databases.size(), 2u);
    EXPECT_EQ(databases[1], (json{{"id", 2},
                                  {"name", "North Sea Demo"},
                                  {"path", NorthSea("")},
                                  {"ext_path", ""},
                                  {"private", false}}));
    const auto lines = Lines(Run({"databases", "--structures"}).out);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_TRUE(lines[0].starts_with("ID  NAME             PATH") &&
                lines[1].starts_with(" 1  Западная Сибирь  ") &&
                lines[1].ends_with("  Месторождение > Скважина > Исследование") &&
                lines[2].find(NorthSea("")) != std::string::npos)
        << lines[0] << "\n"
        << lines[1] << "\n"
        << lines[2];

    // By name, by id, and by name in other letter case.
    for (const char* db : {"North Sea Demo", "2", "north sea demo"}) {
        const json doc = Json({"structure", db});
        EXPECT_EQ(doc.at("database"), (json{{"id", 2}, {"name", "North Sea Demo"}})) << db;
        ASSERT_EQ(doc.at("levels").size(), 3u) << db;
        EXPECT_EQ(doc["levels"][0],
                  (json{{"type", "%field"}, {"name", "Field"}, {"key", true}, {"kind", "text"}}));
    }
    EXPECT_EQ(Lines(Run({"structure", "1"}).out).at(1), "1  %field   Месторождение  yes  text");
}

// Every level below a path is a folder of the database on the server's disk.
TEST_F(CatalogTest, LevelsAreTheFoldersBelowAPath) {
    const struct {
        std::vector<std::string> path;
        std::string folder;
        std::string level;
    } cases[] = {{{}, "", "Field"},
                 {{"Eastfield"}, "Eastfield", "Well"},
                 {{"eastfield", "n1"}, "Eastfield/N1", "Survey"}};
    for (const auto& c : cases) {
        std::vector<std::string> args{"levels", "North Sea Demo"};
        args.insert(args.end(), c.path.begin(), c.path.end());
        const json doc = Json(args);
        EXPECT_EQ(doc.at("level").at("name"), c.level) << c.folder;
        EXPECT_EQ(Strings(doc.at("values"), "name"), Folders(c.folder)) << c.folder;

        const auto lines = Lines(Run(args).out);
        std::string header = c.level;
        std::transform(header.begin(), header.end(), header.begin(), ::toupper);
        EXPECT_EQ(lines.at(0) + std::to_string(lines.size()),
                  "ID  " + header + std::to_string(Folders(c.folder).size() + 1));
    }
    const CliResult missing = Run({"levels", "North Sea Demo", "Nowhere"});
    EXPECT_TRUE(missing.status == 1 && missing.err.find("\"Nowhere\"") != std::string::npos)
        << missing.err;
}

// files, search and stat: the files they find are the data files on disk.
TEST_F(CatalogTest, FilesSearchAndStatFindTheFilesOnDisk) {
    const json all = Json({"files", "2", "Eastfield"});
    EXPECT_EQ(Strings(all.at("files"), "file"), DataFiles("Eastfield", ""));
    EXPECT_EQ(all["files"][0].at("path"), (json{"Eastfield", "N1", "Cased hole 2021"}));
    EXPECT_EQ(all["files"][0].at("trunk"), "EAS-N1");

    const json filtered = Json({"files", "2", "--filter", "%well -> N1", "--name", "*_rep*"});
    EXPECT_EQ(Strings(filtered.at("files"), "file"), DataFiles("Eastfield/N1", "_rep"));
    const auto lines =
        Lines(Run({"files", "2", "--filter", "%well -> N1", "--name", "*_rep*"}).out);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0] + "\n" + lines[2],
              "FIELD      WELL  SURVEY           FILE\nEastfield  N1    Logging 2016     " +
                  logFile.substr(0, logFile.size() - 3) + "_rep.ws");

    const json found = Json({"search", "North Sea Demo", "well=N1"});
    EXPECT_EQ(Strings(found.at("files")), DataFiles("Eastfield/N1", ""));
    EXPECT_EQ(Run({"search", "2", "well=Z*"}).out, "(nothing found)\n");

    // One row per well: the number of its files.
    const json stat = Json({"stat", "2", "Eastfield", "--group", "well"});
    ASSERT_EQ(stat.at("rows").size(), Folders("Eastfield").size());
    for (const json& row : stat["rows"]) {
        const std::string well = row.at("texts").at(1);
        EXPECT_EQ(row.at("values").at(0), DataFiles("Eastfield/" + well, "").size()) << well;
    }
    const std::string tsv = Run({"stat", "2", "--group", "%well"}).out;
    EXPECT_NE(
        tsv.find("\tEastfield\tN2\t" + std::to_string(DataFiles("Eastfield/N2", "").size()) + "\t"),
        std::string::npos)
        << tsv;
    EXPECT_EQ(Run({"stat", "2", "--group", "basin"}).status, 2);
}

// tables, curves and plansheets of a file as its description on disk lists them.
TEST_F(CatalogTest, TablesCurvesAndPlansheetsOfAFile) {
    pugi::xml_document described;
    ASSERT_TRUE(described.load_file((logFile + ".xml").c_str()));
    const pugi::xml_node info = described.child("wsinfo");
    std::set<std::string> tables, curves, plansheets;
    for (pugi::xml_node table : info.children("table")) {
        tables.insert(table.attribute("name").value());
        for (pugi::xml_node curve : table.children("curve"))
            curves.insert(std::string(table.attribute("name").value()) + "/" +
                          curve.attribute("name").value());
    }
    for (pugi::xml_node sheet : info.children("planshet"))
        plansheets.insert(sheet.attribute("name").value());

    EXPECT_EQ(Strings(Json({"tables", logFile}).at("tables")), tables);
    EXPECT_EQ(Strings(Json({"plansheets", logFile}).at("plansheets")), plansheets);
    const json listed = Json({"curves", logFile}).at("curves");
    std::set<std::string> seen;
    for (const json& c : listed)
        seen.insert(c.at("table").get<std::string>() + "/" + c.at("curve").get<std::string>());
    EXPECT_EQ(seen, curves);
    EXPECT_EQ(listed[0], json::parse(R"({"curve": "GR", "table": "LOG", "version": "2",
        "count": 557, "units": "API", "top": 1826, "bottom": 1937, "step": 0})"));

    const auto lines = Lines(Run({"curves", logFile, "--table", "Strat"}).out);
    EXPECT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines.at(1), "Brent      Strat         1826    1852     0      0         1");
    // Two files: the curves name their files.
    const std::string other = NorthSea("Eastfield/N1/Logging 2016/N1_log_2016_rep.ws");
    EXPECT_EQ(Strings(Json({"curves", logFile, other}).at("curves"), "file"),
              (std::set<std::string>{logFile, other}));
}

TEST_F(CatalogTest, OptionsAndLogAsTheServerKeepsThem) {
    pugi::xml_document stored;
    ASSERT_TRUE(stored.load_file((dataDir / "options.xml").c_str()));
    json expected = json::array();
    for (pugi::xml_node item : stored.child("Options").children("Item"))
        expected.push_back(
            {{"name", item.attribute("Name").value()}, {"value", item.attribute("Value").value()}});
    EXPECT_EQ(Json({"options"}).at("options"), expected);
    EXPECT_EQ(Json({"options", "Log*,Max*"}).at("options").size(), 2u);
    EXPECT_EQ(Run({"options", "ServerName"}).out + Run({"option", "defaultdatabase"}).out,
              "NAME        VALUE\nServerName  Песочница разработчика\nЗападная Сибирь\n");

    // Each client run above logged in once; the log tells who and from where.
    const json log = Json({"log"}).at("log");
    ASSERT_GE(log.size(), 4u);
    for (const json& record : log) {
        EXPECT_EQ(record.at("user"), "admin");
        EXPECT_TRUE(record.at("address").get<std::string>().starts_with("127.0.0.1:")) << record;
        EXPECT_EQ(record.at("time").get<std::string>().size(), 19u) << record;
    }
    EXPECT_TRUE(Run({"log"}).out.starts_with("TIME                 TYPE  USER   ADDRESS"));
}

}  // namespace
}  // namespace ostradb::test

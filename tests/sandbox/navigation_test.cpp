// Walking a database from its levels down to its files, filters and search, checked against
// the data directory on disk.

#include <algorithm>
#include <set>
#include <tuple>

#include "sandbox/sandbox_fixture.hpp"

namespace ostradb::test {
namespace {

using Names = std::vector<std::string>;

// A ws file on disk: its level folder names and full name.
struct DiskFile {
    Names levels;
    std::string path;
};

// The ws files of a database's directory and roots as the test itself finds them.
std::vector<DiskFile> DiskFiles(const std::vector<fs::path>& bases) {
    std::vector<DiskFile> files;
    for (const fs::path& base : bases)
        for (const auto& entry : fs::recursive_directory_iterator(base)) {
            if (!entry.is_regular_file() || entry.path().extension() != ".ws") continue;
            DiskFile file{{}, entry.path().string()};
            for (const auto& part : entry.path().parent_path().lexically_relative(base))
                file.levels.push_back(part.string());
            files.push_back(std::move(file));
        }
    return files;
}

using Pred = std::function<bool(const DiskFile&)>;
// Files whose level number `level` is one of values.
Pred In(std::size_t level, std::set<std::string> values) {
    return [=](const DiskFile& f) { return values.count(f.levels[level]) > 0; };
}
// The full names of the files that pred accepts.
std::set<std::string> OnDisk(const std::vector<DiskFile>& files, const Pred& pred) {
    std::set<std::string> out;
    for (const DiskFile& f : files)
        if (pred(f)) out.insert(f.path);
    return out;
}

// A "Filter" element with one item.
Fill FilterOf(const char* param, Names values, const char* oper = "=", bool negate = false) {
    return [=](pugi::xml_node c) {
        pugi::xml_node item = c.append_child("Filter").append_child("Item");
        item.append_attribute("Param") = param;
        item.append_attribute("Oper") = oper;
        if (negate) item.append_attribute("Not") = "true";
        ItemList("Items", values)(item);
    };
}

// The database and the level path (ids of the level values from the top) of a request.
void AddPath(pugi::xml_node c, int db, const std::vector<int>& path) {
    c.append_attribute("db_id") = db;
    pugi::xml_node p = c.append_child("path");
    for (int id : path)
        p.append_child("item").append_attribute("id") = id;
}

class NavigationTest : public SandboxTest {
protected:
    NavigationTest() : client(Connect()) {
        westPath = DbPath(*client, kWestSiberia);
        west = DiskFiles({westPath, dataDir / "databases/west-siberia-archive"});
        north = DiskFiles({DbPath(*client, kNorthSea)});
    }

    // The level values below path: (id, name) in the server's order.
    std::vector<std::pair<int, std::string>> Levels(int db, const std::vector<int>& path,
                                                    const Fill& more = {}) {
        const detail::Answer ans = Call(*client, "get_log_level_values", [&](pugi::xml_node c) {
            AddPath(c, db, path);
            if (more) more(c);
        });
        std::vector<std::pair<int, std::string>> levels;
        for (pugi::xml_node item : ans.answer.child("level_values").children("item"))
            levels.emplace_back(item.attribute("id").as_int(), item.attribute("name").value());
        return levels;
    }
    int IdOf(const std::vector<std::pair<int, std::string>>& levels, const std::string& name) {
        for (const auto& [id, n] : levels)
            if (n == name) return id;
        ADD_FAILURE() << "no level " << name;
        return -1;
    }
    static Names NamesOf(const std::vector<std::pair<int, std::string>>& levels) {
        Names names;
        for (const auto& level : levels)
            names.push_back(level.second);
        return names;
    }
    detail::Answer Files(int db, const std::vector<int>& path, const Fill& more = {}) {
        return Call(*client, "get_log_level_files", [&](pugi::xml_node c) {
            AddPath(c, db, path);
            for (const char* flag :
                 {"include_tables", "include_curves", "include_path", "include_plansh"})
                c.append_attribute(flag) = "true";
            if (more) more(c);
        });
    }
    static std::size_t CountFiles(const detail::Answer& ans) {
        const auto files = ans.answer.children("file");
        return static_cast<std::size_t>(std::distance(files.begin(), files.end()));
    }

    std::unique_ptr<TOstraDbProtocol> client;
    std::string westPath;
    std::vector<DiskFile> west, north;
};

TEST_F(NavigationTest, TheCatalogNamesRealDirectoriesAndTheStructureItsLevels) {
    const detail::Answer list = Call(*client, "get_db_list");
    for (pugi::xml_node item : list.answer.child("databases").children("item")) {
        std::vector<std::string> dirs{item.attribute("path").value()};
        for (pugi::xml_node root : item.child("roots").children("root"))
            dirs.push_back(root.attribute("internal_dir").value());
        for (const std::string& d : dirs)
            EXPECT_TRUE(d.ends_with("/") && fs::is_directory(d)) << d;
    }
    const detail::Answer structure = Call(*client, "get_db_struct", Attrs({{"db_id", "1"}}));
    const pugi::xml_node data = structure.answer.child("DbStructData");
    std::string types;
    for (pugi::xml_node item : data.child("struct_items").children("Item"))
        types += std::string(item.attribute("type").value()) + ":" +
                 std::to_string(std::distance(item.attributes_begin(), item.attributes_end())) +
                 " ";
    EXPECT_EQ(data.attribute("dir_count").as_int(), 3);
    EXPECT_EQ(types, "%field:12 %well:12 %survey:12 ");
    EXPECT_EQ(ErrorCode(*client, "get_db_struct", Attrs({{"db_id", "77"}})), ecDatabaseNotFound);
}

// The client's own tests compare the levels with the folders on disk; here, the order and the
// archive root.
TEST_F(NavigationTest, WalksFromFieldsToWellsToSurveysToFiles) {
    const auto fields = Levels(1, {});
    EXPECT_EQ(NamesOf(fields), (Names{"Озёрное", "Северное"}));
    const int north12 = IdOf(fields, "Северное");
    // Wells sort number first: 12 and 12a share a number, so do 105 and N105-2.
    const auto wells = Levels(1, {north12});
    EXPECT_EQ(NamesOf(wells), (Names{"12", "12a", "105", "N105-2"}));
    const int well = IdOf(wells, "12");
    const auto surveys = Levels(1, {north12, well});
    const Names surveyNames = NamesOf(surveys);
    EXPECT_NE(std::find(surveyNames.begin(), surveyNames.end(), "ГИС 1998"), surveyNames.end())
        << "the archive root's survey joins the others";
    EXPECT_TRUE(Levels(1, {north12, well, surveys[0].first}).empty()) << "below the last level";
    for (const auto& [id, survey] : surveys) {
        const Names levels{"Северное", "12", survey};
        EXPECT_EQ(CountFiles(Files(1, {north12, well, id})),
                  OnDisk(west, [&](const DiskFile& f) { return f.levels == levels; }).size())
            << survey;
    }
}

TEST_F(NavigationTest, LevelPathsOfUnknownOrForeignNodesAreRefusedWith39) {
    const int field = Levels(1, {})[0].first;
    const int foreignField = Levels(2, {})[0].first;
    const int well = Levels(1, {field})[0].first;
    for (const std::vector<int>& path :
         {std::vector<int>{99999}, {foreignField}, {well}, {field, field}})
        EXPECT_EQ(ErrorCode(*client, "get_log_level_values",
                            [&](pugi::xml_node c) { AddPath(c, 1, path); }),
                  ecLevelNotFound);
}

TEST_F(NavigationTest, FiltersAndFileNameMasksNarrowTheFiles) {
    const std::vector<std::tuple<std::string, Fill, Pred>> cases = {
        {"all", {}, [](const DiskFile&) { return true; }},
        {"well = 12", FilterOf("%well", {"12"}), In(1, {"12"})},
        {"well = 12*", FilterOf("%well", {"12*"}),
         [](const DiskFile& f) { return f.levels[1].starts_with("12"); }},
        {"well != 12", FilterOf("%well", {"12"}, "!="),
         [](const DiskFile& f) { return f.levels[1] != "12"; }},
        {"not field", FilterOf("%field", {"СЕВЕРНОЕ"}, "=", true),
         [](const DiskFile& f) { return f.levels[0] != "Северное"; }},
        {"survey in two", FilterOf("%survey", {"ГИС 2019", "ГИС 2022"}),
         In(2, {"ГИС 2019", "ГИС 2022"})},
        {"fn_filter", Attrs({{"fn_filter", "*_rep.ws"}}),
         [](const DiskFile& f) { return f.path.ends_with("_rep.ws"); }},
        {"fn_filter without wildcards", Attrs({{"fn_filter", "CTL"}}),
         [](const DiskFile& f) { return f.path.find("_ctl_") != std::string::npos; }},
    };
    for (const auto& [what, request, expected] : cases)
        EXPECT_EQ(CountFiles(Files(1, {}, request)), OnDisk(west, expected).size()) << what;
}

TEST_F(NavigationTest, TheSessionFilterAppliesWhereTheRequestAsksForIt) {
    Call(*client, "set_filters", [](pugi::xml_node c) {
        c.append_attribute("db_id") = 1;
        FilterOf("%field", {"Северное"})(c);
    });
    const Fill use = Attrs({{"use_filters", "true"}});
    EXPECT_EQ(NamesOf(Levels(1, {}, use)), (Names{"Северное"}));
    EXPECT_EQ(NamesOf(Levels(1, {}, Attrs({{"use_filters", "false"}}))),
              (Names{"Озёрное", "Северное"}));
    EXPECT_EQ(CountFiles(Files(1, {}, use)), OnDisk(west, In(0, {"Северное"})).size());
    EXPECT_EQ(NamesOf(Levels(2, {}, use)), (Names{"Eastfield"})) << "filters are per database";

    // (use_filter, request filter, files the filtered count is expected to hold)
    const std::vector<std::tuple<const char*, Fill, Pred>> stats = {
        {"False", {}, [](const DiskFile&) { return true; }},
        {"True", {}, In(0, {"Северное"})},
        {"True", FilterOf("%well", {"7", "7б"}), In(1, {"7", "7б"})},
    };
    for (const auto& [useFilter, filter, expected] : stats) {
        const detail::Answer ans =
            Call(*client, "get_filter_stats", [&u = useFilter, &f = filter](pugi::xml_node c) {
                c.append_attribute("db_id") = 1;
                c.append_attribute("use_filter") = u;
                if (f) f(c);
            });
        EXPECT_EQ(ans.answer.attribute("total_files").as_ullong(), west.size());
        EXPECT_EQ(ans.answer.attribute("filtered_files").as_ullong(), OnDisk(west, expected).size())
            << useFilter;
    }
}

TEST_F(NavigationTest, ALogicalStructureReordersTheLevels) {
    auto wellsFirst = [](pugi::xml_node c) {
        pugi::xml_node list = c.append_child("log_db_struct");
        for (const char* type : {"%well", "%field", "%survey"})
            list.append_child("item").append_attribute("type") = type;
    };
    const auto wells = Levels(1, {}, wellsFirst);
    std::set<std::string> expected;
    for (const DiskFile& f : west)
        expected.insert(f.levels[1]);
    const Names wellNames = NamesOf(wells);
    EXPECT_EQ(std::set<std::string>(wellNames.begin(), wellNames.end()), expected);
    EXPECT_EQ(NamesOf(Levels(1, {IdOf(wells, "7")}, wellsFirst)), (Names{"Озёрное"}));
}

TEST_F(NavigationTest, SearchFindsFilesByLevelValuesAndParameters) {
    auto search = [&](const std::string& databases, const std::string& tables, const Names& lines) {
        const detail::Answer ans = Call(*client, "search", [&](pugi::xml_node c) {
            pugi::xml_node items = c.append_child("items");
            auto add = [&](const std::string& type, const std::string& values) {
                Attrs({{"type", type}, {"oper", "="}, {"values", values}})(
                    items.append_child("filter"));
            };
            add("databases", databases);
            add("tables", tables);
            for (const std::string& line : lines)
                add("*" + line.substr(0, line.find('=')), line.substr(line.find('=') + 1));
        });
        std::set<std::string> files;
        for (pugi::xml_node f : ans.answer.children("file"))
            files.insert(f.attribute("filename").value());
        return files;
    };
    // A level by its type or its display name, in every database or one.
    EXPECT_EQ(search("", "", {"well=12"}), OnDisk(west, In(1, {"12"})));
    EXPECT_EQ(search(kWestSiberia, "", {"Скважина=N105*"}),
              OnDisk(west, [](const DiskFile& f) { return f.levels[1].starts_with("N105"); }));
    EXPECT_EQ(search(kNorthSea, "", {"%survey=Cased*", "well=N1,N2"}),
              OnDisk(north, [](const DiskFile& f) {
                  return f.levels[2].starts_with("Cased") && In(1, {"N1", "N2"})(f);
              }));
    EXPECT_TRUE(search(kNorthSea, "", {"well=12"}).empty()) << "the other database's wells";
    const auto withStrat = search("*", "Стратиграфия", {});
    for (const std::string& file : withStrat)
        EXPECT_NE(ReadFile(file + ".xml").find("name=\"Стратиграфия\""), std::string::npos) << file;
    EXPECT_FALSE(withStrat.empty());
}

}  // namespace
}  // namespace ostradb::test

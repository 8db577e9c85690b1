// Walking a database from its levels down to its files, filters and search, checked against
// the data directory on disk.

#include <algorithm>
#include <cstring>
#include <set>

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

class NavigationTest : public SandboxTest {
protected:
    NavigationTest() : client(Connect()) {
        westPath = DbPath(*client, kWestSiberia);
        west = DiskFiles({westPath, dataDir / "databases/west-siberia-archive"});
        north = DiskFiles({DbPath(*client, kNorthSea)});
    }

    // The level values below path: (id, name) in the server's order.
    std::vector<std::pair<int, std::string>> Levels(
        int db, const std::vector<int>& path,
        const std::function<void(pugi::xml_node)>& more = {}) {
        const detail::Answer ans = Call(*client, "get_log_level_values", [&](pugi::xml_node c) {
            c.append_attribute("db_id") = db;
            pugi::xml_node p = c.append_child("path");
            for (int id : path)
                p.append_child("item").append_attribute("id") = id;
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
    detail::Answer Files(int db, const std::vector<int>& path,
                         const std::function<void(pugi::xml_node)>& more = {}) {
        return Call(*client, "get_log_level_files", [&](pugi::xml_node c) {
            c.append_attribute("db_id") = db;
            for (const char* flag :
                 {"include_tables", "include_curves", "include_path", "include_plansh"})
                c.append_attribute(flag) = "true";
            pugi::xml_node p = c.append_child("path");
            for (int id : path)
                p.append_child("item").append_attribute("id") = id;
            if (more) more(c);
        });
    }
    // A "Filter" element with one item.
    static std::function<void(pugi::xml_node)> FilterOf(const char* param, Names values,
                                                        const char* oper = "=",
                                                        bool negate = false) {
        return [=](pugi::xml_node c) {
            pugi::xml_node item = c.append_child("Filter").append_child("Item");
            item.append_attribute("Param") = param;
            item.append_attribute("Oper") = oper;
            if (negate) item.append_attribute("Not") = "true";
            pugi::xml_node list = item.append_child("Items");
            for (const std::string& v : values)
                list.append_child("Item").text() = v.c_str();
        };
    }
    static std::size_t CountFiles(const detail::Answer& ans) {
        const auto files = ans.answer.children("file");
        return static_cast<std::size_t>(std::distance(files.begin(), files.end()));
    }
    template <typename Pred>
    static std::size_t CountOnDisk(const std::vector<DiskFile>& files, Pred pred) {
        return static_cast<std::size_t>(std::count_if(files.begin(), files.end(), pred));
    }

    std::unique_ptr<TOstraDbProtocol> client;
    std::string westPath;
    std::vector<DiskFile> west, north;
};

TEST_F(NavigationTest, TheCatalogNamesRealDirectoriesAndTheStructureItsLevels) {
    const detail::Answer list = Call(*client, "get_db_list");
    std::set<std::string> names;
    for (pugi::xml_node item : list.answer.child("databases").children("item")) {
        names.insert(item.attribute("name").value());
        const std::string path = item.attribute("path").value();
        EXPECT_TRUE(path.ends_with("/") && fs::is_directory(path)) << path;
        for (pugi::xml_node root : item.child("roots").children("root")) {
            const std::string internal = root.attribute("internal_dir").value();
            EXPECT_TRUE(internal.ends_with("/") && fs::is_directory(internal)) << internal;
        }
    }
    EXPECT_EQ(names, (std::set<std::string>{kWestSiberia, kNorthSea}));

    const detail::Answer structure =
        Call(*client, "get_db_struct", [](pugi::xml_node c) { c.append_attribute("db_id") = 1; });
    const pugi::xml_node data = structure.answer.child("DbStructData");
    EXPECT_EQ(data.attribute("dir_count").as_int(), 3);
    Names types;
    for (pugi::xml_node item : data.child("struct_items").children("Item")) {
        types.push_back(item.attribute("type").value());
        EXPECT_EQ(std::distance(item.attributes_begin(), item.attributes_end()), 12);
    }
    EXPECT_EQ(types, (Names{"%field", "%well", "%survey"}));
    EXPECT_EQ(ErrorCode(*client, "get_db_struct",
                        [](pugi::xml_node c) { c.append_attribute("db_id") = 77; }),
              ecDatabaseNotFound);
}

TEST_F(NavigationTest, WalksFromFieldsToWellsToSurveysToFilesAndReadsThem) {
    const auto fields = Levels(1, {});
    EXPECT_EQ(NamesOf(fields), (Names{"Озёрное", "Северное"}));
    const int north12 = IdOf(fields, "Северное");
    // Wells sort number first: 12 and 12a share a number, so do 105 and N105-2.
    const auto wells = Levels(1, {north12});
    EXPECT_EQ(NamesOf(wells), (Names{"12", "12a", "105", "N105-2"}));
    const int well = IdOf(wells, "12");
    const auto surveys = Levels(1, {north12, well});
    std::set<std::string> expected;
    for (const DiskFile& f : west)
        if (f.levels[0] == "Северное" && f.levels[1] == "12") expected.insert(f.levels[2]);
    const Names surveyNames = NamesOf(surveys);
    EXPECT_EQ(std::set<std::string>(surveyNames.begin(), surveyNames.end()), expected);
    EXPECT_TRUE(expected.count("ГИС 1998")) << "the archive root's survey joins the others";
    EXPECT_TRUE(Levels(1, {north12, well, surveys[0].first}).empty()) << "below the last level";

    // Every file of the survey, by its short name, has the bytes on disk.
    for (const auto& [id, survey] : surveys) {
        const detail::Answer files = Files(1, {north12, well, id});
        std::size_t onDisk = CountOnDisk(west, [&](const DiskFile& f) {
            return f.levels == Names{"Северное", "12", survey};
        });
        EXPECT_EQ(CountFiles(files), onDisk) << survey;
        for (pugi::xml_node file : files.answer.children("file")) {
            const std::string name = file.attribute("name").value();
            const std::string full =
                name.starts_with("${Root_1}\\")
                    ? (dataDir / "databases/west-siberia-archive" / name.substr(10)).string()
                    : westPath + name;
            EXPECT_EQ(GetContents(*client, name), ReadFile(full)) << name;
            Names path;
            for (pugi::xml_node item : file.child("path").children("item"))
                path.push_back(item.attribute("value").value());
            EXPECT_EQ(path, (Names{"Северное", "12", survey}));
            EXPECT_TRUE(file.child("table").child("data").child("curve")) << name;
            EXPECT_TRUE(file.child("planshet")) << name;
        }
    }
}

TEST_F(NavigationTest, LevelPathsOfUnknownOrForeignNodesAreRefusedWith39) {
    const int field = Levels(1, {})[0].first;
    const int foreignField = Levels(2, {})[0].first;
    const int well = Levels(1, {field})[0].first;
    for (const std::vector<int>& path :
         {std::vector<int>{99999}, {foreignField}, {well}, {field, field}})
        EXPECT_EQ(ErrorCode(*client, "get_log_level_values",
                            [&](pugi::xml_node c) {
                                c.append_attribute("db_id") = 1;
                                pugi::xml_node p = c.append_child("path");
                                for (int id : path)
                                    p.append_child("item").append_attribute("id") = id;
                            }),
                  ecLevelNotFound);
}

TEST_F(NavigationTest, FiltersAndFileNameMasksNarrowTheFiles) {
    struct Case {
        std::string what;
        std::function<void(pugi::xml_node)> request;
        std::function<bool(const DiskFile&)> expected;
    };
    const std::vector<Case> cases = {
        {"all", {}, [](const DiskFile&) { return true; }},
        {"well = 12", FilterOf("%well", {"12"}),
         [](const DiskFile& f) { return f.levels[1] == "12"; }},
        {"well = 12*", FilterOf("%well", {"12*"}),
         [](const DiskFile& f) { return f.levels[1].starts_with("12"); }},
        {"well != 12", FilterOf("%well", {"12"}, "!="),
         [](const DiskFile& f) { return f.levels[1] != "12"; }},
        {"not field", FilterOf("%field", {"СЕВЕРНОЕ"}, "=", true),
         [](const DiskFile& f) { return f.levels[0] != "Северное"; }},
        {"survey in two", FilterOf("%survey", {"ГИС 2019", "ГИС 2022"}),
         [](const DiskFile& f) { return f.levels[2] == "ГИС 2019" || f.levels[2] == "ГИС 2022"; }},
        {"fn_filter", [](pugi::xml_node c) { c.append_attribute("fn_filter") = "*_rep.ws"; },
         [](const DiskFile& f) { return f.path.ends_with("_rep.ws"); }},
        {"fn_filter without wildcards",
         [](pugi::xml_node c) { c.append_attribute("fn_filter") = "CTL"; },
         [](const DiskFile& f) { return f.path.find("_ctl_") != std::string::npos; }},
    };
    for (const Case& c : cases)
        EXPECT_EQ(CountFiles(Files(1, {}, c.request)), CountOnDisk(west, c.expected)) << c.what;
}

TEST_F(NavigationTest, TheSessionFilterAppliesWhereTheRequestAsksForIt) {
    Call(*client, "set_filters", [](pugi::xml_node c) {
        c.append_attribute("db_id") = 1;
        FilterOf("%field", {"Северное"})(c);
    });
    auto useFilters = [](bool use) {
        return
            [use](pugi::xml_node c) { c.append_attribute("use_filters") = use ? "true" : "false"; };
    };
    EXPECT_EQ(NamesOf(Levels(1, {}, useFilters(true))), (Names{"Северное"}));
    EXPECT_EQ(NamesOf(Levels(1, {}, useFilters(false))), (Names{"Озёрное", "Северное"}));
    EXPECT_EQ(CountFiles(Files(1, {}, useFilters(true))),
              CountOnDisk(west, [](const DiskFile& f) { return f.levels[0] == "Северное"; }));
    EXPECT_EQ(NamesOf(Levels(2, {}, useFilters(true))), (Names{"Eastfield"}))
        << "filters are per database";

    auto stats = [&](bool use, const std::function<void(pugi::xml_node)>& filter) {
        const detail::Answer ans = Call(*client, "get_filter_stats", [&](pugi::xml_node c) {
            c.append_attribute("db_id") = 1;
            c.append_attribute("use_filter") = use ? "True" : "False";
            if (filter) filter(c);
        });
        return std::pair(ans.answer.attribute("total_files").as_ullong(),
                         ans.answer.attribute("filtered_files").as_ullong());
    };
    const auto total = static_cast<unsigned long long>(west.size());
    EXPECT_EQ(stats(false, {}), std::pair(total, total));
    EXPECT_EQ(
        stats(true, {}),
        std::pair(total, static_cast<unsigned long long>(CountOnDisk(
                             west, [](const DiskFile& f) { return f.levels[0] == "Северное"; }))));
    EXPECT_EQ(
        stats(true, FilterOf("%well", {"7", "7б"})),
        std::pair(total, static_cast<unsigned long long>(CountOnDisk(west, [](const DiskFile& f) {
                      return f.levels[1] == "7" || f.levels[1] == "7б";
                  }))));
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
                pugi::xml_node f = items.append_child("filter");
                f.append_attribute("type") = type.c_str();
                f.append_attribute("oper") = "=";
                f.append_attribute("values") = values.c_str();
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
    auto onDisk = [](const std::vector<DiskFile>& files,
                     const std::function<bool(const DiskFile&)>& pred) {
        std::set<std::string> out;
        for (const DiskFile& f : files)
            if (pred(f)) out.insert(f.path);
        return out;
    };
    EXPECT_EQ(search("", "", {"well=12"}),
              onDisk(west, [](const DiskFile& f) { return f.levels[1] == "12"; }));
    EXPECT_EQ(search(kWestSiberia, "", {"Скважина=N105*"}),
              onDisk(west, [](const DiskFile& f) { return f.levels[1].starts_with("N105"); }));
    EXPECT_EQ(search(kNorthSea, "", {"%survey=Cased*", "well=N1,N2"}),
              onDisk(north, [](const DiskFile& f) {
                  return f.levels[2].starts_with("Cased") &&
                         (f.levels[1] == "N1" || f.levels[1] == "N2");
              }));
    EXPECT_TRUE(search(kNorthSea, "", {"well=12"}).empty()) << "the other database's wells";
    const auto withStrat = search("*", "Стратиграфия", {});
    for (const std::string& file : withStrat)
        EXPECT_NE(ReadFile(file + ".xml").find("name=\"Стратиграфия\""), std::string::npos) << file;
    EXPECT_FALSE(withStrat.empty());
}

TEST_F(NavigationTest, TableCurveAndPlansheetListsMatchTheFilesData) {
    const DiskFile& file = west.front();
    const std::string ws = ReadFile(file.path);
    std::uint32_t sampled = 0, samples = 0;
    std::memcpy(&sampled, ws.data() + 8, 4);
    std::memcpy(&samples, ws.data() + 12, 4);
    auto files = [&](pugi::xml_node c) {
        c.append_child("FileNames").append_child("Item").text() = file.path.c_str();
    };

    const detail::Answer curves = Call(*client, "get_curves_list", [&](pugi::xml_node c) {
        files(c);
        for (const char* flag :
             {"IncludeTableName", "IncludeCount", "IncludeFileName", "IncludeUnit"})
            c.append_attribute(flag) = "true";
    });
    std::uint32_t sampledCurves = 0;
    for (pugi::xml_node item : curves.answer.child("Result").children("Item")) {
        EXPECT_EQ(std::string(item.attribute("FileName").value()), file.path);
        if (std::string(item.attribute("Table").value()) != "ГИС") continue;
        ++sampledCurves;
        EXPECT_EQ(item.attribute("Count").as_uint(), samples) << item.attribute("Curve").value();
    }
    EXPECT_EQ(sampledCurves, sampled) << "the sampled curves are the body's curves";

    const detail::Answer tables = Call(*client, "get_tables_list", files);
    EXPECT_EQ(std::string(tables.answer.child("Result").child("Item").text().get()), "ГИС");
    const detail::Answer plansheets = Call(*client, "get_plansheets_list", files);
    Names names;
    for (pugi::xml_node item : plansheets.answer.child("Result").children("Item"))
        names.push_back(item.text().get());
    EXPECT_EQ(names, (Names{"Основной", "Корреляция"}));
    EXPECT_EQ(ErrorCode(*client, "get_tables_list",
                        [&](pugi::xml_node c) {
                            c.append_child("FileNames").append_child("Item").text() =
                                (westPath + "missing.ws").c_str();
                        }),
              ecFileNotFound);
}

}  // namespace
}  // namespace ostradb::test

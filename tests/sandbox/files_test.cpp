// Reading, writing, moving and deleting files; the forms of file names; names that try to
// leave the databases.

#include <unistd.h>

#include "sandbox/sandbox_fixture.hpp"

namespace ostradb::test {
namespace {

class FilesTest : public SandboxTest {
protected:
    FilesTest() : client(Connect()), path(DbPath(*client, kWestSiberia)) {}

    // Temporary files that a write left behind anywhere in the data directory.
    std::vector<std::string> Leftovers() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(dataDir))
            if (entry.path().filename().string().starts_with(".sandbox-tmp-"))
                found.push_back(entry.path());
        return found;
    }
    // The result code of each file.
    std::vector<int> Delete(const std::vector<std::string>& names) {
        const detail::Answer ans = Call(*client, "delete_files", ItemList("FileNames", names));
        std::vector<int> results;
        for (pugi::xml_node item : ans.answer.child("Log").children("Item"))
            results.push_back(item.attribute("Result").as_int());
        return results;
    }
    int Move(const std::string& from, const std::string& to) {
        return ErrorCode(*client, "move_file", Attrs({{"ScrFileName", from}, {"DstFileName", to}}));
    }
    bool Exists(const std::string& name) {
        const detail::Answer ans = Call(*client, "file_exists", Attrs({{"file_name", name}}));
        return xml::AttrBool(ans.answer, "result");
    }

    std::unique_ptr<TOstraDbProtocol> client;
    std::string path;  // of the Russian database, with the delimiter
    const std::string survey = "Северное/12/ГИС 2019/";
    const std::string existing = "Северное/12/ГИС 2019/12_gis_2019.ws";
};

TEST_F(FilesTest, WrittenBytesComeBackExactlyAndLandOnDiskAtomically) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{3} << 20}) {
        const std::string bytes = BinaryBytes(size, static_cast<std::uint32_t>(size) + 7);
        const std::string name =
            path + "Северное/12/Новое 2024/size_" + std::to_string(size) + ".ws";
        PutContents(*client, name, bytes);
        EXPECT_EQ(ReadFile(name), bytes) << size;
        EXPECT_EQ(GetContents(*client, name), bytes) << size;
        EXPECT_TRUE(Exists(name));
    }
    // Overwriting keeps the side file and replaces the bytes whole.
    const std::string side = ReadFile(path + existing + ".xml");
    PutContents(*client, path + existing, "short");
    EXPECT_EQ(ReadFile(path + existing), "short");
    EXPECT_EQ(ReadFile(path + existing + ".xml"), side);
    EXPECT_TRUE(Leftovers().empty());

    const detail::Answer info =
        Call(*client, "get_file_contents", Attrs({{"file_name", path + existing}}));
    EXPECT_EQ(std::string(info.answer.attribute("RealFileName").value()), path + existing);
    const double written = xml::AttrFloat(info.answer.child("FileTimes"), "WriteTime");
    EXPECT_GT(written, 40000.0) << "a day count of this century";
}

TEST_F(FilesTest, EveryFormOfANameReachesTheSameFile) {
    const std::string bytes = ReadFile(path + existing);
    std::string backslashed = existing;
    std::replace(backslashed.begin(), backslashed.end(), '/', '\\');
    const std::string archived = "${Root_1}\\Северное\\12\\ГИС 1998\\12_gis_1998.ws";
    const std::string port = std::to_string(server->Port());
    const std::vector<std::pair<std::string, std::string>> cases = {
        {path + existing, bytes},
        {"WSTP://DIRECT:" + path + existing, bytes},
        {"wstp://direct:/HOST:127.0.0.1//PORT:" + port + "/" + path + existing, bytes},
        {"/PORT:" + port + "/" + path + existing, bytes},
        {existing, bytes},
        {backslashed, bytes},
        {std::string("WSTP://") + kWestSiberia + "\\" + backslashed, bytes},
        {archived,
         ReadFile(dataDir / "databases/west-siberia-archive/Северное/12/ГИС 1998/12_gis_1998.ws")},
        {"${Root_1}/Северное/12/ГИС 1998/12_gis_1998.ws",
         ReadFile(dataDir / "databases/west-siberia-archive/Северное/12/ГИС 1998/12_gis_1998.ws")},
    };
    for (const auto& [name, expected] : cases)
        EXPECT_EQ(GetContents(*client, name), expected) << name;
}

TEST_F(FilesTest, NamesLeavingTheDatabasesAreRefusedWith33AndTouchNothing) {
    fs::create_symlink(dataDir, path + "Северное/12/link");
    const auto before = Snapshot(dataDir);
    const std::vector<std::string> names = {
        "../../users.xml",
        path + "../../users.xml",
        path + "Северное/../../../users.xml",
        "Северное\\..\\..\\..\\users.xml",
        (dataDir / "users.xml").string(),
        "/etc/passwd",
        "C:\\Windows\\win.ini",
        "\\\\server\\share\\a.ws",
        "${Root_1}\\..\\..\\users.xml",
        "${Root_99}\\a.ws",
        "${Root_x}\\a.ws",
        path + existing + ".xml",
        path + "Северное/12/link/users.xml",
        path + ".sandbox-tmp-x",
        "",
    };
    for (const std::string& name : names) {
        const Fill file = Attrs({{"file_name", name}});
        std::istringstream bytes("overwritten");
        EXPECT_EQ(ErrorCode(*client, "get_file_contents", file), ecWrongFileName) << name;
        EXPECT_EQ(ErrorCode(*client, "put_file_contents", file, &bytes), ecWrongFileName) << name;
        EXPECT_EQ(ErrorCode(*client, "file_exists", file), ecWrongFileName) << name;
        EXPECT_EQ(Move(path + existing, name), ecWrongFileName) << name;
        EXPECT_EQ(Move(name, path + survey + "moved.ws"), ecWrongFileName) << name;
        EXPECT_EQ(Delete({name}), std::vector<int>{ecWrongFileName}) << name;
    }
    EXPECT_EQ(Snapshot(dataDir), before);
}

// Deleting reports each file and takes its side file and an emptied folder along; moving takes
// the side file along and never replaces a file.
TEST_F(FilesTest, DeleteAndMoveTakeTheSideFileAlong) {
    const std::string bytes = ReadFile(path + existing);
    const std::string target = path + "Озёрное/7/ГИС 2017/moved.ws";
    EXPECT_EQ(Move(path + existing, target), -1);
    EXPECT_EQ(ReadFile(target), bytes);
    EXPECT_TRUE(fs::exists(target + ".xml"));
    EXPECT_EQ(Move(path + existing, target), ecFileNotFound);
    const std::string other = path + "Озёрное/7/ГИС 2017/7_gis_2017.ws";
    const std::string otherBytes = ReadFile(other);
    EXPECT_EQ(Move(target, other), ecCannotCreateFile);
    EXPECT_EQ(ReadFile(other), otherBytes);

    const std::string second = path + survey + "12_gis_2019_rep.ws";
    EXPECT_EQ(Delete({target, path + survey + "missing.ws", "../x.ws", second}),
              (std::vector<int>{0, ecFileNotFound, ecWrongFileName, 0}));
    for (const std::string& gone : {target, target + ".xml", second, path + existing + ".xml"})
        EXPECT_FALSE(fs::exists(gone)) << gone;
    // The emptied survey folder is gone, so the survey is no longer a level.
    EXPECT_FALSE(fs::exists(path + survey));
}

TEST_F(FilesTest, RightsAndFileInfoFollowTheUser) {
    auto viewer = Connect("viewer", "viewer");
    for (const auto& [who, expectedRights] :
         std::vector<std::pair<TOstraDbProtocol*, std::uint32_t>>{{client.get(), 0x7F},
                                                                  {viewer.get(), 0x01}}) {
        const detail::Answer rights =
            Call(*who, "get_file_rights", Attrs({{"file_name", path + existing}}));
        EXPECT_EQ(rights.answer.attribute("rights").as_uint(), expectedRights);
        const detail::Answer info =
            Call(*who, "get_simple_files_info",
                 ItemList("FileNames", {path + existing, path + "missing.ws"}));
        std::vector<pugi::xml_node> items(info.answer.child("Result").children("Item").begin(),
                                          info.answer.child("Result").children("Item").end());
        ASSERT_EQ(items.size(), 1u) << "only files that exist";
        EXPECT_EQ(items[0].attribute("Database").as_int(), 1);
        EXPECT_EQ(items[0].attribute("IsReadOnly").as_int(), expectedRights & 2 ? 0 : 1);
        EXPECT_EQ(items[0].attribute("FileRights").as_uint(), expectedRights);
    }
}

TEST_F(FilesTest, ADroppedUploadLeavesTheOldBytesAndNoTemporaryFile) {
    const std::string before = ReadFile(path + existing);
    sandbox::FaultSwitches faults;
    faults.command = "put_file_contents";
    faults.dropAfterRequestPayloadBytes = 100000;
    server->SetFaults(faults);
    EXPECT_THROW(PutContents(*client, path + existing, BinaryBytes(1 << 20, 3)), ESocketError);
    EXPECT_EQ(ReadFile(path + existing), before);
    EXPECT_TRUE(Leftovers().empty());
}

}  // namespace
}  // namespace ostradb::test

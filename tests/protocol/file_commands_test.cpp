// File commands: which name each sends and to which server, the import description and its
// refusals, importing a local file, contents both ways, and the lists they read.

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>

#include "exchange_fixture.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/dates.hpp"
#include "protocol/local_file.hpp"
#include "support/files.hpp"

namespace ostradb {
namespace {

using namespace test;

// Seconds since the epoch of a local calendar time.
std::time_t LocalSeconds(int year, int month, int day, int hour, int minute, int second) {
    std::tm tm{};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    tm.tm_isdst = -1;
    return std::mktime(&tm);
}

// Whether another holder could lock the file now.
bool Lockable(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY);
    if (fd < 0) return false;
    const bool locked = ::flock(fd, LOCK_EX | LOCK_NB) == 0;
    ::close(fd);
    return locked;
}

class FileCommands : public ExchangeTest {
protected:
    std::string MakeFile(const std::string& name, const std::string& contents) {
        WriteFile(dir / name, contents);
        return (dir / name).string();
    }

    // A name that sends the request to the other server.
    std::string OtherServerName(const std::string& name) const {
        return "wstp://DIRECT:/HOST:127.0.0.1//PORT:" + std::to_string(other.Port()) + "/" + name;
    }

    const TempDir dir;
    test::ScriptedServer other;
};

// The name goes checked to the server it addresses, or whole where the command wants it so;
// the session comes back, also after an error answer.
TEST_F(FileCommands, OneNameGoesToTheServerItAddressesAsEachCommandWantsIt) {
    const std::string full = OtherServerName("D:\\w\\a.ws");
    for (const std::string& answer :
         {AnswerPacket(R"(rights="5")"), AnswerPacket(), AnswerPacket(R"(result="True")"),
          AnswerPacket(),
          AnswerPacket({}, R"(<FileTimes CreateTime="1" WriteTime="2" AccessTime="3"/>)"),
          AnswerPacket(), ErrorPacket(20, "нет файла")})
        other.Expect().Reply(answer);
    std::istringstream upload("abc");
    TFileInfo info;
    const std::uint32_t rights = client.GetFileRights(full).Mask();
    client.UpdateFileInfo(full);
    const bool exists = client.FileExists(full);
    client.GetFileContents(full, nullptr);
    client.GetFileContentsEx(full, nullptr, info);
    client.PutFileContents(full, &upload);
    EXPECT_THROW(client.FileExists(full), TOstraClientSocketException);
    other.Verify();
    EXPECT_EQ(Commands(other), R"(<command cmd="get_file_rights" file_name="D:\w\a.ws"/>
<command cmd="update_file_info" file_name="D:\w\a.ws"/>
<command cmd="file_exists" file_name="D:\w\a.ws"/>
<command cmd="get_file_contents" file_name=")" +
                                   full + R"("/>
<command cmd="get_file_contents" file_name=")" +
                                   full + R"("/>
<command cmd="put_file_contents" file_name=")" +
                                   full + R"("/>
<command cmd="file_exists" file_name="D:\w\a.ws"/>
)");
    EXPECT_EQ(Row(rights, exists, other.Request(5).payload, client.GetHost(), client.GetPort(),
                  server.Connections()),
              Row(5, 1, "abc", "127.0.0.1", server.Port(), 0));
    server.Verify();
}

TEST_F(FileCommands, ListsAreCheckedOnACopyAndSentAsItems) {
    const TStringList files{"D:\\a.ws", OtherServerName("D:\\b.ws")};
    const TStringList before = files;
    other.Expect("delete_files")
        .Reply(AnswerPacket({}, R"(<Log><Item ItemName="D:\a.ws" Result="0"/>)"
                                R"(<Item ItemName="D:\b.ws" Result="27"/></Log>)"));
    TSimpleResultLog log;
    client.DeleteFiles(files, log);
    other.Expect("get_simple_files_info")
        .Reply(AnswerPacket({}, R"(<Result><Item FileName="D:\a.ws" Database="4" )"
                                R"(IsReadOnly="1" FileRights="65"/></Result>)"));
    TSimpleFileInfoItems info;
    info.Add().FileName = "stale";
    client.GetSimpleFileInfo(files, info);
    other.Verify();

    EXPECT_EQ(files, before);
    EXPECT_EQ(client.GetPort(), server.Port());
    for (std::size_t i = 0; i < 2; ++i)
        EXPECT_EQ(ItemTexts(other.Request(i).Command().child("FileNames")),
                  (std::vector<std::string>{"D:\\a.ws", "D:\\b.ws"}));

    ASSERT_EQ(log.Count(), 2);
    EXPECT_EQ(Row(log[1].ItemName, int(log[1].Result), log.ContainsErrors()), "D:\\b.ws|27|1|");
    pugi::xml_document saved;  // the log writes itself back in the answer's form
    SaveToXML(log, "Log", saved.append_child("a"));
    EXPECT_EQ(XmlText(saved), R"(<a><Log><Item Result="0" ItemName="D:\a.ws"/><Item Result="27" )"
                              R"(ItemName="D:\b.ws"/></Log></a>)");
    log.Delete(1);
    EXPECT_FALSE(log.ContainsErrors());

    ASSERT_EQ(info.Count(), 1);
    const TSimpleFileInfoItem* a = info.Find("d:\\A.WS");
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(Row(a->Database, a->IsReadOnly), "4|1|");
    EXPECT_EQ(a->FileRights, (TUserRights{urView, urListDirs}));

    // A refusal empties the list as well.
    server.Expect("get_simple_files_info").Reply(ErrorPacket(5, "нет прав"));
    EXPECT_THROW(client.GetSimpleFileInfo(TStringList{"a"}, info), TOstraClientSocketException);
    EXPECT_EQ(info.Count(), 0);
    server.Verify();
}

TEST_F(FileCommands, AttributeChangesSendCheckedNamesAndLeaveTheItems) {
    TChangeFileAttrItems items;
    items.Add().FileName = OtherServerName("D:\\a.ws");
    items[0].ReadOnlyAttr = favReset;
    items.Add().FileName = "D:\\b.ws";
    items[1].ReadOnlyAttr = favSet;
    other.Expect("change_files_attributes").Reply(AnswerPacket());
    client.ChangeFilesAttributes(items);
    other.Verify();
    std::string sent;
    for (pugi::xml_node i : other.Request(0).Command().child("Data").children("Item"))
        sent += AttrText(i) + ";";
    EXPECT_EQ(sent, "FileName=D:\\a.ws ReadOnlyAttr=2;FileName=D:\\b.ws ReadOnlyAttr=1;");
    EXPECT_EQ(items[0].FileName, OtherServerName("D:\\a.ws"));
    EXPECT_EQ(client.GetPort(), server.Port());
}

TEST_F(FileCommands, CommandsWithCapitalisedOrPlainAttributes) {
    for (const std::string& answer :
         {AnswerPacket(), AnswerPacket(), AnswerPacket(),
          AnswerPacket({}, R"(<Item id="7" file_name="D:\x.ws" error_msg="испорчен" )"
                           R"(ch_time="44000.5" flags="3"/><Other id="1"/>)"),
          AnswerPacket({},
                       "<BlockedFiles><Item>D:\\y.ws</Item><Item>D:\\z.ws</Item></BlockedFiles>")})
        server.Expect().Reply(answer);
    TErroneousFiles erroneous;
    TStringList blocked{"stale"};
    client.MoveFile("WSTP://D:\\a.ws", "D:\\b.ws");
    client.SetFsTrackingMode(3, true);
    client.SetFsTrackingMode(4, false);
    client.RequestErroneousFilesList(5, erroneous);
    client.GetBlockedFilesList(6, blocked);
    server.Verify();
    // "Scr", not "Src": the server's spelling. Both names go as given.
    EXPECT_EQ(Commands(server),
              R"(<command cmd="move_file" ScrFileName="WSTP://D:\a.ws" DstFileName="D:\b.ws"/>
<command cmd="set_fs_tracking_mode" DbId="3" Mode="True"/>
<command cmd="set_fs_tracking_mode" DbId="4" Mode="False"/>
<command cmd="get_erroneous_files" db_id="5"/>
<command cmd="get_blocked_files" db_id="6"/>
)");
    ASSERT_EQ(erroneous.Count(), 1);
    EXPECT_EQ(Row(erroneous[0].Id, erroneous[0].FileName, erroneous[0].ErrorMsg,
                  erroneous[0].ChTime, erroneous[0].Flags, Joined(blocked)),
              "7|D:\\x.ws|испорчен|44000.5|3|D:\\y.ws|D:\\z.ws||");
}

TEST_F(FileCommands, ContentsComeWithTheFilesTimesAndRealName) {
    server.Expect("get_file_contents")
        .Send(test::WirePacket(R"(<packet bin_data_size="2"><answer RealFileName="E:\real.ws">)"
                               R"(<FileTimes CreateTime="43831.25" WriteTime="43832.5" )"
                               R"(AccessTime="43833"/></answer></packet>)") +
              "xy");
    std::ostringstream out;
    TFileInfo info;
    client.GetFileContentsEx("D:\\a.ws", &out, info);
    EXPECT_EQ(Row(out.str(), info.RealFileName, info.CreateTime, info.WriteTime, info.AccessTime),
              "xy|E:\\real.ws|43831.2|43832.5|43833|");
    EXPECT_DOUBLE_EQ(info.CreateTime, 43831.25);

    // Without "RealFileName" the caller's value stays.
    server.Expect("get_file_contents")
        .Reply(AnswerPacket({}, R"(<FileTimes CreateTime="1" WriteTime="2" AccessTime="3"/>)"));
    client.GetFileContentsEx("D:\\a.ws", nullptr, info);
    EXPECT_EQ(Row(info.RealFileName, info.AccessTime), "E:\\real.ws|3|");
    server.Verify();
}

TEST_F(FileCommands, RightsAreEmptyWhenTheLoginWasCancelled) {
    client.SetLoginDialog([](TOstraDbProtocol&, TLoginDialogData&) { return ldrCancel; });
    server.Expect("get_file_rights").Reply(ErrorPacket(27, "войдите"));
    EXPECT_TRUE(client.GetFileRights("D:\\a.ws").Empty());
    EXPECT_TRUE(client.GetLoginCanceled());
    server.Verify();
}

TEST_F(FileCommands, ImportSendsTheDescriptionInOrderAndTheFileAsPayload) {
    const std::string contents("ws\0data\r\n</packet>\r\n", 21);
    const std::string path = MakeFile("import.ws", contents);
    const std::time_t written = LocalSeconds(2020, 5, 17, 10, 30, 0);
    const std::time_t accessed = LocalSeconds(2021, 3, 4, 5, 6, 7);
    const timespec times[2] = {{accessed, 0}, {written, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);

    server.Expect("import_file").Reply(AnswerPacket());
    const TStringList values{"%field=Северное", "%well=12", "%field=Южное"};
    client.ImportFile(7, path, values, true, "sub\\dir");
    server.Verify();

    const test::RecordedRequest& r = server.Request(0);
    EXPECT_EQ(AttrText(r), "cmd=import_file db_id=7 orig_file_name=" + path +
                               " transform_name=True extra_path=sub\\dir");
    // A repeated type binds the value of its first entry; the times follow the values.
    std::string parts;
    for (pugi::xml_node i : r.Command().children())
        parts += std::string(i.name()) + ":" + (i.first_child() ? "" : "no items") + ";";
    for (pugi::xml_node i : r.Command().child("values").children())
        parts += std::string(i.name()) + "[" + AttrText(i) + "]";
    EXPECT_EQ(parts,
              "values:;FileTimes:no items;item[type=%field value=Северное]"
              "item[type=%well value=12]item[type=%field value=Северное]");
    const pugi::xml_node fileTimes = r.Command().child("FileTimes");
    EXPECT_DOUBLE_EQ(fileTimes.attribute("WriteTime").as_double(),
                     EncodeDate(2020, 5, 17) + EncodeTime(10, 30, 0, 0));
    EXPECT_DOUBLE_EQ(fileTimes.attribute("AccessTime").as_double(),
                     EncodeDate(2021, 3, 4) + EncodeTime(5, 6, 7, 0));
    // Birth time, or the status change that setting the times made: today, either way.
    EXPECT_NEAR(fileTimes.attribute("CreateTime").as_double(), Now(), 0.1);
    EXPECT_EQ(r.payload, contents);
    EXPECT_TRUE(Lockable(path));

    // Closed again when the server refuses.
    server.Expect("import_file").Reply(ErrorPacket(13, "нет места"));
    EXPECT_THROW(client.ImportFile(1, path, TStringList{"%well=1"}, false, ""),
                 TOstraClientSocketException);
    EXPECT_TRUE(Lockable(path));
    server.Verify();
}

TEST_F(FileCommands, ALockedOrMissingFileIsNotImported) {
    const std::string locked = MakeFile("locked.ws", "x");
    const int fd = ::open(locked.c_str(), O_RDONLY);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::flock(fd, LOCK_EX | LOCK_NB), 0);
    const std::string missing = (dir / "missing.ws").string();
    for (const std::string& path : {locked, missing}) {
        try {
            client.ImportFile(1, path, TStringList{"%well=1"}, false, "");
            ADD_FAILURE() << "imported " << path;
        } catch (const EFileError& e) {
            EXPECT_NE(std::string(e.what()).find('"' + path + '"'), std::string::npos) << e.what();
        }
    }
    ::close(fd);
    EXPECT_EQ(server.Connections(), 0);
    // What import reads is readable a character at a time too, to its last one.
    detail::ExclusiveInputFile one(MakeFile("one.ws", "x"));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(one.Stream()), {}), "x");
}

TEST_F(FileCommands, BindingsWithoutTypeOrValueStopTheCommandBeforeSending) {
    const std::string path = MakeFile("bind.ws", "x");
    struct Case {
        TStringList values;
        const char* message;
    } cases[] = {
        {{"=1"}, "CreateImportXML: не задан тип привязки"},
        {{"%well"}, "CreateImportXML: не задан тип привязки"},
        {{"%field=A", "%well="}, "CreateImportXML: не задано значение привязки"},
    };
    std::string name;
    const std::function<void(const TStringList&)> commands[] = {
        [&](const TStringList& v) { client.ImportFile(1, path, v, false, ""); },
        [&](const TStringList& v) { client.GetFileName(1, path, v, false, "", name); },
        [&](const TStringList& v) { client.CreateDir(1, v, ""); },
    };
    for (const auto& command : commands)
        for (const Case& c : cases) {
            try {
                command(c.values);
                ADD_FAILURE() << "sent " << c.values.CommaText();
            } catch (const Error& e) {
                EXPECT_STREQ(e.what(), c.message);
            }
        }
    EXPECT_TRUE(Lockable(path));
    EXPECT_EQ(server.Connections(), 0);
}

TEST_F(FileCommands, NameAndDirectoryDescriptions) {
    const std::string local = MakeFile("orig.ws", "x");
    server.Expect("get_file_name").Reply(AnswerPacket(R"(result="${Root_1}\f\orig.ws")"));
    server.Expect("get_file_name").Reply(AnswerPacket(R"(result="n2")"));
    server.Expect("create_directory").Reply(AnswerPacket());
    std::string name;
    client.GetFileName(2, local, TStringList{"%well=5"}, true, "x", name);
    EXPECT_EQ(name, "${Root_1}\\f\\orig.ws");
    client.GetFileName(2, "C:\\elsewhere\\orig.ws", TStringList{}, false, "", name);
    EXPECT_EQ(name, "n2");
    client.CreateDir(3, TStringList{"%well=5"}, "new");
    server.Verify();

    // The times go with an original that exists here.
    EXPECT_TRUE(server.Request(0).Command().child("FileTimes"));
    EXPECT_EQ(test::CommandText(server.Request(1)),
              R"(<command cmd="get_file_name" db_id="2" orig_file_name="C:\elsewhere\orig.ws" )"
              R"(transform_name="False" extra_path=""><values/></command>)");
    EXPECT_EQ(test::CommandText(server.Request(2)),
              R"(<command cmd="create_directory" db_id="3" orig_file_name="" )"
              R"(transform_name="False" extra_path="new"><values><item type="%well" value="5"/>)"
              R"(</values></command>)");
}

}  // namespace
}  // namespace ostradb

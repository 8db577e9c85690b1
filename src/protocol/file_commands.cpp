// Files on the server: contents both ways, importing local files, rights, existence and short
// information, deleting, moving, attributes, directory tracking, files that failed to load.
//
// Which name a single-file command sends matters to the server: "get_file_rights",
// "update_file_info" and "file_exists" take the name without its address prefixes, while
// "get_file_contents" and "put_file_contents" take the caller's name as given (the prefixes
// still choose the server the request goes to).

#include <istream>
#include <optional>
#include <ostream>

#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/string_list.hpp"
#include "ostradb/util/text.hpp"
#include "protocol/command.hpp"
#include "protocol/command_parts.hpp"
#include "protocol/local_file.hpp"

namespace ostradb {

// ---- Request and result classes -----------------------------------------------------------

const PropertyList& TSimpleFileInfoItem::Properties() const {
    static const PropertyList list{
        Prop<&TSimpleFileInfoItem::FileName>("FileName"),
        Prop<&TSimpleFileInfoItem::Database>("Database"),
        Prop<&TSimpleFileInfoItem::IsReadOnly>("IsReadOnly"),
        Prop<&TSimpleFileInfoItem::FileRights>("FileRights"),
    };
    return list;
}

TSimpleFileInfoItem* TSimpleFileInfoItems::Find(std::string_view FileName) {
    for (TSimpleFileInfoItem& item : *this)
        if (SameText(item.FileName, FileName)) return &item;
    return nullptr;
}

const TSimpleFileInfoItem* TSimpleFileInfoItems::Find(std::string_view FileName) const {
    return const_cast<TSimpleFileInfoItems*>(this)->Find(FileName);
}

const PropertyList& TFileNameAndAttr::Properties() const {
    static const PropertyList list{
        Prop<&TFileNameAndAttr::FileName>("FileName"),
        Prop<&TFileNameAndAttr::ReadOnlyAttr>("ReadOnlyAttr"),
    };
    return list;
}

const PropertyList& TSimpleResultLogRec::Properties() const {
    static const PropertyList list{Prop<&TSimpleResultLogRec::ItemName>("ItemName")};
    return list;
}

void TSimpleResultLogRec::SaveToXML(std::string_view, pugi::xml_node node) const {
    xml::SetAttr(node, "Result", static_cast<std::int32_t>(Result));
}

void TSimpleResultLogRec::LoadFromXML(std::string_view, pugi::xml_node node) {
    Result = static_cast<std::uint8_t>(xml::AttrInt(node, "Result"));
}

bool TSimpleResultLog::ContainsErrors() const {
    for (const TSimpleResultLogRec& rec : *this)
        if (rec.Result != 0) return true;
    return false;
}

void TErroneousFile::SaveToXML(std::string_view, pugi::xml_node node) const {
    xml::SetAttr(node, "id", Id);
    xml::SetAttr(node, "file_name", FileName);
    xml::SetAttr(node, "error_msg", ErrorMsg);
    xml::SetAttrFloat(node, "ch_time", ChTime);
    xml::SetAttr(node, "flags", Flags);
}

void TErroneousFile::LoadFromXML(std::string_view, pugi::xml_node node) {
    Id = xml::AttrInt(node, "id");
    FileName = xml::Attr(node, "file_name");
    ErrorMsg = xml::Attr(node, "error_msg");
    ChTime = xml::AttrFloat(node, "ch_time");
    Flags = xml::AttrInt(node, "flags");
}

void TErroneousFiles::SaveToXML(pugi::xml_node node) const {
    ostradb::SaveToXML(this, "", node);
}

void TErroneousFiles::LoadFromXML(pugi::xml_node node) {
    ostradb::LoadFromXML(this, "", node);
}

// ---- Commands -----------------------------------------------------------------------------

namespace {

// What "import_file", "get_file_name" and "create_directory" say about the file, in the
// order the server reads it. times is null when there is no local original.
void WriteImportDescription(pugi::xml_node command, std::int32_t dbId,
                            const std::string& origFileName, bool transformName,
                            const std::string& extraPath, const TStringList& values,
                            const detail::LocalFileTimes* times) {
    xml::SetAttr(command, "db_id", dbId);
    xml::SetAttr(command, "orig_file_name", origFileName);
    xml::SetBoolAttr(command, "transform_name", transformName);
    xml::SetAttr(command, "extra_path", extraPath);
    pugi::xml_node bindings = command.append_child("values");
    for (int i = 0; i < values.Count(); ++i) {
        const std::string type = values.Names(i);
        if (type.empty()) throw Error("CreateImportXML: не задан тип привязки");
        // A repeated type binds the value of its first entry.
        const std::string value = values.Values(type);
        if (value.empty()) throw Error("CreateImportXML: не задано значение привязки");
        pugi::xml_node item = bindings.append_child("item");
        xml::SetAttr(item, "type", type);
        xml::SetAttr(item, "value", value);
    }
    if (!times) return;
    pugi::xml_node fileTimes = command.append_child("FileTimes");
    xml::SetAttrFloat(fileTimes, "CreateTime", times->Create);
    xml::SetAttrFloat(fileTimes, "WriteTime", times->Write);
    xml::SetAttrFloat(fileTimes, "AccessTime", times->Access);
}

// The times of a local original, when there is one.
std::optional<detail::LocalFileTimes> OriginalTimes(const std::string& origFileName) {
    detail::LocalFileTimes times;
    if (!detail::GetLocalFileTimes(origFileName, times)) return std::nullopt;
    return times;
}

// A request with the single file name "file_name".
detail::Answer SendFileCommand(TOstraDbProtocol& client, const char* cmd,
                               const std::string& fileName) {
    detail::Request req(client, cmd);
    req.Set("file_name", fileName);
    return req.Exchange();
}

}  // namespace

TUserRights TOstraDbProtocol::GetFileRights(const std::string& FileName) {
    detail::HostPortGuard hostPort(*this);
    const detail::Answer ans = SendFileCommand(*this, "get_file_rights", CheckFileName(FileName));
    if (GetLoginCanceled()) return TUserRights();
    return RightBitsToSet(static_cast<std::uint32_t>(xml::AttrInt64(ans.answer, "rights")));
}

void TOstraDbProtocol::GetFileContents(const std::string& FileName, std::ostream* Stream) {
    detail::HostPortGuard hostPort(*this);
    CheckFileName(FileName);
    detail::Request req(*this, "get_file_contents");
    req.Set("file_name", FileName);
    req.Exchange(nullptr, Stream);
}

void TOstraDbProtocol::GetFileContentsEx(const std::string& FileName, std::ostream* Stream,
                                         TFileInfo& Info) {
    detail::HostPortGuard hostPort(*this);
    CheckFileName(FileName);
    detail::Request req(*this, "get_file_contents");
    req.Set("file_name", FileName);
    const detail::Answer ans = req.Exchange(nullptr, Stream);
    if (xml::HasAttr(ans.answer, "RealFileName"))
        Info.RealFileName = xml::Attr(ans.answer, "RealFileName");
    const pugi::xml_node times = xml::Child(ans.answer, "FileTimes");
    Info.CreateTime = xml::AttrFloat(times, "CreateTime");
    Info.WriteTime = xml::AttrFloat(times, "WriteTime");
    Info.AccessTime = xml::AttrFloat(times, "AccessTime");
}

void TOstraDbProtocol::PutFileContents(const std::string& FileName, std::istream* Stream) {
    detail::HostPortGuard hostPort(*this);
    CheckFileName(FileName);
    detail::Request req(*this, "put_file_contents");
    req.Set("file_name", FileName);
    req.Exchange(Stream);
}

void TOstraDbProtocol::ImportFile(std::int32_t DbId, const std::string& FileName,
                                  const TStringList& Values, bool TransformName,
                                  const std::string& ExtraPath) {
    detail::ExclusiveInputFile file(FileName);
    const detail::LocalFileTimes times = file.Times();
    detail::Request req(*this, "import_file");
    WriteImportDescription(req.command, DbId, FileName, TransformName, ExtraPath, Values, &times);
    req.Exchange(&file.Stream());
}

void TOstraDbProtocol::GetFileName(std::int32_t DbId, const std::string& OrigFileName,
                                   const TStringList& Values, bool TransformName,
                                   const std::string& ExtraPath, std::string& Name) {
    const std::optional<detail::LocalFileTimes> times = OriginalTimes(OrigFileName);
    detail::Request req(*this, "get_file_name");
    WriteImportDescription(req.command, DbId, OrigFileName, TransformName, ExtraPath, Values,
                           times ? &*times : nullptr);
    Name = xml::Attr(req.Exchange().answer, "result");
}

void TOstraDbProtocol::CreateDir(std::int32_t DbId, const TStringList& Values,
                                 const std::string& ExtraPath) {
    detail::Request req(*this, "create_directory");
    WriteImportDescription(req.command, DbId, "", false, ExtraPath, Values, nullptr);
    req.Exchange();
}

void TOstraDbProtocol::UpdateFileInfo(const std::string& FileName) {
    detail::HostPortGuard hostPort(*this);
    SendFileCommand(*this, "update_file_info", CheckFileName(FileName));
}

bool TOstraDbProtocol::FileExists(const std::string& FileName) {
    detail::HostPortGuard hostPort(*this);
    return xml::AttrBool(SendFileCommand(*this, "file_exists", CheckFileName(FileName)).answer,
                         "result");
}

void TOstraDbProtocol::DeleteFiles(const TStringList& Files, TSimpleResultLog& Log) {
    detail::HostPortGuard hostPort(*this);
    const TStringList names = detail::CheckedCopy(*this, Files);
    detail::Request req(*this, "delete_files");
    SaveToXML(names, "FileNames", req.command);
    const detail::Answer ans = req.Exchange();
    LoadFromXML(Log, "Log", ans.answer);
}

void TOstraDbProtocol::MoveFile(const std::string& Source, const std::string& Destination) {
    detail::Request req(*this, "move_file");
    req.Set("ScrFileName", Source).Set("DstFileName", Destination);
    req.Exchange();
}

void TOstraDbProtocol::SetFsTrackingMode(std::int32_t DbId, bool Mode) {
    detail::Request req(*this, "set_fs_tracking_mode");
    req.Set("DbId", DbId);
    xml::SetBoolAttr(req.command, "Mode", Mode);
    req.Exchange();
}

void TOstraDbProtocol::RequestErroneousFilesList(std::int32_t DbId, TErroneousFiles& Files) {
    detail::Request req(*this, "get_erroneous_files");
    req.Set("db_id", DbId);
    Files.LoadFromXML(req.Exchange().answer);
}

void TOstraDbProtocol::GetBlockedFilesList(std::int32_t DbId, TStringList& Names) {
    detail::Request req(*this, "get_blocked_files");
    req.Set("db_id", DbId);
    const detail::Answer ans = req.Exchange();
    LoadFromXML(Names, "BlockedFiles", ans.answer);
}

void TOstraDbProtocol::GetSimpleFileInfo(const TStringList& Files, TSimpleFileInfoItems& Info) {
    Info.Clear();
    detail::HostPortGuard hostPort(*this);
    const TStringList names = detail::CheckedCopy(*this, Files);
    detail::Request req(*this, "get_simple_files_info");
    SaveToXML(names, "FileNames", req.command);
    const detail::Answer ans = req.Exchange();
    LoadFromXML(Info, "Result", ans.answer);
}

void TOstraDbProtocol::ChangeFilesAttributes(const TChangeFileAttrItems& Items) {
    detail::HostPortGuard hostPort(*this);
    TChangeFileAttrItems checked;
    checked.Assign(Items);
    for (TFileNameAndAttr& item : checked)
        item.FileName = CheckFileName(item.FileName);
    detail::Request req(*this, "change_files_attributes");
    SaveToXML(checked, "Data", req.command);
    req.Exchange();
}

}  // namespace ostradb

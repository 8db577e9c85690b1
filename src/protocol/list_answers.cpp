#include "protocol/list_answers.hpp"

#include "ostradb/serial/xml.hpp"
#include "protocol/wire.hpp"

namespace ostradb::detail {

void FileRecords::Read(const xml::Record& record) {
    ReadFile(list_.Add(), record.Root(), levels_);
}

void ParseRecord(const xml::Record& record, pugi::xml_document& doc) {
    xml::Parse(doc, wire::DecodeText(record.raw));
}

}  // namespace ostradb::detail

#include "protocol/list_answers.hpp"

#include "ostradb/serial/xml.hpp"
#include "protocol/wire.hpp"

namespace ostradb::detail {

void FileRecords::Read(const xml::Record& record) {
    ReadFile(list_.Add(), record.Root(), levels_);
}

void ParsedRecords::Read(const xml::Record& record) {
    xml::Parse(doc_, wire::DecodeText(record.raw));
    take_(doc_.document_element());
}

}  // namespace ostradb::detail

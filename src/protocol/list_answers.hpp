#pragma once

// The sinks of the list commands: where the records of their answers go as they arrive.

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include <pugixml.hpp>

#include "model/level_files_read.hpp"
#include "ostradb/model/level_files.hpp"
#include "protocol/answer_stream.hpp"

namespace ostradb::detail {

// The record's text parsed into doc.
void ParseRecord(const xml::Record& record, pugi::xml_document& doc);

// The "file" children of "answer", read into a list.
class FileRecords : public AnswerSink {
public:
    FileRecords(TLevelFilesList& list, const TDbStruct* structure)
        : AnswerSink({"file"}), list_(list), levels_(structure) {}

protected:
    void Drop() override { list_.Clear(); }
    void Read(const xml::Record& record) override;

private:
    TLevelFilesList& list_;
    const PathLevels levels_;
};

// Records handed to take, either as their trees (Node xml::RecordNode) or parsed on their own
// (pugi::xml_node, for readers of parsed elements; the records are small) as the root of
// their document; drop empties the result.
template <class Node>
class RecordsTo : public AnswerSink {
public:
    RecordsTo(std::vector<std::string> path, std::function<void()> drop,
              std::function<void(Node)> take)
        : AnswerSink(std::move(path)), drop_(std::move(drop)), take_(std::move(take)) {}

protected:
    void Drop() override { drop_(); }
    void Read(const xml::Record& record) override {
        if constexpr (std::is_same_v<Node, pugi::xml_node>) {
            ParseRecord(record, doc_);
            take_(doc_.document_element());
        } else {
            take_(record.Root());
        }
    }

private:
    std::function<void()> drop_;
    std::function<void(Node)> take_;
    pugi::xml_document doc_;
};
using TreeRecords = RecordsTo<xml::RecordNode>;
using ParsedRecords = RecordsTo<pugi::xml_node>;

}  // namespace ostradb::detail

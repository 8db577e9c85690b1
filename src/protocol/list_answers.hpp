#pragma once

// The sinks of the list commands: where the records of their answers go as they arrive.

#include <functional>
#include <string>
#include <vector>

#include <pugixml.hpp>

#include "model/level_files_read.hpp"
#include "ostradb/model/level_files.hpp"
#include "protocol/answer_stream.hpp"

namespace ostradb::detail {

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

// Records read as their trees by take; drop empties the result.
class TreeRecords : public AnswerSink {
public:
    TreeRecords(std::vector<std::string> path, std::function<void()> drop,
                std::function<void(xml::RecordNode)> take)
        : AnswerSink(std::move(path)), drop_(std::move(drop)), take_(std::move(take)) {}

protected:
    void Drop() override { drop_(); }
    void Read(const xml::Record& record) override { take_(record.Root()); }

private:
    std::function<void()> drop_;
    std::function<void(xml::RecordNode)> take_;
};

// Records read by a reader of parsed elements: each record is parsed on its own (they are
// small) and handed over as the root of its document; drop empties the result.
class ParsedRecords : public AnswerSink {
public:
    ParsedRecords(std::vector<std::string> path, std::function<void()> drop,
                  std::function<void(pugi::xml_node)> take)
        : AnswerSink(std::move(path)), drop_(std::move(drop)), take_(std::move(take)) {}

protected:
    void Drop() override { drop_(); }
    void Read(const xml::Record& record) override;

private:
    std::function<void()> drop_;
    std::function<void(pugi::xml_node)> take_;
    pugi::xml_document doc_;
};

}  // namespace ostradb::detail

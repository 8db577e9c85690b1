#pragma once

// Answers read as their bytes arrive. A list answer (the files of a level, level values,
// search results) can run to hundreds of megabytes; instead of holding its text, a decoded
// copy and a DOM at once, the reader cuts the records (say, each "file" child of "answer")
// out of the byte stream one by one, hands each to a sink as a compact tree, and keeps only
// the rest of the packet (root, "error", the "answer" element's own attributes), which it
// parses into a document at the end so that the exchange treats it like any other answer.
//
// The reader works on bytes alone: feed it a packet's Windows-1251 bytes in pieces of any
// size and call Finish, no socket needed (tests and fuzz targets do exactly that).

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

#include "serial/xml_record.hpp"

namespace ostradb::detail {

// Receives the records of a final answer as they arrive. The caller's result is emptied only
// when the first record arrives (or an answer without records was read in full): a request
// that fails before it leaves the result as it was.
class AnswerSink {
public:
    // path: the names of the elements from "answer" down to a record: {"file"}, or
    // {"level_values", "item"}. Along the way only the first element of each name counts,
    // as for a reader that looks its way down a parsed answer with child(name).
    explicit AnswerSink(std::vector<std::string> path) : path_(std::move(path)) {}
    virtual ~AnswerSink();
    AnswerSink(const AnswerSink&) = delete;
    AnswerSink& operator=(const AnswerSink&) = delete;

    const std::vector<std::string>& Path() const { return path_; }
    // A final answer begins (again after a new login), or the request failed: what an
    // earlier answer gave goes.
    void Start() {
        if (taken_) Drop();
        taken_ = false;
    }
    // One record, whole; valid during the call only.
    void Take(const xml::Record& record) {
        if (!taken_) Drop();
        taken_ = true;
        Read(record);
    }
    // The request succeeded.
    void Complete() {
        if (!taken_) Drop();
    }

protected:
    // Empties the result (of what this request put there).
    virtual void Drop() = 0;
    virtual void Read(const xml::Record& record) = 0;

private:
    std::vector<std::string> path_;
    bool taken_ = false;
};

// Reads one packet. Without a sink, or for an information packet, nothing is cut out.
class AnswerReader {
public:
    // maxHeld bounds what is held at once: one record, the rest of the packet, or one
    // unfinished piece of markup.
    AnswerReader(AnswerSink* sink, std::size_t maxHeld);

    // The next bytes of the packet, in order.
    void Feed(std::string_view bytes);
    // All of the packet has been fed: its text without the records, parsed into doc
    // (EXmlError when malformed, Error when it has no root element).
    void Finish(pugi::xml_document& doc);

private:
    void Parse();
    bool Text();
    bool Special();
    bool Question();
    bool EndTag();
    bool StartTag();
    // Parses the start tag at pos_ into record under parent; false when it is incomplete.
    bool ReadStartTag(xml::Record& record, std::int32_t parent, std::size_t& end, bool& empty,
                      std::size_t& nameEnd);
    bool ReadValue(xml::Record& record, std::size_t& at, char quote);
    void Opened(std::string_view name, bool empty);
    void Closed();
    void Deliver(std::size_t end);
    void Keep(std::size_t from, std::size_t to);
    bool InRecord() const { return recordStart_ != kNone; }
    bool InRecordParent() const;
    [[noreturn]] void Fail(const std::string& what, std::size_t at) const;

    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    AnswerSink* sink_;
    std::size_t maxHeld_;
    bool records_ = false;  // the root is known, and records are cut out of this packet
    bool rootSeen_ = false;

    std::string buffer_;  // bytes not yet parsed (and those of the record being read)
    std::size_t pos_ = 0;
    std::size_t dropped_ = 0;  // bytes dropped from buffer_'s front so far
    std::string skeleton_;     // the packet without its records, Windows-1251

    // Open elements: their raw names back to back, and where each starts.
    std::string names_;
    std::vector<std::size_t> nameStarts_;
    // Depth of the deepest open element on the way to the records, and for each depth
    // whether its element of the path's name was already seen.
    std::size_t onPath_ = 0;
    std::vector<bool> seen_;

    std::size_t recordStart_ = kNone;    // in buffer_
    std::vector<std::int32_t> parents_;  // open elements of the record
    xml::Record record_;
    xml::Record scratch_;  // start tags outside records
};

}  // namespace ostradb::detail

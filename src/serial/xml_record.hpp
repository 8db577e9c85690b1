#pragma once

// One element of a streamed answer with everything in it, as compact arrays: its elements
// with their attributes (names and values decoded to UTF-8, entities expanded, the way
// pugixml reads them), in document order. Text, comments and the like are not kept: the
// readers of list answers look at elements and attributes only.
//
// RecordNode and RecordAttribute offer the part of pugixml's node interface that the model's
// readers use, so that one reader template serves a parsed document and a streamed answer.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace ostradb::xml {

class RecordNode;

class Record {
public:
    struct Element {
        std::uint32_t name;  // offset in text
        std::uint32_t firstAttribute;
        std::uint32_t endAttribute;
        std::int32_t firstChild = -1;
        std::int32_t lastChild = -1;
        std::int32_t nextSibling = -1;
    };
    struct Attribute {
        std::uint32_t name;  // offsets in text
        std::uint32_t value;
    };

    // The element's raw bytes as they arrived (Windows-1251), for readers that need a DOM.
    std::string_view raw;

    RecordNode Root() const;
    const char* Text(std::uint32_t offset) const { return text_.data() + offset; }
    const Element& ElementAt(std::int32_t i) const {
        return elements_[static_cast<std::size_t>(i)];
    }
    const Attribute& AttributeAt(std::uint32_t i) const { return attributes_[i]; }

    // Building, for the answer reader. Names and values are appended to TextBuffer and ended
    // with EndText, which returns their offset.
    void Clear();
    std::string& TextBuffer() { return text_; }
    std::uint32_t TextSize() const { return static_cast<std::uint32_t>(text_.size()); }
    std::uint32_t EndText(std::uint32_t start) {
        text_ += '\0';
        return start;
    }
    // A new element named by the text at name, child of parent (-1 for the root).
    std::int32_t AddElement(std::int32_t parent, std::uint32_t name);
    void AddAttribute(std::int32_t element, std::uint32_t name, std::uint32_t value);
    // Undoes everything added after a mark (a tag that turned out to be incomplete).
    struct Mark {
        std::size_t elements, attributes, text;
        std::int32_t parentLast;
    };
    Mark MarkAt(std::int32_t parent) const;
    void Rewind(std::int32_t parent, const Mark& mark);

private:
    std::vector<Element> elements_;
    std::vector<Attribute> attributes_;
    std::string text_;
};

class RecordAttribute {
public:
    RecordAttribute() = default;
    RecordAttribute(const Record* record, std::uint32_t i, std::uint32_t end)
        : record_(record), i_(i), end_(end) {}
    explicit operator bool() const { return record_ && i_ < end_; }
    const char* name() const { return *this ? record_->Text(record_->AttributeAt(i_).name) : ""; }
    const char* value() const { return *this ? record_->Text(record_->AttributeAt(i_).value) : ""; }
    RecordAttribute next_attribute() const {
        return *this ? RecordAttribute(record_, i_ + 1, end_) : RecordAttribute();
    }

private:
    const Record* record_ = nullptr;
    std::uint32_t i_ = 0;
    std::uint32_t end_ = 0;
};

class RecordNode {
public:
    RecordNode() = default;
    RecordNode(const Record* record, std::int32_t i) : record_(i >= 0 ? record : nullptr), i_(i) {}
    explicit operator bool() const { return record_ != nullptr; }
    // Only elements are kept.
    pugi::xml_node_type type() const { return *this ? pugi::node_element : pugi::node_null; }
    const char* name() const { return *this ? record_->Text(Self().name) : ""; }
    RecordAttribute first_attribute() const {
        return *this ? RecordAttribute(record_, Self().firstAttribute, Self().endAttribute)
                     : RecordAttribute();
    }
    RecordAttribute attribute(std::string_view name) const;
    RecordNode first_child() const {
        return *this ? RecordNode(record_, Self().firstChild) : RecordNode();
    }
    RecordNode next_sibling() const {
        return *this ? RecordNode(record_, Self().nextSibling) : RecordNode();
    }
    RecordNode child(std::string_view name) const;
    RecordNode next_sibling(std::string_view name) const;

private:
    const Record::Element& Self() const { return record_->ElementAt(i_); }

    const Record* record_ = nullptr;
    std::int32_t i_ = -1;
};

// The conversions of xml.hpp for record nodes, with the same errors.
bool HasAttr(RecordNode node, const char* name);
std::string Attr(RecordNode node, const char* name);
std::int32_t AttrInt(RecordNode node, const char* name);
std::int64_t AttrInt64(RecordNode node, const char* name);
double AttrFloat(RecordNode node, const char* name);
bool AttrBool(RecordNode node, const char* name);

}  // namespace ostradb::xml

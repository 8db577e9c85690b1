#include "serial/xml_record.hpp"

#include "serial/xml_convert.hpp"

namespace ostradb::xml {

RecordNode Record::Root() const {
    return RecordNode(this, elements_.empty() ? -1 : 0);
}

void Record::Clear() {
    elements_.clear();
    attributes_.clear();
    text_.clear();
    raw = {};
}

std::int32_t Record::AddElement(std::int32_t parent, std::uint32_t name) {
    const auto i = static_cast<std::int32_t>(elements_.size());
    const auto attrs = static_cast<std::uint32_t>(attributes_.size());
    elements_.push_back({name, attrs, attrs});
    if (parent >= 0) {
        Element& p = elements_[static_cast<std::size_t>(parent)];
        if (p.lastChild < 0)
            p.firstChild = i;
        else
            elements_[static_cast<std::size_t>(p.lastChild)].nextSibling = i;
        p.lastChild = i;
    }
    return i;
}

void Record::AddAttribute(std::int32_t element, std::uint32_t name, std::uint32_t value) {
    attributes_.push_back({name, value});
    elements_[static_cast<std::size_t>(element)].endAttribute =
        static_cast<std::uint32_t>(attributes_.size());
}

Record::Mark Record::MarkAt(std::int32_t parent) const {
    return {elements_.size(), attributes_.size(), text_.size(),
            parent >= 0 ? elements_[static_cast<std::size_t>(parent)].lastChild : -1};
}

void Record::Rewind(std::int32_t parent, const Mark& mark) {
    elements_.resize(mark.elements);
    attributes_.resize(mark.attributes);
    text_.resize(mark.text);
    if (parent < 0) return;
    Element& p = elements_[static_cast<std::size_t>(parent)];
    p.lastChild = mark.parentLast;
    if (mark.parentLast < 0)
        p.firstChild = -1;
    else
        elements_[static_cast<std::size_t>(mark.parentLast)].nextSibling = -1;
}

RecordAttribute RecordNode::attribute(std::string_view name) const {
    for (RecordAttribute a = first_attribute(); a; a = a.next_attribute())
        if (name == a.name()) return a;
    return {};
}

RecordNode RecordNode::child(std::string_view name) const {
    for (RecordNode c = first_child(); c; c = c.next_sibling())
        if (name == c.name()) return c;
    return {};
}

RecordNode RecordNode::next_sibling(std::string_view name) const {
    for (RecordNode c = next_sibling(); c; c = c.next_sibling())
        if (name == c.name()) return c;
    return {};
}

bool HasAttr(RecordNode node, const char* name) {
    return static_cast<bool>(node.attribute(name));
}

std::string Attr(RecordNode node, const char* name) {
    return node.attribute(name).value();
}

std::int32_t AttrInt(RecordNode node, const char* name) {
    return detail::AttrInt(node, name);
}

std::int64_t AttrInt64(RecordNode node, const char* name) {
    return detail::AttrInt64(node, name);
}

double AttrFloat(RecordNode node, const char* name) {
    return detail::AttrFloat(node, name);
}

bool AttrBool(RecordNode node, const char* name) {
    return detail::AttrBool(node, name);
}

}  // namespace ostradb::xml

#include "ostradb/serial/xml.hpp"

#include <algorithm>
#include <cstring>
#include <string>

#include "ostradb/util/exceptions.hpp"
#include "ostradb/util/numbers.hpp"
#include "serial/xml_convert.hpp"

namespace ostradb::xml {

namespace {

pugi::xml_attribute AttrForWrite(pugi::xml_node node, const char* name) {
    pugi::xml_attribute a = node.attribute(name);
    return a ? a : node.append_attribute(name);
}

class StringWriter : public pugi::xml_writer {
public:
    StringWriter(std::string& out, std::string_view lineBreak) : out_(out), lineBreak_(lineBreak) {}
    void write(const void* data, size_t size) override {
        const char* p = static_cast<const char*>(data);
        const char* end = p + size;
        if (lineBreak_ == "\n") {
            out_.append(p, size);
            return;
        }
        while (p < end) {
            const char* nl =
                static_cast<const char*>(memchr(p, '\n', static_cast<size_t>(end - p)));
            if (!nl) {
                out_.append(p, end);
                break;
            }
            out_.append(p, nl);
            out_.append(lineBreak_);
            p = nl + 1;
        }
    }

private:
    std::string& out_;
    std::string_view lineBreak_;
};

}  // namespace

pugi::xml_node Child(pugi::xml_node node, const char* name) {
    pugi::xml_node c = node.child(name);
    return c ? c : node.append_child(name);
}

bool HasAttr(pugi::xml_node node, const char* name) {
    return static_cast<bool>(node.attribute(name));
}

std::string Attr(pugi::xml_node node, const char* name) {
    return node.attribute(name).value();
}

std::string_view AttrView(pugi::xml_node node, const char* name) {
    return node.attribute(name).value();
}

std::int32_t AttrInt(pugi::xml_node node, const char* name) {
    return detail::AttrInt(node, name);
}

std::int64_t AttrInt64(pugi::xml_node node, const char* name) {
    return detail::AttrInt64(node, name);
}

double AttrFloat(pugi::xml_node node, const char* name) {
    return detail::AttrFloat(node, name);
}

bool AttrBool(pugi::xml_node node, const char* name) {
    return detail::AttrBool(node, name);
}

void SetAttr(pugi::xml_node node, const char* name, std::string_view value) {
    AttrForWrite(node, name).set_value(std::string(value).c_str());
}

void SetAttr(pugi::xml_node node, const char* name, const char* value) {
    AttrForWrite(node, name).set_value(value);
}

void SetAttr(pugi::xml_node node, const char* name, std::int64_t value) {
    AttrForWrite(node, name).set_value(static_cast<long long>(value));
}

void SetAttr(pugi::xml_node node, const char* name, std::int32_t value) {
    AttrForWrite(node, name).set_value(value);
}

void SetAttr(pugi::xml_node node, const char* name, std::uint32_t value) {
    AttrForWrite(node, name).set_value(value);
}

void SetAttrFloat(pugi::xml_node node, const char* name, double value) {
    AttrForWrite(node, name).set_value(FloatToStr(value).c_str());
}

void SetBoolXmlAttr(pugi::xml_node node, const char* name, bool value) {
    AttrForWrite(node, name).set_value(value ? "true" : "false");
}

void SetBoolAttr(pugi::xml_node node, const char* name, bool value) {
    AttrForWrite(node, name).set_value(value ? "True" : "False");
}

void Parse(pugi::xml_document& doc, std::string_view utf8Text) {
    const pugi::xml_parse_result r = doc.load_buffer(
        utf8Text.data(), utf8Text.size(),
        pugi::parse_default | pugi::parse_declaration | pugi::parse_ws_pcdata_single,
        pugi::encoding_utf8);
    // Text without a root element is not an error here: callers decide what an empty
    // document means.
    if (r || r.status == pugi::status_no_document_element) return;
    const auto offset = static_cast<std::size_t>(r.offset);
    std::string near;
    if (offset < utf8Text.size()) {
        std::size_t n = std::min<std::size_t>(utf8Text.size() - offset, 24);
        // Do not end the excerpt inside a multi-byte character.
        while (n > 0 && offset + n < utf8Text.size() &&
               (static_cast<unsigned char>(utf8Text[offset + n]) & 0xC0) == 0x80)
            --n;
        near = std::string(utf8Text.substr(offset, n));
    }
    std::string msg = "Malformed XML: ";
    msg += r.description();
    msg += " at offset " + std::to_string(r.offset);
    if (!near.empty()) msg += " near \"" + near + "\"";
    throw EXmlError(msg, r.offset);
}

std::string ToText(const pugi::xml_document& doc, bool indent, std::string_view lineBreak) {
    std::string out;
    StringWriter writer(out, lineBreak);
    const unsigned flags =
        pugi::format_no_declaration | (indent ? pugi::format_indent : pugi::format_raw);
    doc.save(writer, "  ", flags, pugi::encoding_utf8);
    return out;
}

pugi::xml_node NewDocument(pugi::xml_document& doc, const char* encoding, const char* rootName) {
    doc.reset();
    pugi::xml_node decl = doc.append_child(pugi::node_declaration);
    decl.append_attribute("version") = "1.0";
    decl.append_attribute("encoding") = encoding;
    return doc.append_child(rootName);
}

}  // namespace ostradb::xml

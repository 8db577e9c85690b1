#include "ostradb/serial/xml_serializer.hpp"

#include <cstring>
#include <fstream>
#include <initializer_list>
#include <sstream>
#include <string>
#include <string_view>

#include "ostradb/serial/properties.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/util/code_pages.hpp"
#include "ostradb/util/collection.hpp"
#include "ostradb/util/exceptions.hpp"
#include "ostradb/util/numbers.hpp"
#include "ostradb/util/string_list.hpp"
#include "ostradb/util/text.hpp"
#include "ostradb/util/variant.hpp"
#include "util/float_text.hpp"

namespace ostradb {

TXmlSerialized::~TXmlSerialized() = default;
void TXmlSerialized::SaveToXML(std::string_view, pugi::xml_node) const {}
void TXmlSerialized::LoadFromXML(std::string_view, pugi::xml_node) {}
TXmlSerializedCollectionItem::~TXmlSerializedCollectionItem() = default;

namespace {

constexpr const char* kItem = "Item";

void WriteInto(const Persistent& obj, std::string_view name, pugi::xml_node target);
void ReadFrom(Persistent& obj, std::string_view name, pugi::xml_node source);

[[noreturn]] void NotSerialisableItems() {
    throw Error("The items of this collection are not serialisable objects");
}

void WriteProperties(const Persistent& obj, pugi::xml_node target) {
    for (const PropInfo& p : obj.Properties()) {
        if (!p.IsStored(obj)) continue;
        switch (p.kind) {
            case PropKind::Integer:
            case PropKind::Char:
            case PropKind::Enumeration:
            case PropKind::Set:
                target.append_attribute(p.name).set_value(
                    static_cast<long long>(p.getOrdinal(obj)));
                break;
            case PropKind::Int64:
                break;  // read, never written
            case PropKind::Float: {
                char buf[32];
                const std::size_t n = detail::FormatFloat(buf, p.getFloat(obj), p.single);
                buf[n] = '\0';
                target.append_attribute(p.name).set_value(buf);
                break;
            }
            case PropKind::String:
                if (p.refString)
                    target.append_attribute(p.name).set_value(p.refString(obj)->c_str());
                else
                    target.append_attribute(p.name).set_value(p.getString(obj).c_str());
                break;
            case PropKind::Variant: {
                std::string text, type;
                varCastToString(p.getVariant(obj), text, type);
                target.append_attribute(p.name).set_value(text.c_str());
                const std::string typeAttr = std::string("VarType_") + p.name;
                target.append_attribute(typeAttr.c_str()).set_value(type.c_str());
                break;
            }
            case PropKind::Object:
                if (const Persistent* child = p.getObject(obj))
                    WriteInto(*child, p.name, target.append_child(p.name));
                break;
        }
    }
}

void WriteInto(const Persistent& obj, std::string_view name, pugi::xml_node target) {
    if (const auto* hooked = dynamic_cast<const TXmlSerialized*>(&obj)) {
        hooked->SaveToXML(name, target);
    } else if (const auto* list = dynamic_cast<const TStringList*>(&obj)) {
        for (const std::string& s : *list)
            target.append_child(kItem).append_child(pugi::node_pcdata).set_value(s.c_str());
        return;
    } else if (const auto* coll = dynamic_cast<const CollectionBase*>(&obj)) {
        for (int i = 0, n = coll->Count(); i < n; ++i) {
            const Persistent* item = coll->ItemObject(i);
            if (!item) NotSerialisableItems();
            WriteInto(*item, kItem, target.append_child(kItem));
        }
        return;
    }
    WriteProperties(obj, target);
}

// Attributes are looked up in declaration order first, so that reading what the serializer
// wrote costs one comparison per property.
class AttrCursor {
public:
    explicit AttrCursor(pugi::xml_node node) : node_(node), next_(node.first_attribute()) {}
    pugi::xml_attribute Find(const char* name) {
        if (next_ && std::strcmp(next_.name(), name) == 0) {
            pugi::xml_attribute found = next_;
            next_ = next_.next_attribute();
            return found;
        }
        pugi::xml_attribute found = node_.attribute(name);
        if (found) next_ = found.next_attribute();
        return found;
    }

private:
    pugi::xml_node node_;
    pugi::xml_attribute next_;
};

bool ParseOrdinal(const char* text, std::int64_t& value) {
    const std::size_t n = std::strlen(text);
    auto is = [&](const char* word, std::size_t len) {
        if (n != len) return false;
        for (std::size_t i = 0; i < n; ++i)
            if ((text[i] | 0x20) != word[i]) return false;
        return true;
    };
    if (is("true", 4)) {
        value = 1;
        return true;
    }
    if (is("false", 5)) {
        value = 0;
        return true;
    }
    return TryStrToInt64(text, value);
}

void ReadProperties(Persistent& obj, pugi::xml_node source) {
    AttrCursor attrs(source);
    for (const PropInfo& p : obj.Properties()) {
        if (!p.IsStored(obj)) continue;
        if (p.kind != PropKind::Object && !p.HasSetter())
            throw Error(std::string("Не определён метод Set для свойства \"") + p.name + "\"");
        switch (p.kind) {
            case PropKind::Integer:
            case PropKind::Char:
            case PropKind::Enumeration:
            case PropKind::Set:
            case PropKind::Int64: {
                std::int64_t v;
                const pugi::xml_attribute a = attrs.Find(p.name);
                if (a && ParseOrdinal(a.value(), v))
                    p.setOrdinal(obj, v);
                else if (p.hasDefault)
                    p.setOrdinal(obj, p.defaultValue);
                break;
            }
            case PropKind::Float:
                if (const pugi::xml_attribute a = attrs.Find(p.name))
                    p.setFloat(obj, StrToFloat(a.value()));
                break;
            case PropKind::String:
                if (const pugi::xml_attribute a = attrs.Find(p.name)) p.setString(obj, a.value());
                break;
            case PropKind::Variant:
                if (const pugi::xml_attribute a = attrs.Find(p.name)) {
                    const std::string typeAttr = std::string("VarType_") + p.name;
                    const pugi::xml_attribute t = source.attribute(typeAttr.c_str());
                    Variant v;
                    // Without a type the text is taken as a string; a value that does not
                    // convert to its type leaves the property as it was.
                    if (varCastFromString(a.value(), t ? t.value() : "varString", v))
                        p.setVariant(obj, v);
                }
                break;
            case PropKind::Object:
                if (Persistent* child = p.getObject(obj))
                    ReadFrom(*child, p.name, xml::Child(source, p.name));
                break;
        }
    }
}

void ReadFrom(Persistent& obj, std::string_view name, pugi::xml_node source) {
    if (auto* hooked = dynamic_cast<TXmlSerialized*>(&obj)) {
        hooked->LoadFromXML(name, source);
    } else if (auto* list = dynamic_cast<TStringList*>(&obj)) {
        list->Clear();
        for (pugi::xml_node c = source.child(kItem); c; c = c.next_sibling(kItem))
            list->Add(c.text().get());
        return;
    } else if (auto* coll = dynamic_cast<CollectionBase*>(&obj)) {
        coll->Clear();
        for (pugi::xml_node c = source.child(kItem); c; c = c.next_sibling(kItem)) {
            Persistent* item = coll->AddItemObject();
            if (!item) NotSerialisableItems();
            ReadFrom(*item, kItem, c);
        }
        return;
    }
    ReadProperties(obj, source);
}

std::string NullTerminated(std::string_view s) {
    return std::string(s);
}

}  // namespace

void SaveToXML(const Persistent* obj, std::string_view name, pugi::xml_node node) {
    if (!obj) return;
    if (name.empty())
        WriteInto(*obj, name, node);
    else
        WriteInto(*obj, name, node.append_child(NullTerminated(name).c_str()));
}

void LoadFromXML(Persistent* obj, std::string_view name, pugi::xml_node node) {
    if (!obj) return;
    if (name.empty())
        ReadFrom(*obj, name, node);
    else
        ReadFrom(*obj, name, xml::Child(node, NullTerminated(name).c_str()));
}

std::string SaveToXMLString(const Persistent& obj, std::string_view name, bool oneLine) {
    pugi::xml_document doc;
    pugi::xml_node root = xml::NewDocument(doc, "utf-8", NullTerminated(name).c_str());
    WriteInto(obj, name, root);
    std::string text = xml::ToText(doc, true, "\r\n");
    if (!oneLine) return text;
    TStringList lines;
    lines.SetText(text);
    return lines.CommaText();
}

void LoadFromXMLString(Persistent& obj, std::string_view name, bool oneLine,
                       std::string_view text) {
    std::string multiLine;
    if (oneLine) {
        TStringList lines;
        lines.SetCommaText(text);
        multiLine = lines.Text();
        text = multiLine;
    }
    pugi::xml_document doc;
    xml::Parse(doc, text);
    if (pugi::xml_node root = doc.document_element()) ReadFrom(obj, name, root);
}

void SaveToXMLFile(const Persistent& obj, std::string_view name,
                   const std::filesystem::path& fileName) {
    const std::string text = SaveToXMLString(obj, name, false);
    std::ofstream out(fileName, std::ios::binary | std::ios::trunc);
    if (!out || !out.write(text.data(), static_cast<std::streamsize>(text.size())) || !out.flush())
        throw EFileError("Cannot write \"" + fileName.string() + "\"");
}

namespace {

// The encoding named by the XML declaration at the start of text; empty without one.
std::string DeclaredEncoding(std::string_view text) {
    if (!text.starts_with("<?xml")) return {};
    const std::size_t end = text.find("?>");
    if (end == std::string_view::npos) return {};
    // The declaration alone, with a root so that it parses as a document.
    const std::string head = std::string(text.substr(0, end + 2)) + "<r/>";
    pugi::xml_document doc;
    if (!doc.load_buffer(head.data(), head.size(), pugi::parse_declaration, pugi::encoding_utf8))
        return {};
    return doc.first_child().attribute("encoding").value();
}

bool IsOneOf(std::string_view name, std::initializer_list<std::string_view> names) {
    for (std::string_view n : names)
        if (SameText(name, n)) return true;
    return false;
}

// The file's text in UTF-8. Files of the system's other programs declare "windows-1251".
std::string FileTextAsUtf8(std::string bytes, const std::filesystem::path& fileName) {
    if (bytes.starts_with("\xEF\xBB\xBF")) return bytes;  // a UTF-8 byte-order mark
    const std::string encoding = DeclaredEncoding(bytes);
    if (encoding.empty() || IsOneOf(encoding, {"utf-8", "utf8", "us-ascii", "ascii"})) return bytes;
    if (IsOneOf(encoding, {"windows-1251", "cp1251", "x-cp1251"})) return Cp1251ToUtf8(bytes);
    if (IsOneOf(encoding, {"ibm866", "cp866", "866"})) return Cp866ToUtf8(bytes);
    throw EFileError("Cannot read \"" + fileName.string() + "\": its encoding \"" + encoding +
                     "\" is not supported");
}

}  // namespace

void LoadFromXMLFile(Persistent& obj, std::string_view name,
                     const std::filesystem::path& fileName) {
    std::ifstream in(fileName, std::ios::binary);
    if (!in) throw EFileError("Cannot open \"" + fileName.string() + "\"");
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) throw EFileError("Cannot read \"" + fileName.string() + "\"");
    LoadFromXMLString(obj, name, false, FileTextAsUtf8(text.str(), fileName));
}

}  // namespace ostradb

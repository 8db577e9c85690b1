#include "protocol/wire.hpp"

#include "ostradb/serial/xml.hpp"
#include "ostradb/util/code_pages.hpp"
#include "ostradb/util/exceptions.hpp"

namespace ostradb::wire {

std::string EncodePacket(const pugi::xml_document& doc) {
    return EncodeText(xml::ToText(doc, true, "\r\n"));
}

std::string EncodeText(std::string_view utf8) {
    std::string out;
    out.reserve(utf8.size());
    try {
        AppendEncoded(CodePage::Windows1251, utf8, out);
    } catch (const EEncodingError& e) {
        throw EEncodingError(std::string("The request cannot be sent: ") + e.what(), e.CodePoint());
    }
    return out;
}

std::string DecodeText(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size() + bytes.size() / 8);
    AppendDecoded(CodePage::Windows1251, bytes, out);
    return out;
}

void ParsePacket(std::string_view utf8Text, pugi::xml_document& doc) {
    xml::Parse(doc, utf8Text);
    if (!doc.document_element()) throw Error("Не удалось считать данные ответа сервера!");
}

std::string MaskPassword(std::string_view text) {
    std::string out(text);
    if (out.find("\"login\"") == std::string::npos) return out;
    for (std::size_t pos = 0; (pos = out.find("pass=\"", pos)) != std::string::npos;) {
        // Only the attribute itself, not a longer name ending in "pass".
        const bool own = pos == 0 || out[pos - 1] == ' ' || out[pos - 1] == '\t' ||
                         out[pos - 1] == '\n' || out[pos - 1] == '\r';
        pos += 6;
        if (!own) continue;
        const std::size_t end = out.find('"', pos);
        if (end == std::string::npos) break;
        out.replace(pos, end - pos, "***");
        pos += 3;
    }
    return out;
}

}  // namespace ostradb::wire

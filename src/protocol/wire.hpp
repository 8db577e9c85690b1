#pragma once

// The packets' form on the wire, in one place for the client and for servers: XML text in
// Windows-1251 with CR LF line breaks, parsed from and to UTF-8 in memory. Binary payloads
// are never converted.

#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace ostradb::wire {

// The declared encoding of every packet.
inline constexpr const char* kEncoding = "Windows-1251";

// The document's text as sent: Windows-1251, CR LF after every line, so it ends with
// "</packet>" CR LF. A character that Windows-1251 cannot hold raises EEncodingError naming
// it, before anything could be sent.
std::string EncodePacket(const pugi::xml_document& doc);
// UTF-8 packet text to its Windows-1251 bytes; EEncodingError as above.
std::string EncodeText(std::string_view utf8);
// Windows-1251 packet bytes to UTF-8 text.
std::string DecodeText(std::string_view bytes);

// Parses UTF-8 packet text into doc. Malformed XML raises EXmlError; text without a root
// element raises Error "Не удалось считать данные ответа сервера!".
void ParsePacket(std::string_view utf8Text, pugi::xml_document& doc);

// The text with the value of the "pass" attribute of a "login" command replaced by "***",
// for traces and logs.
std::string MaskPassword(std::string_view text);

}  // namespace ostradb::wire

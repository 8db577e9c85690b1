#include "protocol/answer_stream.hpp"

#include <cstring>

#include "ostradb/util/code_pages.hpp"
#include "ostradb/util/exceptions.hpp"
#include "protocol/wire.hpp"

namespace ostradb::detail {

namespace {

// Character classes of XML names and blanks, byte by byte. Windows-1251 keeps ASCII where
// it is, and every byte from 0x80 is a name character as it is for the UTF-8 of a decoded
// text, so the markup can be read before decoding.
bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool IsNameStart(char c) {
    const auto u = static_cast<unsigned char>(c);
    return u >= 0x80 || ((u | 0x20) >= 'a' && (u | 0x20) <= 'z') || c == '_' || c == ':';
}

bool IsName(char c) {
    return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

// Windows-1251 bytes to UTF-8. Names and most values are short and ASCII: copied as they
// are, without the converter's set-up.
void AppendText(std::string& out, const char* b, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        if (static_cast<unsigned char>(b[i]) >= 0x80) {
            AppendDecoded(CodePage::Windows1251, std::string_view(b, n), out);
            return;
        }
    }
    out.append(b, n);
}

void AppendUtf8(std::string& out, std::uint32_t c) {
    auto put = [&](std::uint32_t b) { out += static_cast<char>(static_cast<std::uint8_t>(b)); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0 | (c >> 6));
        put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        put(0xE0 | (c >> 12));
        put(0x80 | ((c >> 6) & 0x3F));
        put(0x80 | (c & 0x3F));
    } else {
        put(0xF0 | (c >> 18));
        put(0x80 | ((c >> 12) & 0x3F));
        put(0x80 | ((c >> 6) & 0x3F));
        put(0x80 | (c & 0x3F));
    }
}

// A character reference or one of the five predefined entities at b[s] == '&', read as a
// parsed document reads it: what is not a complete reference stays as it is. Appends the
// result to out and returns where reading goes on. Never reads past the closing quote,
// which matches none of the characters looked for.
std::size_t Entity(const char* b, std::size_t s, std::string& out) {
    std::size_t t = s + 1;
    auto literal = [&] {
        out.append(b + s, t - s);
        return t;
    };
    auto replace = [&](char c) {
        out += c;
        return t + 1;
    };
    switch (b[t]) {
        case '#': {
            std::uint32_t code = 0;
            if (b[t + 1] == 'x') {
                t += 2;
                if (b[t] == ';') return literal();
                for (;; ++t) {
                    const char c = b[t];
                    if (c >= '0' && c <= '9')
                        code = 16 * code + static_cast<std::uint32_t>(c - '0');
                    else if ((c | 0x20) >= 'a' && (c | 0x20) <= 'f')
                        code = 16 * code + static_cast<std::uint32_t>((c | 0x20) - 'a' + 10);
                    else if (c == ';')
                        break;
                    else
                        return literal();
                }
            } else {
                ++t;
                if (b[t] == ';') return literal();
                for (;; ++t) {
                    const char c = b[t];
                    if (c >= '0' && c <= '9')
                        code = 10 * code + static_cast<std::uint32_t>(c - '0');
                    else if (c == ';')
                        break;
                    else
                        return literal();
                }
            }
            AppendUtf8(out, code);
            return t + 1;
        }
        case 'a':
            ++t;
            if (b[t] == 'm') {
                if (b[++t] == 'p' && b[++t] == ';') return replace('&');
            } else if (b[t] == 'p') {
                if (b[++t] == 'o' && b[++t] == 's' && b[++t] == ';') return replace('\'');
            }
            return literal();
        case 'g':
            if (b[++t] == 't' && b[++t] == ';') return replace('>');
            return literal();
        case 'l':
            if (b[++t] == 't' && b[++t] == ';') return replace('<');
            return literal();
        case 'q':
            if (b[++t] == 'u' && b[++t] == 'o' && b[++t] == 't' && b[++t] == ';')
                return replace('"');
            return literal();
        default:
            return literal();
    }
}

}  // namespace

AnswerSink::~AnswerSink() = default;

AnswerReader::AnswerReader(AnswerSink* sink, std::size_t maxHeld)
    : sink_(sink), maxHeld_(maxHeld) {}

void AnswerReader::Fail(const std::string& what, std::size_t at) const {
    const std::size_t offset = dropped_ + at;
    throw EXmlError(
        "Malformed XML: " + what + " at byte " + std::to_string(offset) + " of the answer",
        static_cast<long long>(offset));
}

void AnswerReader::Feed(std::string_view bytes) {
    // What is parsed and not part of the record being read goes.
    const std::size_t keep = InRecord() ? recordStart_ : pos_;
    if (keep > 0) {
        buffer_.erase(0, keep);
        pos_ -= keep;
        if (InRecord()) recordStart_ -= keep;
        dropped_ += keep;
    }
    buffer_.append(bytes);
    Parse();
    const std::size_t held = buffer_.size() - (InRecord() ? recordStart_ : pos_);
    if (held > maxHeld_)
        Fail((InRecord() ? "an element longer than " : "markup longer than ") +
                 std::to_string(maxHeld_) + " bytes",
             InRecord() ? recordStart_ : pos_);
}

void AnswerReader::Finish(pugi::xml_document& doc) {
    if (InRecord()) Fail("the answer ends inside an element", buffer_.size());
    // An unfinished piece of markup goes to the parser, which tells what is wrong with it.
    Keep(pos_, buffer_.size());
    pos_ = buffer_.size();
    wire::ParsePacket(wire::DecodeText(skeleton_), doc);
}

void AnswerReader::Keep(std::size_t from, std::size_t to) {
    skeleton_.append(buffer_, from, to - from);
    if (skeleton_.size() > maxHeld_)
        Fail("an answer longer than " + std::to_string(maxHeld_) + " bytes besides its list", from);
}

bool AnswerReader::InRecordParent() const {
    if (!records_) return false;
    const std::size_t depth = sink_->Path().size() + 1;
    return onPath_ == depth && nameStarts_.size() == depth;
}

void AnswerReader::Parse() {
    while (pos_ < buffer_.size()) {
        bool done;
        if (buffer_[pos_] != '<') {
            done = Text();
        } else if (pos_ + 1 >= buffer_.size()) {
            return;
        } else {
            switch (buffer_[pos_ + 1]) {
                case '!':
                    done = Special();
                    break;
                case '?':
                    done = Question();
                    break;
                case '/':
                    done = EndTag();
                    break;
                default:
                    done = StartTag();
                    break;
            }
        }
        if (!done) return;
    }
}

bool AnswerReader::Text() {
    const char* b = buffer_.data();
    const void* lt = std::memchr(b + pos_, '<', buffer_.size() - pos_);
    const std::size_t end =
        lt ? static_cast<std::size_t>(static_cast<const char*>(lt) - b) : buffer_.size();
    if (InRecord()) {
        if (std::memchr(b + pos_, '\0', end - pos_)) Fail("a zero byte", pos_);
    } else {
        bool blank = InRecordParent();
        for (std::size_t i = pos_; blank && i < end; ++i)
            blank = IsSpace(b[i]);
        // Blanks between records would otherwise pile up in what is kept.
        if (!blank) Keep(pos_, end);
    }
    pos_ = end;
    return true;
}

bool AnswerReader::Special() {
    const std::string_view rest = std::string_view(buffer_).substr(pos_);
    std::size_t end;
    if (rest.starts_with("<!--")) {
        end = buffer_.find("-->", pos_ + 4);
        if (end == std::string::npos) return false;
        end += 3;
    } else if (rest.starts_with("<![CDATA[")) {
        end = buffer_.find("]]>", pos_ + 9);
        if (end == std::string::npos) return false;
        end += 3;
    } else if (rest.starts_with("<!DOCTYPE")) {
        if (!nameStarts_.empty()) Fail("a document type inside an element", pos_);
        // Up to the ">" outside quotes and the internal subset's brackets.
        int depth = 0;
        for (end = pos_ + 9;; ++end) {
            if (end >= buffer_.size()) return false;
            const char c = buffer_[end];
            if (c == '"' || c == '\'') {
                end = buffer_.find(c, end + 1);
                if (end == std::string::npos) return false;
            } else if (c == '[') {
                ++depth;
            } else if (c == ']') {
                --depth;
            } else if (c == '>' && depth <= 0) {
                break;
            }
        }
        ++end;
    } else if (rest.size() < 9 && (std::string_view("<!--").starts_with(rest) ||
                                   std::string_view("<![CDATA[").starts_with(rest) ||
                                   std::string_view("<!DOCTYPE").starts_with(rest))) {
        return false;
    } else {
        Fail("unknown markup", pos_);
    }
    if (!InRecord()) Keep(pos_, end);
    pos_ = end;
    return true;
}

bool AnswerReader::Question() {
    std::size_t target = pos_ + 2;
    if (target >= buffer_.size()) return false;
    if (InRecord()) {
        if (!IsNameStart(buffer_[target])) Fail("a malformed processing instruction", pos_);
        std::size_t e = target;
        while (e < buffer_.size() && IsName(buffer_[e]))
            ++e;
        if (e == buffer_.size()) return false;
        if (e - target == 3 && (buffer_[target] | 0x20) == 'x' &&
            (buffer_[target + 1] | 0x20) == 'm' && (buffer_[target + 2] | 0x20) == 'l')
            Fail("a declaration inside an element", pos_);
        target = e;
    }
    std::size_t end = buffer_.find("?>", target);
    if (end == std::string::npos) return false;
    end += 2;
    if (!InRecord()) Keep(pos_, end);
    pos_ = end;
    return true;
}

bool AnswerReader::EndTag() {
    const std::size_t gt = buffer_.find('>', pos_ + 2);
    if (gt == std::string::npos) return false;
    if (nameStarts_.empty()) Fail("an end tag without its start", pos_);
    const std::string_view open = std::string_view(names_).substr(nameStarts_.back());
    std::size_t i = pos_ + 2, n = 0;
    for (; i < gt && IsName(buffer_[i]); ++i, ++n)
        if (n >= open.size() || buffer_[i] != open[n])
            Fail("an end tag that does not match <" + std::string(open) + ">", pos_);
    if (n != open.size()) Fail("an end tag that does not match <" + std::string(open) + ">", pos_);
    while (i < gt && IsSpace(buffer_[i]))
        ++i;
    if (i != gt) Fail("a malformed end tag", pos_);
    if (!InRecord()) Keep(pos_, gt + 1);
    pos_ = gt + 1;
    Closed();
    return true;
}

void AnswerReader::Closed() {
    names_.resize(nameStarts_.back());
    nameStarts_.pop_back();
    if (InRecord()) {
        parents_.pop_back();
        if (parents_.empty()) Deliver(pos_);
    }
    if (onPath_ > nameStarts_.size()) onPath_ = nameStarts_.size();
}

void AnswerReader::Deliver(std::size_t end) {
    record_.raw = std::string_view(buffer_).substr(recordStart_, end - recordStart_);
    recordStart_ = kNone;
    sink_->Take(record_);
    record_.Clear();
}

bool AnswerReader::StartTag() {
    const std::size_t start = pos_;
    if (!IsNameStart(buffer_[pos_ + 1])) Fail("a malformed tag", pos_);
    std::size_t end = 0, nameEnd = 0;
    bool empty = false;
    if (InRecord()) {
        const std::int32_t parent = parents_.back();
        if (!ReadStartTag(record_, parent, end, empty, nameEnd)) return false;
        if (!empty) parents_.push_back(record_.ElementAt(parent).lastChild);
        pos_ = end;
        Opened(std::string_view(buffer_).substr(start + 1, nameEnd - start - 1), empty);
        return true;
    }

    // Is it a record? Its name tells, once its depth is on the way down to the records.
    const std::size_t depth = nameStarts_.size();
    std::size_t e = pos_ + 1;
    while (e < buffer_.size() && IsName(buffer_[e]))
        ++e;
    if (e == buffer_.size()) return false;
    const std::string_view name = std::string_view(buffer_).substr(pos_ + 1, e - pos_ - 1);
    if (records_ && depth == sink_->Path().size() + 1 && onPath_ == depth &&
        name == sink_->Path().back()) {
        record_.Clear();
        if (!ReadStartTag(record_, -1, end, empty, nameEnd)) {
            record_.Clear();
            return false;
        }
        recordStart_ = start;
        pos_ = end;
        if (empty) {
            Deliver(end);
        } else {
            parents_.assign(1, 0);
            Opened(name, false);
        }
        return true;
    }

    scratch_.Clear();
    if (!ReadStartTag(scratch_, -1, end, empty, nameEnd)) return false;
    Keep(start, end);
    pos_ = end;
    if (depth == 0 && !rootSeen_) {
        rootSeen_ = true;
        // Information packets are read whole: their handler gets the whole document.
        records_ = sink_ && std::string_view(scratch_.Root().attribute("type").value()) != "info";
        if (records_) {
            sink_->Start();
            onPath_ = 1;
            seen_.assign(sink_->Path().size() + 2, false);
        }
    } else if (records_ && depth >= 1 && depth == onPath_ && depth <= sink_->Path().size() &&
               !seen_[depth] &&
               name == (depth == 1 ? std::string_view("answer")
                                   : std::string_view(sink_->Path()[depth - 2]))) {
        seen_[depth] = true;
        seen_[depth + 1] = false;
        onPath_ = depth + 1;
    }
    Opened(name, empty);
    return true;
}

void AnswerReader::Opened(std::string_view name, bool empty) {
    if (empty) {
        if (onPath_ > nameStarts_.size()) onPath_ = nameStarts_.size();
        return;
    }
    nameStarts_.push_back(names_.size());
    names_.append(name);
}

bool AnswerReader::ReadStartTag(xml::Record& record, std::int32_t parent, std::size_t& end,
                                bool& empty, std::size_t& nameEnd) {
    const char* b = buffer_.data();
    const std::size_t size = buffer_.size();
    const xml::Record::Mark mark = record.MarkAt(parent);
    std::string& text = record.TextBuffer();
    auto incomplete = [&] {
        record.Rewind(parent, mark);
        return false;
    };
    auto name = [&](std::size_t from, std::size_t to) {
        const std::uint32_t at = record.TextSize();
        AppendText(text, b + from, to - from);
        return record.EndText(at);
    };

    std::size_t i = pos_ + 1;
    while (i < size && IsName(b[i]))
        ++i;
    if (i == size) return incomplete();
    nameEnd = i;
    const std::int32_t element = record.AddElement(parent, name(pos_ + 1, i));
    auto closes = [&](std::size_t at) {  // "/>" or ">" at b[at]; 0 when incomplete
        if (b[at] == '>') {
            empty = false;
            return at + 1;
        }
        if (at + 1 == size) return std::size_t{0};
        if (b[at + 1] != '>') Fail("a malformed start tag", at);
        empty = true;
        return at + 2;
    };
    if (b[i] == '>' || b[i] == '/') {
        end = closes(i);
        return end ? true : incomplete();
    }
    if (!IsSpace(b[i])) Fail("a malformed start tag", i);
    for (;;) {
        while (i < size && IsSpace(b[i]))
            ++i;
        if (i == size) return incomplete();
        if (b[i] == '>' || b[i] == '/') {
            end = closes(i);
            return end ? true : incomplete();
        }
        if (!IsNameStart(b[i])) Fail("a malformed start tag", i);
        const std::size_t attrName = i;
        while (i < size && IsName(b[i]))
            ++i;
        const std::size_t attrNameEnd = i;
        while (i < size && IsSpace(b[i]))
            ++i;
        if (i == size) return incomplete();
        if (b[i] != '=') Fail("a malformed attribute", i);
        ++i;
        while (i < size && IsSpace(b[i]))
            ++i;
        if (i == size) return incomplete();
        const char quote = b[i];
        if (quote != '"' && quote != '\'') Fail("a malformed attribute", i);
        ++i;
        const std::uint32_t attr = name(attrName, attrNameEnd);
        const std::uint32_t value = record.TextSize();
        if (!ReadValue(record, i, quote)) return incomplete();
        record.AddAttribute(element, attr, record.EndText(value));
        if (i == size) return incomplete();
        if (IsNameStart(b[i])) Fail("attributes without a blank between them", i);
    }
}

bool AnswerReader::ReadValue(xml::Record& record, std::size_t& at, char quote) {
    const char* b = buffer_.data();
    const void* q = std::memchr(b + at, quote, buffer_.size() - at);
    if (!q) return false;
    const auto end = static_cast<std::size_t>(static_cast<const char*>(q) - b);
    std::string& text = record.TextBuffer();
    std::size_t s = at;
    // Most values hold nothing to replace: converted in one go.
    while (s < end && b[s] != '&' && b[s] != '\t' && b[s] != '\n' && b[s] != '\r' && b[s] != '\0')
        ++s;
    std::size_t from = at;
    auto flush = [&](std::size_t to) { AppendText(text, b + from, to - from); };
    while (s < end) {
        const char c = b[s];
        if (c == '\0') Fail("a zero byte", s);
        if (c == '&' || c == '\t' || c == '\n' || c == '\r') {
            flush(s);
            if (c == '&') {
                s = Entity(b, s, text);
            } else {
                // Line breaks and tabs in a value read as blanks, CR LF as one.
                text += ' ';
                s += (c == '\r' && s + 1 < end && b[s + 1] == '\n') ? 2 : 1;
            }
            from = s;
        } else {
            ++s;
        }
    }
    flush(end);
    at = end + 1;
    return true;
}

}  // namespace ostradb::detail

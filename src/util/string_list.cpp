#include "ostradb/util/string_list.hpp"

#include <utility>

#include "ostradb/util/collection.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb {

namespace {

bool NeedsQuotes(std::string_view s) {
    if (s.empty()) return true;
    for (unsigned char c : s)
        if (c <= ' ' || c == ',' || c == '"') return true;
    return false;
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

}  // namespace

TStringList::TStringList(std::initializer_list<std::string> lines) : lines_(lines) {}
TStringList::TStringList(std::vector<std::string> lines) : lines_(std::move(lines)) {}

const std::string& TStringList::operator[](int i) const {
    if (i < 0 || i >= Count()) detail::ThrowListIndex(i, lines_.size());
    return lines_[static_cast<std::size_t>(i)];
}

std::string& TStringList::operator[](int i) {
    if (i < 0 || i >= Count()) detail::ThrowListIndex(i, lines_.size());
    return lines_[static_cast<std::size_t>(i)];
}

int TStringList::Add(std::string line) {
    lines_.push_back(std::move(line));
    return Count() - 1;
}

void TStringList::Insert(int i, std::string line) {
    if (i < 0 || i > Count()) detail::ThrowListIndex(i, lines_.size());
    lines_.insert(lines_.begin() + i, std::move(line));
}

void TStringList::Delete(int i) {
    (void)(*this)[i];
    lines_.erase(lines_.begin() + i);
}

void TStringList::Exchange(int i, int j) {
    std::swap((*this)[i], (*this)[j]);
}

int TStringList::IndexOf(std::string_view s) const {
    for (std::size_t i = 0; i < lines_.size(); ++i)
        if (SameText(lines_[i], s)) return static_cast<int>(i);
    return -1;
}

int TStringList::IndexOfName(std::string_view name) const {
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        const std::string& line = lines_[i];
        const auto eq = line.find('=');
        if (eq != std::string::npos && SameText(std::string_view(line).substr(0, eq), name))
            return static_cast<int>(i);
    }
    return -1;
}

std::string TStringList::Names(int i) const {
    const std::string& line = (*this)[i];
    const auto eq = line.find('=');
    return eq == std::string::npos ? std::string() : line.substr(0, eq);
}

std::string TStringList::ValueFromIndex(int i) const {
    const std::string& line = (*this)[i];
    const auto eq = line.find('=');
    return eq == std::string::npos ? std::string() : line.substr(eq + 1);
}

std::string TStringList::Values(std::string_view name) const {
    const int i = IndexOfName(name);
    return i < 0 ? std::string() : ValueFromIndex(i);
}

void TStringList::SetValue(std::string_view name, std::string_view value) {
    const int i = IndexOfName(name);
    if (value.empty()) {
        if (i >= 0) Delete(i);
        return;
    }
    std::string line;
    line.reserve(name.size() + 1 + value.size());
    line.append(name).append("=").append(value);
    if (i >= 0)
        lines_[static_cast<std::size_t>(i)] = std::move(line);
    else
        lines_.push_back(std::move(line));
}

std::string TStringList::Text() const {
    std::size_t size = 0;
    for (const auto& l : lines_)
        size += l.size() + 2;
    std::string text;
    text.reserve(size);
    for (const auto& l : lines_)
        text.append(l).append("\r\n");
    return text;
}

void TStringList::SetText(std::string_view text) {
    lines_.clear();
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = start;
        while (end < text.size() && text[end] != '\r' && text[end] != '\n')
            ++end;
        lines_.emplace_back(text.substr(start, end - start));
        if (end < text.size() && text[end] == '\r') {
            ++end;
            if (end < text.size() && text[end] == '\n') ++end;
        } else if (end < text.size()) {
            ++end;  // a lone LF
        }
        start = end;
    }
}

std::string TStringList::CommaText() const {
    std::string out;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        if (i > 0) out += ',';
        const std::string& s = lines_[i];
        if (!NeedsQuotes(s)) {
            out += s;
            continue;
        }
        out += '"';
        for (char c : s) {
            if (c == '"') out += '"';
            out += c;
        }
        out += '"';
    }
    return out;
}

void TStringList::SetCommaText(std::string_view text) {
    lines_.clear();
    std::size_t i = 0;
    const std::size_t n = text.size();
    while (i < n && IsBlank(text[i]))
        ++i;
    if (i == n) return;
    while (true) {
        std::string item;
        while (i < n && IsBlank(text[i]))
            ++i;
        if (i < n && text[i] == '"') {
            ++i;
            while (i < n) {
                if (text[i] == '"') {
                    if (i + 1 < n && text[i + 1] == '"') {
                        item += '"';
                        i += 2;
                        continue;
                    }
                    ++i;
                    break;
                }
                item += text[i++];
            }
            // Text between a closing quote and the next comma is kept as it stands.
            while (i < n && text[i] != ',') {
                if (!IsBlank(text[i])) item += text[i];
                ++i;
            }
        } else {
            const std::size_t start = i;
            while (i < n && text[i] != ',')
                ++i;
            std::size_t end = i;
            while (end > start && IsBlank(text[end - 1]))
                --end;
            item.assign(text.substr(start, end - start));
        }
        lines_.push_back(std::move(item));
        if (i >= n) break;
        ++i;  // the comma
    }
}

std::string TStringList::Join(std::string_view sep) const {
    std::string out;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        if (i > 0) out += sep;
        out += lines_[i];
    }
    return out;
}

}  // namespace ostradb

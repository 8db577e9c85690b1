#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "ostradb/export.hpp"
#include "ostradb/serial/persistent.hpp"

namespace ostradb {

// An ordered list of UTF-8 strings with the habits applications of this server rely on:
// name=value entries, look-ups that ignore letter case, text with CR LF line breaks and
// comma text. The serializer writes it as one "Item" child per string.
class OSTRADB_API TStringList : public Persistent {
public:
    TStringList() = default;
    TStringList(std::initializer_list<std::string> lines);
    explicit TStringList(std::vector<std::string> lines);

    int Count() const { return static_cast<int>(lines_.size()); }
    bool Empty() const { return lines_.empty(); }
    // Checked access: an index outside 0..Count-1 raises EListError.
    const std::string& operator[](int i) const;
    std::string& operator[](int i);
    const std::string& Strings(int i) const { return (*this)[i]; }

    int Add(std::string line);
    void Insert(int i, std::string line);
    void Delete(int i);
    void Clear() { lines_.clear(); }
    void Assign(const TStringList& other) { lines_ = other.lines_; }
    void Exchange(int i, int j);

    // First index of a line equal to s ignoring case, or -1.
    int IndexOf(std::string_view s) const;
    // First index of an entry whose name (text before the first "=") equals name ignoring
    // case, or -1.
    int IndexOfName(std::string_view name) const;
    // The text before the first "=" of line i; empty when the line has no "=".
    std::string Names(int i) const;
    // The text after the first "=" of line i; empty when the line has no "=".
    std::string ValueFromIndex(int i) const;
    // The value of the first entry named name (ignoring case); empty when there is none.
    std::string Values(std::string_view name) const;
    // Replaces the value of the first entry named name, or appends name=value; an empty value
    // deletes the entry.
    void SetValue(std::string_view name, std::string_view value);

    // Every line followed by CR LF.
    std::string Text() const;
    // Replaces the lines by the lines of text; CR LF, LF and CR all break lines, and a final
    // line break does not start an empty line.
    void SetText(std::string_view text);

    // Lines joined by commas. A line that is empty or holds a comma, a double quote, a blank or
    // a control character is written in double quotes with inner quotes doubled.
    std::string CommaText() const;
    // Reads what CommaText writes; blanks around unquoted items are ignored.
    void SetCommaText(std::string_view text);
    // Lines joined by sep, nothing quoted.
    std::string Join(std::string_view sep) const;

    const std::vector<std::string>& Lines() const { return lines_; }
    auto begin() const { return lines_.begin(); }
    auto end() const { return lines_.end(); }
    auto begin() { return lines_.begin(); }
    auto end() { return lines_.end(); }

    bool operator==(const TStringList& other) const { return lines_ == other.lines_; }

private:
    std::vector<std::string> lines_;
};

}  // namespace ostradb

#include "ostradb/util/ini_file.hpp"

// Only the narrow INI class is used, on UTF-8 text: no wide-character conversion is compiled
// in, and names compare ignoring ASCII case. The code page of the file is handled here.
#define SI_NO_CONVERSION
#include <SimpleIni.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <system_error>
#include <utility>

#include "ostradb/util/code_pages.hpp"
#include "ostradb/util/exceptions.hpp"
#include "ostradb/util/numbers.hpp"

#ifndef _WIN32
#include <unistd.h>
#endif

namespace ostradb {

namespace fs = std::filesystem;

// The INI text is kept in SimpleIni as UTF-8, section and key names trimmed, values as given.
struct TMemIniFile::Impl {
    CSimpleIniA ini{/*utf8*/ true, /*multiKey*/ false, /*multiLine*/ false};
};

namespace {

// What SimpleIni trims from names and values when it reads a file.
bool IsIniSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string TrimName(std::string_view name) {
    while (!name.empty() && IsIniSpace(name.front()))
        name.remove_prefix(1);
    while (!name.empty() && IsIniSpace(name.back()))
        name.remove_suffix(1);
    return std::string(name);
}

bool HasLineBreakOrNul(std::string_view s) {
    return s.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos;
}

// The file is Windows-1251: what it cannot hold is refused when it is written into the INI,
// naming where it was to go.
void CheckEncodable(std::string_view where, std::string_view text) {
    if (CanEncode(CodePage::Windows1251, text)) return;
    try {
        (void)Utf8ToCp1251(text);
    } catch (const EEncodingError& e) {
        throw EEncodingError("INI " + std::string(where) + ": " + e.what(), e.CodePoint());
    }
}

// A section, key or value that a line-based INI file cannot hold is refused rather than
// written into a file it would corrupt.
void CheckSection(const std::string& section) {
    if (HasLineBreakOrNul(section) || section.find(']') != std::string::npos)
        throw EConvertError("Invalid INI section name \"" + section + "\"");
}

void CheckKey(const std::string& key) {
    if (key.empty() || HasLineBreakOrNul(key) || key.find('=') != std::string::npos ||
        key.front() == ';' || key.front() == '#' || key.front() == '[')
        throw EConvertError("Invalid INI key name \"" + key + "\"");
}

void CheckValue(std::string_view key, std::string_view value) {
    if (HasLineBreakOrNul(value))
        throw EConvertError("The value of INI key \"" + std::string(key) +
                            "\" holds a line break or a zero character");
}

bool EqualsAsciiNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
        if (x != y) return false;
    }
    return true;
}

std::string ErrnoText(int error) {
    return std::error_code(error, std::generic_category()).message();
}

[[noreturn]] void ThrowWriteError(const fs::path& file, const std::string& reason) {
    throw EFileError("Cannot write file \"" + file.string() + "\": " + reason);
}

std::string TempFileName() {
    static std::atomic<std::uint64_t> counter{0};
    static const std::uint64_t seed = [] {
        std::random_device device;
        return (static_cast<std::uint64_t>(device()) << 32) ^ device();
    }();
    const std::uint64_t n = seed + 0x9E3779B97F4A7C15ULL * ++counter;
    char name[48];
    std::snprintf(name, sizeof name, ".ostradb-ini-%016llx.tmp",
                  static_cast<unsigned long long>(n));
    return name;
}

std::FILE* OpenNew(const fs::path& path) {
#ifdef _WIN32
    return _wfopen(path.c_str(), L"wbx");
#else
    return std::fopen(path.c_str(), "wbx");
#endif
}

// Writes text to a file that must not exist yet. On failure the file is gone again and errno
// tells why.
bool WriteNewFile(const fs::path& path, const std::string& text) {
    std::FILE* f = OpenNew(path);
    if (!f) return false;
    bool ok = std::fwrite(text.data(), 1, text.size(), f) == text.size() && std::fflush(f) == 0;
#ifndef _WIN32
    ok = ok && ::fsync(::fileno(f)) == 0;
#endif
    int error = errno;
    if (std::fclose(f) != 0 && ok) {
        ok = false;
        error = errno;
    }
    if (!ok) {
        std::error_code ignored;
        fs::remove(path, ignored);
        errno = error;
    }
    return ok;
}

// SimpleIni takes a section line that is never closed ("[name" with no "]") for the section
// of the keys after it, under a name that runs on into the next line; written back, such a
// file reads differently. Like any line that is not INI syntax, it is dropped before parsing.
std::string WithoutUnclosedSections(std::string_view data) {
    std::string kept;
    kept.reserve(data.size());
    while (!data.empty()) {
        const std::size_t end = std::min(data.find_first_of("\r\n"), data.size());
        const std::string_view line = data.substr(0, end);
        const std::size_t first = line.find_first_not_of(" \t");
        if (first == std::string_view::npos || line[first] != '[' ||
            line.find(']', first) != std::string_view::npos)
            kept += line;
        const std::size_t next = std::min(data.find_first_not_of("\r\n", end), data.size());
        kept += data.substr(end, next - end);
        data.remove_prefix(next);
    }
    return kept;
}

}  // namespace

TMemIniFile::TMemIniFile(fs::path fileName)
    : fileName_(std::move(fileName)), impl_(std::make_unique<Impl>()) {
    impl_->ini.SetSpaces(false);
    std::error_code ec;
    const fs::file_status status = fs::status(fileName_, ec);
    if (status.type() == fs::file_type::not_found) return;
    const auto fail = [this](const std::string& reason) {
        throw EFileError("Cannot read file \"" + fileName_.string() + "\": " + reason);
    };
    if (ec) fail(ec.message());
    if (fs::is_directory(status)) fail(ErrnoText(EISDIR));
    std::ifstream in(fileName_, std::ios::binary);
    if (!in) fail(ErrnoText(errno));
    const std::string data{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (in.bad()) fail(ErrnoText(errno));
    // Windows-1251 as the system's other programs write it; a file edited by hand on a UTF-8
    // system is valid UTF-8, which Cyrillic Windows-1251 text practically never is.
    const std::string text = IsValidUtf8(data) ? data : Cp1251ToUtf8(data);
    if (impl_->ini.LoadData(WithoutUnclosedSections(text)) < 0) fail("not an INI file");
}

TMemIniFile::~TMemIniFile() = default;

namespace {

std::optional<std::string> FindValue(const CSimpleIniA& ini, std::string_view section,
                                     std::string_view key) {
    const char* stored = ini.GetValue(TrimName(section).c_str(), TrimName(key).c_str(), nullptr);
    if (!stored) return std::nullopt;
    return std::string(stored);
}

}  // namespace

std::string TMemIniFile::ReadString(std::string_view section, std::string_view key,
                                    std::string_view def) const {
    auto value = FindValue(impl_->ini, section, key);
    return value ? std::move(*value) : std::string(def);
}

void TMemIniFile::WriteString(std::string_view section, std::string_view key,
                              std::string_view value) {
    const std::string s = TrimName(section), k = TrimName(key);
    CheckSection(s);
    CheckKey(k);
    CheckValue(k, value);
    CheckEncodable("section \"" + s + "\"", s);
    CheckEncodable("key \"" + k + "\"", k);
    CheckEncodable("value of key \"" + k + "\"", value);
    if (impl_->ini.SetValue(s.c_str(), k.c_str(), std::string(value).c_str()) < 0)
        throw Error("Out of memory while writing INI key \"" + k + "\"");
}

std::int32_t TMemIniFile::ReadInteger(std::string_view section, std::string_view key,
                                      std::int32_t def) const {
    const auto value = FindValue(impl_->ini, section, key);
    std::int32_t result = def;
    return value && TryStrToInt(*value, result) ? result : def;
}

std::int64_t TMemIniFile::ReadInt64(std::string_view section, std::string_view key,
                                    std::int64_t def) const {
    const auto value = FindValue(impl_->ini, section, key);
    std::int64_t result = def;
    return value && TryStrToInt64(*value, result) ? result : def;
}

void TMemIniFile::WriteInteger(std::string_view section, std::string_view key, std::int64_t value) {
    WriteString(section, key, IntToStr(value));
}

bool TMemIniFile::ReadBool(std::string_view section, std::string_view key, bool def) const {
    const auto value = FindValue(impl_->ini, section, key);
    if (!value) return def;
    if (*value == "1" || EqualsAsciiNoCase(*value, "true")) return true;
    if (*value == "0" || EqualsAsciiNoCase(*value, "false")) return false;
    return def;
}

void TMemIniFile::WriteBool(std::string_view section, std::string_view key, bool value) {
    WriteString(section, key, value ? "1" : "0");
}

double TMemIniFile::ReadFloat(std::string_view section, std::string_view key, double def) const {
    const auto value = FindValue(impl_->ini, section, key);
    double result = def;
    return value && TryStrToFloat(*value, result) ? result : def;
}

void TMemIniFile::WriteFloat(std::string_view section, std::string_view key, double value) {
    WriteString(section, key, FloatToStr(value));
}

bool TMemIniFile::SectionExists(std::string_view section) const {
    return impl_->ini.GetSectionSize(TrimName(section).c_str()) >= 0;
}

bool TMemIniFile::ValueExists(std::string_view section, std::string_view key) const {
    return FindValue(impl_->ini, section, key).has_value();
}

void TMemIniFile::ReadSections(TStringList& sections) const {
    CSimpleIniA::TNamesDepend names;
    impl_->ini.GetAllSections(names);
    names.sort(CSimpleIniA::Entry::LoadOrder());
    sections.Clear();
    // Lines before the first section header form a section without a name; it is not listed.
    for (const auto& name : names)
        if (*name.pItem) sections.Add(name.pItem);
}

void TMemIniFile::ReadSection(std::string_view section, TStringList& keys) const {
    CSimpleIniA::TNamesDepend names;
    impl_->ini.GetAllKeys(TrimName(section).c_str(), names);
    names.sort(CSimpleIniA::Entry::LoadOrder());
    keys.Clear();
    for (const auto& name : names)
        keys.Add(name.pItem);
}

void TMemIniFile::EraseSection(std::string_view section) {
    impl_->ini.Delete(TrimName(section).c_str(), nullptr);
}

void TMemIniFile::DeleteKey(std::string_view section, std::string_view key) {
    impl_->ini.Delete(TrimName(section).c_str(), TrimName(key).c_str());
}

void TMemIniFile::Clear() {
    impl_->ini.Reset();
}

std::string TMemIniFile::ToText() const {
    std::string text;
    if (impl_->ini.Save(text, false) < 0) throw Error("Cannot format the INI text");
    return text;
}

void TMemIniFile::UpdateFile() const {
    std::string text;
    try {
        text = Utf8ToCp1251(ToText());
    } catch (const EEncodingError& e) {
        // Text of a UTF-8 file read in that Windows-1251 has no byte for.
        throw EEncodingError("Cannot write file \"" + fileName_.string() + "\": " + e.what(),
                             e.CodePoint());
    }
    const fs::path dir = fileName_.parent_path();
    std::error_code ec;
    if (!dir.empty()) {
        fs::create_directories(dir, ec);
        if (ec) ThrowWriteError(fileName_, ec.message());
    }
    // A fresh name in the same directory, so the rename below stays on one file system and
    // replaces the old file in one step.
    fs::path temp;
    bool written = false;
    for (int attempt = 0; attempt < 8 && !written; ++attempt) {
        temp = dir / TempFileName();
        written = WriteNewFile(temp, text);
        if (!written && errno != EEXIST) break;
    }
    if (!written) ThrowWriteError(fileName_, ErrnoText(errno));
    // Keep the permissions of the file being replaced.
    const fs::file_status old = fs::status(fileName_, ec);
    if (!ec && fs::is_regular_file(old)) fs::permissions(temp, old.permissions(), ec);
    fs::rename(temp, fileName_, ec);
    if (ec) {
        const std::string reason = ec.message();
        fs::remove(temp, ec);
        ThrowWriteError(fileName_, reason);
    }
}

}  // namespace ostradb

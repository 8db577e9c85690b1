#pragma once

// An INI file held in memory: read once when opened, changed in memory, written back whole by
// UpdateFile through a temporary file renamed into place, so a failure while writing leaves
// the previous file intact. Section and key names are compared ignoring ASCII case and have
// surrounding blanks trimmed.
//
// The file is the one the system's other programs read and write: Windows-1251 on disk (a file
// that is valid UTF-8, say edited by hand on a UTF-8 system, is read as UTF-8), values stored
// as given, with no quotes added or removed. Blanks at either end of a value do not survive the
// file.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "ostradb/export.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb {

class OSTRADB_API TMemIniFile {
public:
    // Loads fileName when it exists; a missing file gives an empty INI. A file that cannot be
    // read raises EFileError; lines that are not INI syntax are skipped.
    explicit TMemIniFile(std::filesystem::path fileName);
    ~TMemIniFile();
    TMemIniFile(const TMemIniFile&) = delete;
    TMemIniFile& operator=(const TMemIniFile&) = delete;

    const std::filesystem::path& FileName() const { return fileName_; }

    std::string ReadString(std::string_view section, std::string_view key,
                           std::string_view def) const;
    // Raises EConvertError for what a line of an INI file cannot hold: a line break or zero
    // character anywhere, "]" in the section, "=" in the key, an empty key or one starting
    // with ";", "#" or "["; EEncodingError for a character Windows-1251 has no byte for.
    void WriteString(std::string_view section, std::string_view key, std::string_view value);
    // A value that is not an integer reads as def.
    std::int32_t ReadInteger(std::string_view section, std::string_view key,
                             std::int32_t def) const;
    std::int64_t ReadInt64(std::string_view section, std::string_view key, std::int64_t def) const;
    void WriteInteger(std::string_view section, std::string_view key, std::int64_t value);
    // Written as "1" or "0"; reads "1"/"0", "true"/"false" in any case, else def.
    bool ReadBool(std::string_view section, std::string_view key, bool def) const;
    void WriteBool(std::string_view section, std::string_view key, bool value);
    double ReadFloat(std::string_view section, std::string_view key, double def) const;
    void WriteFloat(std::string_view section, std::string_view key, double value);

    bool SectionExists(std::string_view section) const;
    bool ValueExists(std::string_view section, std::string_view key) const;
    // Section names (those with a name) and the keys of one section, in file order.
    void ReadSections(TStringList& sections) const;
    void ReadSection(std::string_view section, TStringList& keys) const;
    void EraseSection(std::string_view section);
    void DeleteKey(std::string_view section, std::string_view key);
    void Clear();

    // Writes the whole INI to FileName in Windows-1251 (temporary file, then rename), creating
    // missing parent directories. Raises EFileError, or EEncodingError for text read from a
    // UTF-8 file that Windows-1251 cannot hold; the file is then left as it was.
    void UpdateFile() const;
    // The INI text that UpdateFile writes, in UTF-8.
    std::string ToText() const;

private:
    struct Impl;
    std::filesystem::path fileName_;
    std::unique_ptr<Impl> impl_;
};

}  // namespace ostradb

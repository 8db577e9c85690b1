#pragma once

#include <stdexcept>
#include <string>

#include "ostradb/export.hpp"

namespace ostradb {

// The root of everything the library throws: a message for a person to read.
class OSTRADB_API Error : public std::runtime_error {
public:
    explicit Error(const std::string& message);
    ~Error() override;
};

// A number, date or boolean text that could not be converted, or a required value that is
// missing from an answer.
class OSTRADB_API EConvertError : public Error {
public:
    using Error::Error;
    ~EConvertError() override;
};

// An index outside a list or collection.
class OSTRADB_API EListError : public Error {
public:
    using Error::Error;
    ~EListError() override;
};

// A character that the target code page cannot hold; the message names the character.
class OSTRADB_API EEncodingError : public Error {
public:
    EEncodingError(const std::string& message, char32_t codePoint);
    ~EEncodingError() override;
    char32_t CodePoint() const noexcept { return codePoint_; }

private:
    char32_t codePoint_;
};

// XML text that does not parse; the message says where the text broke.
class OSTRADB_API EXmlError : public Error {
public:
    EXmlError(const std::string& message, long long offset);
    ~EXmlError() override;
    // Byte offset into the parsed text (UTF-8) where parsing stopped, or -1.
    long long Offset() const noexcept { return offset_; }

private:
    long long offset_;
};

// A local file that could not be opened, read or written.
class OSTRADB_API EFileError : public Error {
public:
    using Error::Error;
    ~EFileError() override;
};

}  // namespace ostradb

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "ostradb/export.hpp"

namespace ostradb {

// Variant type codes as the serializer writes them in "VarType_" attributes.
enum TVarType : std::uint16_t {
    varEmpty = 0,
    varNull = 1,
    varSmallint = 2,
    varInteger = 3,
    varSingle = 4,
    varDouble = 5,
    varCurrency = 6,
    varDate = 7,
    varOleStr = 8,
    varDispatch = 9,
    varError = 10,
    varBoolean = 11,
    varVariant = 12,
    varUnknown = 13,
    varShortInt = 16,
    varByte = 17,
    varWord = 18,
    varLongWord = 19,
    varInt64 = 20,
    varStrArg = 72,
    varString = 256,
    varAny = 257,
    varTypeMask = 4095,
    varArray = 8192,
    varByRef = 16384,
};

// A value of one of the variant types: empty, null, a number, a date, a boolean or a text.
// Integer types keep their value in Int, floating types and dates in Float, texts in Str.
class OSTRADB_API Variant {
public:
    Variant() = default;
    static Variant Null();
    Variant(bool v);
    Variant(int v);
    Variant(std::int64_t v);
    Variant(double v);
    Variant(std::string v);
    Variant(const char* v) : Variant(std::string(v)) {}
    // A value of an integer type, narrowed to that type's range.
    static Variant OfType(TVarType type, std::int64_t intValue);
    // A value of a floating type (varSingle, varDouble, varCurrency, varDate).
    static Variant OfFloat(TVarType type, double value);
    // A value of a text type (varOleStr, varString, varStrArg).
    static Variant OfString(TVarType type, std::string value);
    static Variant Date(double dayCount) { return OfFloat(varDate, dayCount); }

    TVarType VarType() const { return type_; }
    bool IsEmpty() const { return type_ == varEmpty; }
    bool IsNull() const { return type_ == varNull; }
    std::int64_t Int() const { return int_; }
    double Float() const { return float_; }
    bool Bool() const { return int_ != 0; }
    const std::string& Str() const { return str_; }

    bool operator==(const Variant& o) const = default;

private:
    TVarType type_ = varEmpty;
    std::int64_t int_ = 0;
    double float_ = 0;
    std::string str_;
};

// The name of a variant type code ("varInteger"), or empty for a code outside the list.
OSTRADB_API std::string_view VarTypeName(TVarType type);
// The value as text and the name of its type.
OSTRADB_API void varCastToString(const Variant& value, std::string& text, std::string& typeName);
// The inverse of varCastToString; false for an unknown type name or text that does not convert.
OSTRADB_API bool varCastFromString(std::string_view text, std::string_view typeName,
                                   Variant& value);

}  // namespace ostradb

#include "ostradb/util/variant.hpp"

#include <array>
#include <utility>

#include "ostradb/util/numbers.hpp"

namespace ostradb {

namespace {

struct TypeName {
    TVarType type;
    std::string_view name;
};

constexpr std::array<TypeName, 25> kTypeNames{{
    {varEmpty, "varEmpty"},       {varNull, "varNull"},         {varSmallint, "varSmallint"},
    {varInteger, "varInteger"},   {varSingle, "varSingle"},     {varDouble, "varDouble"},
    {varCurrency, "varCurrency"}, {varDate, "varDate"},         {varOleStr, "varOleStr"},
    {varDispatch, "varDispatch"}, {varError, "varError"},       {varBoolean, "varBoolean"},
    {varVariant, "varVariant"},   {varUnknown, "varUnknown"},   {varShortInt, "varShortInt"},
    {varByte, "varByte"},         {varWord, "varWord"},         {varLongWord, "varLongWord"},
    {varInt64, "varInt64"},       {varStrArg, "varStrArg"},     {varString, "varString"},
    {varAny, "varAny"},           {varTypeMask, "varTypeMask"}, {varArray, "varArray"},
    {varByRef, "varByRef"},
}};

bool IsIntegerType(TVarType t) {
    switch (t) {
        case varSmallint:
        case varInteger:
        case varError:
        case varShortInt:
        case varByte:
        case varWord:
        case varLongWord:
        case varInt64:
            return true;
        default:
            return false;
    }
}

bool IsFloatType(TVarType t) {
    return t == varSingle || t == varDouble || t == varCurrency || t == varDate;
}

// Keeps an integer inside the range of its variant type, as a cast to that type would.
std::int64_t Narrow(TVarType t, std::int64_t v) {
    switch (t) {
        case varSmallint:
            return static_cast<std::int16_t>(v);
        case varInteger:
        case varError:
            return static_cast<std::int32_t>(v);
        case varShortInt:
            return static_cast<std::int8_t>(v);
        case varByte:
            return static_cast<std::uint8_t>(v);
        case varWord:
            return static_cast<std::uint16_t>(v);
        case varLongWord:
            return static_cast<std::uint32_t>(v);
        default:
            return v;
    }
}

}  // namespace

Variant Variant::Null() {
    Variant v;
    v.type_ = varNull;
    return v;
}

Variant::Variant(bool v) : type_(varBoolean), int_(v ? 1 : 0) {}
Variant::Variant(int v) : type_(varInteger), int_(v) {}
Variant::Variant(std::int64_t v) : type_(varInt64), int_(v) {}
Variant::Variant(double v) : type_(varDouble), float_(v) {}
Variant::Variant(std::string v) : type_(varString), str_(std::move(v)) {}

Variant Variant::OfType(TVarType type, std::int64_t intValue) {
    Variant v;
    v.type_ = type;
    v.int_ = Narrow(type, intValue);
    return v;
}

Variant Variant::OfFloat(TVarType type, double value) {
    Variant v;
    v.type_ = type;
    v.float_ = type == varSingle ? static_cast<double>(static_cast<float>(value)) : value;
    return v;
}

Variant Variant::OfString(TVarType type, std::string value) {
    Variant v;
    v.type_ = type;
    v.str_ = std::move(value);
    return v;
}

std::string_view VarTypeName(TVarType type) {
    for (const auto& t : kTypeNames)
        if (t.type == type) return t.name;
    return {};
}

void varCastToString(const Variant& value, std::string& text, std::string& typeName) {
    const TVarType t = value.VarType();
    typeName = std::string(VarTypeName(t));
    if (t == varBoolean)
        text = value.Bool() ? "True" : "False";
    else if (IsIntegerType(t))
        text = IntToStr(value.Int());
    else if (t == varSingle)
        text = FloatToStr(static_cast<float>(value.Float()));
    else if (IsFloatType(t))
        text = FloatToStr(value.Float());
    else
        text = value.Str();
}

bool varCastFromString(std::string_view text, std::string_view typeName, Variant& value) {
    const TypeName* found = nullptr;
    for (const auto& t : kTypeNames)
        if (t.name == typeName) found = &t;
    if (!found) return false;
    const TVarType t = found->type;
    if (t == varEmpty) {
        value = Variant();
        return true;
    }
    if (t == varNull) {
        value = Variant::Null();
        return true;
    }
    if (t == varBoolean) {
        std::int64_t n;
        if (text == "True" || text == "true" || text == "TRUE")
            value = Variant(true);
        else if (text == "False" || text == "false" || text == "FALSE")
            value = Variant(false);
        else if (TryStrToInt64(text, n))
            value = Variant(n != 0);
        else
            return false;
        return true;
    }
    if (IsIntegerType(t)) {
        std::int64_t n;
        if (!TryStrToInt64(text, n)) return false;
        value = Variant::OfType(t, n);
        return true;
    }
    if (IsFloatType(t)) {
        double d;
        if (!TryStrToFloat(text, d)) return false;
        value = Variant::OfFloat(t, d);
        return true;
    }
    if (t == varOleStr || t == varString || t == varStrArg) {
        value = Variant::OfString(t, std::string(text));
        return true;
    }
    // Interfaces, arrays, references and masks have no text form.
    return false;
}

}  // namespace ostradb

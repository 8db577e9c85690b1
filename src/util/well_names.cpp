#include "ostradb/util/well_names.hpp"

#include <algorithm>
#include <charconv>

#include "ostradb/util/text.hpp"

namespace ostradb {

namespace {

bool IsAsciiDigit(char c) {
    return c >= '0' && c <= '9';
}

int Sign(int v) {
    return (v > 0) - (v < 0);
}

}  // namespace

std::string ExtractWellNum(std::string_view name) {
    const auto first = std::find_if(name.begin(), name.end(), IsAsciiDigit);
    const auto last = std::find_if_not(first, name.end(), IsAsciiDigit);
    return std::string(first, last);
}

std::int32_t ExtractWellNumInt(std::string_view name) {
    const std::string digits = ExtractWellNum(name);
    std::int32_t value = -1;
    const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (digits.empty() || ec != std::errc() || end != digits.data() + digits.size()) return -1;
    return value;
}

std::int32_t WellNameToNumber(std::string name) {
    return ExtractWellNumInt(name);
}

void GetSimilarWellsList(std::string_view name, const TStringList& list, TStringList& result) {
    const std::int32_t number = ExtractWellNumInt(name);
    if (number == -1) return;
    for (int i = list.Count() - 1; i >= 0; --i)
        if (ExtractWellNumInt(list[i]) == number) result.Add(list[i]);
}

int CompareWellNames(std::string_view a, std::string_view b) {
    const std::int32_t na = ExtractWellNumInt(a);
    const std::int32_t nb = ExtractWellNumInt(b);
    if (na != -1 && nb == -1) return -1;
    if (na == -1 && nb != -1) return 1;
    if (na != nb) return na < nb ? -1 : 1;
    return Sign(CompareText(a, b));
}

void SortItemsList(TStringList& list, bool byWellName) {
    // The mode travels in the comparator, so sorts on different lists may run at once.
    const auto compare = byWellName ? CompareWellNames : CompareText;
    std::sort(list.begin(), list.end(),
              [compare](const std::string& a, const std::string& b) { return compare(a, b) < 0; });
}

}  // namespace ostradb

#include "ostradb/errors/data_layer_errors.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <set>
#include <string>

namespace ostradb {
namespace {

TEST(DataLayerErrors, TableCodesHaveTextsOfTheirOwnAndOthersTheNumberedDefault) {
    for (int code : {299, 328, 1, -300, INT_MIN})
        EXPECT_EQ(getErrMsg(code), "ошибка #" + std::to_string(code));
    EXPECT_EQ(getErrMsg(0), "нет ошибки");
    std::set<std::string> seen;
    for (int code = 300; code <= 327; ++code)
        EXPECT_TRUE(seen.insert(getErrMsg(code)).second && !getErrMsg(code).starts_with("ошибка"))
            << code;
    EXPECT_EQ(getErrMsg(300) + getErrMsg(315) + getErrMsg(327),
              "Операция отмененаНе заданы значения для ключевых полей Ошибка инициализации "
              "внутри процедуры");
}

TEST(DataLayerErrors, BufferFormCutsOnCharacterBoundaries) {
    const std::string zero = getErrMsg(0);  // "нет ошибки": 19 bytes, ends in a 2-byte letter
    struct Case {
        int code;
        std::size_t size;
        std::string expected;
    };
    for (const Case& c : {Case{299, 1, ""}, Case{299, 2, ""}, Case{299, 4, "о"}, Case{299, 5, "ош"},
                          Case{299, 6, "ош"}, Case{299, getErrMsg(299).size(), "ошибка #29"},
                          Case{0, zero.size(), "нет ошибк"}, Case{0, zero.size() + 1, zero},
                          Case{315, 200, getErrMsg(315)}}) {
        char buffer[256];
        std::memset(buffer, 'X', sizeof buffer);
        getCErrMsg(c.code, buffer, c.size);
        EXPECT_EQ(std::string(buffer), c.expected) << c.code << " in " << c.size;
        for (std::size_t i = c.size; i < sizeof buffer; ++i)
            ASSERT_EQ(buffer[i], 'X') << "written past " << c.size << " at " << i;
    }
    char untouched = 'X';
    getCErrMsg(0, &untouched, 0);
    EXPECT_EQ(untouched, 'X');
}

}  // namespace
}  // namespace ostradb

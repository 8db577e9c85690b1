#include "ostradb/protocol/errors.hpp"

#include <gtest/gtest.h>

#include <string>

namespace ostradb {
namespace {

TEST(ClientErrors, CodesWithoutText) {
    for (int code : {2, 13, 19, 23, 40, 41, 42, 100, 255})
        EXPECT_EQ(DbErrCodeToString(static_cast<EOstraClientSocketExceptionCodes>(code)), "")
            << code;
    for (int code = 0; code < 40; ++code) {
        if (code == 2 || code == 13 || code == 19 || code == 23) continue;
        EXPECT_NE(DbErrCodeToString(static_cast<EOstraClientSocketExceptionCodes>(code)), "")
            << code;
    }
}

TEST(ClientErrors, TextsAreKeptWordForWord) {
    EXPECT_EQ(DbErrCodeToString(ecInternalError8), DbErrCodeToString(ecInternalError));
    EXPECT_EQ(DbErrCodeToString(ecCommandNotFound), "Указанная комнда не найдена");
    EXPECT_EQ(DbErrCodeToString(ecNoMatchingWsFiles),
              "Среди первых 100 ws-файлов базы данных не найдено ни одного, соответствующего "
              "структуре базы данных. Добавление базы невозможно.");
    EXPECT_EQ(DbErrCodeToString(ecLevelNotFound), "Уровень с указанным ID не найден");
}

TEST(ClientErrors, TerminatedCarriesItsCodeAndText) {
    const TTerminatedExeption e;
    EXPECT_EQ(e.Code, 41);
    EXPECT_STREQ(e.what(), "Connection was terminated");
}

}  // namespace
}  // namespace ostradb

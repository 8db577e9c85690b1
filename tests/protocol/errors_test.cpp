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

TEST(ClientErrors, TerminatedIsASocketExceptionWithCode41) {
    try {
        throw TTerminatedExeption();
    } catch (const TOstraClientSocketException& e) {
        EXPECT_EQ(e.Code, 41);
        EXPECT_STREQ(e.what(), "Connection was terminated");
        EXPECT_NE(dynamic_cast<const TTerminatedExeption*>(&e), nullptr);
    }
    try {
        throw TOstraClientSocketException(ecProtocolBusy, "Protocol is busy");
    } catch (const Error& e) {
        const auto* socket = dynamic_cast<const TOstraClientSocketException*>(&e);
        ASSERT_NE(socket, nullptr);
        EXPECT_EQ(socket->Code, 40);
        EXPECT_EQ(dynamic_cast<const TTerminatedExeption*>(&e), nullptr);
        EXPECT_STREQ(e.what(), "Protocol is busy");
    }
    const EOstraDBProtocolException host("host");
    EXPECT_EQ(dynamic_cast<const TOstraClientSocketException*>(static_cast<const Error*>(&host)),
              nullptr);
}

}  // namespace
}  // namespace ostradb

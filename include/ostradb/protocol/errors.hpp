#pragma once

// Errors of the exchange with the server. The server's error code is one byte; 40 and 41 are
// the client's own.

#include <cstdint>
#include <string>

#include "ostradb/export.hpp"
#include "ostradb/util/exceptions.hpp"

namespace ostradb {

enum EOstraClientSocketExceptionCodes : std::uint8_t {
    ecSuccess = 0,
    ecInternalError = 1,
    ecCode2 = 2,
    ecOdbcError = 3,
    ecDatabaseNotFound = 4,
    ecFileNotFound = 5,
    ecCommandNotFound = 6,
    ecWrongArguments = 7,
    ecInternalError8 = 8,
    ecSearchError = 9,
    ecTableNotFound = 10,
    ecXmlTagsMissing = 11,
    ecDatabaseExists = 12,
    ecCode13 = 13,
    ecThreadPoolError = 14,
    ecNoMatchingWsFiles = 15,
    ecAccessDenied = 16,
    ecUserNotFound = 17,
    ecOutOfRange = 18,
    ecCode19 = 19,
    ecTableRowNotFound = 20,
    ecFileNotInDatabase = 21,
    ecWsImportError = 22,
    ecCode23 = 23,
    ecCurveNotFound = 24,
    ecCannotCreateFile = 25,
    ecCannotOpenFile = 26,
    ecNotLoggedIn = 27,
    ecWrongPassword = 28,
    ecFileLocked = 29,
    ecCannotReadFile = 30,
    ecCannotWriteFile = 31,
    ecIdNotFound = 32,
    ecWrongFileName = 33,
    ecCannotCreateDirectory = 34,
    ecDataServerError = 35,
    ecDataServerHandle = 36,
    ecExclusiveCommand = 37,
    ecCannotDeleteFile = 38,
    ecLevelNotFound = 39,
    ecProtocolBusy = 40,
    ecTerminated = 41,
};

// An error answer of the server (code and the server's own text), or the client's refusal
// of a second request while one runs (code 40, "Protocol is busy").
class OSTRADB_API TOstraClientSocketException : public Error {
public:
    TOstraClientSocketException(std::uint8_t code, const std::string& message);
    ~TOstraClientSocketException() override;
    std::uint8_t Code;
};

// The running request was aborted by Terminate: code 41, "Connection was terminated".
class OSTRADB_API TTerminatedExeption : public TOstraClientSocketException {
public:
    TTerminatedExeption();
    ~TTerminatedExeption() override;
};

// Declared for host applications; the library does not raise it.
class OSTRADB_API EOstraDBProtocolException : public Error {
public:
    using Error::Error;
    ~EOstraDBProtocolException() override;
};

// The fixed Russian message of a server code; empty for 2, 13, 19, 23 and codes of 40 and up.
OSTRADB_API std::string DbErrCodeToString(EOstraClientSocketExceptionCodes code);

}  // namespace ostradb

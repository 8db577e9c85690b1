#pragma once

// Failures of the TCP connection itself, as opposed to error answers of the server
// (TOstraClientSocketException).

#include <string>

#include "ostradb/export.hpp"
#include "ostradb/util/exceptions.hpp"

namespace ostradb {

// The connection broke: closed by the server, reset, or a system error while reading or
// writing. The connection is closed, so the next request connects again.
class OSTRADB_API ESocketError : public Error {
public:
    using Error::Error;
    ~ESocketError() override;
};

// Connect failed: the message names the host in double quotes.
class OSTRADB_API EConnectError : public ESocketError {
public:
    using ESocketError::ESocketError;
    ~EConnectError() override;
};

// A read or write time-out set on the session expired; the connection is closed.
class OSTRADB_API ETimeoutError : public ESocketError {
public:
    using ESocketError::ESocketError;
    ~ETimeoutError() override;
};

}  // namespace ostradb

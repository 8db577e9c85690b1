#include "ostradb/protocol/socket_errors.hpp"

namespace ostradb {

ESocketError::~ESocketError() = default;
EConnectError::~EConnectError() = default;
ETimeoutError::~ETimeoutError() = default;

}  // namespace ostradb

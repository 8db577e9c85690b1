#include "ostradb/client/errors.hpp"

namespace ostradb {

EArgumentError::~EArgumentError() = default;

ENotFoundError::ENotFoundError(Kind kind, std::string name, const std::string& message)
    : Error(message), kind_(kind), name_(std::move(name)) {}
ENotFoundError::~ENotFoundError() = default;

}  // namespace ostradb

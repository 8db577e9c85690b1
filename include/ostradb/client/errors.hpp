#pragma once

// What the high-level client raises besides the library's other errors: a caller's argument it
// cannot use, and a name it looked up that the server does not have.

#include <string>

#include "ostradb/export.hpp"
#include "ostradb/util/exceptions.hpp"

namespace ostradb {

// An argument, an environment variable or a settings file that cannot be used (a port that is
// no number, a filter line without "->", an unknown connection name), or a user name or
// password that nothing supplied. Nothing was sent for the call that raised it.
class OSTRADB_API EArgumentError : public Error {
public:
    using Error::Error;
    ~EArgumentError() override;
};

// A database, level, level value, user or group that the server does not have; the message
// names what there is instead.
class OSTRADB_API ENotFoundError : public Error {
public:
    enum class Kind { database, level, level_value, user, group };

    ENotFoundError(Kind kind, std::string name, const std::string& message);
    ~ENotFoundError() override;

    Kind kind() const noexcept { return kind_; }
    // The name or id as the caller gave it.
    const std::string& name() const noexcept { return name_; }

private:
    Kind kind_;
    std::string name_;
};

}  // namespace ostradb

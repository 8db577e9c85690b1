#include "ostradb/util/exceptions.hpp"

#include <string>

#include "ostradb/util/collection.hpp"

namespace ostradb {

// Destructors are defined here so that each class has one home for its type information.
Error::Error(const std::string& message) : std::runtime_error(message) {}
Error::~Error() = default;
EConvertError::~EConvertError() = default;
EListError::~EListError() = default;
EFileError::~EFileError() = default;

EEncodingError::EEncodingError(const std::string& message, char32_t codePoint)
    : Error(message), codePoint_(codePoint) {}
EEncodingError::~EEncodingError() = default;

EXmlError::EXmlError(const std::string& message, long long offset)
    : Error(message), offset_(offset) {}
EXmlError::~EXmlError() = default;

namespace detail {
void ThrowListIndex(long long index, std::size_t count) {
    throw EListError("List index out of bounds (" + std::to_string(index) + "), count " +
                     std::to_string(count));
}
}  // namespace detail

CollectionBase::~CollectionBase() = default;

}  // namespace ostradb

#include "ostradb/util/file_names.hpp"

namespace ostradb {

namespace {

std::size_t NameStart(std::string_view fileName) {
    const std::size_t delimiter = fileName.find_last_of("\\/:");
    return delimiter == std::string_view::npos ? 0 : delimiter + 1;
}

}  // namespace

std::string ExtractFileName(std::string_view fileName) {
    return std::string(fileName.substr(NameStart(fileName)));
}

std::string FixEmptyExtension(std::string_view fileName) {
    const std::string_view name = fileName.substr(NameStart(fileName));
    // "." and ".." name directories, not a file with an empty extension.
    if (name.empty() || name.back() != '.' || name == "." || name == "..")
        return std::string(fileName);
    return std::string(fileName.substr(0, fileName.size() - 1));
}

}  // namespace ostradb

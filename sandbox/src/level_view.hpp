#pragma once

// A database's files seen through an order of its levels (the natural order of the level
// folders, or a logical structure the client asks for), with the numbers that name the nodes
// of that hierarchy in level paths.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <pugixml.hpp>

#include "command_context.hpp"
#include "conditions.hpp"
#include "ws_files.hpp"

namespace ostradb::sandbox {

class LevelView {
public:
    // The order of the level types the request names ("LogStruct" or "log_db_struct"), else
    // the session's, else the natural order. CommandError 7 for a type the database lacks.
    LevelView(const CommandContext& ctx, const Database& db);

    const Database& Db() const { return *db_; }
    std::size_t Depth() const { return order_.size(); }
    const LevelDef& Level(std::size_t depth) const { return db_->levels[order_[depth]]; }
    // The file's values in this order.
    std::vector<std::string> ValuesOf(const WsFile& file) const;

    // The number of the node that these values (from the top) lead to.
    std::int32_t IdOf(IdRegistry& ids, const std::vector<std::string>& values) const;
    // The values of a level path; CommandError 39 for a number that names no node of this
    // view below the previous one.
    std::vector<std::string> Resolve(IdRegistry& ids, const std::vector<std::int32_t>& path) const;

private:
    std::string Key(const std::vector<std::string>& values, std::size_t count) const;

    const Database* db_;
    std::vector<std::size_t> order_;
};

// A file of a listing with its side file.
struct ListedFile {
    const WsFile* file;
    std::shared_ptr<const WsMeta> meta;
};

// The files below the node of values (all when values is empty) that pass the filters.
std::vector<ListedFile> FilesBelow(const CommandContext& ctx, const LevelView& view,
                                   const std::vector<WsFile>& files,
                                   const std::vector<std::string>& values,
                                   const std::vector<const Filter*>& filters);

// What a "file" element of an answer holds besides its attributes.
struct FileParts {
    bool tables = false;
    bool curves = false;
    bool path = false;
    bool planshets = false;
    bool rows = false;
};

// Appends the "file" element of a level file.
void AppendFileElement(const CommandContext& ctx, pugi::xml_node parent, const ListedFile& listed,
                       const FileParts& parts);

}  // namespace ostradb::sandbox

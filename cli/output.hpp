#pragma once

// What commands print: aligned tables for people, one JSON document for scripts.

#include <cstdio>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace ostradb::cli {

using Json = nlohmann::ordered_json;

// Columns separated by two blanks, each as wide as its widest cell, under a header in capitals.
// The last column is not padded, so lines carry no trailing blanks.
class Table {
public:
    explicit Table(std::vector<std::string> headers);

    // Right-aligns column i (numbers).
    Table& AlignRight(std::size_t column);
    void AddRow(std::vector<std::string> cells);
    std::size_t RowCount() const { return rows_.size(); }

    std::string Render() const;
    // Render to standard output; an empty table prints `empty` instead (unless it is empty).
    void Print(const std::string& empty = {}) const;

private:
    std::vector<std::string> headers_;
    std::vector<bool> right_;
    std::vector<std::vector<std::string>> rows_;
};

// Writes the document to standard output, indented, non-ASCII text as UTF-8.
void PrintJson(const Json& document);

// "1.5 MiB", "820 B".
std::string FormatBytes(double bytes);

}  // namespace ostradb::cli

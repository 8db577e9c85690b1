#pragma once

// What commands print. A listing is rows under named columns, printed as an aligned table for
// people, as CSV or TSV for spreadsheets and other tools, or as the command's own JSON
// document for scripts: every listing goes through PrintListing.

#include <cstdio>
#include <functional>
#include <iosfwd>
#include <span>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace ostradb::cli {

using Json = nlohmann::ordered_json;

enum class Format { table, csv, tsv, json };

// The formats by their names on the command line.
const std::vector<std::pair<std::string, Format>>& FormatsByName();

struct OutputOptions {
    Format format = Format::table;
    bool header = true;  // the header row of a table, CSV or TSV
};

// Rows of text cells under column headers.
class Table {
public:
    // empty: what the table format prints instead of a table without rows.
    explicit Table(std::vector<std::string> headers, std::string empty = {});

    // Right-aligns column i (numbers) in the table format.
    Table& AlignRight(std::size_t column);
    void AddRow(std::vector<std::string> cells);
    // Appends a row of empty cells and returns them to fill (valid until the next row).
    std::span<std::string> NewRow();
    void Reserve(std::size_t rows) { cells_.reserve(rows * headers_.size()); }

    // Writes the rows as format says (table, csv or tsv).
    //  - table: columns separated by two blanks, each as wide as its widest cell, under a
    //    header in capitals; the last column is not padded, so lines carry no trailing blanks;
    //  - csv: fields separated by commas, quoted when they hold a comma, a quote or a line
    //    break, quotes doubled (RFC 4180), lines ending in LF;
    //  - tsv: fields separated by tabs; a backslash, tab, LF or CR in a value is written \\,
    //    \t, \n or \r so that every line is one row.
    void Write(std::ostream& out, const OutputOptions& options) const;

private:
    std::vector<std::string> headers_;
    std::string empty_;
    std::vector<bool> right_;
    std::vector<std::string> cells_;  // row by row
};

// Prints a listing to standard output as the options say: the document json() makes, or the
// table table() makes. Only the one printed is built.
void PrintListing(const OutputOptions& options, const std::function<Json()>& json,
                  const std::function<Table()>& table);

// Writes the document to standard output, indented, non-ASCII text as UTF-8.
void PrintJson(const Json& document);

// "1.5 MiB", "820 B".
std::string FormatBytes(double bytes);

}  // namespace ostradb::cli

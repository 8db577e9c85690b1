#include "output.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <iostream>

#include "terminal.hpp"

namespace ostradb::cli {

namespace {

void AppendCsvField(std::string& line, const std::string& value) {
    if (value.find_first_of(",\"\r\n") == std::string::npos) {
        line += value;
        return;
    }
    line += '"';
    for (const char c : value) {
        if (c == '"') line += '"';
        line += c;
    }
    line += '"';
}

void AppendTsvField(std::string& line, const std::string& value) {
    for (const char c : value) {
        switch (c) {
            case '\\':
                line += "\\\\";
                break;
            case '\t':
                line += "\\t";
                break;
            case '\n':
                line += "\\n";
                break;
            case '\r':
                line += "\\r";
                break;
            default:
                line += c;
        }
    }
}

std::string UpperAscii(std::string text) {
    for (char& c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return text;
}

}  // namespace

const std::vector<std::pair<std::string, Format>>& FormatsByName() {
    static const std::vector<std::pair<std::string, Format>> formats = {{"table", Format::table},
                                                                        {"csv", Format::csv},
                                                                        {"tsv", Format::tsv},
                                                                        {"json", Format::json}};
    return formats;
}

Table::Table(std::vector<std::string> headers, std::string empty)
    : headers_(std::move(headers)), empty_(std::move(empty)), right_(headers_.size(), false) {}

Table& Table::AlignRight(std::size_t column) {
    right_.at(column) = true;
    return *this;
}

void Table::AddRow(std::vector<std::string> cells) {
    cells.resize(headers_.size());
    rows_.push_back(std::move(cells));
}

void Table::Write(std::ostream& out, const OutputOptions& options) const {
    std::string line;
    if (options.format == Format::csv || options.format == Format::tsv) {
        const bool csv = options.format == Format::csv;
        auto write = [&](const std::vector<std::string>& cells) {
            line.clear();
            for (std::size_t i = 0; i < cells.size(); ++i) {
                if (i > 0) line += csv ? ',' : '\t';
                csv ? AppendCsvField(line, cells[i]) : AppendTsvField(line, cells[i]);
            }
            line += '\n';
            out << line;
        };
        if (options.header) write(headers_);
        for (const auto& row : rows_)
            write(row);
        return;
    }

    if (rows_.empty() && !empty_.empty()) {
        if (options.header) out << empty_ << '\n';
        return;
    }
    std::vector<std::string> header;
    if (options.header)
        std::transform(headers_.begin(), headers_.end(), std::back_inserter(header), UpperAscii);
    std::vector<std::size_t> widths(headers_.size(), 0);
    auto measure = [&](const std::vector<std::string>& cells) {
        for (std::size_t i = 0; i < cells.size(); ++i)
            widths[i] = std::max(widths[i], DisplayWidth(cells[i]));
    };
    measure(header);
    for (const auto& row : rows_)
        measure(row);
    auto write = [&](const std::vector<std::string>& cells) {
        line.clear();
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const std::size_t pad = widths[i] - DisplayWidth(cells[i]);
            if (i > 0) line += "  ";
            if (right_[i]) line.append(pad, ' ');
            line += cells[i];
            if (!right_[i] && i + 1 < cells.size()) line.append(pad, ' ');
        }
        while (!line.empty() && line.back() == ' ')
            line.pop_back();
        line += '\n';
        out << line;
    };
    if (options.header) write(header);
    for (const auto& row : rows_)
        write(row);
}

void PrintListing(const OutputOptions& options, const std::function<Json()>& json,
                  const std::function<Table()>& table) {
    if (options.format == Format::json)
        PrintJson(json());
    else
        table().Write(std::cout, options);
}

void PrintJson(const Json& document) {
    std::cout << document.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

std::string FormatBytes(double bytes) {
    static constexpr const char* kUnits[] = {"B", "KiB", "MiB", "GiB", "TiB"};
    std::size_t unit = 0;
    while (bytes >= 1024 && unit + 1 < std::size(kUnits)) {
        bytes /= 1024;
        ++unit;
    }
    if (unit == 0) return fmt::format("{:.0f} B", bytes);
    return fmt::format("{:.1f} {}", bytes, kUnits[unit]);
}

}  // namespace ostradb::cli

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
    std::move(cells.begin(), cells.end(), NewRow().begin());
}

std::span<std::string> Table::NewRow() {
    cells_.resize(cells_.size() + headers_.size());
    return {cells_.end() - static_cast<std::ptrdiff_t>(headers_.size()), cells_.end()};
}

void Table::Write(std::ostream& out, const OutputOptions& options) const {
    const std::size_t columns = headers_.size();
    // Lines are gathered and written in large pieces: a listing may have a million rows.
    std::string buffer;
    auto endLine = [&] {
        buffer += '\n';
        if (buffer.size() >= (std::size_t{1} << 16)) {
            out.write(buffer.data(), static_cast<std::streamsize>(buffer.size()));
            buffer.clear();
        }
    };
    auto finish = [&] { out.write(buffer.data(), static_cast<std::streamsize>(buffer.size())); };

    if (options.format == Format::csv || options.format == Format::tsv) {
        const bool csv = options.format == Format::csv;
        auto write = [&](const std::string* cells) {
            for (std::size_t i = 0; i < columns; ++i) {
                if (i > 0) buffer += csv ? ',' : '\t';
                csv ? AppendCsvField(buffer, cells[i]) : AppendTsvField(buffer, cells[i]);
            }
            endLine();
        };
        if (options.header) write(headers_.data());
        for (std::size_t at = 0; at < cells_.size(); at += columns)
            write(&cells_[at]);
        finish();
        return;
    }

    if (cells_.empty() && !empty_.empty()) {
        if (options.header) out << empty_ << '\n';
        return;
    }
    std::vector<std::string> header;
    if (options.header)
        std::transform(headers_.begin(), headers_.end(), std::back_inserter(header), UpperAscii);
    std::vector<std::size_t> cellWidths(cells_.size());
    std::vector<std::size_t> widths(columns, 0);
    for (std::size_t i = 0; i < header.size(); ++i)
        widths[i] = DisplayWidth(header[i]);
    for (std::size_t at = 0; at < cells_.size(); ++at) {
        cellWidths[at] = DisplayWidth(cells_[at]);
        widths[at % columns] = std::max(widths[at % columns], cellWidths[at]);
    }
    auto write = [&](const std::string* cells, auto widthOf) {
        for (std::size_t i = 0; i < columns; ++i) {
            const std::size_t pad = widths[i] - widthOf(i);
            if (i > 0) buffer += "  ";
            if (right_[i]) buffer.append(pad, ' ');
            buffer += cells[i];
            if (!right_[i] && i + 1 < columns) buffer.append(pad, ' ');
        }
        while (!buffer.empty() && buffer.back() == ' ')
            buffer.pop_back();
        endLine();
    };
    if (options.header)
        write(header.data(), [&](std::size_t i) { return DisplayWidth(header[i]); });
    for (std::size_t at = 0; at < cells_.size(); at += columns)
        write(&cells_[at], [&](std::size_t i) { return cellWidths[at + i]; });
    finish();
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

#include "output.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <iostream>

#include "terminal.hpp"

namespace ostradb::cli {

Table::Table(std::vector<std::string> headers)
    : headers_(std::move(headers)), right_(headers_.size(), false) {}

Table& Table::AlignRight(std::size_t column) {
    right_.at(column) = true;
    return *this;
}

void Table::AddRow(std::vector<std::string> cells) {
    cells.resize(headers_.size());
    rows_.push_back(std::move(cells));
}

std::string Table::Render() const {
    std::vector<std::size_t> widths(headers_.size(), 0);
    auto measure = [&](const std::vector<std::string>& cells) {
        for (std::size_t i = 0; i < cells.size(); ++i)
            widths[i] = std::max(widths[i], DisplayWidth(cells[i]));
    };
    measure(headers_);
    for (const auto& row : rows_)
        measure(row);

    std::string out;
    auto line = [&](const std::vector<std::string>& cells) {
        std::string text;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const std::size_t pad = widths[i] - DisplayWidth(cells[i]);
            const bool last = i + 1 == cells.size();
            if (i > 0) text += "  ";
            if (right_[i]) text.append(pad, ' ');
            text += cells[i];
            if (!right_[i] && !last) text.append(pad, ' ');
        }
        while (!text.empty() && text.back() == ' ')
            text.pop_back();
        out += text;
        out += '\n';
    };
    std::vector<std::string> header;
    for (const std::string& h : headers_) {
        std::string upper = h;
        for (char& c : upper)
            if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
        header.push_back(upper);
    }
    line(header);
    for (const auto& row : rows_)
        line(row);
    return out;
}

void Table::Print(const std::string& empty) const {
    if (rows_.empty() && !empty.empty()) {
        std::cout << empty << '\n';
        return;
    }
    std::cout << Render();
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

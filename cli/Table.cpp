#include "cli/Table.h"

#include "base/Text.h"

#include <algorithm>
#include <cstddef>

namespace corvane::cli {

namespace {

/// How many characters a UTF-8 text shows, taking each code point for one.
std::size_t characters(const std::string &text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

} // namespace

std::string table(std::vector<std::vector<std::string>> rows) {
    for (auto &row : rows)
        for (auto &cell : row)
            cell = withoutControls(cell); // a name may hold anything
    std::vector<std::size_t> widths;
    for (const auto &row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], characters(row[column]));
    }
    std::string text;
    for (const auto &row : rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            line += row[column];
            line += std::string(widths[column] - characters(row[column]) + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

std::string commaSeparated(const std::vector<std::vector<std::string>> &rows) {
    std::string text;
    for (const auto &row : rows) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            text += column == 0 ? "" : ",";
            appendCell(text, row[column]);
        }
        text += "\n";
    }
    return text;
}

} // namespace corvane::cli

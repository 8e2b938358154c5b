#pragma once

#include <string>
#include <vector>

namespace corvane::cli {

/// Lines of text in columns, two blanks apart and without control characters; the first row is the heading.
std::string table(std::vector<std::vector<std::string>> rows);

/// The same for programs: comma-separated.
std::string commaSeparated(const std::vector<std::vector<std::string>> &rows);

} // namespace corvane::cli

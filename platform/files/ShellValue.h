#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {

/// The value of `name` in a file of shell assignments (`NAME="value"`, as in machine-info or user-dirs.dirs),
/// quotes and backslashes undone, variables left as they stand; the last assignment counts. None when it is
/// missing or malformed.
std::optional<std::string> shellValue(const std::filesystem::path &file, std::string_view name);

} // namespace corvane

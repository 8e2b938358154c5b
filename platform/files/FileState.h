#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <utility>

namespace corvane {

/// By which a file is known not to have changed: its date and its size.
using FileState = std::optional<std::pair<std::filesystem::file_time_type, std::uintmax_t>>;

/// None when there is no such file, or none that can be looked at. Any thread; a volume may take its time.
FileState stateOf(const std::filesystem::path &file);

} // namespace corvane

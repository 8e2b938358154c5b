#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace corvane {

/// Where files are kept: a disk, or a part of one.
struct Volume {
    std::string name;             ///< of its topmost folder; empty for the one that the system is on
    std::uintmax_t available = 0; ///< bytes that this user may still write

    bool operator==(const Volume &) const = default;
};

/// The volume that holds `path` or, where that does not exist yet, the nearest folder above it that does.
/// None when that cannot be told. Any thread.
std::optional<Volume> volumeOf(const std::filesystem::path &path);

} // namespace corvane

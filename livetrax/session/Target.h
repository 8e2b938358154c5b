#pragma once

#include <filesystem>
#include <string>

namespace corvane {

/// One LiveTrax installation.
struct Target {
    std::string displayName;   ///< "LiveTrax 3" or "LiveTrax 1"
    std::string preferences;   ///< its folder's name under the user's "Library/Preferences/"
    std::string executable;    ///< its program's file name in the bundle's "Contents/MacOS/"
    std::filesystem::path app; ///< the application bundle

    bool operator==(const Target &) const = default;
};

} // namespace corvane

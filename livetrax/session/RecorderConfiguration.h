#pragma once

#include "livetrax/session/XMLTree.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// What LiveTrax's configuration says of what Corvane needs of it.
struct RecorderConfiguration {
    /// Its OSC surface by its name there.
    static constexpr const char *oscSurface = "Open Sound Control (OSC)";

    std::map<std::string, std::string> options; ///< those about OSC
    std::optional<bool> surfaceActive;          ///< none when the surface is not listed
    /// The audio devices that LiveTrax has run on, "BACKEND;DRIVER;DEVICE at RATE", in the order of the file.
    std::vector<std::string> devices;

    /// Whether LiveTrax will listen on the port that Corvane speaks to.
    bool surfaceIsOn() const;
    bool operator==(const RecorderConfiguration &) const = default;
};

RecorderConfiguration configurationOf(XMLElement root);

/// The same of LiveTrax's preferences folder; none when there is no configuration yet. Throws FileError and
/// XMLError.
std::optional<RecorderConfiguration> readConfiguration(const std::filesystem::path &preferences);

} // namespace corvane

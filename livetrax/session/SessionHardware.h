#pragma once

#include "livetrax/session/RecordingFormat.h"
#include "livetrax/session/XMLTree.h"

#include <cstddef>
#include <filesystem>
#include <string>

namespace corvane {

/// What a session or a template says of the hardware that it was made for.
struct SessionHardware {
    /// "BACKEND;DRIVER;DEVICE" of what most of its tracks are connected to; empty when they are connected to
    /// nothing.
    std::string device;
    RecordingFormat format; ///< of a template the usual, but for what it says
    std::size_t inputs = 0; ///< that its tracks record at once

    bool operator==(const SessionHardware &) const = default;
};

SessionHardware hardwareOf(XMLElement root);

/// The same of a file; any thread. Throws FileError and XMLError.
SessionHardware readHardware(const std::filesystem::path &file);

} // namespace corvane

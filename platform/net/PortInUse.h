#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace corvane {

/// A UDP port that is needed is held by somebody else's program.
class PortInUse : public std::runtime_error {
public:
    /// "UDP port 8000 is in use by another program."
    explicit PortInUse(std::uint16_t port)
        : std::runtime_error("UDP port " + std::to_string(port) + " is in use by another program."),
          port(port) {}

    std::uint16_t port;
};

} // namespace corvane

#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// The time of day, for texts. Delays go by SerialQueue's clock.
using WallClock = std::function<std::chrono::system_clock::time_point()>;

/// What this computer says of itself.
struct HostInformation {
    /// The computer's name as its user knows it; none when the system gives none.
    std::optional<std::string> localizedName;
    /// The Ethernet address of each interface that has one, as six lower-case two-digit hexadecimal bytes
    /// joined by ":", in the system's order, repeats included. Empty when interfaces cannot be listed.
    std::vector<std::string> ethernetAddresses;
    /// A random UUID in its usual text form, a new one each time.
    std::string newUUID;
};

/// As it is at the moment.
HostInformation hostInformation();

/// A new random UUID (RFC 4122, version 4), lower-case with hyphens.
std::string makeRandomUUID();

/// Six bytes as "0a:1b:2c:3d:4e:5f".
std::string ethernetAddressText(const std::uint8_t *bytes);

/// On Linux, the pretty host name that a file like /etc/machine-info gives, else the host name without its
/// domain.
std::optional<std::string> computerName(const std::filesystem::path &machineInfo);

} // namespace corvane

#pragma once

#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// What this computer says of itself.
class HostInformation {
public:
    virtual ~HostInformation() = default;
    /// The computer's name as its user knows it; none when the system gives none.
    virtual std::optional<std::string> localizedName() const = 0;
    /// The Ethernet address of each interface that has one, as six lower-case two-digit hexadecimal bytes
    /// joined by ":", in the system's order, repeats included. Empty when interfaces cannot be listed.
    virtual std::vector<std::string> ethernetAddresses() const = 0;
    /// A new random UUID (RFC 4122, version 4) in its usual text form.
    virtual std::string makeUUID() const = 0;
};

} // namespace corvane

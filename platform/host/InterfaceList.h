#pragma once

#include <string>
#include <vector>

namespace corvane {

/// A network interface as a person describes it.
struct InterfaceDescription {
    std::string name;
    bool up = false;
    bool multicast = false;             ///< announcements of consoles can come in here
    std::vector<std::string> addresses; ///< numeric, IPv4 and IPv6

    bool operator==(const InterfaceDescription &) const = default;
};

/// This machine's interfaces that have an address, in the system's order; empty when it does not tell. Any
/// thread.
std::vector<InterfaceDescription> interfaceList();

} // namespace corvane

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace corvane {

/// Answers of multicast DNS that nobody asked for, as consoles send them when they come: packets made by
/// hand, from a host that has no DNS-SD daemon. What it says is never taken back.
struct AnnouncedService {
    std::string name;
    std::uint16_t port = 0;
};

/// Announces services of consoles on the host "desk.local" with 10.77.0.2, out of the interface of that
/// address in the calling thread's network.
void announceByMulticastDNS(const std::vector<AnnouncedService> &services);

} // namespace corvane

#pragma once

#include <cstdint>
#include <string>

namespace corvane {

/// One console host that announced itself on the network. Two are the same when all four fields are equal.
struct LV1Endpoint {
    std::string name;       ///< display name
    std::string host;       ///< IPv4 address in dotted form, or a host name
    std::uint16_t port = 0; ///< TCP port of its notification service
    std::string mac;        ///< hardware address as announced; may be empty

    bool operator==(const LV1Endpoint &) const = default;
};

} // namespace corvane

#pragma once

#include "base/Bytes.h"

#include <asio/io_context.hpp>
#include <asio/ip/udp.hpp>

#include <cstdint>
#include <string>

namespace corvane::sim {

/// Announces a console as consoles do: one "/zDNS" datagram to UDP port 13337, of one host or of the group
/// 225.1.1.1 on every interface that can do multicast.
class ConsoleAnnouncer {
public:
    /// Of several programs that share the port on this machine the system gives each datagram to one, chosen
    /// by the sender's port. So many from as many ports reach every one of them, all but always.
    static constexpr int datagramsOnLoopback = 8;

    /// `destination` is a host, or "multicast". Throws std::system_error when the host is unknown.
    ConsoleAnnouncer(asio::io_context &loop, const std::string &destination, std::string name,
                     std::uint16_t port);

    /// Announces once. Returns the system's reason when that was not possible, else the empty text.
    std::string announce();
    bool staysOnLoopback() const { return !multicast && destination.address().is_loopback(); }

private:
    std::string announceTo(const asio::ip::udp::endpoint &receiver, const asio::ip::address_v4 &ownAddress,
                           const std::string &hardwareAddress);
    std::string announceToHost();
    std::string announceToGroup();

    asio::io_context &loop;
    asio::ip::udp::endpoint destination;
    bool multicast;
    std::string name;
    std::uint16_t port;
};

} // namespace corvane::sim

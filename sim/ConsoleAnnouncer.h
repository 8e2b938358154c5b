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
    /// When several programs on this machine share the port, the system gives each datagram to one of them,
    /// chosen by the sender's port. This many datagrams, each from another port, almost always reach all of
    /// them.
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

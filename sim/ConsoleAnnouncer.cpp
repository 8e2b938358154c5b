#include "sim/ConsoleAnnouncer.h"

#include "osc/OSCCodec.h"
#include "platform/host/NetworkInterfaces.h"

#include <asio/ip/multicast.hpp>

#include <arpa/inet.h>
#include <cerrno>
#include <net/if.h>
#include <system_error>
#include <utility>
#include <vector>

namespace corvane::sim {

using asio::ip::address_v4;
using asio::ip::udp;

namespace {

constexpr const char *group = "225.1.1.1";
constexpr std::uint16_t groupPort = 13337;
/// A locally administered address, for a console without hardware.
constexpr const char *standInHardwareAddress = "02:00:00:00:00:01";

Bytes announcement(const std::string &name, std::uint16_t port, const std::string &host,
                   const std::string &hardwareAddress) {
    const std::vector<OSCValue> values{std::string("_waveslv113._tcp"),
                                       std::string("local"),
                                       std::int32_t{1},
                                       name,
                                       std::int32_t{port},
                                       std::int32_t{0},
                                       std::string("V17"),
                                       std::string("IPv4"),
                                       host,
                                       std::int32_t{1},
                                       std::string(),
                                       std::string("mac"),
                                       hardwareAddress};
    return OSCCodec::message("/zDNS", values);
}

/// The IPv4 addresses of the interfaces that are up and can do multicast.
std::vector<address_v4> multicastInterfaces() {
    std::vector<address_v4> addresses;
    NetworkInterfaces().forEach(AF_INET, [&](const ifaddrs &each) {
        if ((each.ifa_flags & IFF_UP) == 0 || (each.ifa_flags & IFF_MULTICAST) == 0)
            return;
        const auto *address = reinterpret_cast<const sockaddr_in *>(each.ifa_addr);
        addresses.emplace_back(ntohl(address->sin_addr.s_addr));
    });
    return addresses;
}

udp::endpoint resolved(asio::io_context &loop, const std::string &host) {
    if (host == "multicast")
        return {asio::ip::make_address_v4(group), groupPort};
    return *udp::resolver(loop).resolve(udp::v4(), host, std::to_string(groupPort)).begin();
}

} // namespace

ConsoleAnnouncer::ConsoleAnnouncer(asio::io_context &loop, const std::string &destination, std::string name,
                                   std::uint16_t port)
    : loop(loop), destination(resolved(loop, destination)), multicast(destination == "multicast"),
      name(std::move(name)), port(port) {}

std::string ConsoleAnnouncer::announce() {
    return multicast ? announceToGroup() : announceToHost();
}

std::string ConsoleAnnouncer::announceToHost() {
    // A connected socket knows which of our addresses the receiver will see.
    asio::error_code error;
    udp::socket probe(loop);
    probe.connect(destination, error);
    if (error)
        return error.message();
    const auto own = probe.local_endpoint(error).address();
    std::string fault;
    for (int i = 0; i < (staysOnLoopback() ? datagramsOnLoopback : 1) && fault.empty(); ++i)
        fault = announceTo(destination, own.to_v4(), standInHardwareAddress);
    return fault;
}

std::string ConsoleAnnouncer::announceToGroup() {
    const auto interfaces = multicastInterfaces();
    if (interfaces.empty())
        return "no interface can do multicast";
    std::string fault;
    for (const auto &own : interfaces) {
        const auto problem = announceTo(destination, own, standInHardwareAddress);
        if (!problem.empty())
            fault = own.to_string() + ": " + problem;
    }
    return fault;
}

std::string ConsoleAnnouncer::announceTo(const udp::endpoint &receiver, const address_v4 &ownAddress,
                                         const std::string &hardwareAddress) {
    asio::error_code error;
    udp::socket socket(loop);
    socket.open(udp::v4(), error);
    if (!error && multicast)
        socket.set_option(asio::ip::multicast::outbound_interface(ownAddress), error);
    if (!error)
        socket.send_to(asio::buffer(announcement(name, port, ownAddress.to_string(), hardwareAddress)),
                       receiver, 0, error);
    return error ? error.message() : "";
}

} // namespace corvane::sim

#include "tests/support/MulticastDNS.h"

#include "base/Bytes.h"
#include "tests/support/Peers.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <string_view>
#include <sys/socket.h>
#include <system_error>

namespace corvane {

namespace {

constexpr const char *ownAddress = "10.77.0.2";
constexpr const char *hostName = "desk.local";
constexpr const char *serviceType = "_waveslv113._tcp.local";
constexpr std::size_t servicesPerPacket = 8;

enum Type : std::uint16_t { a = 1, ptr = 12, txt = 16, srv = 33 };
constexpr std::uint16_t internet = 1;
/// Of an answer that takes the place of all others of its name.
constexpr std::uint16_t replacing = 0x8001;

void add16(Bytes &bytes, std::size_t number) {
    bytes.push_back(static_cast<std::uint8_t>(number >> 8U));
    bytes.push_back(static_cast<std::uint8_t>(number));
}

void addLabel(Bytes &bytes, std::string_view label) {
    bytes.push_back(static_cast<std::uint8_t>(label.size()));
    bytes.insert(bytes.end(), label.begin(), label.end());
}

/// A service's own name is one label, in front of the name of its type.
Bytes domainName(std::string_view dotted, std::string_view service = {}) {
    Bytes name;
    if (!service.empty())
        addLabel(name, service);
    while (!dotted.empty()) {
        const auto end = std::min(dotted.find('.'), dotted.size());
        addLabel(name, dotted.substr(0, end));
        dotted.remove_prefix(std::min(end + 1, dotted.size()));
    }
    name.push_back(0);
    return name;
}

void addAnswer(Bytes &packet, const Bytes &name, Type type, std::uint16_t dnsClass, const Bytes &data) {
    constexpr std::size_t secondsToLive = 4500;
    packet.insert(packet.end(), name.begin(), name.end());
    add16(packet, type);
    add16(packet, dnsClass);
    add16(packet, 0);
    add16(packet, secondsToLive);
    add16(packet, data.size());
    packet.insert(packet.end(), data.begin(), data.end());
}

void addService(Bytes &packet, const AnnouncedService &service) {
    const Bytes name = domainName(serviceType, service.name);
    Bytes location(4); // priority and weight
    add16(location, service.port);
    const Bytes host = domainName(hostName);
    location.insert(location.end(), host.begin(), host.end());
    addAnswer(packet, domainName(serviceType), ptr, internet, name);
    addAnswer(packet, name, srv, replacing, location);
    addAnswer(packet, name, txt, replacing, Bytes(1));
}

Bytes packetOf(const AnnouncedService *services, std::size_t count) {
    Bytes packet{0, 0, 0x84, 0}; // an answer, and its sender knows
    add16(packet, 0);
    add16(packet, 3 * count + 1);
    packet.resize(12);
    for (std::size_t i = 0; i < count; ++i)
        addService(packet, services[i]);
    in_addr address{};
    ::inet_pton(AF_INET, ownAddress, &address);
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(&address);
    addAnswer(packet, domainName(hostName), a, replacing, Bytes(bytes, bytes + sizeof address));
    return packet;
}

sockaddr_in socketAddress(const char *host) {
    constexpr std::uint16_t port = 5353;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    ::inet_pton(AF_INET, host, &address.sin_addr);
    return address;
}

} // namespace

void announceByMulticastDNS(const std::vector<AnnouncedService> &services) {
    const Descriptor socket = newSocket(SOCK_DGRAM);
    const int farthest = 255;
    ::setsockopt(socket.get(), IPPROTO_IP, IP_MULTICAST_TTL, &farthest, sizeof farthest);
    const auto from = socketAddress(ownAddress);
    if (::bind(socket.get(), reinterpret_cast<const sockaddr *>(&from), sizeof from) != 0)
        throw std::system_error(errno, std::generic_category(), "bind");
    ::setsockopt(socket.get(), IPPROTO_IP, IP_MULTICAST_IF, &from.sin_addr, sizeof from.sin_addr);
    const auto to = socketAddress("224.0.0.251");
    for (std::size_t first = 0; first < services.size(); first += servicesPerPacket) {
        const Bytes packet = packetOf(&services[first], std::min(servicesPerPacket, services.size() - first));
        ::sendto(socket.get(), packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr *>(&to),
                 sizeof to);
    }
}

} // namespace corvane

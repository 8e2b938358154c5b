#include "platform/net/GroupMemberships.h"

#include "platform/host/NetworkInterfaces.h"

#include <cerrno>
#include <map>
#include <net/if.h>
#include <sys/socket.h>
#include <system_error>

namespace corvane {

namespace {

std::string reason() {
    return std::generic_category().message(errno) + ".";
}

bool isFitting(const ifaddrs &interface) {
    return (interface.ifa_flags & IFF_UP) != 0 && (interface.ifa_flags & IFF_MULTICAST) != 0;
}

int setMembership(int socket, int option, in_addr group, unsigned interface) {
    ip_mreqn membership{};
    membership.imr_multiaddr = group;
    membership.imr_ifindex = static_cast<int>(interface);
    return ::setsockopt(socket, IPPROTO_IP, option, &membership, sizeof membership);
}

} // namespace

std::string GroupMemberships::update(int socket) {
    const NetworkInterfaces interfaces;
    if (!interfaces)
        return "The network interfaces cannot be listed: " + reason();
    std::map<unsigned, std::string> fitting; // one with several addresses is one
    interfaces.forEach(AF_INET, [&](const ifaddrs &interface) {
        if (const unsigned number = isFitting(interface) ? ::if_nametoindex(interface.ifa_name) : 0)
            fitting.emplace(number, interface.ifa_name);
    });

    for (auto each = joined.begin(); each != joined.end();) {
        const unsigned number = *each;
        each = fitting.contains(number) ? std::next(each) : joined.erase(each);
        if (!fitting.contains(number))
            setMembership(socket, IP_DROP_MEMBERSHIP, group, number);
    }
    std::string errors;
    for (const auto &[number, name] : fitting) {
        const auto error = join(socket, number, name);
        if (!error.empty())
            errors += (errors.empty() ? "" : " ") + error;
    }
    return fitting.empty() ? "No network interface supports multicast." : errors;
}

std::string GroupMemberships::join(int socket, unsigned interface, const std::string &name) {
    if (!joined.contains(interface) && setMembership(socket, IP_ADD_MEMBERSHIP, group, interface) != 0)
        return "Announcements cannot be heard on " + name + ": " + reason();
    joined.insert(interface);
    return {};
}

} // namespace corvane

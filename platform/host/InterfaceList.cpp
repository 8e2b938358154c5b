#include "platform/host/InterfaceList.h"

#include "platform/host/NetworkInterfaces.h"

#include <algorithm>
#include <array>

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>

namespace corvane {

namespace {

std::string addressText(const sockaddr *address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const void *bytes =
        address->sa_family == AF_INET
            ? static_cast<const void *>(&reinterpret_cast<const sockaddr_in *>(address)->sin_addr)
            : &reinterpret_cast<const sockaddr_in6 *>(address)->sin6_addr;
    return ::inet_ntop(address->sa_family, bytes, text.data(), static_cast<socklen_t>(text.size())) != nullptr
               ? text.data()
               : "";
}

} // namespace

std::vector<InterfaceDescription> interfaceList() {
    std::vector<InterfaceDescription> list;
    const NetworkInterfaces interfaces;
    for (const int family : {AF_INET, AF_INET6}) {
        interfaces.forEach(family, [&](const ifaddrs &entry) {
            auto found = std::find_if(list.begin(), list.end(),
                                      [&](const auto &each) { return each.name == entry.ifa_name; });
            if (found == list.end())
                found = list.insert(list.end(), {entry.ifa_name,
                                                 (entry.ifa_flags & IFF_UP) != 0,
                                                 (entry.ifa_flags & IFF_MULTICAST) != 0,
                                                 {}});
            found->addresses.push_back(addressText(entry.ifa_addr));
        });
    }
    return list;
}

} // namespace corvane

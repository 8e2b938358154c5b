#include "platform/macos/EthernetAddresses.h"

#include "platform/EthernetAddress.h"

#include <ifaddrs.h>
#include <net/if_dl.h>
#include <net/if_types.h>
#include <sys/socket.h>

namespace corvane {

std::vector<std::string> linkLayerEthernetAddresses() {
    constexpr unsigned length = 6;
    ifaddrs *interfaces = nullptr;
    if (::getifaddrs(&interfaces) != 0)
        return {};
    std::vector<std::string> addresses;
    for (const ifaddrs *entry = interfaces; entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_LINK)
            continue;
        const auto *link = reinterpret_cast<const sockaddr_dl *>(entry->ifa_addr);
        if (link->sdl_type == IFT_ETHER && link->sdl_alen == length)
            addresses.push_back(ethernetAddressText(reinterpret_cast<const std::uint8_t *>(LLADDR(link))));
    }
    ::freeifaddrs(interfaces);
    return addresses;
}

} // namespace corvane

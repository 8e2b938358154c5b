#include "platform/host/macos/EthernetAddresses.h"

#include "platform/host/EthernetAddress.h"
#include "platform/host/NetworkInterfaces.h"

#include <net/if_dl.h>
#include <net/if_types.h>
#include <sys/socket.h>

namespace corvane {

std::vector<std::string> linkLayerEthernetAddresses() {
    constexpr unsigned length = 6;
    std::vector<std::string> addresses;
    NetworkInterfaces().forEach(AF_LINK, [&](const ifaddrs &entry) {
        const auto *link = reinterpret_cast<const sockaddr_dl *>(entry.ifa_addr);
        if (link->sdl_type == IFT_ETHER && link->sdl_alen == length)
            addresses.push_back(ethernetAddressText(reinterpret_cast<const std::uint8_t *>(LLADDR(link))));
    });
    return addresses;
}

} // namespace corvane

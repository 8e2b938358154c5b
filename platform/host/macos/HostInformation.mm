#include "platform/host/HostInformation.h"

#include "platform/files/MacText.h"
#include "platform/host/NetworkInterfaces.h"

#include <net/if_dl.h>
#include <net/if_types.h>
#include <sys/socket.h>

namespace corvane {

HostInformation hostInformation() {
    constexpr unsigned length = 6;
    NSString *name = NSHost.currentHost.localizedName;
    HostInformation host{name ? utf8(name) : std::nullopt, {}, makeRandomUUID()};
    NetworkInterfaces().forEach(AF_LINK, [&](const ifaddrs &entry) {
        const auto *link = reinterpret_cast<const sockaddr_dl *>(entry.ifa_addr);
        if (link->sdl_type == IFT_ETHER && link->sdl_alen == length)
            host.ethernetAddresses.push_back(
                ethernetAddressText(reinterpret_cast<const std::uint8_t *>(LLADDR(link))));
    });
    return host;
}

} // namespace corvane

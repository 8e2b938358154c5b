#include "platform/host/HostInformation.h"

#include "base/Text.h"
#include "base/UTF8.h"
#include "platform/files/ShellValue.h"
#include "platform/host/NetworkInterfaces.h"

#include <array>

#include <net/if_arp.h>
#include <netpacket/packet.h>
#include <unistd.h>

namespace corvane {
namespace {

std::optional<std::string> hostNameWithoutDomain() {
    std::array<char, 256> buffer{};
    if (::gethostname(buffer.data(), buffer.size() - 1) != 0)
        return std::nullopt;
    std::string name = buffer.data();
    name = name.substr(0, name.find('.'));
    // What a computer is called that was never given a name.
    if (name.empty() || name == "(none)" || name == "localhost" || !isValidUTF8(name))
        return std::nullopt;
    return name;
}

} // namespace

std::optional<std::string> computerName(const std::filesystem::path &machineInfo) {
    const auto pretty = shellValue(machineInfo, "PRETTY_HOSTNAME");
    if (pretty && isValidUTF8(*pretty) && !trimmed(*pretty).empty())
        return trimmed(*pretty);
    return hostNameWithoutDomain();
}

HostInformation hostInformation() {
    constexpr unsigned length = 6;
    HostInformation host{computerName("/etc/machine-info"), {}, makeRandomUUID()};
    NetworkInterfaces().forEach(AF_PACKET, [&](const ifaddrs &entry) {
        const auto *link = reinterpret_cast<const sockaddr_ll *>(entry.ifa_addr);
        if (link->sll_hatype == ARPHRD_ETHER && link->sll_halen == length)
            host.ethernetAddresses.push_back(ethernetAddressText(link->sll_addr));
    });
    return host;
}

} // namespace corvane

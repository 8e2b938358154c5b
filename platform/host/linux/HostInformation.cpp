#include "platform/host/linux/LinuxHostInformation.h"

#include "base/Text.h"
#include "platform/files/linux/ShellValue.h"
#include "platform/host/EthernetAddress.h"
#include "platform/host/NetworkInterfaces.h"
#include "platform/host/UUID.h"

#include <array>
#include <utility>

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

LinuxHostInformation::LinuxHostInformation(std::filesystem::path machineInfo)
    : machineInfo(std::move(machineInfo)) {}

std::optional<std::string> LinuxHostInformation::localizedName() const {
    const auto pretty = shellValue(machineInfo, "PRETTY_HOSTNAME");
    if (pretty && isValidUTF8(*pretty) && !trimmed(*pretty).empty())
        return trimmed(*pretty);
    return hostNameWithoutDomain();
}

std::vector<std::string> LinuxHostInformation::ethernetAddresses() const {
    constexpr unsigned length = 6;
    std::vector<std::string> addresses;
    NetworkInterfaces().forEach(AF_PACKET, [&](const ifaddrs &entry) {
        const auto *link = reinterpret_cast<const sockaddr_ll *>(entry.ifa_addr);
        if (link->sll_hatype == ARPHRD_ETHER && link->sll_halen == length)
            addresses.push_back(ethernetAddressText(link->sll_addr));
    });
    return addresses;
}

std::string LinuxHostInformation::makeUUID() const {
    return makeRandomUUID();
}

} // namespace corvane

#include "platform/host/UUID.h"
#include "platform/host/macos/EthernetAddresses.h"
#include "platform/host/macos/MacText.h"
#include "platform/macos/MacSystem.h"

namespace corvane {

std::optional<std::string> MacHostInformation::localizedName() const {
    NSString *name = NSHost.currentHost.localizedName;
    return name ? utf8(name) : std::nullopt;
}

std::vector<std::string> MacHostInformation::ethernetAddresses() const {
    return linkLayerEthernetAddresses();
}

std::string MacHostInformation::makeUUID() const {
    return makeRandomUUID();
}

} // namespace corvane

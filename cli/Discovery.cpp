#include "cli/Discovery.h"

namespace corvane::cli {

std::string discoveryErrors(const LV1MulticastDiscovery &multicast, const ServiceBrowser &browser) {
    std::string lines;
    if (!multicast.error().empty())
        lines += "Multicast: " + multicast.error();
    if (const auto error = browser.error())
        lines += (lines.empty() ? "Bonjour: " : "\nBonjour: ") + *error;
    return lines;
}

void beginConnecting(LV1Client &client, const ChannelSourceOptions &source) {
    if (source.host)
        client.connect(*source.host, source.port);
    else
        client.startDiscovery();
}

} // namespace corvane::cli

#include "cli/Discovery.h"

namespace corvane::cli {

std::string discoveryObstacles(const LV1MulticastDiscovery &multicast, const ServiceBrowser &browser) {
    std::string lines;
    if (!multicast.obstacle().empty())
        lines += "Multicast: " + multicast.obstacle();
    if (const auto obstacle = browser.obstacle())
        lines += (lines.empty() ? "Bonjour: " : "\nBonjour: ") + *obstacle;
    return lines;
}

void beginConnecting(LV1Client &client, const ChannelSourceOptions &source) {
    if (source.host)
        client.connect(*source.host, source.port);
    else
        client.startDiscovery();
}

} // namespace corvane::cli

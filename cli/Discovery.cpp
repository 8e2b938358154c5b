#include "cli/Discovery.h"

#include <cstdio>

namespace corvane::cli {

std::string discoveryErrors(const LV1MulticastDiscovery &multicast, const ServiceBrowser &browser) {
    std::string lines;
    if (!multicast.error().empty())
        lines += "Multicast: " + multicast.error();
    if (const auto error = browser.error())
        lines += (lines.empty() ? "Bonjour: " : "\nBonjour: ") + *error;
    return lines;
}

std::string nothingHeard(std::chrono::milliseconds listened) {
    char seconds[32] = {};
    std::snprintf(seconds, sizeof seconds, "%g s", static_cast<double>(listened.count()) / 1000);
    return std::string("No LV1 host was heard.\n  Listened for ") + seconds +
           " to Bonjour and to multicast announcements.\n"
           "  See that the console is on, that this computer is in its network, and that the system lets "
           "Corvane use the local network.\n"
           "  --host and --port name a console that is not heard.";
}

void beginConnecting(LV1Client &client, const ChannelSourceOptions &source) {
    if (source.host)
        client.connect(*source.host, source.port);
    else
        client.startDiscovery();
}

} // namespace corvane::cli

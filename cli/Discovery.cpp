#include "cli/Discovery.h"

#include "base/Quotation.h"
#include "base/Text.h"
#include "cli/Json.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <vector>

namespace corvane::cli {

namespace {

/// Of the consoles that a person has to choose from.
constexpr std::size_t mostListed = 8;

} // namespace

std::string discoveryErrors(const LV1MulticastDiscovery &multicast, const ServiceBrowser &browser) {
    std::string lines;
    if (!multicast.error().empty())
        lines += "Multicast: " + multicast.error();
    if (const auto error = browser.error())
        lines += (lines.empty() ? "Bonjour: " : "\nBonjour: ") + *error;
    return lines;
}

std::string nothingHeard(const LV1MulticastDiscovery &multicast, const ServiceBrowser &browser,
                         std::chrono::milliseconds listened) {
    if (!multicast.error().empty() || browser.isRefused())
        return discoveryErrors(multicast, browser);
    const auto error = browser.error();
    char seconds[32] = {};
    std::snprintf(seconds, sizeof seconds, "%g s", static_cast<double>(listened.count()) / 1000);
    return "No LV1 host was heard.\n" + (error ? "  Bonjour: " + *error + "\n" : "") + "  Listened for " +
           seconds + (error ? " to" : " to Bonjour and to") +
           " multicast announcements.\n"
           "  See that the console is on, that this computer is in its network, and that the system lets "
           "Corvane use the local network.\n"
           "  --host and --port name a console that is not heard.";
}

std::string severalHosts(const LV1Client &client) {
    std::vector<std::string> hosts;
    const auto add = [&](const std::string &name, const std::string &host, int port) {
        hosts.push_back("--host " + withoutControls(host) + " --port " + std::to_string(port) + " is " +
                        quotation(name) + ".");
    };
    for (const LV1Endpoint &endpoint : client.endpoints)
        add(endpoint.name, endpoint.host, endpoint.port);
    if (hosts.empty()) // else the services are the same consoles
        for (const auto &service : client.services) {
            if (const auto address = addressOf(*service))
                add(service->name(), address->first, address->second);
            else
                hosts.push_back(quotation(service->name()) + ": corvanectl hosts tells its address.");
        }
    std::string text = LV1Client::severalHostsStatus;
    const std::size_t listed = std::min(hosts.size(), mostListed);
    for (std::size_t each = 0; each < listed; ++each)
        text += "\n  " + hosts[each];
    if (listed < hosts.size())
        text += "\n  corvanectl hosts lists " + std::to_string(hosts.size() - listed) + " more.";
    return text;
}

void beginConnecting(LV1Client &client, const ChannelSourceOptions &source) {
    if (source.host)
        client.connect(*source.host, source.port);
    else
        client.startDiscovery();
}

} // namespace corvane::cli

#pragma once

#include "cli/CommandLine.h"
#include "lv1/LV1Client.h"

#include <chrono>
#include <string>

namespace corvane::cli {

/// What keeps hosts from being heard, one line for each of the two ways; empty when nothing does.
std::string discoveryErrors(const LV1MulticastDiscovery &multicast, const ServiceBrowser &browser);

/// What is said when no host was heard in that time: what is in the way, else what was tried and what to
/// check. A computer without Bonjour still listens to multicast.
std::string nothingHeard(const LV1MulticastDiscovery &multicast, const ServiceBrowser &browser,
                         std::chrono::milliseconds listened);

/// The status text that there are several hosts, and beneath it which they are and how one is chosen.
std::string severalHosts(const LV1Client &client);

/// Connects to the host that is named, else begins to search.
void beginConnecting(LV1Client &client, const ChannelSourceOptions &source);

} // namespace corvane::cli

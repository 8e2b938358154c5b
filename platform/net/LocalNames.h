#pragma once

#include "platform/net/HostResolver.h"

#include <chrono>
#include <string>

namespace corvane {

/// Whether the name is one of those that hosts give themselves: "console.local" or "console.local.".
bool isLocalName(const std::string &host);

/// Asks the DNS-SD daemon for the IPv4 addresses of a local name, so that a host that the daemon has found
/// can be reached even where the system's own look-up does not know such names. Waits for the first answer no
/// longer than `timeout`. No addresses when there is no daemon or no answer.
HostAddresses lookUpLocalName(const std::string &host, std::chrono::milliseconds timeout);

/// Keeps the daemon's library from printing warnings. Called early, while no other thread reads the
/// environment.
void quietDNSServiceLibrary();

} // namespace corvane

#pragma once

#include <functional>
#include <memory>

namespace corvane {

/// Waits for the DNS-SD daemon to appear, without polling, until it is destroyed.
class DNSServiceDaemonWatch {
public:
    virtual ~DNSServiceDaemonWatch() = default;
};

/// Calls `appeared` once, when the daemon is there or when nothing more can be learned about it: on any
/// thread, perhaps before this returns. May block while the daemon does not answer. Null where the system
/// does not tell when the daemon comes.
std::unique_ptr<DNSServiceDaemonWatch> watchForDNSServiceDaemon(std::function<void()> appeared);

/// Whether a person decides in this system's settings if a program may search at all.
bool localNetworkWantsPermission();

} // namespace corvane

#pragma once

#include <functional>
#include <memory>

namespace corvane {

/// Waits for the DNS-SD daemon to be there, asleep. Lets go of what it waits with at its end.
class DNSServiceDaemonWatch {
public:
    virtual ~DNSServiceDaemonWatch() = default;
};

/// Has `appeared` called once when the daemon is there, or when nothing more can be learned about that: on
/// any thread, perhaps before this returns. Takes a moment, longer when the daemon does not answer. None
/// where the system gives no sign of the daemon.
std::unique_ptr<DNSServiceDaemonWatch> watchForDNSServiceDaemon(std::function<void()> appeared);

} // namespace corvane

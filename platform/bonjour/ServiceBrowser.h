#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace corvane {

/// One DNS-SD service as a browser found it. Used on the main queue only; no call waits for the daemon.
class NetService {
public:
    virtual ~NetService() = default;
    virtual const std::string &name() const = 0;
    /// None until the service has been resolved.
    virtual std::optional<std::string> hostName() const = 0;
    /// -1 until the service has been resolved.
    virtual int port() const = 0;
    /// Resolves host name and port; the browser's delegate is notified of the outcome. A call while one is in
    /// flight joins that one.
    virtual void resolve(std::chrono::milliseconds timeout) = 0;
    /// Resolves again in the background: the browser's delegate is notified only if the address has changed.
    virtual void resolveAnew(std::chrono::milliseconds timeout) = 0;
};

/// Called on the main queue.
class ServiceBrowserDelegate {
public:
    virtual ~ServiceBrowserDelegate() = default;
    virtual void didFind(std::shared_ptr<NetService> service, bool moreComing) = 0;
    /// The service was withdrawn. Found again it is a new record.
    virtual void didRemove(NetService &service) = 0;
    /// Also called, unasked, for a service that has another address after the daemon came back.
    virtual void didResolveAddress(NetService &service) = 0;
    virtual void didNotResolve(NetService &service) = 0;
};

/// Searches for DNS-SD services (RFC 6763). Used on the main queue only; no call waits for the daemon.
class ServiceBrowser {
public:
    virtual ~ServiceBrowser() = default;
    virtual void setDelegate(std::weak_ptr<ServiceBrowserDelegate> delegate) = 0;
    /// Searches until `stop`; each service is reported once by name, however many interfaces, address
    /// families or daemon restarts repeat it, and again once it was withdrawn. A daemon that is missing or
    /// dies is tried again by itself.
    virtual void search(const std::string &type, const std::string &domain) = 0;
    virtual void stop() = 0;
    /// Why nothing can be found at the moment, in a few words; none while the search is working.
    virtual std::optional<std::string> error() const = 0;
    /// Whether it is the system that keeps this program from the local network, until a person allows it.
    virtual bool isRefused() const { return false; }
    /// Whether that can happen on this system at all. Nobody is told when it does: it is asked for.
    virtual bool mayBeRefused() const { return false; }
};

} // namespace corvane

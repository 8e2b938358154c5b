#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace corvane {

/// A query to the DNS-SD daemon in flight. Destroying it cancels it: its handler is not called any more. The
/// handler itself may destroy it.
class DNSServiceQuery {
public:
    virtual ~DNSServiceQuery() = default;
};

/// What the daemon says while it browses.
struct DNSServiceEvent {
    enum class Kind {
        started, ///< the daemon has taken the question
        added,   ///< once for each interface and address family
        removed, ///< likewise
        failed   ///< there is no daemon, or it has gone; nothing follows
    };
    Kind kind = Kind::failed;
    std::string name;
    int error = 0; ///< DNSServiceErrorType, when failed
};

/// Where a service is reached.
struct DNSServiceAddress {
    std::string hostName;
    std::uint16_t port = 0;

    bool operator==(const DNSServiceAddress &) const = default;
};

/// The DNS-SD daemon. Used on the main queue, without ever waiting for the daemon; handlers run on the main
/// queue, never inside the call that asked.
class DNSServiceQueries {
public:
    using BrowseHandler = std::function<void(const DNSServiceEvent &event)>;
    /// Called once; with none when the daemon cannot be asked.
    using ResolveHandler = std::function<void(const std::optional<DNSServiceAddress> &address)>;

    virtual ~DNSServiceQueries() = default;
    virtual std::unique_ptr<DNSServiceQuery> browse(const std::string &type, const std::string &domain,
                                                    BrowseHandler handler) = 0;
    virtual std::unique_ptr<DNSServiceQuery> resolve(const std::string &name, const std::string &type,
                                                     const std::string &domain, ResolveHandler handler) = 0;
    /// Waits for a daemon that was missing. The handler is called once: when the daemon is there, or, where
    /// the system cannot tell, soon, so that it is asked again.
    virtual std::unique_ptr<DNSServiceQuery> awaitDaemon(std::function<void()> handler) = 0;
};

} // namespace corvane

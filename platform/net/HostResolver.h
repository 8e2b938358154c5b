#pragma once

#include <asio/ip/address.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corvane {

class AsioContext;

/// The addresses of a host, in the order in which to try them; or why there are none.
struct HostAddresses {
    std::vector<asio::ip::address> addresses;
    std::string error;
};

/// Asks the system for the addresses of a host name. May take many seconds and cannot be stopped.
HostAddresses lookUpHost(const std::string &host);

/// Finds the addresses of hosts without ever making anybody wait.
class HostResolver {
public:
    using LookUp = std::function<HostAddresses(const std::string &host)>;

    HostResolver(std::shared_ptr<AsioContext> context, LookUp lookUp);

    /// A numeric address is answered inside this call. A name is looked up on a thread of its own that
    /// nobody waits for; `done` then runs on a thread of the loop, or never when the loop is closed by then.
    void resolve(const std::string &host, std::function<void(HostAddresses)> done) const;

private:
    std::shared_ptr<AsioContext> context;
    LookUp lookUp;
};

} // namespace corvane

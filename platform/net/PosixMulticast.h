#pragma once

#include "platform/net/MulticastListening.h"

#include <memory>
#include <string>

namespace corvane {

class AsioContext;
class AsioRuntime;

/// Multicast by the system's sockets. Sockets are opened, joined and closed on the caller's thread; they are
/// read on the caller's queue. They may outlive this and the runtime, silently.
class PosixMulticast final : public MulticastListening {
public:
    /// How far a listener hears.
    enum class Reach {
        network,     ///< the group on every fitting interface, and what is sent to this machine directly
        loopbackOnly ///< only what this machine sends to 127.0.0.1; no group is joined
    };

    explicit PosixMulticast(const AsioRuntime &runtime, Reach reach = Reach::network);

    Opened open(const std::string &group, std::uint16_t port, std::size_t capacity,
                std::shared_ptr<SerialQueue> queue, DatagramHandler handler) override;

private:
    std::shared_ptr<AsioContext> context;
    Reach reach;
};

} // namespace corvane

#pragma once

#include "base/Bytes.h"
#include "platform/queues/SerialQueue.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace corvane {

/// An open UDP socket that listens to a multicast group. Letting go of it, or `cancel`, closes the socket;
/// no handler is called afterwards.
class MulticastSocket {
public:
    virtual ~MulticastSocket() = default;
    virtual void cancel() = 0;
    /// What keeps the group from being heard now, also on single interfaces; else empty. Any thread.
    virtual std::string error() const = 0;
};

/// Opens multicast sockets.
class MulticastListening {
public:
    struct Opened {
        std::unique_ptr<MulticastSocket> socket; ///< none when it cannot be opened
        std::string error; ///< what went wrong so far, as the socket says it; else empty
    };
    /// Called on the queue with each datagram, cut to the capacity asked for.
    using DatagramHandler = std::function<void(const Bytes &datagram)>;

    virtual ~MulticastListening() = default;
    /// Binds to any address at `port` (address and port shared with others) and joins `group` on every
    /// interface that is up, supports multicast and has an IPv4 address, those that come later included.
    /// Reads one datagram at a time.
    virtual Opened open(const std::string &group, std::uint16_t port, std::size_t capacity,
                        std::shared_ptr<SerialQueue> queue, DatagramHandler handler) = 0;
};

} // namespace corvane

#pragma once

#include "base/Bytes.h"
#include "platform/queues/SerialQueue.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace corvane {

class AsioContext;

/// The UDP socket of a recorder's OSC surface on the loopback address: it hears everybody and answers to the
/// sender's address at one fixed port, from its own. Used on its queue.
class SurfaceSocket {
public:
    using Handler = std::function<void(Bytes datagram, const std::string &sender)>;

    /// Takes the first port that is free from `port` on. `handler` runs on `queue`. Throws std::system_error
    /// when none is free.
    SurfaceSocket(std::shared_ptr<AsioContext> context, SerialQueue &queue, std::uint16_t port,
                  Handler handler);
    ~SurfaceSocket();
    SurfaceSocket(const SurfaceSocket &) = delete;
    SurfaceSocket &operator=(const SurfaceSocket &) = delete;

    std::uint16_t port() const;
    /// Sends one datagram; what cannot be sent is lost.
    void send(const Bytes &datagram, const std::string &address, std::uint16_t toPort);

private:
    struct Impl;
    std::shared_ptr<Impl> impl;
};

} // namespace corvane

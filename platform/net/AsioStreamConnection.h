#pragma once

#include "platform/net/HostResolver.h"
#include "platform/net/Network.h"

#include <memory>
#include <string>

namespace corvane {

class AsioContext;

/// A TCP connection. All of its state is an Impl that lives on the connection's queue; operations in flight
/// hold that, never this object, so that letting go of this object is possible at any moment.
class AsioStreamConnection final : public StreamConnection {
public:
    AsioStreamConnection(std::shared_ptr<AsioContext> context, HostResolver resolver, std::string host,
                         std::uint16_t port, std::shared_ptr<SerialQueue> queue);
    ~AsioStreamConnection() override;

    void start(ConnectionStateHandler handler) override;
    void send(Bytes message) override;
    void receive(std::size_t minimum, std::size_t maximum, ReceiveHandler handler) override;
    void cancel() override;
    std::string peerAddress() const override;

private:
    class Impl;
    std::shared_ptr<SerialQueue> queue;
    std::shared_ptr<Impl> impl;
};

} // namespace corvane

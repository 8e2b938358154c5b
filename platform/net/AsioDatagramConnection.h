#pragma once

#include "platform/net/HostResolver.h"
#include "platform/net/Network.h"

#include <memory>
#include <string>

namespace corvane {

class AsioContext;

/// Where a datagram connection's two ends are.
struct DatagramEnds {
    std::string remoteHost;
    std::uint16_t remotePort;
    std::string localHost;
    std::uint16_t localPort;
};

/// A UDP socket that is bound to its local end alone (nobody else's port is shared) and connected to its
/// remote end: only what that very address and port sends is heard, from the first datagram on. State as with
/// AsioStreamConnection.
class AsioDatagramConnection final : public DatagramConnection {
public:
    AsioDatagramConnection(std::shared_ptr<AsioContext> context, HostResolver resolver, DatagramEnds ends,
                           std::shared_ptr<SerialQueue> queue);
    ~AsioDatagramConnection() override;

    void start(ConnectionStateHandler handler) override;
    ConnectionState state() const override;
    std::error_code failure() const override;
    void send(Bytes datagram, SentHandler sent = {}) override;
    void receiveMessage(ReceiveHandler handler) override;
    void cancel() override;

private:
    class Impl;
    std::shared_ptr<SerialQueue> queue;
    std::shared_ptr<Impl> impl;
};

} // namespace corvane

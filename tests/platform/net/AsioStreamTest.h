#pragma once

#include "tests/platform/net/AsioConnectionTest.h"

namespace corvane {

/// Connections to a listener of this machine.
class AsioStream : public AsioConnectionTest {
protected:
    std::shared_ptr<StreamConnection> make(std::uint16_t port, const std::string &host = "127.0.0.1") {
        return network.makeStream(host, port, queue);
    }

    struct Linked {
        std::shared_ptr<StreamConnection> connection;
        StreamPeer peer;
    };
    /// A connection that was started, and its other end.
    Linked linked() {
        const auto connection = make(listener.port());
        connection->start(journal->states());
        return {connection, listener.accept()};
    }

    StreamListener listener;
};

} // namespace corvane

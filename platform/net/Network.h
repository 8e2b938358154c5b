#pragma once

#include "base/Bytes.h"
#include "platform/queues/SerialQueue.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

namespace corvane {

/// Not started, resolving and connecting, usable; then one of the two ends.
enum class ConnectionState { setup, preparing, ready, failed, cancelled };

/// Told of each change of a connection's state, on the connection's queue. `error` is the system's
/// description when the state is `failed`, else empty.
using ConnectionStateHandler = std::function<void(ConnectionState state, const std::string &error)>;

/// One TCP connection to a host. Every handler runs on the queue the connection was made with; the
/// operations may be called from any thread. After `cancel` exactly one more state is reported: cancelled
/// (called on another thread it lets a report come to its end that is under way on the queue). A connection
/// that is broken after it was ready reports the error to the pending receive, then failed; one whose peer
/// falls silent is broken within 15 s.
class StreamConnection {
public:
    struct Received {
        Bytes data;
        bool peerClosed = false;
        std::optional<std::string> error;
    };
    using ReceiveHandler = std::function<void(Received)>;

    virtual ~StreamConnection() = default;
    /// Resolves the host, connects and reports states from then on. Called once.
    virtual void start(ConnectionStateHandler handler) = 0;
    /// Sends the whole message, after those sent before it.
    virtual void send(Bytes message) = 0;
    /// Delivers between `minimum` and `maximum` bytes once; the data that preceded a close or an error comes
    /// with it. At most one receive may be pending. When the connection is cancelled, the receive is dropped
    /// or gets an error.
    virtual void receive(std::size_t minimum, std::size_t maximum, ReceiveHandler handler) = 0;
    virtual void cancel() = 0;
    /// The numeric address of the host that it is connected to; empty before it is ready. Asked on the
    /// connection's queue.
    virtual std::string peerAddress() const = 0;
};

/// The outcome of sending a datagram. One that the other end refuses was sent all the same.
enum class SendResult {
    left,
    leftAfterRefusal, ///< it has left, and the system said on that occasion that an earlier one was refused
    lost,
};

/// One UDP socket that is bound to a local address and speaks to one peer. Queues and threads as with a
/// `StreamConnection`.
class DatagramConnection {
public:
    struct Received {
        std::optional<Bytes> content;
        std::optional<std::string> error;
    };
    using ReceiveHandler = std::function<void(Received)>;

    virtual ~DatagramConnection() = default;
    virtual void start(ConnectionStateHandler handler) = 0;
    /// Asked on the connection's queue.
    virtual ConnectionState state() const = 0;
    /// Why it failed, in the generic category; no error before. Asked on the connection's queue.
    virtual std::error_code failure() const = 0;
    using SentHandler = std::function<void(SendResult result)>;
    /// Sends one datagram. A refusal left over from an earlier datagram does not lose this one. `sent`, when
    /// given, runs on the queue once the datagram has left or is lost.
    virtual void send(Bytes datagram, SentHandler sent = {}) = 0;
    /// Delivers one whole datagram from the peer. After an error the connection is failed.
    virtual void receiveMessage(ReceiveHandler handler) = 0;
    virtual void cancel() = 0;
};

/// Makes connections. Nothing happens on the network before `start`.
class Network {
public:
    virtual ~Network() = default;
    virtual std::shared_ptr<StreamConnection> makeStream(std::string host, std::uint16_t port,
                                                         std::shared_ptr<SerialQueue> queue) = 0;
    virtual std::shared_ptr<DatagramConnection> makeDatagram(std::string remoteHost, std::uint16_t remotePort,
                                                             std::string localHost, std::uint16_t localPort,
                                                             std::shared_ptr<SerialQueue> queue) = 0;
};

} // namespace corvane

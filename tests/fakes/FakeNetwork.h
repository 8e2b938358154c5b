#pragma once

#include "platform/bonjour/ServiceBrowser.h"
#include "platform/net/MulticastListening.h"
#include "platform/net/Network.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace corvane {

/// What the fake connections have in common: their states and at most one pending receive, told on the
/// connection's queue, and what has come while nothing was pending.
template <class Connection>
class FakeConnection : public Connection, public std::enable_shared_from_this<FakeConnection<Connection>> {
public:
    using Received = typename Connection::Received;
    using ReceiveHandler = typename Connection::ReceiveHandler;

    void start(ConnectionStateHandler handler) override {
        started = true;
        stateHandler = std::move(handler);
        currentState = ConnectionState::preparing;
    }
    void cancel() override {
        if (std::exchange(cancelled, true))
            return;
        if (onCancel)
            onCancel();
        if (receiveHandler)
            complete(failed("Operation canceled"));
        changeState(ConnectionState::cancelled);
        waiting.clear();
    }

    /// Raised by the test.
    void becomeReady() { changeState(ConnectionState::ready); }
    void fail(const std::string &error) { changeState(ConnectionState::failed, error); }
    void fail(std::errc error) {
        reason = std::make_error_code(error);
        fail(reason.message());
    }
    /// Broken after it was ready: the pending receive gets the error, then the state is failed.
    void breakOff(const std::string &error) {
        complete(failed(error));
        fail(error);
    }
    void breakOff(std::errc error) {
        complete(failed(std::make_error_code(error).message()));
        fail(error);
    }

    bool started = false;
    bool cancelled = false;
    std::function<void()> onCancel; ///< called at the moment of it
    bool receiving() const { return static_cast<bool>(receiveHandler); }

protected:
    explicit FakeConnection(std::shared_ptr<SerialQueue> queue) : queue(std::move(queue)) {}

    void receiveNext(ReceiveHandler handler) {
        receiveHandler = std::move(handler);
        if (!waiting.empty()) {
            Received first = std::move(waiting.front());
            waiting.erase(waiting.begin());
            complete(std::move(first));
        } else if (cancelled) {
            complete(failed("Operation canceled"));
        }
    }
    void complete(Received received) {
        if (!receiveHandler) {
            waiting.push_back(std::move(received));
            return;
        }
        queue->post([handler = std::exchange(receiveHandler, nullptr),
                     received = std::move(received)]() mutable { handler(std::move(received)); });
    }

    std::shared_ptr<SerialQueue> queue;
    ConnectionState currentState = ConnectionState::setup;
    std::error_code reason; ///< of the failure, when the test gave one

private:
    static Received failed(const std::string &error) {
        Received received{};
        received.error = error;
        return received;
    }
    void changeState(ConnectionState state, const std::string &error = {}) {
        queue->post([self = this->shared_from_this(), state, error] {
            self->currentState = state;
            if (self->stateHandler)
                self->stateHandler(state, error);
            if (state == ConnectionState::cancelled)
                self->stateHandler = nullptr;
        });
    }

    ConnectionStateHandler stateHandler;
    ReceiveHandler receiveHandler;
    std::vector<Received> waiting;
};

/// A TCP connection whose other end is the test. It records what was sent and lets the test raise states
/// and deliver data; everything reaches its user through the connection's queue, as from the real one.
class FakeStreamConnection : public FakeConnection<StreamConnection> {
public:
    FakeStreamConnection(std::string host, std::uint16_t port, std::shared_ptr<SerialQueue> queue)
        : FakeConnection(std::move(queue)), host(std::move(host)), port(port), peer(this->host) {}

    std::string peerAddress() const override { return peer; }
    void send(Bytes message) override { sent.push_back(std::move(message)); }
    void receive(std::size_t minimum, std::size_t maximum, ReceiveHandler handler) override;

    /// Raised by the test.
    void deliver(Bytes data) { complete({std::move(data), false, std::nullopt}); }
    void closeByPeer(Bytes lastData = {}) { complete({std::move(lastData), true, std::nullopt}); }

    std::string host;
    std::uint16_t port;
    std::string peer; ///< the address that the host turns out to have
    std::vector<Bytes> sent;
    std::size_t receiveMinimum = 0;
    std::size_t receiveMaximum = 0;
};

/// A UDP connection whose peer is the test.
class FakeDatagramConnection : public FakeConnection<DatagramConnection> {
public:
    FakeDatagramConnection(std::string remoteHost, std::uint16_t remotePort, std::string localHost,
                           std::uint16_t localPort, std::shared_ptr<SerialQueue> queue)
        : FakeConnection(std::move(queue)), remoteHost(std::move(remoteHost)), remotePort(remotePort),
          localHost(std::move(localHost)), localPort(localPort) {}

    ConnectionState state() const override { return currentState; }
    std::error_code failure() const override { return reason; }
    void send(Bytes datagram, SentHandler sent = {}) override;
    void receiveMessage(ReceiveHandler handler) override { receiveNext(std::move(handler)); }

    /// Raised by the test.
    void deliver(Bytes datagram) { complete({std::move(datagram), std::nullopt}); }

    struct Sent {
        Bytes datagram;
        SerialQueue::Clock::time_point time;
    };
    std::string remoteHost;
    std::uint16_t remotePort;
    std::string localHost;
    std::uint16_t localPort;
    std::vector<Sent> sent;
    SendResult result = SendResult::left; ///< of what is sent from now on
};

/// Records every connection that was made.
class FakeNetwork : public Network {
public:
    std::shared_ptr<StreamConnection> makeStream(std::string host, std::uint16_t port,
                                                 std::shared_ptr<SerialQueue> queue) override;
    std::shared_ptr<DatagramConnection> makeDatagram(std::string remoteHost, std::uint16_t remotePort,
                                                     std::string localHost, std::uint16_t localPort,
                                                     std::shared_ptr<SerialQueue> queue) override;

    /// The datagram connections that are made from now on become ready as soon as they are started.
    bool datagramsBecomeReady = false;
    std::vector<std::shared_ptr<FakeStreamConnection>> streams;
    std::vector<std::shared_ptr<FakeDatagramConnection>> datagrams;
};

/// Multicast whose datagrams come from the test.
class FakeMulticastListening : public MulticastListening {
public:
    Opened open(const std::string &group, std::uint16_t port, std::size_t capacity,
                std::shared_ptr<SerialQueue> queue, DatagramHandler handler) override;

    /// Delivers a datagram, cut to the capacity, to the open sockets; dropped when none is open.
    void deliver(const Bytes &datagram);
    std::size_t openSockets() const;

    /// When set, the next `open` gives no socket and says this.
    std::string error;
    /// What an open socket says that keeps the group from being heard.
    std::shared_ptr<std::string> socketError = std::make_shared<std::string>();
    std::string group;
    std::uint16_t port = 0;
    std::size_t capacity = 0;
    std::size_t opened = 0;
    std::function<void()> onCancel; ///< given to the sockets opened from now on: called when one is cancelled

private:
    struct Listener;
    class Socket;
    std::vector<std::weak_ptr<Listener>> listeners;
};

/// A service whose resolving is the test's.
class FakeNetService : public NetService {
public:
    explicit FakeNetService(std::string name) : serviceName(std::move(name)) {}

    const std::string &name() const override { return serviceName; }
    std::optional<std::string> hostName() const override { return host; }
    int port() const override { return portNumber; }
    void resolve(std::chrono::milliseconds timeout) override { resolves.push_back(timeout); }
    void resolveAnew(std::chrono::milliseconds) override { ++resolvedAnew; }

    std::optional<std::string> host;
    int portNumber = -1;
    /// The time-out of each resolve that was asked for.
    std::vector<std::chrono::milliseconds> resolves;
    int resolvedAnew = 0;

private:
    std::string serviceName;
};

/// A browser whose findings are the test's. It calls its delegate at once: call it as from the main queue.
class FakeServiceBrowser : public ServiceBrowser {
public:
    void setDelegate(std::weak_ptr<ServiceBrowserDelegate> newDelegate) override {
        delegate = std::move(newDelegate);
    }
    void search(const std::string &type, const std::string &domain) override;
    void stop() override;
    std::optional<std::string> error() const override { return errorText; }
    bool isRefused() const override { return refused; }
    bool mayBeRefused() const override { return wantsPermission; }

    std::shared_ptr<FakeNetService> find(const std::string &name, bool moreComing = false);
    void resolve(FakeNetService &service, const std::string &host, int port);
    void failToResolve(FakeNetService &service);
    void withdraw(FakeNetService &service);

    bool searching = false;
    int searches = 0;
    std::string type;
    std::string domain;
    std::optional<std::string> errorText;
    bool refused = false;
    bool wantsPermission = true;
    std::function<void()> onSearch; ///< called at the moment of it
    std::function<void()> onStop;   ///< called at the moment of it

private:
    std::weak_ptr<ServiceBrowserDelegate> delegate;
};

} // namespace corvane

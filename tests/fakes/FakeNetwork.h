#pragma once

#include "platform/MulticastListening.h"
#include "platform/Network.h"
#include "platform/ServiceBrowser.h"

#include <memory>
#include <string>
#include <vector>

namespace corvane {

/// A TCP connection whose other end is the test. It records what was sent and lets the test raise states
/// and deliver data; everything reaches its user through the connection's queue, as from the real one.
class FakeStreamConnection : public StreamConnection,
                             public std::enable_shared_from_this<FakeStreamConnection> {
public:
    FakeStreamConnection(std::string host, std::uint16_t port, std::shared_ptr<SerialQueue> queue)
        : host(std::move(host)), port(port), queue(std::move(queue)) {}

    void start(ConnectionStateHandler handler) override;
    void send(Bytes message) override;
    void receive(std::size_t minimum, std::size_t maximum, ReceiveHandler handler) override;
    void cancel() override;

    /// Raised by the test.
    void becomeReady();
    void fail(const std::string &error);
    void deliver(Bytes data);
    void closeByPeer(Bytes lastData = {});
    /// A connection broken after it was ready: the pending receive gets the error, then the state is failed.
    void breakOff(const std::string &error);

    std::string host;
    std::uint16_t port;
    std::vector<Bytes> sent;
    bool started = false;
    bool cancelled = false;
    bool receiving() const { return static_cast<bool>(receiveHandler); }
    std::size_t receiveMaximum = 0;

private:
    void changeState(ConnectionState state, const std::string &error = {});
    void complete(Received received);

    std::shared_ptr<SerialQueue> queue;
    ConnectionStateHandler stateHandler;
    ReceiveHandler receiveHandler;
    std::vector<Received> waiting;
};

/// A UDP connection whose peer is the test.
class FakeDatagramConnection : public DatagramConnection,
                               public std::enable_shared_from_this<FakeDatagramConnection> {
public:
    FakeDatagramConnection(std::string remoteHost, std::uint16_t remotePort, std::string localHost,
                           std::uint16_t localPort, std::shared_ptr<SerialQueue> queue)
        : remoteHost(std::move(remoteHost)), remotePort(remotePort), localHost(std::move(localHost)),
          localPort(localPort), queue(std::move(queue)) {}

    void start(ConnectionStateHandler handler) override;
    ConnectionState state() const override { return currentState; }
    void send(Bytes datagram, Task sent = {}) override;
    void receiveMessage(ReceiveHandler handler) override;
    void cancel() override;

    void becomeReady();
    void fail(const std::string &error);
    void deliver(Bytes datagram);
    /// The pending receive gets the error, then the state is failed.
    void failReceive(const std::string &error);

    struct Sent {
        Bytes datagram;
        SerialQueue::Clock::time_point time;
    };
    std::string remoteHost;
    std::uint16_t remotePort;
    std::string localHost;
    std::uint16_t localPort;
    std::vector<Sent> sent;
    bool started = false;
    bool cancelled = false;
    bool receiving() const { return static_cast<bool>(receiveHandler); }

private:
    void changeState(ConnectionState state, const std::string &error = {});
    void complete(Received received);

    std::shared_ptr<SerialQueue> queue;
    ConnectionState currentState = ConnectionState::setup;
    ConnectionStateHandler stateHandler;
    ReceiveHandler receiveHandler;
    std::vector<Received> waiting;
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
    std::string obstacle;
    std::string group;
    std::uint16_t port = 0;
    std::size_t opened = 0;

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

    std::optional<std::string> host;
    int portNumber = -1;
    /// The time-out of each resolve that was asked for.
    std::vector<std::chrono::milliseconds> resolves;

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
    void stop() override { searching = false; }
    std::optional<std::string> obstacle() const override { return obstacleText; }

    std::shared_ptr<FakeNetService> find(const std::string &name, bool moreComing = false);
    void resolve(FakeNetService &service, const std::string &host, int port);
    void failToResolve(FakeNetService &service);

    bool searching = false;
    int searches = 0;
    std::string type;
    std::string domain;
    std::optional<std::string> obstacleText;

private:
    std::weak_ptr<ServiceBrowserDelegate> delegate;
};

} // namespace corvane

#include "tests/fakes/FakeNetwork.h"

#include <algorithm>
#include <utility>

namespace corvane {

void FakeStreamConnection::receive(std::size_t minimum, std::size_t maximum, ReceiveHandler handler) {
    receiveMinimum = minimum;
    receiveMaximum = maximum;
    receiveNext(std::move(handler));
}

void FakeDatagramConnection::send(Bytes datagram, SentHandler sentHandler) {
    if (result != SendResult::lost)
        sent.push_back({std::move(datagram), queue->now()});
    if (sentHandler)
        queue->post([sentHandler = std::move(sentHandler), result = result] { sentHandler(result); });
}

std::shared_ptr<StreamConnection> FakeNetwork::makeStream(std::string host, std::uint16_t port,
                                                          std::shared_ptr<SerialQueue> queue) {
    return streams.emplace_back(
        std::make_shared<FakeStreamConnection>(std::move(host), port, std::move(queue)));
}

namespace {

/// A connection that needs no nudge from the test to be ready.
class ReadyDatagramConnection : public FakeDatagramConnection {
public:
    using FakeDatagramConnection::FakeDatagramConnection;
    void start(ConnectionStateHandler handler) override {
        FakeDatagramConnection::start(std::move(handler));
        becomeReady();
    }
};

} // namespace

std::shared_ptr<DatagramConnection> FakeNetwork::makeDatagram(std::string remoteHost,
                                                              std::uint16_t remotePort, std::string localHost,
                                                              std::uint16_t localPort,
                                                              std::shared_ptr<SerialQueue> queue) {
    if (datagramsBecomeReady)
        return datagrams.emplace_back(std::make_shared<ReadyDatagramConnection>(
            std::move(remoteHost), remotePort, std::move(localHost), localPort, std::move(queue)));
    return datagrams.emplace_back(std::make_shared<FakeDatagramConnection>(
        std::move(remoteHost), remotePort, std::move(localHost), localPort, std::move(queue)));
}

struct FakeMulticastListening::Listener {
    std::size_t capacity;
    std::shared_ptr<SerialQueue> queue;
    DatagramHandler handler;
};

class FakeMulticastListening::Socket : public MulticastSocket {
public:
    Socket(std::function<void()> onCancel, std::shared_ptr<Listener> listener,
           std::shared_ptr<std::string> problem)
        : onCancel(std::move(onCancel)), listener(std::move(listener)), problem(std::move(problem)) {}
    void cancel() override {
        if (onCancel)
            onCancel();
        listener.reset();
    }
    std::string error() const override { return *problem; }

private:
    std::function<void()> onCancel;
    std::shared_ptr<Listener> listener;
    std::shared_ptr<std::string> problem;
};

MulticastListening::Opened FakeMulticastListening::open(const std::string &newGroup, std::uint16_t newPort,
                                                        std::size_t newCapacity,
                                                        std::shared_ptr<SerialQueue> queue,
                                                        DatagramHandler handler) {
    group = newGroup;
    port = newPort;
    capacity = newCapacity;
    if (!error.empty())
        return {nullptr, error};
    ++opened;
    auto listener = std::make_shared<Listener>(Listener{capacity, std::move(queue), std::move(handler)});
    listeners.push_back(listener);
    return {std::make_unique<Socket>(onCancel, std::move(listener), socketError), *socketError};
}

void FakeMulticastListening::deliver(const Bytes &datagram) {
    for (const auto &each : listeners) {
        const auto listener = each.lock();
        if (!listener)
            continue;
        Bytes cut(datagram.begin(), datagram.begin() + static_cast<std::ptrdiff_t>(
                                                           std::min(datagram.size(), listener->capacity)));
        listener->queue->post([open = std::weak_ptr<Listener>(listener), cut = std::move(cut)] {
            if (const auto still = open.lock())
                still->handler(cut);
        });
    }
}

std::size_t FakeMulticastListening::openSockets() const {
    return static_cast<std::size_t>(
        std::count_if(listeners.begin(), listeners.end(), [](const auto &each) { return !each.expired(); }));
}

void FakeServiceBrowser::search(const std::string &newType, const std::string &newDomain) {
    searching = true;
    ++searches;
    type = newType;
    domain = newDomain;
    if (onSearch)
        onSearch();
}

void FakeServiceBrowser::stop() {
    if (onStop)
        onStop();
    searching = false;
}

std::shared_ptr<FakeNetService> FakeServiceBrowser::find(const std::string &name, bool moreComing) {
    auto service = std::make_shared<FakeNetService>(name);
    if (const auto told = delegate.lock())
        told->didFind(service, moreComing);
    return service;
}

void FakeServiceBrowser::resolve(FakeNetService &service, const std::string &host, int port) {
    service.host = host;
    service.portNumber = port;
    if (const auto told = delegate.lock())
        told->didResolveAddress(service);
}

void FakeServiceBrowser::failToResolve(FakeNetService &service) {
    if (const auto told = delegate.lock())
        told->didNotResolve(service);
}

void FakeServiceBrowser::withdraw(FakeNetService &service) {
    if (const auto told = delegate.lock())
        told->didRemove(service);
}

} // namespace corvane

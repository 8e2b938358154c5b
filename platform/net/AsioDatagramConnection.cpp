#include "platform/net/AsioDatagramConnection.h"

#include "base/Preconditions.h"
#include "platform/net/ConnectionLife.h"
#include "platform/net/Sockets.h"
#include "platform/queues/AsioContext.h"

#include <asio/buffer.hpp>
#include <asio/ip/udp.hpp>

#include <cerrno>
#include <deque>
#include <unistd.h>

namespace corvane {

using asio::ip::udp;

namespace {

/// No datagram is longer.
constexpr std::size_t datagramLimit = 65'536;

} // namespace

/// Owned by the connection's queue: every member function runs there. Completions of the socket come on the
/// loop's threads and only post to the queue.
class AsioDatagramConnection::Impl : public std::enable_shared_from_this<Impl> {
public:
    Impl(std::shared_ptr<AsioContext> context, HostResolver resolver, DatagramEnds ends,
         std::shared_ptr<SerialQueue> queue)
        : context(std::move(context)), resolver(std::move(resolver)), ends(std::move(ends)),
          queue(std::move(queue)), socket(this->context->loop()) {}

    ConnectionLife life;
    std::error_code failure; ///< why the connection failed

    void start(ConnectionStateHandler handler);
    void send(Bytes datagram, SentHandler sent);
    void receiveMessage(ReceiveHandler handler);
    void finishCancelling();
    void abandon();

private:
    struct Outgoing {
        Bytes datagram;
        SentHandler sent;
    };
    using Addresses = std::vector<asio::ip::address>;

    template <class Step>
    auto onQueue(Step step);
    void resolve(const std::string &host, std::function<void(Impl &, const Addresses &)> next);
    void open(const Addresses &remote, const Addresses &local);
    std::error_code openOne(const udp::endpoint &remote, const udp::endpoint &local);
    void write();
    void wrote(const asio::error_code &error, std::size_t count);
    void read();
    void haveRead(const asio::error_code &error, std::size_t count);
    void fail(const std::error_code &error);
    void fail(const std::error_code &error, const std::string &text);
    void release();
    void loseOutgoing();

    std::shared_ptr<AsioContext> context; ///< outlives the socket
    HostResolver resolver;
    DatagramEnds ends;
    std::shared_ptr<SerialQueue> queue;
    udp::socket socket;
    std::deque<Outgoing> outgoing;
    bool writing = false;
    bool isSecondTry = false; ///< of the first outgoing datagram
    ReceiveHandler pending;
    udp::endpoint peer;   ///< whom the socket is connected to
    udp::endpoint sender; ///< of what is in `incoming`
    Bytes incoming;
    bool reading = false;
    std::string failureText;
};

/// A socket's error as the rest of the program knows errors.
std::error_code generic(const asio::error_code &error) {
    return {error.value(), std::generic_category()};
}

/// `step` as a socket's completion: runs on the queue, with the connection's state held until then.
template <class Step>
auto AsioDatagramConnection::Impl::onQueue(Step step) {
    return [self = shared_from_this(), step](auto... results) {
        self->queue->post([self, step, results...] { ((*self).*step)(results...); });
    };
}

void AsioDatagramConnection::Impl::start(ConnectionStateHandler handler) {
    if (life.state() == ConnectionState::cancelled)
        return handler(ConnectionState::cancelled, {});
    life.setHandler(std::move(handler));
    life.enter(ConnectionState::preparing);
    resolve(ends.remoteHost, [](Impl &self, const Addresses &remote) {
        self.resolve(self.ends.localHost,
                     [remote](Impl &impl, const Addresses &local) { impl.open(remote, local); });
    });
}

/// Goes on with the addresses of `host`, or fails.
void AsioDatagramConnection::Impl::resolve(const std::string &host,
                                           std::function<void(Impl &, const Addresses &)> next) {
    resolver.resolve(host, [weakSelf = weak_from_this(), next = std::move(next)](HostAddresses found) {
        const auto self = weakSelf.lock();
        if (!self)
            return;
        self->queue->post([self, next, found = std::move(found)] {
            if (found.addresses.empty())
                self->fail(std::make_error_code(std::errc::address_not_available), found.error);
            else if (self->life.isUsable())
                next(*self, found.addresses);
        });
    });
}

void AsioDatagramConnection::Impl::open(const Addresses &remote, const Addresses &local) {
    std::error_code error = std::make_error_code(std::errc::address_family_not_supported);
    for (const auto &from : local) {
        for (const auto &to : remote) {
            if (from.is_v4() != to.is_v4())
                continue;
            error = openOne({to, ends.remotePort}, {from, ends.localPort});
            if (error)
                continue;
            life.enter(ConnectionState::ready);
            write();
            return read();
        }
    }
    fail(error);
}

/// Opens the socket for one pair of endpoints. Returns what failed, or no error.
std::error_code AsioDatagramConnection::Impl::openOne(const udp::endpoint &remote,
                                                      const udp::endpoint &local) {
    asio::error_code error;
    socket.close(error);
    const int descriptor = openSocket(remote.protocol().family(), SOCK_DGRAM);
    if (descriptor < 0)
        return {errno, std::generic_category()};
    socket.assign(remote.protocol(), descriptor, error);
    if (error) {
        ::close(descriptor);
        return generic(error);
    }
    socket.bind(local, error);
    if (!error)
        socket.connect(remote, error);
    if (!error)
        peer = socket.remote_endpoint(error);
    return error ? generic(error) : std::error_code();
}

void AsioDatagramConnection::Impl::send(Bytes datagram, SentHandler sent) {
    if (!life.isUsable()) {
        if (sent)
            sent(SendResult::lost);
        return;
    }
    outgoing.push_back({std::move(datagram), std::move(sent)});
    write();
}

void AsioDatagramConnection::Impl::write() {
    if (!life.isReady() || writing || outgoing.empty())
        return;
    writing = true;
    context->whileOpen(
        [&] { socket.async_send(asio::buffer(outgoing.front().datagram), onQueue(&Impl::wrote)); });
}

void AsioDatagramConnection::Impl::wrote(const asio::error_code &error, std::size_t) {
    writing = false;
    if (!life.isReady())
        return;
    // The refusal is the answer to an earlier datagram; the system reports it by losing this one.
    if (error == asio::error::connection_refused && !isSecondTry) {
        isSecondTry = true;
        return write();
    }
    const bool afterRefusal = std::exchange(isSecondTry, false);
    const auto done = std::move(outgoing.front().sent);
    outgoing.pop_front();
    const bool lost = error && error != asio::error::connection_refused;
    if (done)
        done(lost ? SendResult::lost : afterRefusal ? SendResult::leftAfterRefusal : SendResult::left);
    write();
}

void AsioDatagramConnection::Impl::receiveMessage(ReceiveHandler handler) {
    if (pending)
        preconditionFailure("a second receive on a datagram connection");
    if (life.isBeingCancelled())
        return;
    if (life.state() == ConnectionState::failed)
        return handler({std::nullopt, failureText});
    pending = std::move(handler);
    read();
}

void AsioDatagramConnection::Impl::read() {
    if (!life.isReady() || reading || !pending)
        return;
    reading = true;
    incoming.resize(datagramLimit);
    context->whileOpen(
        [&] { socket.async_receive_from(asio::buffer(incoming), sender, onQueue(&Impl::haveRead)); });
}

void AsioDatagramConnection::Impl::haveRead(const asio::error_code &error, std::size_t count) {
    reading = false;
    if (!life.isReady())
        return;
    // What others sent in the moment before the socket was connected waits in it as well.
    if (!error && sender != peer)
        return read();
    const auto done = std::exchange(pending, nullptr);
    if (error) {
        done({std::nullopt, error.message()});
        return fail(generic(error));
    }
    done({Bytes(incoming.begin(), incoming.begin() + static_cast<std::ptrdiff_t>(count)), std::nullopt});
}

void AsioDatagramConnection::Impl::fail(const std::error_code &error) {
    fail(error, error.message());
}

void AsioDatagramConnection::Impl::fail(const std::error_code &error, const std::string &text) {
    if (!life.isUsable())
        return;
    failure = error;
    failureText = text;
    release();
    life.enter(ConnectionState::failed, text);
    loseOutgoing();
}

void AsioDatagramConnection::Impl::finishCancelling() {
    release();
    pending = nullptr;
    loseOutgoing();
    life.enterCancelled();
}

void AsioDatagramConnection::Impl::abandon() {
    release();
    life.end();
}

/// Closes the socket, so that its port is free before anybody is told.
void AsioDatagramConnection::Impl::release() {
    asio::error_code ignored;
    socket.close(ignored);
}

void AsioDatagramConnection::Impl::loseOutgoing() {
    for (const auto &lost : std::exchange(outgoing, {}))
        if (lost.sent)
            lost.sent(SendResult::lost);
}

AsioDatagramConnection::AsioDatagramConnection(std::shared_ptr<AsioContext> context, HostResolver resolver,
                                               DatagramEnds ends, std::shared_ptr<SerialQueue> queue)
    : queue(std::move(queue)),
      impl(std::make_shared<Impl>(std::move(context), std::move(resolver), std::move(ends), this->queue)) {}

AsioDatagramConnection::~AsioDatagramConnection() {
    queue->post([impl = impl] { impl->abandon(); });
}

void AsioDatagramConnection::start(ConnectionStateHandler handler) {
    queue->post([impl = impl, handler = std::move(handler)] { impl->start(handler); });
}

ConnectionState AsioDatagramConnection::state() const {
    return impl->life.state();
}

std::error_code AsioDatagramConnection::failure() const {
    return impl->failure;
}

void AsioDatagramConnection::send(Bytes datagram, SentHandler sent) {
    queue->post([impl = impl, datagram = std::move(datagram), sent = std::move(sent)]() mutable {
        impl->send(std::move(datagram), std::move(sent));
    });
}

void AsioDatagramConnection::receiveMessage(ReceiveHandler handler) {
    queue->post(
        [impl = impl, handler = std::move(handler)]() mutable { impl->receiveMessage(std::move(handler)); });
}

void AsioDatagramConnection::cancel() {
    impl->life.announceCancellation();
    queue->post([impl = impl] { impl->finishCancelling(); });
}

} // namespace corvane

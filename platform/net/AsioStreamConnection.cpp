#include "platform/net/AsioStreamConnection.h"

#include "base/Preconditions.h"
#include "platform/net/ConnectionLife.h"
#include "platform/net/Sockets.h"
#include "platform/queues/AsioContext.h"

#include <asio/buffer.hpp>
#include <asio/ip/tcp.hpp>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <deque>
#include <unistd.h>

namespace corvane {

using asio::ip::tcp;

namespace {

/// How long an address may stay unanswered while there is another one to try: long enough for the system to
/// ask twice. A console with two network cards is often reachable through one of them alone.
constexpr std::chrono::seconds addressTimeout{2};
/// How much is taken from the socket at a time.
constexpr std::size_t readSize = 65'536;
/// A peer that sends requests and never reads the answers must not fill our memory with them.
constexpr std::size_t outgoingLimit = 16'777'216;

} // namespace

/// Owned by the connection's queue: every member function runs there. Completions of the sockets come on the
/// loop's threads and only post to the queue.
class AsioStreamConnection::Impl : public std::enable_shared_from_this<Impl> {
public:
    Impl(std::shared_ptr<AsioContext> context, HostResolver resolver, std::string host, std::uint16_t port,
         std::shared_ptr<SerialQueue> queue)
        : context(std::move(context)), resolver(std::move(resolver)), host(std::move(host)), port(port),
          queue(std::move(queue)), socket(this->context->loop()) {}

    ConnectionLife life;

    void start(ConnectionStateHandler handler);
    void send(Bytes message);
    void receive(std::size_t minimum, std::size_t maximum, ReceiveHandler handler);
    void finishCancelling();
    void abandon();
    const std::string &peerAddress() const { return peer; }

private:
    struct PendingReceive {
        std::size_t minimum;
        std::size_t maximum;
        ReceiveHandler handler;
        Bytes data;
    };

    template <class Step>
    auto onQueue(Step step);
    void connectToNext(const std::string &lastError);
    void limitAttempt();
    void connected(const asio::error_code &error);
    void write();
    void wrote(const asio::error_code &error, std::size_t count);
    void read();
    void haveRead(const asio::error_code &error, std::size_t count);
    void complete(bool peerClosed, std::optional<std::string> error);
    void breakOff(const asio::error_code &error);
    void end();
    void sever(const std::string &error);
    void fail(const std::string &error);
    void release();

    std::shared_ptr<AsioContext> context; ///< outlives the socket
    HostResolver resolver;
    std::string host;
    std::uint16_t port;
    std::shared_ptr<SerialQueue> queue;
    tcp::socket socket;
    std::deque<tcp::endpoint> untried;
    DelayedTask attemptEnd;
    std::string peer; ///< its numeric address
    std::deque<Bytes> outgoing;
    std::size_t outgoingSize = 0;
    std::size_t written = 0; ///< of the first outgoing message
    bool writing = false;
    std::optional<PendingReceive> pending;
    Bytes incoming;
    bool reading = false;
    bool peerHasClosed = false;
    bool isWritable = true;
    bool endAwaitsWrite = false; ///< the end was read, the write in flight will say what it means
    std::string breakage;        ///< what broke the connection
};

/// `step` as a socket's completion: runs on the queue, with the connection's state held until then.
template <class Step>
auto AsioStreamConnection::Impl::onQueue(Step step) {
    return [self = shared_from_this(), step](auto... results) {
        self->queue->post([self, step, results...] { ((*self).*step)(results...); });
    };
}

void AsioStreamConnection::Impl::start(ConnectionStateHandler handler) {
    if (life.state() == ConnectionState::cancelled)
        return handler(ConnectionState::cancelled, {});
    life.setHandler(std::move(handler));
    life.enter(ConnectionState::preparing);
    resolver.resolve(host, [weakSelf = weak_from_this()](HostAddresses found) {
        const auto self = weakSelf.lock();
        if (!self)
            return;
        self->queue->post([self, found = std::move(found)] {
            for (const auto &address : found.addresses)
                self->untried.emplace_back(address, self->port);
            self->connectToNext(found.error);
        });
    });
}

void AsioStreamConnection::Impl::connectToNext(const std::string &lastError) {
    if (!life.isUsable())
        return;
    if (untried.empty())
        return fail(lastError);
    const auto endpoint = untried.front();
    untried.pop_front();
    asio::error_code error;
    socket.close(error);
    const int descriptor = openSocket(endpoint.protocol().family(), SOCK_STREAM);
    if (descriptor < 0)
        return connectToNext(std::generic_category().message(errno));
    noticeSilentPeer(descriptor);
    socket.assign(endpoint.protocol(), descriptor, error);
    if (error) {
        ::close(descriptor);
        return connectToNext(error.message());
    }
    context->whileOpen([&] { socket.async_connect(endpoint, onQueue(&Impl::connected)); });
    limitAttempt();
}

/// The last address has all the time that noticing a silent peer takes.
void AsioStreamConnection::Impl::limitAttempt() {
    if (untried.empty())
        return;
    attemptEnd = queue->after(addressTimeout, weakly(weak_from_this(), [](Impl &impl) {
                                  asio::error_code ignored;
                                  impl.socket.cancel(ignored); // completes the attempt, with an error
                              }));
}

void AsioStreamConnection::Impl::connected(const asio::error_code &error) {
    attemptEnd.cancel();
    if (!life.isUsable())
        return;
    if (error)
        return connectToNext(error.message());
    asio::error_code ignored;
    // Connecting to a port of our own machine that nobody listens on can, by chance, connect the socket to
    // itself.
    if (socket.local_endpoint(ignored) == socket.remote_endpoint(ignored))
        return connectToNext(asio::error_code(asio::error::connection_refused).message());
    socket.set_option(tcp::no_delay(true), ignored);
    peer = socket.remote_endpoint(ignored).address().to_string();
    life.enter(ConnectionState::ready);
    write();
    read();
}

void AsioStreamConnection::Impl::send(Bytes message) {
    if (!life.isUsable() || !isWritable || message.empty())
        return;
    outgoingSize += message.size();
    if (outgoingSize > outgoingLimit)
        return sever(asio::error_code(asio::error::no_buffer_space).message());
    outgoing.push_back(std::move(message));
    write();
}

void AsioStreamConnection::Impl::write() {
    if (!life.isReady() || writing || outgoing.empty())
        return;
    writing = true;
    context->whileOpen(
        [&] { socket.async_write_some(asio::buffer(outgoing.front()) + written, onQueue(&Impl::wrote)); });
}

void AsioStreamConnection::Impl::wrote(const asio::error_code &error, std::size_t count) {
    writing = false;
    if (!life.isReady())
        return;
    if (error)
        breakOff(error);
    if (endAwaitsWrite)
        return end();
    if (error)
        return;
    written += count;
    if (written == outgoing.front().size()) {
        outgoingSize -= written;
        written = 0;
        outgoing.pop_front();
    }
    write();
}

void AsioStreamConnection::Impl::receive(std::size_t minimum, std::size_t maximum, ReceiveHandler handler) {
    if (pending)
        preconditionFailure("a second receive on a stream connection");
    if (life.isBeingCancelled())
        return;
    pending = PendingReceive{minimum, std::max(minimum, maximum), std::move(handler), {}};
    if (life.state() == ConnectionState::failed)
        return complete(false, breakage);
    if (peerHasClosed)
        return complete(true, {});
    read();
}

void AsioStreamConnection::Impl::read() {
    if (!life.isReady() || reading || !pending)
        return;
    reading = true;
    incoming.resize(readSize);
    const auto size = std::min(readSize, pending->maximum - pending->data.size());
    context->whileOpen(
        [&] { socket.async_read_some(asio::buffer(incoming, size), onQueue(&Impl::haveRead)); });
}

void AsioStreamConnection::Impl::haveRead(const asio::error_code &error, std::size_t count) {
    reading = false;
    if (!life.isReady())
        return;
    pending->data.insert(pending->data.end(), incoming.begin(),
                         incoming.begin() + static_cast<std::ptrdiff_t>(count));
    if (error == asio::error::eof)
        return end();
    if (error)
        return sever(error.message());
    if (pending->data.size() >= pending->minimum)
        return complete(false, {});
    read();
}

void AsioStreamConnection::Impl::complete(bool peerClosed, std::optional<std::string> error) {
    auto done = std::move(*pending);
    pending.reset();
    done.handler({std::move(done.data), peerClosed, std::move(error)});
}

/// Nothing can be sent any more. What the peer sent before is still delivered; the end of the stream then
/// tells what has happened.
void AsioStreamConnection::Impl::breakOff(const asio::error_code &error) {
    outgoing.clear();
    outgoingSize = written = 0;
    isWritable = false;
    // A broken pipe only says that the stream had ended before.
    if (peerHasClosed || error == asio::error::broken_pipe)
        return;
    breakage = error.message();
    if (!pending)
        return fail(breakage);
    asio::error_code ignored;
    socket.shutdown(tcp::socket::shutdown_receive, ignored);
}

/// Reading has come to the end of the stream. The system tells of a reset only once, to whichever of reading
/// and writing comes first; the other one finds an end that looks like a peer's close.
void AsioStreamConnection::Impl::end() {
    asio::error_code disconnected;
    socket.remote_endpoint(disconnected);
    endAwaitsWrite = writing && disconnected;
    if (endAwaitsWrite)
        return;
    if (!breakage.empty())
        return sever(breakage);
    peerHasClosed = true;
    complete(true, {});
}

/// The end of the stream in both directions: the pending receive is told first, then the state changes.
void AsioStreamConnection::Impl::sever(const std::string &error) {
    if (pending)
        complete(false, error);
    fail(error);
}

void AsioStreamConnection::Impl::fail(const std::string &error) {
    if (!life.isUsable())
        return;
    breakage = error;
    release();
    life.enter(ConnectionState::failed, error);
}

void AsioStreamConnection::Impl::finishCancelling() {
    release();
    pending.reset();
    life.enterCancelled();
}

void AsioStreamConnection::Impl::abandon() {
    release();
    life.end();
}

void AsioStreamConnection::Impl::release() {
    asio::error_code ignored;
    socket.close(ignored);
    outgoing.clear();
}

AsioStreamConnection::AsioStreamConnection(std::shared_ptr<AsioContext> context, HostResolver resolver,
                                           std::string host, std::uint16_t port,
                                           std::shared_ptr<SerialQueue> queue)
    : queue(std::move(queue)), impl(std::make_shared<Impl>(std::move(context), std::move(resolver),
                                                           std::move(host), port, this->queue)) {}

AsioStreamConnection::~AsioStreamConnection() {
    queue->post([impl = impl] { impl->abandon(); });
}

void AsioStreamConnection::start(ConnectionStateHandler handler) {
    queue->post([impl = impl, handler = std::move(handler)] { impl->start(handler); });
}

void AsioStreamConnection::send(Bytes message) {
    queue->post([impl = impl, message = std::move(message)]() mutable { impl->send(std::move(message)); });
}

void AsioStreamConnection::receive(std::size_t minimum, std::size_t maximum, ReceiveHandler handler) {
    queue->post([impl = impl, minimum, maximum, handler = std::move(handler)]() mutable {
        impl->receive(minimum, maximum, std::move(handler));
    });
}

std::string AsioStreamConnection::peerAddress() const {
    return impl->peerAddress();
}

void AsioStreamConnection::cancel() {
    impl->life.announceCancellation();
    queue->post([impl = impl] { impl->finishCancelling(); });
}

} // namespace corvane

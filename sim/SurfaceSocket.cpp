#include "sim/SurfaceSocket.h"

#include "platform/net/Sockets.h"
#include "platform/queues/AsioContext.h"

#include <asio/buffer.hpp>
#include <asio/ip/udp.hpp>

#include <cerrno>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace corvane {

using asio::ip::udp;

namespace {

constexpr std::size_t datagramLimit = 65536;

} // namespace

/// The socket and its buffer, held by the receive that is in flight. Owned by the queue: completions come on
/// the loop's threads and only post there.
struct SurfaceSocket::Impl : std::enable_shared_from_this<Impl> {
    Impl(std::shared_ptr<AsioContext> context, SerialQueue &queue, Handler handler)
        : context(std::move(context)), queue(queue), handler(std::move(handler)),
          socket(this->context->loop()) {}

    void open(std::uint16_t port);
    void receive();
    void received(const asio::error_code &error, std::size_t count);

    std::shared_ptr<AsioContext> context; ///< outlives the socket
    SerialQueue &queue;
    Handler handler;
    udp::socket socket;
    udp::endpoint sender;
    Bytes incoming = Bytes(datagramLimit);
};

void SurfaceSocket::Impl::open(std::uint16_t port) {
    const int descriptor = openSocket(udp::v4().family(), SOCK_DGRAM);
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category());
    asio::error_code error;
    socket.assign(udp::v4(), descriptor, error);
    if (error) {
        ::close(descriptor);
        throw std::system_error(error);
    }
    for (unsigned tried = port; tried <= 0xFFFF; ++tried) {
        socket.bind({asio::ip::address_v4::loopback(), static_cast<std::uint16_t>(tried)}, error);
        if (error != asio::error::address_in_use)
            break;
    }
    if (error)
        throw std::system_error(error);
    socket.non_blocking(true);
}

void SurfaceSocket::Impl::receive() {
    context->whileOpen([this] {
        socket.async_receive_from(
            asio::buffer(incoming), sender,
            [self = shared_from_this()](const asio::error_code &error, std::size_t count) {
                self->queue.post([self, error, count] { self->received(error, count); });
            });
    });
}

void SurfaceSocket::Impl::received(const asio::error_code &error, std::size_t count) {
    if (!socket.is_open())
        return;
    // An unconnected socket learns nothing of refusals; an error here concerns one datagram at most.
    if (!error)
        handler(Bytes(incoming.begin(), incoming.begin() + static_cast<std::ptrdiff_t>(count)),
                sender.address().to_string());
    receive();
}

SurfaceSocket::SurfaceSocket(std::shared_ptr<AsioContext> context, SerialQueue &queue, std::uint16_t port,
                             Handler handler)
    : impl(std::make_shared<Impl>(std::move(context), queue, std::move(handler))) {
    impl->open(port);
    impl->receive();
}

SurfaceSocket::~SurfaceSocket() {
    asio::error_code ignored;
    impl->socket.close(ignored);
    impl->handler = nullptr;
}

std::uint16_t SurfaceSocket::port() const {
    return impl->socket.local_endpoint().port();
}

void SurfaceSocket::send(const Bytes &datagram, const std::string &address, std::uint16_t toPort) {
    asio::error_code ignored;
    const udp::endpoint to(asio::ip::make_address(address, ignored), toPort);
    impl->socket.send_to(asio::buffer(datagram), to, 0, ignored);
}

} // namespace corvane

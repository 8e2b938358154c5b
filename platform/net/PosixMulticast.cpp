#include "platform/net/PosixMulticast.h"

#include "platform/net/GroupMemberships.h"
#include "platform/net/NetworkChanges.h"
#include "platform/net/Sockets.h"
#include "platform/queues/AsioContext.h"
#include "platform/queues/AsioRuntime.h"

#include <asio/buffer.hpp>
#include <asio/ip/udp.hpp>
#include <asio/posix/stream_descriptor.hpp>

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <mutex>
#include <netinet/in.h>
#include <optional>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace corvane {

using asio::ip::udp;
using namespace std::chrono_literals;

namespace {

/// After an error that may pass, such as an interface that has gone down.
constexpr auto retryDelay = 100ms;

std::string reason() {
    return std::generic_category().message(errno) + ".";
}

std::string bindingError(std::uint16_t port) {
    const auto name = "UDP port " + std::to_string(port);
    if (errno == EADDRINUSE)
        return name + " is in use by another program.";
    return name + " cannot be used: " + reason();
}

/// Binds to `address` and `port`, both shared with others. What went wrong, or nothing.
std::string bindShared(int descriptor, in_addr address, std::uint16_t port) {
    const int on = 1;
    ::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    ::setsockopt(descriptor, SOL_SOCKET, SO_REUSEPORT, &on, sizeof on);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr = address;
    local.sin_port = htons(port);
    if (::bind(descriptor, reinterpret_cast<const sockaddr *>(&local), sizeof local) == 0)
        return {};
    return bindingError(port);
}

/// An interface that comes is told of several times, and has its address a little later.
constexpr auto joinDelay = 100ms;

/// Reads an open socket, and has its group joined on interfaces that come. The socket is closed on whichever
/// thread cancels and used on the queue; the mutex keeps the two apart, and is never held while the handler
/// runs.
class Reader : public std::enable_shared_from_this<Reader> {
public:
    Reader(std::shared_ptr<AsioContext> context, int descriptor, std::size_t capacity,
           std::shared_ptr<SerialQueue> queue, MulticastListening::DatagramHandler handler)
        : context(std::move(context)), queue(std::move(queue)), handler(std::move(handler)),
          datagram(capacity), socket(this->context->loop()), changes(this->context->loop()) {
        asio::error_code error;
        socket.assign(udp::v4(), descriptor, error);
        if (error)
            ::close(descriptor);
    }

    /// What keeps the group from being joined, or nothing.
    std::string join(in_addr group) {
        memberships.emplace(group);
        const int descriptor = openNetworkChanges();
        asio::error_code error;
        if (descriptor >= 0)
            changes.assign(descriptor, error);
        if (error)
            ::close(descriptor);
        awaitChange(); // before they are looked at: nothing is missed
        const std::lock_guard lock(mutex);
        return problem = memberships->update(socket.native_handle());
    }

    void readNext() {
        const std::lock_guard lock(mutex);
        if (!socket.is_open())
            return;
        context->whileOpen([&] {
            socket.async_receive(
                asio::buffer(datagram),
                [self = shared_from_this()](const asio::error_code &error, std::size_t count) {
                    self->queue->post([self, error, count] { self->haveRead(error, count); });
                });
        });
    }

    /// What keeps the group from being heard, or nothing. Any thread.
    std::string error() {
        const std::lock_guard lock(mutex);
        return problem;
    }

    /// Any thread.
    void close() {
        const std::lock_guard lock(mutex);
        asio::error_code ignored;
        socket.close(ignored);
        changes.close(ignored);
    }

    /// Lets go of the handler on the queue where it is called.
    void retire() {
        close();
        queue->post([self = shared_from_this()] { self->handler = nullptr; });
    }

private:
    bool isOpen() {
        const std::lock_guard lock(mutex);
        return socket.is_open();
    }

    void awaitChange() {
        const std::lock_guard lock(mutex);
        if (!changes.is_open())
            return;
        context->whileOpen([&] {
            changes.async_read_some(asio::buffer(change), [self = shared_from_this()](const auto &...) {
                self->queue->after(joinDelay, [self] { self->changed(); });
            });
        });
    }

    void changed() {
        {
            const std::lock_guard lock(mutex);
            if (!socket.is_open())
                return;
            problem = memberships->update(socket.native_handle());
        }
        awaitChange();
    }

    void haveRead(const asio::error_code &error, std::size_t count) {
        if (!isOpen())
            return;
        if (error) {
            queue->after(retryDelay, [self = shared_from_this()] { self->readNext(); });
            return;
        }
        if (count > 0 && handler)
            handler(Bytes(datagram.begin(), datagram.begin() + static_cast<std::ptrdiff_t>(count)));
        readNext();
    }

    std::shared_ptr<AsioContext> context; ///< outlives the socket
    std::shared_ptr<SerialQueue> queue;
    MulticastListening::DatagramHandler handler; ///< the queue's
    Bytes datagram;                              ///< the queue's, or the operation's in flight
    std::mutex mutex;
    udp::socket socket;                          ///< guarded by the mutex
    asio::posix::stream_descriptor changes;      ///< of the interfaces; guarded by the mutex
    std::array<char, 8'192> change{};            ///< the operation's in flight
    std::optional<GroupMemberships> memberships; ///< guarded by the mutex
    std::string problem;                         ///< with those; guarded by the mutex
};

class Socket final : public MulticastSocket {
public:
    explicit Socket(std::shared_ptr<Reader> reader) : reader(std::move(reader)) {}
    ~Socket() override { reader->retire(); }
    void cancel() override { reader->close(); }
    std::string error() const override { return reader->error(); }

private:
    std::shared_ptr<Reader> reader;
};

} // namespace

PosixMulticast::PosixMulticast(const AsioRuntime &runtime, Reach reach)
    : context(runtime.context()), reach(reach) {}

MulticastListening::Opened PosixMulticast::open(const std::string &group, std::uint16_t port,
                                                std::size_t capacity, std::shared_ptr<SerialQueue> queue,
                                                DatagramHandler handler) {
    const int descriptor = openSocket(AF_INET, SOCK_DGRAM);
    if (descriptor < 0)
        return {nullptr, "No UDP socket can be opened: " + reason()};

    in_addr local{};
    local.s_addr = htonl(reach == Reach::network ? INADDR_ANY : INADDR_LOOPBACK);
    auto error = bindShared(descriptor, local, port);
    in_addr groupAddress{};
    if (error.empty() && ::inet_pton(AF_INET, group.c_str(), &groupAddress) != 1)
        error = group + " is not an address.";
    if (!error.empty()) {
        ::close(descriptor);
        return {nullptr, std::move(error)};
    }

    const auto reader =
        std::make_shared<Reader>(context, descriptor, capacity, std::move(queue), std::move(handler));
    if (reach == Reach::network)
        error = reader->join(groupAddress);
    reader->readNext();
    return {std::make_unique<Socket>(reader), std::move(error)};
}

} // namespace corvane

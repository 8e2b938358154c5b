#include "tests/support/Peers.h"

#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace corvane {

namespace {

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

void require(bool holds, const char *what) {
    if (!holds)
        throw std::system_error(errno, std::generic_category(), what);
}

Descriptor boundSocket(int type, std::uint16_t port) {
    Descriptor socket = newSocket(type);
    const auto address = loopback(port);
    require(::bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0, "bind");
    return socket;
}

std::uint16_t portOf(const Descriptor &socket) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    require(::getsockname(socket.get(), reinterpret_cast<sockaddr *>(&address), &size) == 0, "getsockname");
    return ntohs(address.sin_port);
}

bool awaitReadable(const Descriptor &socket, std::chrono::milliseconds atMost) {
    pollfd wanted{socket.get(), POLLIN, 0};
    return ::poll(&wanted, 1, static_cast<int>(atMost.count())) > 0;
}

} // namespace

Descriptor &Descriptor::operator=(Descriptor &&other) noexcept {
    std::swap(number, other.number);
    return *this;
}

void Descriptor::close() {
    if (number >= 0)
        ::close(std::exchange(number, -1));
}

Descriptor newSocket(int type) {
#ifdef SOCK_CLOEXEC
    return Descriptor(::socket(AF_INET, type | SOCK_CLOEXEC, 0));
#else
    Descriptor made(::socket(AF_INET, type, 0));
    ::fcntl(made.get(), F_SETFD, FD_CLOEXEC);
    return made;
#endif
}

void StreamPeer::write(const Bytes &bytes) const {
    for (std::size_t sent = 0; sent < bytes.size();) {
        const auto count = ::send(socket.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0)
            return;
        sent += static_cast<std::size_t>(count);
    }
}

Bytes StreamPeer::read(std::size_t count) const {
    Bytes bytes;
    while (bytes.size() < count && awaitReadable(socket, testTimeout)) {
        Bytes part(count - bytes.size());
        const auto got = ::recv(socket.get(), part.data(), part.size(), 0);
        if (got <= 0)
            break;
        bytes.insert(bytes.end(), part.begin(), part.begin() + got);
    }
    return bytes;
}

bool StreamPeer::awaitEnd() const {
    Bytes part(65'536);
    while (awaitReadable(socket, testTimeout))
        if (::recv(socket.get(), part.data(), part.size(), 0) <= 0)
            return true;
    return false;
}

void StreamPeer::finishSending() const {
    ::shutdown(socket.get(), SHUT_WR);
}

void StreamPeer::reset() {
    const linger atOnce{1, 0};
    ::setsockopt(socket.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    socket.close();
}

StreamListener::StreamListener() : socket(boundSocket(SOCK_STREAM, 0)) {
    require(::listen(socket.get(), 64) == 0, "listen");
}

std::uint16_t StreamListener::port() const {
    return portOf(socket);
}

StreamPeer StreamListener::accept() const {
    if (!awaitReadable(socket, testTimeout))
        return StreamPeer(Descriptor());
    Descriptor accepted(::accept(socket.get(), nullptr, nullptr));
    ::fcntl(accepted.get(), F_SETFD, FD_CLOEXEC);
    return StreamPeer(std::move(accepted));
}

SilentListener::SilentListener(std::uint16_t port) : socket(newSocket(SOCK_STREAM)) {
    auto address = loopback(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + 1);
    const auto *place = reinterpret_cast<const sockaddr *>(&address);
    require(::bind(socket.get(), place, sizeof address) == 0, "bind");
    require(::listen(socket.get(), 0) == 0, "listen");
    for (int i = 0; i < 4; ++i) {
        auto &each = waiting.emplace_back(newSocket(SOCK_STREAM));
        ::fcntl(each.get(), F_SETFL, O_NONBLOCK);
        require(::connect(each.get(), place, sizeof address) == 0 || errno == EINPROGRESS, "connect");
    }
}

DatagramPeer::DatagramPeer(std::uint16_t port) : socket(boundSocket(SOCK_DGRAM, port)) {}

std::uint16_t DatagramPeer::port() const {
    return portOf(socket);
}

Bytes DatagramPeer::receive(std::uint16_t *sender) const {
    if (!awaitReadable(socket, testTimeout))
        return {};
    Bytes datagram(65'536);
    sockaddr_in from{};
    socklen_t size = sizeof from;
    const auto count = ::recvfrom(socket.get(), datagram.data(), datagram.size(), 0,
                                  reinterpret_cast<sockaddr *>(&from), &size);
    datagram.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    if (sender)
        *sender = ntohs(from.sin_port);
    return datagram;
}

bool DatagramPeer::hasDatagram() const {
    return awaitReadable(socket, std::chrono::milliseconds(0));
}

void DatagramPeer::send(const Bytes &datagram, std::uint16_t to) const {
    const auto address = loopback(to);
    ::sendto(socket.get(), datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr *>(&address),
             sizeof address);
}

std::uint16_t unusedPort() {
    return portOf(boundSocket(SOCK_STREAM, 0));
}

std::size_t openDescriptors() {
    std::size_t count = 0;
    for (int descriptor = 0; descriptor < 4096; ++descriptor)
        count += ::fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
    return count;
}

std::vector<std::string> inheritableDescriptors() {
    std::vector<std::string> found;
    for (int descriptor = 3; descriptor < 4096; ++descriptor) {
        const int flags = ::fcntl(descriptor, F_GETFD);
        if (flags < 0 || (flags & FD_CLOEXEC) != 0)
            continue;
        std::error_code error;
        const auto target =
            std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error).string();
        found.push_back(std::to_string(descriptor) + " " + target);
    }
    return found;
}

Bytes bytes(const std::string &text) {
    return Bytes(text.begin(), text.end());
}

} // namespace corvane

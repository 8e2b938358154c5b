#pragma once

#include "base/Bytes.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace corvane {

/// How long a test waits for something real to happen before it fails.
constexpr std::chrono::seconds testTimeout{20};

/// Things that happen on other threads, written down and waited for.
template <class Event>
class Journal {
public:
    void add(Event event) {
        const std::lock_guard lock(mutex);
        events.push_back(std::move(event));
        changed.notify_all();
    }

    std::vector<Event> all() const {
        const std::lock_guard lock(mutex);
        return events;
    }

    /// Waits until `condition(events)` holds; false when it does not in good time.
    template <class Condition>
    bool await(Condition condition) const {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, testTimeout, [&] { return condition(events); });
    }

    bool awaitCount(std::size_t count) const {
        return await([&](const std::vector<Event> &seen) { return seen.size() >= count; });
    }

private:
    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    std::vector<Event> events;
};

/// An open descriptor, closed at the end.
class Descriptor {
public:
    explicit Descriptor(int number = -1) : number(number) {}
    Descriptor(Descriptor &&other) noexcept : number(other.number) { other.number = -1; }
    Descriptor &operator=(Descriptor &&other) noexcept;
    ~Descriptor() { close(); }

    int get() const { return number; }
    void close();

private:
    int number;
};

/// A socket of IPv4 that no program inherits: SOCK_STREAM or SOCK_DGRAM.
Descriptor newSocket(int type);

/// The other end of a TCP connection, driven by plain blocking calls that give up in the end.
class StreamPeer {
public:
    explicit StreamPeer(Descriptor socket) : socket(std::move(socket)) {}

    bool isOpen() const { return socket.get() >= 0; }
    void write(const Bytes &bytes) const;
    /// Exactly that many bytes, fewer at the end of the stream.
    Bytes read(std::size_t count) const;
    /// Whether the stream has ended (by close or by reset), skipping what comes before.
    bool awaitEnd() const;
    void close() { socket.close(); }
    /// Says that nothing more will be sent; reading goes on.
    void finishSending() const;
    /// Closes with a reset instead of an orderly end.
    void reset();

private:
    Descriptor socket;
};

/// A TCP port of 127.0.0.1 that is listened at.
class StreamListener {
public:
    StreamListener();
    std::uint16_t port() const;
    StreamPeer accept() const;

private:
    Descriptor socket;
};

/// The same port of 127.0.0.2, where connecting neither succeeds nor is refused: as with a host that is not
/// reachable. For Linux.
class SilentListener {
public:
    explicit SilentListener(std::uint16_t port);

private:
    Descriptor socket;
    std::vector<Descriptor> waiting; ///< connections that fill the line of those to be accepted
};

/// A UDP socket of 127.0.0.1; port 0 takes any.
class DatagramPeer {
public:
    explicit DatagramPeer(std::uint16_t port = 0);
    std::uint16_t port() const;
    /// The next datagram and, if asked for, its sender's port; empty when none comes.
    Bytes receive(std::uint16_t *sender = nullptr) const;
    bool hasDatagram() const;
    void send(const Bytes &datagram, std::uint16_t to) const;
    void close() { socket.close(); }

private:
    Descriptor socket;
};

/// A port that nobody listens at just now.
std::uint16_t unusedPort();

/// The descriptors of this process that are open, and those of them that a started program would inherit.
std::size_t openDescriptors();
std::vector<std::string> inheritableDescriptors();

Bytes bytes(const std::string &text);

} // namespace corvane

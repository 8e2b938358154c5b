#pragma once

#include "sim/ConsoleSession.h"

#include <asio/ip/tcp.hpp>

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>

namespace corvane::sim {

/// One client's connection to the console stand-in. An operation in flight holds the visitor.
class ConsoleVisitor : public std::enable_shared_from_this<ConsoleVisitor> {
public:
    ConsoleVisitor(asio::ip::tcp::socket socket, const ConsoleState &state);

    ConsoleSession session;
    /// Called once, when the connection has ended.
    std::function<void(ConsoleVisitor &)> onEnd;
    /// Sends each byte in a segment of its own.
    bool trickles = false;

    void start();
    void send(const Bytes &bytes);
    /// Sends what still waits, then closes as a peer does that has no more to say.
    void close();
    /// Breaks the connection with a reset.
    void reset();

private:
    void read();
    void write();
    void end();

    asio::ip::tcp::socket socket;
    std::array<std::uint8_t, 65'536> incoming{};
    std::deque<std::uint8_t> outgoing;
    Bytes writing;
    bool closing = false;
    bool ended = false;
};

} // namespace corvane::sim

#include "sim/ConsoleVisitor.h"

#include <asio/buffer.hpp>
#include <asio/write.hpp>

#include <cstddef>
#include <utility>

namespace corvane::sim {

using asio::ip::tcp;

ConsoleVisitor::ConsoleVisitor(tcp::socket socket, const ConsoleState &state)
    : session(state), socket(std::move(socket)) {
    session.onSend = [this](const Bytes &bytes) { send(bytes); };
}

void ConsoleVisitor::start() {
    asio::error_code ignored;
    socket.set_option(tcp::no_delay(true), ignored);
    read();
}

void ConsoleVisitor::send(const Bytes &bytes) {
    if (ended || closing)
        return;
    outgoing.insert(outgoing.end(), bytes.begin(), bytes.end());
    write();
}

void ConsoleVisitor::read() {
    socket.async_read_some(asio::buffer(incoming), [self = shared_from_this()](const asio::error_code &error,
                                                                               std::size_t count) {
        if (error || self->ended) {
            self->end();
            return;
        }
        const auto *first = self->incoming.data();
        self->session.receive(Bytes(first, first + count), std::chrono::steady_clock::now());
        if (self->session.isLost())
            self->close();
        self->read();
    });
}

void ConsoleVisitor::write() {
    if (!writing.empty() || ended)
        return;
    if (outgoing.empty()) {
        asio::error_code ignored;
        if (closing)
            socket.shutdown(tcp::socket::shutdown_send, ignored);
        return;
    }
    const auto last = trickles ? outgoing.begin() + 1 : outgoing.end();
    writing.assign(outgoing.begin(), last);
    outgoing.erase(outgoing.begin(), last);
    asio::async_write(socket, asio::buffer(writing),
                      [self = shared_from_this()](const asio::error_code &error, std::size_t) {
                          self->writing.clear();
                          if (error)
                              self->end();
                          else
                              self->write();
                      });
}

void ConsoleVisitor::close() {
    closing = true;
    write();
}

void ConsoleVisitor::reset() {
    asio::error_code ignored;
    socket.set_option(tcp::socket::linger(true, 0), ignored);
    end();
}

void ConsoleVisitor::end() {
    if (std::exchange(ended, true))
        return;
    asio::error_code ignored;
    socket.close(ignored);
    session.end();
    if (onEnd)
        onEnd(*this);
}

} // namespace corvane::sim

#pragma once

#include "platform/net/Network.h"

#include <atomic>
#include <memory>
#include <string>
#include <utility>

namespace corvane {

/// The state of a connection, and the handler that is called when it changes. Used on the connection's queue,
/// except for `announceCancellation`.
class ConnectionLife {
public:
    /// From any thread: from now on the only state to be reported is `cancelled`.
    void announceCancellation() { cancelling = true; }
    bool isBeingCancelled() const { return cancelling; }

    ConnectionState state() const { return current; }
    /// Whether the connection is on its way or up, and nobody has called it off.
    bool isUsable() const {
        return (current == ConnectionState::preparing || current == ConnectionState::ready) && !cancelling;
    }
    bool isReady() const { return current == ConnectionState::ready && !cancelling; }

    void setHandler(ConnectionStateHandler newHandler) { handler = std::move(newHandler); }

    void enter(ConnectionState next, const std::string &error = {}) {
        current = next;
        if (handler && !cancelling)
            handler(next, error);
    }

    /// The last report of all.
    void enterCancelled() {
        if (current == ConnectionState::cancelled)
            return;
        current = ConnectionState::cancelled;
        if (const auto last = std::exchange(handler, nullptr))
            last(current, {});
    }

    /// As cancelled, with nobody left to tell.
    void end() {
        cancelling = true;
        current = ConnectionState::cancelled;
        handler = nullptr;
    }

private:
    std::atomic<bool> cancelling{false};
    ConnectionState current = ConnectionState::setup;
    ConnectionStateHandler handler;
};

} // namespace corvane

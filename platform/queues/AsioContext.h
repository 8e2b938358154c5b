#pragma once

#include <asio/io_context.hpp>

#include <mutex>

namespace corvane {

/// An event loop that can be closed while queues, timers and sockets still hold it. Closing drops everything
/// that waits in it unexecuted; whoever comes later finds it closed and does nothing.
class AsioContext {
public:
    asio::io_context &loop() { return eventLoop; }

    /// Runs `action` unless the loop is closed. Everything that hands work to the loop goes through here,
    /// from whatever thread; `action` only hands over and never waits.
    template <class Action>
    void whileOpen(Action action) {
        const std::lock_guard lock(mutex);
        if (!closed)
            action();
    }

    /// Called once no thread runs the loop any more.
    void close() {
        {
            const std::lock_guard lock(mutex);
            closed = true;
        }
        eventLoop.shutDown();
    }

private:
    /// Work that waits in a loop may own the loop: dropping the work first breaks that cycle.
    struct Loop : asio::io_context {
        void shutDown() { shutdown(); }
    };

    std::mutex mutex;
    bool closed = false; ///< guarded by the mutex
    Loop eventLoop;
};

} // namespace corvane

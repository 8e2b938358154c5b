#pragma once

#include "platform/net/Network.h"
#include "tests/support/Peers.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace corvane {

/// What a connection reported, as words: "preparing", "ready", "failed: REASON", "cancelled" for its states;
/// "data: TEXT", "closed: TEXT", "error: REASON" for what it received, with "data" left out where there was
/// none.
class ConnectionJournal : public std::enable_shared_from_this<ConnectionJournal> {
public:
    static std::string word(ConnectionState state, const std::string &error) {
        switch (state) {
        case ConnectionState::setup:
            return "setup";
        case ConnectionState::preparing:
            return "preparing";
        case ConnectionState::ready:
            return "ready";
        case ConnectionState::failed:
            return "failed: " + error;
        case ConnectionState::cancelled:
            return "cancelled" + error;
        }
        return "?";
    }

    ConnectionStateHandler states() {
        return [self = shared_from_this()](ConnectionState state, const std::string &error) {
            self->events.add(word(state, error));
        };
    }

    StreamConnection::ReceiveHandler received() {
        return [self = shared_from_this()](const StreamConnection::Received &received) {
            const std::string text(received.data.begin(), received.data.end());
            if (received.error)
                self->events.add("error: " + text + *received.error +
                                 (received.peerClosed ? ", closed" : ""));
            else
                self->events.add((received.peerClosed ? "closed: " : "data: ") + text);
        };
    }

    DatagramConnection::ReceiveHandler datagrams() {
        return [self = shared_from_this()](const DatagramConnection::Received &received) {
            if (received.error)
                self->events.add("error: " + *received.error);
            else
                self->events.add("data: " + std::string(received.content->begin(), received.content->end()));
        };
    }

    /// Waits for an event of that text.
    bool await(const std::string &event) const {
        return events.await([&](const std::vector<std::string> &seen) {
            return std::find(seen.begin(), seen.end(), event) != seen.end();
        });
    }
    /// Waits for an event that begins so.
    bool awaitBeginning(const std::string &beginning) const {
        return events.await([&](const std::vector<std::string> &seen) {
            return std::any_of(seen.begin(), seen.end(),
                               [&](const std::string &event) { return event.rfind(beginning, 0) == 0; });
        });
    }
    std::vector<std::string> all() const { return events.all(); }

    Journal<std::string> events;
};

} // namespace corvane

#pragma once

#include "base/Bytes.h"
#include "osc/OSCMessage.h"
#include "sim/ConsoleState.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvane::sim {

/// The console's side of the conversation with one client, without its socket. It answers like a console and
/// goes on where it can when the client does something wrong, but says what that was.
class ConsoleSession {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// Sends the bytes to the client.
    std::function<void(Bytes bytes)> onSend;
    /// Something that the client did wrong.
    std::function<void(const std::string &text)> onReport;
    /// Something that happened as it should.
    std::function<void(const std::string &text)> onNote;

    explicit ConsoleSession(const ConsoleState &state) : state(state) {}

    void receive(const Bytes &bytes, TimePoint now);
    /// Whether a frame header was such that nothing behind it can be read.
    bool isLost() const { return lost; }
    /// Whether the client has greeted twice and been accepted.
    bool isAccepted() const { return accepted; }
    /// Sends a ping, if the client has been accepted.
    void ping();
    /// The client has disconnected: reports what of the conversation is missing.
    void end();

    /// Each sends something to an accepted client, and nothing to another.
    void sendPatch();
    void sendColour(const LV1Channel &channel);
    void sendScene();

private:
    std::optional<Bytes> nextPayload();
    void handle(const Bytes &payload, TimePoint now);
    void handleHandshake(const OSCMessage &message, TimePoint now);
    void accept();
    void handleDeviceName(const OSCMessage &message);
    void handlePong(const OSCMessage &message);
    void send(const std::string &address, const OSCValues &values);
    void report(const std::string &text) const;

    const ConsoleState &state;
    Bytes buffer;
    bool lost = false;
    int handshakes = 0;
    TimePoint firstHandshake;
    bool accepted = false;
    bool introduced = false;
    std::int32_t pingNumber = 0;
    /// The values of the pings that have not been answered.
    std::deque<OSCValues> unanswered;
};

/// A message as text: its address and its values.
std::string described(const OSCMessage &message);

} // namespace corvane::sim

#pragma once

#include "livetrax/remote/TransportState.h"
#include "osc/OSCMessage.h"
#include "platform/net/Network.h"
#include "platform/queues/SerialQueue.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// Drives a running LiveTrax through its OSC surface: UDP to 127.0.0.1:3819, replies to 127.0.0.1:8000. The
/// public operations are called on the main queue and completions run there; everything else happens on the
/// given queue, "Corvane.LiveTraxOSC". What cannot be sent is lost silently. Once the client is gone, none of
/// its pending work does anything and no completion runs.
class LiveTraxOSC {
public:
    static constexpr std::uint16_t surfacePort = 3819; ///< LiveTrax listens here
    static constexpr std::uint16_t replyPort = 8000;   ///< LiveTrax answers to this port, whoever asked

    using QueryCompletion = std::function<void(std::optional<TransportState>)>;
    /// Given the addresses of the messages that have left, in order; those that found no connection are not
    /// among them.
    using SendCompletion = std::function<void(std::vector<std::string> addresses)>;

    /// `main` and `network` outlive the client.
    LiveTraxOSC(SerialQueue &main, std::shared_ptr<SerialQueue> queue, Network &network);
    ~LiveTraxOSC();
    LiveTraxOSC(const LiveTraxOSC &) = delete;
    LiveTraxOSC &operator=(const LiveTraxOSC &) = delete;

    /// Opens the connection if there is none.
    void start();
    /// Closes the connection. A query that is pending gets no answer from its time-out any more.
    void stop();
    /// Sends one message after 40 ms, opening the connection first if needed. `completion`, when given, runs
    /// once the message has left or was dropped.
    void send(const std::string &address, const std::vector<OSCValue> &values = {},
              SendCompletion completion = {});
    /// Asks for the transport's state. `completion` runs once, with none when LiveTrax did not answer within
    /// 2.5 s. A query made while one is pending replaces it, and the first one's completion never runs.
    void queryTransport(QueryCompletion completion);
    /// Asks LiveTrax to save its session.
    void save(SendCompletion completion = {});
    /// Drops a marker of that name at the playhead: "/add_marker", then 90 ms later "/marker" with the name,
    /// trimmed. A blank name sends nothing. `completion`, when given, runs once both have left or were
    /// dropped.
    void addSceneMarker(const std::string &name, SendCompletion completion = {});

    /// Told why the connection failed, in the system's words. Set once by the owner before `start`; called on
    /// the main queue.
    std::function<void(const std::string &error)> onFailure;

private:
    struct Surface;
    struct Owner;

    SendCompletion onMain(SendCompletion completion) const;

    SerialQueue &main;
    std::shared_ptr<SerialQueue> queue;
    std::shared_ptr<Owner> owner;     ///< what the main queue owns; gone with the client
    std::shared_ptr<Surface> surface; ///< what lives on the queue
};

} // namespace corvane

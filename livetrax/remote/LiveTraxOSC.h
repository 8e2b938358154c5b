#pragma once

#include "livetrax/remote/MarkerStyle.h"
#include "livetrax/remote/TransportState.h"
#include "osc/OSCMessage.h"
#include "platform/net/Network.h"
#include "platform/queues/SerialQueue.h"

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

namespace corvane {

/// What became of messages that were to be sent.
struct SendReport {
    std::vector<std::string> addresses; ///< of those that have left, in order
    /// Why LiveTrax did not get all of them, as a sentence for the user; empty when no error is known. UDP
    /// confirms nothing.
    std::string problem;

    bool operator==(const SendReport &) const = default;
};

/// Drives a running LiveTrax through its OSC surface (livetrax/LiveTraxSurface.h). The public operations are
/// called on the main queue and completions run there; everything else happens on the given queue,
/// "Corvane.LiveTraxOSC". Once the client is gone, none of its pending work does anything and no completion
/// runs.
class LiveTraxOSC {
public:
    /// What is said when nobody listens or answers.
    static constexpr const char *noAnswer = "LiveTrax does not answer.";

    using QueryCompletion = std::function<void(std::optional<TransportState>)>;
    using SendCompletion = std::function<void(const SendReport &report)>;

    /// `main` and `network` outlive the client.
    LiveTraxOSC(SerialQueue &main, std::shared_ptr<SerialQueue> queue, Network &network);
    ~LiveTraxOSC();
    LiveTraxOSC(const LiveTraxOSC &) = delete;
    LiveTraxOSC &operator=(const LiveTraxOSC &) = delete;

    /// Opens the connection if there is none.
    void start();
    /// Closes the connection. A pending query does not time out any more: its completion runs only if the
    /// answers still arrive after another `start`.
    void stop();
    /// Sends one message after 40 ms, opening the connection first if needed. `completion`, when given, runs
    /// 100 ms after the message was sent, long enough for a refusal (ICMP) to come back, or as soon as the
    /// message is known to be refused or lost.
    void send(const std::string &address, const OSCValues &values = {}, SendCompletion completion = {});
    /// Asks for the transport's state. `completion` runs once, with none when LiveTrax did not answer within
    /// 2.5 s. A query made while one is pending replaces it, and the first one's completion never runs.
    void queryTransport(QueryCompletion completion);
    /// Asks LiveTrax to save its session.
    void save(SendCompletion completion = {});
    /// Drops a marker of that name, trimmed, at the playhead: in the classic way "/add_marker", then 90 ms
    /// later "/marker" with the name. Where a marker of that name may exist, "/marker" would move the
    /// playhead and can end a recording: such a name is always sent in the named way, up to 90 ms later when
    /// one in the classic way is still waiting for that name. A blank name sends nothing. `completion`, when
    /// given, runs as that of `send`.
    void addSceneMarker(const std::string &name, SendCompletion completion = {});

    /// How markers are made whose names are new.
    MarkerStyle markerStyle = MarkerStyle::classic;
    /// The names of the markers that LiveTrax's session has, as far as is known; they take the place of those
    /// given before. What this client has marked itself it remembers anyway.
    void setSessionMarkers(const std::vector<std::string> &names);
    /// They are not known: until they are set again every name may be one of them.
    void forgetSessionMarkers();

    // Set once by the owner before `start`; called on the main queue.

    /// Told why the connection failed: the error, in the generic category, and a sentence for people.
    std::function<void(const std::error_code &error, const std::string &reason)> onFailure;
    /// Told that LiveTrax was asked to save, and did not refuse.
    std::function<void()> onSave;
    /// Told of a marker that did not reach LiveTrax, by its trimmed name, and of why: "UDP port 8000 is in
    /// use by another program.", "LiveTrax does not answer." or the like. Before the marker's completion.
    std::function<void(const std::string &name, const std::string &reason)> onMarkerLost;

private:
    struct Surface;
    struct Owner;

    SendCompletion onMain(SendCompletion completion) const;
    bool mayExist(const std::string &name) const;

    SerialQueue &main;
    std::shared_ptr<SerialQueue> queue;
    std::shared_ptr<Owner> owner;     ///< what the main queue owns; gone with the client
    std::shared_ptr<Surface> surface; ///< what lives on the queue
    std::optional<std::set<std::string>> sessionMarkers = std::set<std::string>(); ///< none: not known
    std::set<std::string> marked; ///< by this client, in whatever session
};

} // namespace corvane

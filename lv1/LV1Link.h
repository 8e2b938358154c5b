#pragma once

#include "lv1/LV1Channel.h"
#include "osc/OSCMessage.h"
#include "platform/net/Network.h"
#include "platform/queues/SerialQueue.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace corvane {

class LV1Client;

/// One TCP link of the client to a console: handshake, receive loop, and what the console says turned into
/// channels, colours and scenes. Part of LV1Client and of no use without it.
///
/// Made, started and left on the main queue; its fields belong to "Corvane.Network". A socket operation in
/// flight holds its connection, neither the link nor the client. What the link has to tell goes to the main
/// queue as one task for each event, with the client and the link held weakly, and is dropped there when the
/// client has turned to another link in the meantime. When the main queue falls far behind, nothing more is
/// handled or read until it has caught up, so that a console that never stops talking fills the sockets and
/// not our memory.
class LV1Link : public std::enable_shared_from_this<LV1Link> {
public:
    LV1Link(SerialQueue &main, std::shared_ptr<SerialQueue> queue, std::weak_ptr<LV1Client> client,
            std::shared_ptr<StreamConnection> connection);

    /// Opens the connection; its states are reported to the client.
    void start();
    /// Once the connection is ready: greets the console and reads what it says from then on.
    void greet();
    /// 250 ms from now, unless the link has been left by then: greets the console again and says who this
    /// computer is, which is gathered only then.
    void introduceLater();
    /// Ends the connection; nothing more is sent or read. The connection still reports that it is cancelled.
    void leave();

private:
    struct Colour {
        float red;
        float green;
        float blue;
    };
    using ChannelList = std::vector<LV1Channel>;

    template <class Action>
    void tellClient(Action action, std::size_t size = 0);
    void send(std::string_view address, std::initializer_list<OSCValue> values);
    void send(const OSCMessage &message);
    void introduce();

    bool isFarAhead() const;
    void told(std::size_t size);
    void receiveNext();
    void received(StreamConnection::Received received);
    void take(Bytes data);
    void goOn();
    void finish();
    bool holdBack(ConnectionState state, const std::string &error);
    void releaseFailure();
    void reportOtherMessage();
    void reportClose();
    void reportInterruption(const std::string &error);

    void handle(OSCMessage message);
    void handleHandshake(const OSCMessage &message);
    void handleScene(OSCMessage message);
    void parseConnections(OSCMessage message);
    std::optional<LV1Channel> channel(OSCValue *record) const;
    void reportPatch();
    void parseColour(const OSCMessage &message);
    /// The list as it is now, shared with the main queue instead of copied there.
    std::shared_ptr<const ChannelList> snapshot() const;

    SerialQueue &main;
    const std::shared_ptr<SerialQueue> queue;
    const std::weak_ptr<LV1Client> client;
    const std::shared_ptr<StreamConnection> connection;

    bool left = false;
    /// What has been posted to the main queue and not yet been done there: reports, and the bytes in them.
    std::size_t untold = 0;
    std::size_t untoldBytes = 0;
    bool paused = false;
    /// Bytes received and not yet framed.
    Bytes receiveBuffer;
    /// Messages received, of which so many have been handled.
    std::vector<OSCMessage> messages;
    std::size_t handled = 0;
    bool unreported = false; ///< none of them has caused a report yet
    /// How the stream ended, to be told once all messages have been handled.
    bool peerClosed = false;
    std::optional<std::string> interruption;
    std::optional<std::string> failure;
    bool finished = false;
    /// The last patch, with colours applied.
    ChannelList channels;
    std::size_t channelBytes = 0; ///< what a copy of them takes, about
    /// Every colour reported, by group and zero-based index ("0:12").
    std::unordered_map<std::string, Colour> colors;
};

} // namespace corvane

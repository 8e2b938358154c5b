#pragma once

#include "lv1/LV1Counters.h"
#include "lv1/LV1LinkEvent.h"
#include "lv1/LV1Notifications.h"
#include "osc/OSCMessage.h"
#include "platform/net/Network.h"
#include "platform/queues/SerialQueue.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corvane {

/// One TCP link to a console, from its opening to its end: says hello, answers pings, and turns what the
/// console says into events. `start`, `begin` and `leave` are called on the main queue, where the events are
/// told as well, one task each; everything else belongs to "Corvane.Network".
///
///     state    | what happens                             | what main is told, in this order
///     ---------+------------------------------------------+--------------------------------------------
///     opening  | the connection stands                    | Ready
///              | `begin`: greets and reads      > reading |
///              | the connection cannot be made  > ended   | Failed
///     reading  | 250 ms after `begin`: says who we are    | Introduced
///              | handshake 1, patch, colour, scene        | Accepted, Patch, Colours, Scene
///              | /ping, answered at once; anything else   | Other, unless something else is on its way
///              | 16 MB wait for main            > waiting |
///     waiting  | half of it has been taken      > reading | what came in the meantime
///     reading, | the console closes             > ended   | what came before, Closed
///     waiting  | the connection breaks          > ended   | what came before, Interrupted, Failed
///     ended    | the connection breaks only now           | Failed
///     any      | `leave`                        > left    | Cancelled, and nothing else from then on
///
/// While it waits nothing is handled or read (back-pressure): a console that never stops sending fills the
/// socket buffers, not our memory.
class LV1Link : public std::enable_shared_from_this<LV1Link> {
public:
    using EventHandler = std::function<void(const LV1LinkEvent &)>;

    /// `traffic` is counted on, and belongs to the same queue as the link.
    LV1Link(SerialQueue &main, std::shared_ptr<SerialQueue> queue,
            std::shared_ptr<StreamConnection> connection, std::shared_ptr<LV1Counters::Traffic> traffic);

    /// Opens the connection. `handler` is called on the main queue, with Cancelled even when this is gone.
    void start(EventHandler handler);
    /// Greets the console and reads what it says; 250 ms later greets it again and introduces this computer.
    void begin(OSCMessage introduction);
    /// Ends the connection; nothing more is sent or read.
    void leave();

private:
    enum class State { opening, reading, waiting, ended, left };

    void connectionChanged(ConnectionState state, const std::string &error);
    void greet(const OSCMessage &introduction);
    void introduce(const OSCMessage &introduction);
    void readNext();
    void received(StreamConnection::Received received);
    void broke(const std::string &error);

    void take(Bytes data);
    void goOn();
    void handle(OSCMessage message);
    void send(const OSCMessage &message);
    void tell(LV1LinkEvent event);
    void taken(std::size_t size);

    bool mustWait() const;
    std::size_t memoryOf(const LV1LinkEvent &event) const;

    SerialQueue &main;
    const std::shared_ptr<SerialQueue> queue;
    const std::shared_ptr<StreamConnection> connection;
    const std::shared_ptr<LV1Counters::Traffic> traffic;
    std::shared_ptr<const EventHandler> handler;

    State state = State::opening;
    std::size_t waitingForMain = 0;    ///< bytes of events that main has not taken yet
    Bytes receiveBuffer;               ///< bytes received and not yet framed
    std::vector<OSCMessage> unhandled; ///< messages received; the next one is the last of the vector
    std::vector<LV1LinkEvent> ending;  ///< how the stream has ended, to be told after `unhandled`
    LV1Notifications notifications;
};

} // namespace corvane

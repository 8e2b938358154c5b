#include "livetrax/remote/LiveTraxOSC.h"

#include "base/Text.h"
#include "osc/OSCCodec.h"

#include <chrono>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <variant>

namespace corvane {
namespace {

using namespace std::chrono_literals;

constexpr const char *loopback = "127.0.0.1";

/// Gives a connection that has just been made time to become ready; applies to every send.
constexpr auto sendDelay = 40ms;
/// Between the two messages of a marker: LiveTrax names the marker that it dropped last.
constexpr auto markerNameDelay = 90ms;
constexpr auto queryTimeout = 2500ms;
/// Further checks, one each sendDelay, for the connection that a query needs.
constexpr int queryAttempts = 25;

constexpr const char *transportSpeedAddress = "/transport_speed";
constexpr const char *recordEnabledAddress = "/record_enabled";
constexpr const char *isRecordingAddress = "/is_recording";
constexpr const char *saveStateAddress = "/save_state";
constexpr const char *addMarkerAddress = "/add_marker";
constexpr const char *markerAddress = "/marker";

/// A speed is a 32-bit number; anything else says nothing about it.
std::optional<float> speedFrom(const OSCValue &value) {
    if (const auto *number = std::get_if<std::int32_t>(&value))
        return static_cast<float>(*number);
    if (const auto *number = std::get_if<float>(&value))
        return *number;
    return std::nullopt;
}

/// LiveTrax says yes and no in numbers; a text is neither.
std::optional<bool> boolFrom(const OSCValue &value) {
    return std::visit(
        [](const auto &held) -> std::optional<bool> {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::string>)
                return std::nullopt;
            else
                return held != Held{};
        },
        value);
}

} // namespace

/// What belongs to the main queue. Work that is handed to the main queue holds it weakly: it tells whether
/// the client still exists.
struct LiveTraxOSC::Owner {
    std::function<void(const std::string &)> *onFailure;
    /// Numbers the queries, so that an answer on its way to the main queue when the next query is made is
    /// dropped.
    std::uint64_t latestQuery = 0;
};

/// All state of the connection and of the pending query. Owned by the client's queue; every task and handler
/// holds it weakly and runs there.
struct LiveTraxOSC::Surface : std::enable_shared_from_this<Surface> {
    Surface(SerialQueue &main, std::shared_ptr<SerialQueue> queue, Network &network,
            std::weak_ptr<Owner> owner)
        : main(main), queue(std::move(queue)), network(network), owner(std::move(owner)) {}

    ~Surface() {
        if (connection)
            connection->cancel();
    }

    void open();
    void close();
    void connectionChanged(ConnectionState state, const std::string &error);
    void armReceive();
    void receive(const DatagramConnection::Received &received);
    void read(const OSCMessage &message);
    void query(QueryCompletion completion);
    void sendWhenReady(std::vector<std::string> addresses, int attempts);
    void finishQuery();
    /// Sends after sendDelay; `done` is told whether there was a connection to send on.
    using Done = std::function<void(bool left)>;
    void send(const std::string &address, const std::vector<OSCValue> &values, Done done);
    void sendAlone(const std::string &address, const std::vector<OSCValue> &values,
                   SendCompletion completion);
    void addMarker(const std::string &name, SendCompletion completion);

    SerialQueue &main;
    const std::shared_ptr<SerialQueue> queue;
    Network &network;
    const std::weak_ptr<Owner> owner;

    std::shared_ptr<DatagramConnection> connection; ///< absent until opened, and after failure or closing
    std::optional<float> speed;
    std::optional<bool> recordEnabled;
    std::optional<bool> isRecording;
    QueryCompletion queryCompletion; ///< present while a query is pending
    DelayedTask queryWorkItem;       ///< the pending query's time-out
};

void LiveTraxOSC::Surface::open() {
    if (connection)
        return;
    connection = network.makeDatagram(loopback, surfacePort, loopback, replyPort, queue);
    connection->start([weakSurface = weak_from_this(), weakConnection = std::weak_ptr(connection)](
                          ConnectionState state, const std::string &error) {
        const auto surface = weakSurface.lock();
        const auto changed = weakConnection.lock();
        if (surface && changed && surface->connection == changed)
            surface->connectionChanged(state, error);
    });
}

void LiveTraxOSC::Surface::close() {
    queryWorkItem.cancel();
    if (const auto closing = std::exchange(connection, nullptr))
        closing->cancel();
}

void LiveTraxOSC::Surface::connectionChanged(ConnectionState state, const std::string &error) {
    switch (state) {
    case ConnectionState::ready:
        armReceive();
        break;
    case ConnectionState::failed:
        connection = nullptr;
        main.post(weakly(owner, [error](Owner &alive) {
            // A copy: what is called may be the end of the client.
            if (const auto tell = *alive.onFailure)
                tell(error);
        }));
        break;
    case ConnectionState::cancelled:
        connection = nullptr;
        break;
    case ConnectionState::setup:
    case ConnectionState::preparing:
        break;
    }
}

void LiveTraxOSC::Surface::armReceive() {
    connection->receiveMessage([weakSurface = weak_from_this(), weakConnection = std::weak_ptr(connection)](
                                   const DatagramConnection::Received &received) {
        const auto surface = weakSurface.lock();
        if (!surface)
            return;
        surface->receive(received);
        // After an error the connection fails; a connection that has been replaced is not read any further.
        const auto source = weakConnection.lock();
        if (!received.error && source && surface->connection == source)
            surface->armReceive();
    });
}

void LiveTraxOSC::Surface::receive(const DatagramConnection::Received &received) {
    if (!received.content)
        return;
    const auto message = OSCCodec::parse(*received.content);
    if (!message)
        return;
    read(*message);
    if (speed && recordEnabled)
        finishQuery();
}

void LiveTraxOSC::Surface::read(const OSCMessage &message) {
    if (message.values.empty())
        return;
    const OSCValue &value = message.values.front();
    if (message.address == transportSpeedAddress) {
        if (const auto reported = speedFrom(value))
            speed = reported;
    } else if (message.address == recordEnabledAddress) {
        recordEnabled = boolFrom(value);
    } else if (message.address == isRecordingAddress) {
        isRecording = boolFrom(value);
    }
}

void LiveTraxOSC::Surface::query(QueryCompletion completion) {
    speed.reset();
    recordEnabled.reset();
    isRecording.reset();
    queryCompletion = std::move(completion);
    open();
    sendWhenReady({transportSpeedAddress, recordEnabledAddress, isRecordingAddress}, queryAttempts);
    queryWorkItem.cancel();
    queryWorkItem =
        queue->after(queryTimeout, weakly(weak_from_this(), [](Surface &alive) { alive.finishQuery(); }));
}

void LiveTraxOSC::Surface::sendWhenReady(std::vector<std::string> addresses, int attempts) {
    auto check = [addresses = std::move(addresses), attempts](Surface &alive) mutable {
        if (!alive.queryCompletion)
            return;
        if (alive.connection && alive.connection->state() == ConnectionState::ready) {
            for (const auto &address : addresses)
                alive.connection->send(OSCCodec::message(address));
        } else if (attempts >= 1) {
            alive.sendWhenReady(std::move(addresses), attempts - 1);
        }
    };
    queue->after(sendDelay, weakly(weak_from_this(), std::move(check)));
}

void LiveTraxOSC::Surface::finishQuery() {
    const auto completion = std::exchange(queryCompletion, nullptr);
    if (!completion)
        return;
    queryWorkItem.cancel();
    std::optional<TransportState> result;
    if (speed) {
        // A recorder that does not report it records exactly when it rolls while armed.
        const bool derived = *speed != 0 && recordEnabled.value_or(false);
        result = TransportState{*speed, recordEnabled.value_or(false), isRecording.value_or(derived)};
    }
    completion(result);
}

void LiveTraxOSC::Surface::send(const std::string &address, const std::vector<OSCValue> &values, Done done) {
    open();
    auto transmission = [datagram = OSCCodec::message(address, values),
                         done = std::move(done)](Surface &alive) {
        if (alive.connection)
            alive.connection->send(datagram, done);
        else
            done(false);
    };
    queue->after(sendDelay, weakly(weak_from_this(), std::move(transmission)));
}

void LiveTraxOSC::Surface::sendAlone(const std::string &address, const std::vector<OSCValue> &values,
                                     SendCompletion completion) {
    send(address, values, [address, completion = std::move(completion)](bool left) {
        completion(left ? std::vector{address} : std::vector<std::string>());
    });
}

void LiveTraxOSC::Surface::addMarker(const std::string &name, SendCompletion completion) {
    const auto addresses = std::make_shared<std::vector<std::string>>();
    send(addMarkerAddress, {}, [addresses](bool left) {
        if (left)
            addresses->emplace_back(addMarkerAddress);
    });
    auto naming = [name, addresses, completion = std::move(completion)](Surface &alive) {
        alive.send(markerAddress, {name}, [addresses, completion](bool left) {
            if (left)
                addresses->emplace_back(markerAddress);
            completion(*addresses);
        });
    };
    queue->after(markerNameDelay, weakly(weak_from_this(), std::move(naming)));
}

// ---- on the main queue

LiveTraxOSC::LiveTraxOSC(SerialQueue &main, std::shared_ptr<SerialQueue> queue, Network &network)
    : main(main), queue(queue), owner(std::make_shared<Owner>(Owner{&onFailure})),
      surface(std::make_shared<Surface>(main, queue, network, owner)) {}

LiveTraxOSC::~LiveTraxOSC() {
    // The connection is closed where it lives, or, when that queue does not run any more, with its last task.
    queue->post([last = std::move(surface)]() mutable { last.reset(); });
}

void LiveTraxOSC::start() {
    queue->post(weakly(std::weak_ptr(surface), [](Surface &alive) { alive.open(); }));
}

void LiveTraxOSC::stop() {
    queue->post(weakly(std::weak_ptr(surface), [](Surface &alive) { alive.close(); }));
}

/// A completion that may be called on the surface's queue: it runs on the main queue, while the client
/// exists.
LiveTraxOSC::SendCompletion LiveTraxOSC::onMain(SendCompletion completion) const {
    if (!completion)
        return [](const std::vector<std::string> &) {};
    return [&main = main, alive = std::weak_ptr(owner),
            completion = std::move(completion)](std::vector<std::string> addresses) {
        main.post(weakly(alive,
                         [completion, addresses = std::move(addresses)](Owner &) { completion(addresses); }));
    };
}

void LiveTraxOSC::send(const std::string &address, const std::vector<OSCValue> &values,
                       SendCompletion completion) {
    queue->post(weakly(std::weak_ptr(surface),
                       [address, values, done = onMain(std::move(completion))](Surface &alive) {
                           alive.sendAlone(address, values, done);
                       }));
}

void LiveTraxOSC::save(SendCompletion completion) {
    send(saveStateAddress, {}, std::move(completion));
}

void LiveTraxOSC::addSceneMarker(const std::string &name, SendCompletion completion) {
    auto done = onMain(std::move(completion));
    const std::string text = trimmed(name);
    if (text.empty())
        return done({});
    queue->post(weakly(std::weak_ptr(surface),
                       [text, done = std::move(done)](Surface &alive) { alive.addMarker(text, done); }));
}

void LiveTraxOSC::queryTransport(QueryCompletion completion) {
    const std::uint64_t number = ++owner->latestQuery;
    auto answer = [&main = main, alive = std::weak_ptr(owner), number,
                   completion = std::move(completion)](std::optional<TransportState> state) {
        main.post(weakly(alive, [number, completion, state](Owner &client) {
            if (client.latestQuery == number)
                completion(state);
        }));
    };
    queue->post(weakly(std::weak_ptr(surface), [answer = std::move(answer)](Surface &alive) mutable {
        alive.query(std::move(answer));
    }));
}

} // namespace corvane

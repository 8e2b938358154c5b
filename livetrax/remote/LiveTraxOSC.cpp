#include "livetrax/remote/LiveTraxOSC.h"

#include "base/Text.h"
#include "livetrax/LiveTraxSurface.h"
#include "osc/OSCCodec.h"
#include "platform/net/PortInUse.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <variant>

namespace corvane {
namespace {

using namespace std::chrono_literals;

/// Gives a connection that has just been made time to become ready; applies to every send.
constexpr auto sendDelay = 40ms;
/// Between the two messages of a marker: LiveTrax names the marker that it dropped last.
constexpr auto markerNameDelay = 90ms;
/// From the moment a message has left: by then a refusal would have come back.
constexpr auto refusalTimeout = 100ms;
constexpr auto queryTimeout = 2500ms;
/// Further checks, one each sendDelay, for the connection that a query needs.
constexpr int queryAttempts = 25;

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

/// Names that were marked are remembered up to so many bytes, so that a console cannot fill the memory with
/// them. Beyond that every name may be one of them.
constexpr std::size_t bytesRemembered = 1'000'000;

std::set<std::string> trimmedAll(const std::vector<std::string> &names) {
    std::set<std::string> all;
    for (const auto &name : names)
        all.insert(trimmed(name));
    return all;
}

/// "mark" and a number: what LiveTrax itself calls a marker that it was given no name for.
bool isLiveTraxsOwnName(const std::string &name) {
    constexpr std::string_view beginning = "mark";
    return name.starts_with(beginning) && name.size() > beginning.size() &&
           name.find_first_not_of("0123456789", beginning.size()) == std::string::npos;
}

/// Why a connection failed, for people.
std::string reasonFor(const std::error_code &error, const std::string &description) {
    if (error == std::errc::address_in_use)
        return PortInUse(liveTraxSurface::replyPort).what();
    return error == std::errc::connection_refused ? LiveTraxOSC::noAnswer : description;
}

/// The messages of one request, until it is known what became of them.
struct Delivery {
    std::size_t undecided; ///< messages that have neither left nor been lost
    LiveTraxOSC::SendCompletion done;
    bool incomplete = false; ///< a message was lost
    SendReport report{};
};

} // namespace

/// What belongs to the main queue. Work that is handed to the main queue holds it weakly: it tells whether
/// the client still exists.
struct LiveTraxOSC::Owner {
    LiveTraxOSC *client;         ///< null once it is gone
    std::size_t markedBytes = 0; ///< in the names that were marked
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
    void failed(const std::error_code &error, const std::string &description);
    void armReceive();
    void receive(const DatagramConnection::Received &received);
    void read(const OSCMessage &message);
    void query(QueryCompletion completion);
    void sendWhenReady(std::vector<std::string> addresses, int attempts);
    void finishQuery();
    using DeliveryPointer = std::shared_ptr<Delivery>;
    DeliveryPointer beginDelivery(std::size_t messages, SendCompletion done);
    /// Sends a message of a delivery after sendDelay, if there is a connection then.
    void send(const std::string &address, const OSCValues &values, DeliveryPointer delivery);
    void sent(const DeliveryPointer &delivery, const std::string &address, SendResult result);
    void refused();
    void finish(const DeliveryPointer &delivery);
    void addMarker(const std::string &name, MarkerStyle style, SendCompletion completion);

    SerialQueue &main;
    const std::shared_ptr<SerialQueue> queue;
    Network &network;
    const std::weak_ptr<Owner> owner;

    std::shared_ptr<DatagramConnection> connection; ///< absent until opened, and after failure or closing
    std::string reason;                             ///< why the last connection failed; empty once one is up
    std::vector<DeliveryPointer> deliveries;        ///< that are under way, in order
    /// Names whose "/marker" is still to be sent. Another marker of such a name comes after it: met by one
    /// that bears the name, it would be a place to go to.
    std::set<std::string> toBeNamed;
    std::optional<float> speed;
    std::optional<bool> recordEnabled;
    std::optional<bool> isRecording;
    QueryCompletion queryCompletion; ///< present while a query is pending
    DelayedTask queryWorkItem;       ///< the pending query's time-out
};

void LiveTraxOSC::Surface::open() {
    if (connection)
        return;
    connection = network.makeDatagram(liveTraxSurface::host, liveTraxSurface::port, liveTraxSurface::host,
                                      liveTraxSurface::replyPort, queue);
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
        reason.clear();
        armReceive();
        break;
    case ConnectionState::failed:
        failed(connection->failure(), error);
        break;
    case ConnectionState::cancelled:
        connection = nullptr;
        break;
    case ConnectionState::setup:
    case ConnectionState::preparing:
        break;
    }
}

void LiveTraxOSC::Surface::failed(const std::error_code &error, const std::string &description) {
    connection = nullptr;
    reason = reasonFor(error, description);
    main.post(weakly(owner, [error, reason = reason](Owner &alive) {
        // A copy: what is called may be the end of the client.
        if (const auto tell = alive.client->onFailure)
            tell(error, reason);
    }));
    if (error == std::errc::connection_refused)
        refused();
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
    if (message.address == liveTraxSurface::transportSpeed) {
        if (const auto reported = speedFrom(value))
            speed = reported;
    } else if (message.address == liveTraxSurface::recordEnabled) {
        recordEnabled = boolFrom(value);
    } else if (message.address == liveTraxSurface::isRecording) {
        isRecording = boolFrom(value);
    }
}

void LiveTraxOSC::Surface::query(QueryCompletion completion) {
    speed.reset();
    recordEnabled.reset();
    isRecording.reset();
    queryCompletion = std::move(completion);
    open();
    sendWhenReady(
        {liveTraxSurface::transportSpeed, liveTraxSurface::recordEnabled, liveTraxSurface::isRecording},
        queryAttempts);
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

LiveTraxOSC::Surface::DeliveryPointer LiveTraxOSC::Surface::beginDelivery(std::size_t messages,
                                                                          SendCompletion done) {
    return deliveries.emplace_back(std::make_shared<Delivery>(Delivery{messages, std::move(done)}));
}

void LiveTraxOSC::Surface::send(const std::string &address, const OSCValues &values,
                                DeliveryPointer delivery) {
    open();
    auto transmission = [address, datagram = OSCCodec::message(address, values),
                         delivery = std::move(delivery)](Surface &alive) {
        if (!alive.connection)
            return alive.sent(delivery, address, SendResult::lost);
        alive.connection->send(datagram,
                               [weak = alive.weak_from_this(), delivery, address](SendResult result) {
                                   if (const auto surface = weak.lock())
                                       surface->sent(delivery, address, result);
                               });
    };
    queue->after(sendDelay, weakly(weak_from_this(), std::move(transmission)));
}

void LiveTraxOSC::Surface::sent(const DeliveryPointer &delivery, const std::string &address,
                                SendResult result) {
    if (result == SendResult::leftAfterRefusal)
        refused();
    if (result != SendResult::lost) {
        delivery->report.addresses.push_back(address);
    } else {
        delivery->incomplete = true;
        if (delivery->report.problem.empty())
            delivery->report.problem = reason; // a later connection may fail for another reason
    }
    if (--delivery->undecided > 0)
        return;
    if (delivery->incomplete || !delivery->report.problem.empty())
        return finish(delivery);
    queue->after(refusalTimeout,
                 weakly(weak_from_this(), [delivery](Surface &alive) { alive.finish(delivery); }));
}

/// Nobody listens at the port: every request that has sent something and is not finished yet has failed.
void LiveTraxOSC::Surface::refused() {
    for (const auto &delivery : std::vector(deliveries)) {
        if (delivery->report.addresses.empty())
            continue;
        delivery->report.problem = noAnswer;
        if (delivery->undecided == 0)
            finish(delivery);
    }
}

void LiveTraxOSC::Surface::finish(const DeliveryPointer &delivery) {
    if (std::erase(deliveries, delivery) == 0)
        return; // it was refused before its time was up
    SendReport &report = delivery->report;
    if (delivery->incomplete && report.problem.empty())
        report.problem = report.addresses.empty() ? "Nothing could be sent to LiveTrax."
                                                  : "Not all could be sent to LiveTrax.";
    delivery->done(report);
}

void LiveTraxOSC::Surface::addMarker(const std::string &name, MarkerStyle style, SendCompletion completion) {
    if (style == MarkerStyle::named && toBeNamed.contains(name)) {
        auto again = [name, style, completion = std::move(completion)](Surface &alive) mutable {
            alive.addMarker(name, style, std::move(completion));
        };
        queue->after(markerNameDelay, weakly(weak_from_this(), std::move(again)));
        return;
    }
    if (style == MarkerStyle::named)
        return send(liveTraxSurface::addMarker, {name}, beginDelivery(1, std::move(completion)));
    const auto delivery = beginDelivery(2, std::move(completion));
    send(liveTraxSurface::addMarker, {}, delivery);
    toBeNamed.insert(name);
    queue->after(markerNameDelay, weakly(weak_from_this(), [name, delivery](Surface &alive) {
                     alive.toBeNamed.erase(name);
                     alive.send(liveTraxSurface::marker, {name}, delivery);
                 }));
}

// ---- on the main queue

LiveTraxOSC::LiveTraxOSC(SerialQueue &main, std::shared_ptr<SerialQueue> queue, Network &network)
    : main(main), queue(queue), owner(std::make_shared<Owner>(Owner{this})),
      surface(std::make_shared<Surface>(main, queue, network, owner)) {}

LiveTraxOSC::~LiveTraxOSC() {
    owner->client = nullptr;
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
        return [](const SendReport &) {};
    return [&main = main, alive = std::weak_ptr(owner),
            completion = std::move(completion)](const SendReport &report) {
        main.post(weakly(alive, [completion, report](Owner &) { completion(report); }));
    };
}

void LiveTraxOSC::send(const std::string &address, const OSCValues &values, SendCompletion completion) {
    queue->post(weakly(std::weak_ptr(surface),
                       [address, values, done = onMain(std::move(completion))](Surface &alive) {
                           alive.send(address, values, alive.beginDelivery(1, done));
                       }));
}

void LiveTraxOSC::save(SendCompletion completion) {
    send(liveTraxSurface::saveState, {},
         [this, completion = std::move(completion)](const SendReport &report) {
             const auto alive = owner;
             // A copy: what is called may be the end of the client.
             if (const auto tell = onSave; tell && report.problem.empty())
                 tell();
             if (completion && alive->client != nullptr)
                 completion(report);
         });
}

void LiveTraxOSC::setSessionMarkers(const std::vector<std::string> &names) {
    sessionMarkers = trimmedAll(names);
}

void LiveTraxOSC::forgetSessionMarkers() {
    sessionMarkers.reset();
}

bool LiveTraxOSC::mayExist(const std::string &name) const {
    return owner->markedBytes >= bytesRemembered || !sessionMarkers || sessionMarkers->contains(name) ||
           marked.contains(name) || isLiveTraxsOwnName(name);
}

void LiveTraxOSC::addSceneMarker(const std::string &name, SendCompletion completion) {
    const std::string text = trimmed(name);
    if (text.empty())
        return onMain(std::move(completion))({});
    const MarkerStyle style = mayExist(text) ? MarkerStyle::named : markerStyle;
    if (owner->markedBytes < bytesRemembered && marked.insert(text).second)
        owner->markedBytes += text.size();
    auto done = onMain([this, text, completion = std::move(completion)](const SendReport &report) {
        const auto alive = owner;
        // A copy: what is called may be the end of the client.
        if (const auto tell = onMarkerLost; tell && !report.problem.empty())
            tell(text, report.problem);
        if (completion && alive->client != nullptr)
            completion(report);
    });
    queue->post(weakly(std::weak_ptr(surface), [text, style, done = std::move(done)](Surface &alive) {
        alive.addMarker(text, style, done);
    }));
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

#include "lv1/LV1Link.h"

#include "osc/OSCCodec.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace corvane {

namespace {

constexpr std::chrono::milliseconds secondHandshakeDelay{250};
constexpr std::size_t mostBytesPerRead = 1'048'576;
constexpr std::size_t longestFrame = OSCCodec::frameHeaderSize + OSCCodec::longestPayload;
/// What may wait for the main queue. Each colour carries a whole list of channels, and a name may be as long
/// as a frame.
constexpr std::size_t mostMemory = 16'777'216;
/// What an event takes, about, besides its lists and texts.
constexpr std::size_t leastMemory = 256;

} // namespace

LV1Link::LV1Link(SerialQueue &main, std::shared_ptr<SerialQueue> queue,
                 std::shared_ptr<StreamConnection> connection, std::shared_ptr<LV1Counters::Traffic> traffic)
    : main(main), queue(std::move(queue)), connection(std::move(connection)), traffic(std::move(traffic)) {}

// Opening and leaving

void LV1Link::start(EventHandler newHandler) {
    handler = std::make_shared<const EventHandler>(std::move(newHandler));
    connection->start([&main = main, handler = handler, weak = weak_from_this()](ConnectionState next,
                                                                                 const std::string &error) {
        if (next == ConnectionState::cancelled)
            main.post([handler] { (*handler)(lv1::Cancelled{}); });
        else if (const auto link = weak.lock())
            link->connectionChanged(next, error);
    });
}

void LV1Link::connectionChanged(ConnectionState next, const std::string &error) {
    if (next == ConnectionState::ready && state == State::opening)
        tell(lv1::Ready{connection->peerAddress()});
    else if (next == ConnectionState::failed)
        broke(error);
}

void LV1Link::begin(OSCMessage introduction) {
    queue->post(weakly(weak_from_this(), [introduction = std::move(introduction)](LV1Link &link) {
        link.greet(introduction);
    }));
}

void LV1Link::greet(const OSCMessage &introduction) {
    if (state != State::opening)
        return;
    send({"/handshake", {-1, -1, 6}});
    queue->after(secondHandshakeDelay,
                 weakly(weak_from_this(), [introduction](LV1Link &link) { link.introduce(introduction); }));
    state = State::reading;
    readNext();
}

void LV1Link::introduce(const OSCMessage &introduction) {
    if (state == State::left)
        return;
    send({"/handshake", {1, -1, 6}});
    send(introduction);
    tell(lv1::Introduced{});
}

void LV1Link::leave() {
    connection->cancel();
    queue->post([self = shared_from_this()] { self->state = State::left; });
}

// Reading

void LV1Link::readNext() {
    connection->receive(1, mostBytesPerRead,
                        // Not held: the connection keeps this handler for as long as it lives, and the link
                        // keeps the connection.
                        [weak = weak_from_this()](StreamConnection::Received received) {
                            if (const auto link = weak.lock())
                                link->received(std::move(received));
                        });
}

void LV1Link::received(StreamConnection::Received received) {
    if (state != State::reading)
        return;
    take(std::move(received.data));
    if (received.peerClosed)
        ending.emplace_back(lv1::Closed{});
    else if (received.error)
        ending.emplace_back(lv1::Interrupted{*received.error});
    goOn();
}

/// The connection is no more. When it was being read, its reading is told of first.
void LV1Link::broke(const std::string &error) {
    const bool isOpen = state == State::reading || state == State::waiting;
    if (isOpen && ending.empty())
        ending.emplace_back(lv1::Interrupted{error});
    ending.emplace_back(lv1::Failed{error});
    if (state != State::waiting)
        goOn();
}

/// Handles what has been received, then reads on or tells the end; waits when main is far behind.
void LV1Link::goOn() {
    if (state == State::left)
        return;
    while (!unhandled.empty() && !mustWait()) {
        OSCMessage message = std::move(unhandled.back());
        unhandled.pop_back();
        handle(std::move(message));
    }
    if (unhandled.empty() && !ending.empty()) {
        state = State::ended;
        for (auto &event : std::exchange(ending, {}))
            tell(std::move(event));
    } else if (!unhandled.empty() || mustWait()) {
        state = State::waiting;
    } else {
        state = State::reading;
        readNext();
    }
}

void LV1Link::take(Bytes data) {
    // A header that the codec refuses stays at the front and nothing behind it can ever be read. Then the
    // buffer holds more than any frame, and what comes is dropped.
    if (receiveBuffer.size() >= longestFrame)
        return;
    const bool wasRefused = OSCCodec::isRefused(receiveBuffer);
    if (receiveBuffer.empty())
        receiveBuffer = std::move(data);
    else
        receiveBuffer.insert(receiveBuffer.end(), data.begin(), data.end());
    std::size_t frames = 0;
    unhandled = OSCCodec::readFrames(receiveBuffer, &frames);
    traffic->frames += frames;
    traffic->messages += unhandled.size();
    if (!unhandled.empty())
        traffic->lastMessage = queue->now();
    if (!wasRefused && OSCCodec::isRefused(receiveBuffer))
        ++traffic->refusedHeaders;
    std::reverse(unhandled.begin(), unhandled.end());
}

void LV1Link::handle(OSCMessage message) {
    if (message.address == "/ping") {
        ++traffic->pings;
        send({"/pong", std::move(message.values)});
    } else if (auto event = notifications.read(std::move(message), *traffic)) {
        return tell(std::move(*event));
    }
    if (waitingForMain == 0)
        tell(lv1::Other{});
}

void LV1Link::send(const OSCMessage &message) {
    connection->send(OSCCodec::frame(OSCCodec::message(message.address, message.values)));
}

// Telling main

void LV1Link::tell(LV1LinkEvent event) {
    const auto size = memoryOf(event);
    waitingForMain += size;
    main.post([handler = handler, event = std::move(event), queue = queue, weak = weak_from_this(), size] {
        (*handler)(event);
        queue->post(weakly(weak, [size](LV1Link &link) { link.taken(size); }));
    });
}

void LV1Link::taken(std::size_t size) {
    waitingForMain -= size;
    if (state == State::waiting && waitingForMain < mostMemory / 2)
        goOn();
}

bool LV1Link::mustWait() const {
    return waitingForMain >= mostMemory;
}

std::size_t LV1Link::memoryOf(const LV1LinkEvent &event) const {
    if (const auto *scene = std::get_if<lv1::Scene>(&event))
        return leastMemory + scene->name.size();
    const bool holdsList =
        std::holds_alternative<lv1::Patch>(event) || std::holds_alternative<lv1::Colours>(event);
    return leastMemory + (holdsList ? notifications.channelMemory() : 0);
}

} // namespace corvane

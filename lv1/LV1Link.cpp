#include "lv1/LV1Link.h"

#include "base/Preconditions.h"
#include "lv1/LV1Client.h"
#include "osc/OSCCodec.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <utility>

namespace corvane {

namespace {

constexpr std::chrono::milliseconds secondHandshakeDelay{250};
constexpr std::size_t mostBytesPerRead = 1'048'576;
/// A header and the longest payload that the codec accepts.
constexpr std::size_t longestFrame = 12 + 1'999'999;
/// How many reports, and how many bytes in them, may wait on the main queue before handling pauses. Each
/// colour carries a whole list of channels, and a name may be as long as a frame.
constexpr std::size_t mostUntold = 256;
constexpr std::size_t mostUntoldBytes = 16'777'216;
/// Colours that are remembered: many times what any console has, and a bound for what a hostile one can fill.
constexpr std::size_t mostColours = 65'536;
constexpr std::size_t valuesPerConnection = 7;
/// The kind of object whose colours the console reports in group 0.
constexpr std::string_view mixerChannel = "Mixer_Ch";

std::string colourKey(std::int32_t group, std::int64_t index) {
    return std::to_string(group) + ":" + std::to_string(index);
}

/// The zero-based number that colours go by. 64 bits: the console sends any 32-bit number.
std::int64_t colourIndex(std::int32_t sourceIndex) {
    return std::int64_t{sourceIndex} - 1;
}

/// What a copy of a list takes, about.
std::size_t memoryOf(const std::vector<LV1Channel> &channels) {
    std::size_t size = 0;
    for (const auto &each : channels)
        size += sizeof(LV1Channel) + each.name().size() + each.driver().size() + each.sourceType().size();
    return size;
}

std::string syncedText(const std::vector<LV1Channel> &channels) {
    std::size_t inputs = 0;
    for (const auto &channel : channels)
        inputs += channel.stereo() ? 2 : 1;
    return "Synced: " + std::to_string(channels.size()) + " tracks / " + std::to_string(inputs) + " inputs";
}

} // namespace

LV1Link::LV1Link(SerialQueue &main, std::shared_ptr<SerialQueue> queue, std::weak_ptr<LV1Client> client,
                 std::shared_ptr<StreamConnection> connection)
    : main(main), queue(std::move(queue)), client(std::move(client)), connection(std::move(connection)) {}

void LV1Link::start() {
    // Without a hold on the link: a link that is already gone still reports that it was cancelled.
    connection->start([&main = main, client = client, link = weak_from_this()](ConnectionState state,
                                                                               const std::string &error) {
        if (const auto alive = link.lock(); alive && alive->holdBack(state, error))
            return;
        main.post(weakly(client,
                         [link, state, error](LV1Client &owner) { owner.linkChanged(link, state, error); }));
    });
}

/// A failure is told after what the console said before it, and after the interruption that a receive in
/// flight is still to be told of.
bool LV1Link::holdBack(ConnectionState state, const std::string &error) {
    if (state != ConnectionState::failed || finished || left)
        return false;
    failure = error;
    queue->post(weakly(weak_from_this(), [](LV1Link &link) {
        if (!link.paused)
            link.releaseFailure();
    }));
    return true;
}

void LV1Link::releaseFailure() {
    if (const auto error = std::exchange(failure, std::nullopt))
        main.post(weakly(client, [link = weak_from_this(), error = *error](LV1Client &owner) {
            owner.linkChanged(link, ConnectionState::failed, error);
        }));
}

void LV1Link::greet() {
    send("/handshake", {-1, -1, 6});
    receiveNext();
}

void LV1Link::introduceLater() {
    queue->after(secondHandshakeDelay, weakly(weak_from_this(), [](LV1Link &link) { link.introduce(); }));
}

/// What is to be said is the main queue's to gather; by then the client may have turned to another link.
void LV1Link::introduce() {
    if (left)
        return;
    send("/handshake", {1, -1, 6});
    main.post(weakly(client, [queue = queue, link = weak_from_this()](LV1Client &owner) {
        if (!owner.isCurrent(link))
            return;
        queue->post(weakly(link, [introduction = owner.introduction()](LV1Link &speaker) {
            if (!speaker.left)
                speaker.send(introduction);
        }));
    }));
}

void LV1Link::leave() {
    connection->cancel();
    queue->post([self = shared_from_this()] { self->left = true; });
}

/// Posts what the client has to do, unless it is gone or has turned to another link by then. `size` is the
/// memory that waits with it.
template <class Action>
void LV1Link::tellClient(Action action, std::size_t size) {
    unreported = false;
    ++untold;
    untoldBytes += size;
    main.post(weakly(
        client, [queue = queue, link = weak_from_this(), size, action = std::move(action)](LV1Client &owner) {
            if (owner.isCurrent(link))
                action(owner);
            queue->post(weakly(link, [size](LV1Link &teller) { teller.told(size); }));
        }));
}

bool LV1Link::isFarAhead() const {
    return untold >= mostUntold || untoldBytes >= mostUntoldBytes;
}

void LV1Link::told(std::size_t size) {
    --untold;
    untoldBytes -= size;
    if (paused && untold < mostUntold / 2 && untoldBytes < mostUntoldBytes / 2 && !left) {
        paused = false;
        goOn();
    }
}

void LV1Link::send(std::string_view address, std::initializer_list<OSCValue> values) {
    send(OSCMessage{std::string(address), values});
}

void LV1Link::send(const OSCMessage &message) {
    connection->send(OSCCodec::frame(OSCCodec::message(message.address, message.values)));
}

void LV1Link::receiveNext() {
    connection->receive(1, mostBytesPerRead,
                        // Not held: the connection keeps this handler for as long as it lives, and the link
                        // keeps the connection.
                        [weak = weak_from_this()](StreamConnection::Received received) {
                            if (const auto self = weak.lock())
                                self->received(std::move(received));
                        });
}

void LV1Link::received(StreamConnection::Received received) {
    if (left)
        return;
    take(std::move(received.data));
    peerClosed = received.peerClosed;
    interruption = std::move(received.error);
    goOn();
}

/// Handles what has been received, then reads on; pauses when the main queue is far behind.
void LV1Link::goOn() {
    while (handled < messages.size() && !isFarAhead())
        handle(std::move(messages[handled++]));
    if (handled < messages.size()) {
        paused = true;
        return;
    }
    messages = {};
    handled = 0;
    if (std::exchange(unreported, false))
        reportOtherMessage();
    if (peerClosed || interruption || failure)
        return finish();
    paused = isFarAhead();
    if (!paused)
        receiveNext();
}

/// Everything that the console said has been handled, and there will be no more.
void LV1Link::finish() {
    if (peerClosed)
        reportClose();
    else
        reportInterruption(interruption ? *interruption : *failure);
    finished = true;
    releaseFailure();
}

void LV1Link::take(Bytes data) {
    // A header that the codec refuses stays at the front and nothing behind it can ever be read. Then the
    // buffer holds more than any frame, and what comes is dropped.
    if (receiveBuffer.size() >= longestFrame)
        return;
    if (receiveBuffer.empty())
        receiveBuffer = std::move(data);
    else
        receiveBuffer.insert(receiveBuffer.end(), data.begin(), data.end());
    messages = OSCCodec::readFrames(receiveBuffer);
    unreported = !messages.empty();
}

void LV1Link::reportOtherMessage() {
    tellClient([](LV1Client &owner) {
        if (owner.onOtherMessage)
            owner.onOtherMessage();
    });
}

void LV1Link::reportClose() {
    tellClient([](LV1Client &owner) {
        owner.destination.reset();
        if (owner.onConnectionState)
            owner.onConnectionState(false);
        owner.report("LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1.");
    });
}

void LV1Link::reportInterruption(const std::string &error) {
    tellClient([error](LV1Client &owner) {
        owner.destination.reset();
        owner.report("Connection interrupted: " + error);
    });
}

void LV1Link::handle(OSCMessage message) {
    if (message.address == "/handshake")
        handleHandshake(message);
    else if (message.address == "/Notify/IOConnections")
        parseConnections(std::move(message));
    else if (message.address == "/Notify/TrackColor")
        parseColour(message);
    else if (message.address == "/Notify/Scene/Name")
        handleScene(std::move(message));
    else if (message.address == "/ping")
        send(OSCMessage{"/pong", std::move(message.values)});
}

void LV1Link::handleHandshake(const OSCMessage &message) {
    if (message.values.empty() || message.values.front() != OSCValue(std::int32_t{1}))
        return;
    tellClient([](LV1Client &owner) {
        if (owner.onConnectionState)
            owner.onConnectionState(true);
        owner.report("LV1 conectado. Esperando el patch…");
    });
}

void LV1Link::handleScene(OSCMessage message) {
    if (message.values.empty() || !std::holds_alternative<std::string>(message.values.front()))
        return;
    auto name = std::get<std::string>(std::move(message.values.front()));
    const std::size_t size = name.size();
    tellClient(
        [name = std::move(name)](LV1Client &owner) {
            if (owner.onScene)
                owner.onScene(name);
        },
        size);
}

void LV1Link::parseConnections(OSCMessage message) {
    auto &values = message.values;
    if (values.empty() || !std::holds_alternative<std::int32_t>(values.front()))
        return;
    const std::int64_t count = std::get<std::int32_t>(values.front());
    if (count < 0)
        preconditionFailure("a negative number of console connections");
    if (static_cast<std::int64_t>(values.size()) <= std::int64_t{valuesPerConnection} * count)
        return;

    ChannelList list;
    list.reserve(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        if (auto accepted = channel(&values[valuesPerConnection * i + 1]))
            list.push_back(std::move(*accepted));
    }
    channels = std::move(list);
    channelBytes = memoryOf(channels);
    reportPatch();
}

/// The channel of one record of seven values, the last of which says nothing that matters here; none when a
/// value is of another type than it should be. Takes the texts out of the record.
std::optional<LV1Channel> LV1Link::channel(OSCValue *record) const {
    auto *name = std::get_if<std::string>(&record[0]);
    const auto *stereo = std::get_if<std::int32_t>(&record[1]);
    auto *driver = std::get_if<std::string>(&record[2]);
    const auto *inputIndex = std::get_if<std::int32_t>(&record[3]);
    auto *sourceType = std::get_if<std::string>(&record[4]);
    const auto *sourceIndex = std::get_if<std::int32_t>(&record[5]);
    if (!name || !stereo || !driver || !inputIndex || !sourceType || !sourceIndex)
        return std::nullopt;

    LV1Channel channel(std::move(*name), *stereo == 1, std::move(*driver), *inputIndex,
                       std::move(*sourceType), *sourceIndex);
    if (channel.sourceType() == mixerChannel) {
        const auto known = colors.find(colourKey(0, colourIndex(*sourceIndex)));
        if (known != colors.end()) {
            channel.red = known->second.red;
            channel.green = known->second.green;
            channel.blue = known->second.blue;
        }
    }
    return channel;
}

void LV1Link::reportPatch() {
    tellClient(
        [list = snapshot(), status = syncedText(channels)](LV1Client &owner) {
            owner.report(status);
            if (owner.onPatch)
                owner.onPatch(*list);
            if (owner.onChannels)
                owner.onChannels(*list);
        },
        channelBytes);
}

void LV1Link::parseColour(const OSCMessage &message) {
    const auto &values = message.values;
    if (values.size() < 6)
        return;
    const auto *group = std::get_if<std::int32_t>(&values[0]);
    const auto *index = std::get_if<std::int32_t>(&values[1]);
    const auto *red = std::get_if<float>(&values[3]);
    const auto *green = std::get_if<float>(&values[4]);
    const auto *blue = std::get_if<float>(&values[5]);
    if (!group || !index || !red || !green || !blue)
        return;

    const auto key = colourKey(*group, *index);
    if (colors.size() < mostColours || colors.contains(key))
        colors.insert_or_assign(key, Colour{*red, *green, *blue});
    if (*group != 0)
        return;
    const auto coloured = std::find_if(channels.begin(), channels.end(), [&](const LV1Channel &channel) {
        return channel.sourceType() == mixerChannel && colourIndex(channel.sourceIndex()) == *index;
    });
    if (coloured == channels.end())
        return;
    coloured->red = *red;
    coloured->green = *green;
    coloured->blue = *blue;
    tellClient(
        [list = snapshot()](LV1Client &owner) {
            if (owner.onChannels)
                owner.onChannels(*list);
        },
        channelBytes);
}

std::shared_ptr<const LV1Link::ChannelList> LV1Link::snapshot() const {
    return std::make_shared<const ChannelList>(channels);
}

} // namespace corvane

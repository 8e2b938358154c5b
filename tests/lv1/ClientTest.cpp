#include "tests/lv1/ClientTest.h"

#include <sstream>
#include <utility>

namespace corvane {

namespace {

std::string number(float value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

} // namespace

std::string describe(const LV1Channel &channel) {
    return channel.name() + " " + (channel.stereo() ? "S" : "M") + " " + channel.driver() + ":" +
           std::to_string(channel.inputIndex()) + " " + channel.sourceType() + ":" +
           std::to_string(channel.sourceIndex()) + " (" + number(channel.red) + " " + number(channel.green) +
           " " + number(channel.blue) + ")";
}

std::string describe(const std::vector<LV1Channel> &channels) {
    std::string text;
    for (const auto &channel : channels)
        text += (text.empty() ? "" : ", ") + describe(channel);
    return "[" + text + "]";
}

Bytes framed(const std::string &address, std::initializer_list<OSCValue> values) {
    return framed(address, std::vector<OSCValue>(values));
}

Bytes framed(const std::string &address, const std::vector<OSCValue> &values) {
    return OSCCodec::frame(OSCCodec::message(address, std::span<const OSCValue>(values)));
}

std::vector<OSCValue> record(const std::string &name, std::int32_t stereo, std::int32_t inputIndex,
                             std::int32_t sourceIndex, const std::string &sourceType) {
    return {name, stereo, std::string("SG"), inputIndex, sourceType, sourceIndex, std::int32_t{0}};
}

Bytes patchFrame(const std::vector<std::vector<OSCValue>> &records) {
    std::vector<OSCValue> values{static_cast<std::int32_t>(records.size())};
    for (const auto &each : records)
        values.insert(values.end(), each.begin(), each.end());
    return framed("/Notify/IOConnections", values);
}

Bytes colourFrame(std::int32_t group, std::int32_t index, float red, float green, float blue) {
    return framed("/Notify/TrackColor", {group, index, std::int32_t{0}, red, green, blue});
}

Bytes announcement(const LV1Endpoint &endpoint) {
    const std::vector<OSCValue> values{std::string("_waveslv113._tcp"),
                                       std::string("local"),
                                       std::int32_t{1},
                                       endpoint.name,
                                       std::int32_t{endpoint.port},
                                       true,
                                       1.5F,
                                       std::int64_t{7},
                                       endpoint.host,
                                       std::string(),
                                       std::int32_t{0},
                                       false,
                                       endpoint.mac};
    return OSCCodec::message("/zDNS", std::span<const OSCValue>(values));
}

ClientTest::ClientTest() : client(LV1Client::make(fake.platform)) {
    client->onStatus = [this](const std::string &text) { diary.push_back(text); };
    client->onConnectionState = [this](bool connected) {
        diary.emplace_back(connected ? "<connected>" : "<not connected>");
    };
    client->onPatch = [this](const auto &list) { diary.push_back("<patch> " + describe(list)); };
    client->onChannels = [this](const auto &list) { diary.push_back("<channels> " + describe(list)); };
    client->onScene = [this](const std::string &name) { diary.push_back("<scene> " + name); };
    client->onServices = [this](const auto &list) {
        std::string text = "<services>";
        for (const auto &service : list)
            text += " " + service->name();
        diary.push_back(text);
    };
    client->onEndpoints = [this](const auto &list) {
        std::string text = "<endpoints>";
        for (const auto &endpoint : list)
            text += " " + endpoint.name;
        diary.push_back(text);
    };
}

void ClientTest::deliver(const Bytes &bytes) {
    stream().deliver(bytes);
    run();
}

std::vector<OSCMessage> ClientTest::sent(const FakeStreamConnection &stream) {
    std::vector<OSCMessage> messages;
    for (Bytes bytes : stream.sent) {
        auto inFrame = OSCCodec::readFrames(bytes);
        EXPECT_EQ(inFrame.size(), 1U);
        EXPECT_TRUE(bytes.empty());
        messages.insert(messages.end(), inFrame.begin(), inFrame.end());
    }
    return messages;
}

void ClientTest::link() {
    client->connect("10.0.0.1", 5000);
    stream().becomeReady();
    run();
    diary.clear();
}

std::vector<std::string> ClientTest::takeDiary() {
    return std::exchange(diary, {});
}

} // namespace corvane

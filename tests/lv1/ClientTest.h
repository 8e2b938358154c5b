#pragma once

#include "lv1/LV1Client.h"
#include "osc/OSCCodec.h"
#include "tests/fakes/FakeSystem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace corvane {

/// One channel as text: name, M or S, driver, input index, source, and the colour.
std::string describe(const LV1Channel &channel);
std::string describe(const std::vector<LV1Channel> &channels);

/// A message as it goes over the console's stream.
Bytes framed(const std::string &address, std::initializer_list<OSCValue> values);
Bytes framed(const std::string &address, const std::vector<OSCValue> &values);

/// The seven values of one record of the console's patch.
std::vector<OSCValue> record(const std::string &name, std::int32_t stereo, std::int32_t inputIndex,
                             std::int32_t sourceIndex, const std::string &sourceType = "Mixer_Ch");
/// A patch message of these records.
Bytes patchFrame(const std::vector<std::vector<OSCValue>> &records);
Bytes colourFrame(std::int32_t group, std::int32_t index, float red, float green, float blue);
/// One announcement with these fields; the values that nobody examines are of several types.
Bytes announcement(const LV1Endpoint &endpoint);

/// A client on fakes, and a diary of its callbacks.
class ClientTest : public testing::Test {
protected:
    ClientTest();

    /// The stream of the connection made last.
    FakeStreamConnection &stream() { return *fake.network->streams.back(); }
    void run() { fake.clock->run(); }
    void deliver(const Bytes &bytes);
    /// The messages sent on a stream; each was sent as one frame of its own.
    static std::vector<OSCMessage> sent(const FakeStreamConnection &stream);
    /// Connects to 10.0.0.1, port 5000, up to *ready*, and forgets the diary so far.
    void link();
    /// What happened since this was asked last.
    std::vector<std::string> takeDiary();

    FakePlatform fake;
    std::shared_ptr<LV1Client> client;
    std::vector<std::string> diary;
};

} // namespace corvane

#pragma once

#include "app/BridgeController.h"
#include "osc/OSCCodec.h"
#include "tests/app/FakeView.h"
#include "tests/fakes/FakeSystem.h"

#include <gtest/gtest.h>

namespace corvane {

/// A controller on fakes: the test moves the clock and speaks for the console, LiveTrax and the user.
class ControllerFixture : public testing::Test {
protected:
    using Channels = std::vector<LV1Channel>;

    ControllerFixture() { fakes.network->datagramsBecomeReady = true; }

    void launch() {
        controller->applicationDidFinishLaunching();
        fakes.clock->run();
    }

    static LV1Channel channel(std::string name, std::int32_t number, std::int32_t input,
                              bool stereo = false) {
        return {std::move(name), stereo, "Driver", input, "Mixer_Ch", number};
    }
    /// Two channels, and the same with one of them on another input.
    static Channels kickAndKeys() { return {channel("Kick", 1, 0), channel("Keys", 2, 1, true)}; }
    static Channels movedKeys() { return {channel("Kick", 1, 0), channel("Keys", 2, 8, true)}; }

    /// What the client reports for one patch message.
    void consoleSendsPatch(const Channels &list) {
        controller->client->onStatus("Synced");
        controller->client->onPatch(list);
        controller->client->onChannels(list);
    }

    /// LiveTrax runs from now on.
    std::shared_ptr<FakeRunningApplication> runLiveTrax(const std::string &generation = "3") {
        auto application = std::make_shared<FakeRunningApplication>();
        fakes.applications->running["com.harrisonconsoles.LiveTrax" + generation] = application;
        return application;
    }

    /// The addresses that LiveTrax was sent so far.
    std::vector<std::string> sentToLiveTrax() const {
        std::vector<std::string> addresses;
        for (const auto &datagram : fakes.network->datagrams)
            for (const auto &sent : datagram->sent)
                if (const auto message = OSCCodec::parse(sent.datagram))
                    addresses.push_back(message->address);
        return addresses;
    }
    void liveTraxAnswers(const std::string &address, const OSCValue &value) {
        fakes.network->datagrams.back()->deliver(OSCCodec::message(address, {value}));
    }

    FakePlatform fakes;
    FakeView view;
    std::shared_ptr<BridgeController> controller = BridgeController::make(fakes.platform, view);
};

} // namespace corvane

// Recorders that answer badly, from elsewhere or not at all, seen by the whole controller.

#include "app/BridgeController.h"
#include "osc/OSCCodec.h"
#include "platform/net/AsioNetwork.h"
#include "platform/queues/AsioMainQueue.h"
#include "platform/queues/AsioRuntime.h"
#include "tests/app/FakeView.h"
#include "tests/fakes/FakeSystem.h"
#include "tests/hostile/Watch.h"
#include "tests/support/Eventually.h"
#include "tests/support/Peers.h"
#include "tests/support/PrivateNetwork.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <random>
#include <sys/socket.h>

namespace corvane {
namespace {

using namespace std::chrono_literals;
using testing::IsSupersetOf;

constexpr std::uint16_t surface = 3819;
constexpr std::uint16_t replies = 8000;
constexpr const char *cannotCheck = "Could not check LiveTrax transport. Stop playback and try again.";

/// The controller on real sockets, with a LiveTrax that runs as far as the system says, and whose surface is
/// in the test's hands.
class HostileRecorder : public testing::Test {
protected:
    void SetUp() override {
        CORVANE_ENTER_PRIVATE_NETWORK();
        auto runtime = std::make_unique<AsioRuntime>();
        platform.network = std::make_unique<AsioNetwork>(*runtime);
        platform.queues = std::move(runtime);
        platform.multicast = std::make_unique<FakeMulticastListening>();
        platform.folders = fakeFolders(folder.path());
        platform.defaults = std::make_unique<FakeUserDefaults>();
        platform.processes = std::make_unique<FakeProcessLauncher>();
        platform.host = fakeHost;
        auto applications = std::make_unique<FakeRunningApplications>();
        applications->running["com.harrisonconsoles.LiveTrax3"] = liveTrax;
        platform.applications = std::move(applications);
        platform.makeServiceBrowser = [] { return std::make_unique<FakeServiceBrowser>(); };
        controller = BridgeController::make(platform, view);
        controller->applicationDidFinishLaunching();
        controller->activeSessionURL = folder / "Show";
    }

    void runFor(std::chrono::milliseconds time) {
        main.after(time, [this] { main.quit(); });
        main.run();
    }
    /// Presses SYNC LV1 and "Update", and waits for the alert that says why nothing came of it. `meanwhile`
    /// is what the recorder does in between, each millisecond.
    std::string refusal(const std::function<void()> &meanwhile = [] {}) {
        const std::size_t before = view.alerts.size();
        controller->updateActiveSession({LV1Channel("Kick", false, "SG", 0, "Mixer_Ch", 1)}, "Kick|1|0");
        EXPECT_EQ(view.alerts.size(), before + 1);
        view.answer(0);
        EXPECT_EQ(view.status(), "Checking transport…");
        if (!eventually([&] {
                meanwhile();
                runFor(1ms);
                return view.alerts.size() > before + 1;
            }))
            return "no alert";
        EXPECT_EQ(view.status(), "The session was not updated.");
        EXPECT_EQ(view.alerts.back().message, "Session was not updated");
        EXPECT_EQ(liveTrax->terminateRequests, 0);
        return view.alerts.back().informativeText;
    }
    static void answer(const DatagramPeer &peer, float speed) {
        peer.send(OSCCodec::message("/transport_speed", {speed}), replies);
        peer.send(OSCCodec::message("/record_enabled", {0}), replies);
    }

    TemporaryFolder folder;
    AsioMainQueue main;
    Platform platform{main};
    std::shared_ptr<FakeRunningApplication> liveTrax = std::make_shared<FakeRunningApplication>();
    FakeView view;
    std::shared_ptr<BridgeController> controller;
};

TEST_F(HostileRecorder, AReplyPortThatIsTakenStopsTheUpdateAndNothingElse) {
    const DatagramPeer recorder(surface);
    controller->liveTraxOSC->stop();
    runFor(50ms);
    {
        const DatagramPeer taken(replies);
        EXPECT_EQ(refusal(), cannotCheck);
    }
    // Free again: the recorder that rolls is heard.
    EXPECT_EQ(refusal([&] { answer(recorder, 1); }),
              "Stop the transport and recording before updating the session.");
}

TEST_F(HostileRecorder, ARecorderThatKeepsSilentStopsTheUpdate) {
    const DatagramPeer mute(surface);
    EXPECT_EQ(refusal(), cannotCheck);
}

TEST_F(HostileRecorder, AnswersFromAnotherPortOrAnotherAddressAreNoAnswers) {
    const DatagramPeer recorder(surface);
    const DatagramPeer stranger;
    const Descriptor elsewhere = newSocket(SOCK_DGRAM);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(surface);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + 1); // 127.0.0.2, with the recorder's own port
    ASSERT_EQ(::bind(elsewhere.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    sockaddr_in to = address;
    to.sin_port = htons(replies);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const auto lie = [&] {
        answer(stranger, 0);
        for (const Bytes &each :
             {OSCCodec::message("/transport_speed", {0.0F}), OSCCodec::message("/record_enabled", {0})})
            ::sendto(elsewhere.get(), each.data(), each.size(), 0, reinterpret_cast<const sockaddr *>(&to),
                     sizeof to);
    };
    EXPECT_EQ(refusal(lie), cannotCheck);
    // Among all the lies the recorder's own answer counts.
    EXPECT_EQ(refusal([&] {
                  lie();
                  answer(recorder, 1);
              }),
              "Stop the transport and recording before updating the session.");
}

TEST_F(HostileRecorder, AnswersOfEveryWrongKindAreNoAnswers) {
    const DatagramPeer recorder(surface);
    const std::vector<Bytes> answers{
        OSCCodec::message("/transport_speed", {std::string("0")}),
        OSCCodec::message("/transport_speed", {std::int64_t{0}}),
        OSCCodec::message("/transport_speed", {false}),
        OSCCodec::message("/transport_speed"),
        OSCCodec::message("/Transport_Speed", {0.0F}),
        OSCCodec::message("/transport_speed/", {0.0F}),
        OSCCodec::frame(OSCCodec::message("/transport_speed", {0.0F})),
        OSCCodec::message("/record_enabled", {0}),
        Bytes(),
        Bytes(65'507, 0x2F),
    };
    EXPECT_EQ(refusal([&] {
                  for (const Bytes &each : answers)
                      recorder.send(each, replies);
              }),
              cannotCheck);
}

TEST_F(HostileRecorder, AFloodOfGarbageFillsNeitherMemoryNorTheMainQueue) {
    const DatagramPeer recorder(surface);
    std::minstd_rand random(7);
    const auto watch = Watch::over(main);
    const auto garbage = [&] {
        for (int i = 0; i < 20; ++i) {
            Bytes datagram(i % 10 == 0 ? 65'000 : random() % 400);
            for (auto &byte : datagram)
                byte = static_cast<std::uint8_t>(random());
            if (i % 3 == 0) {
                const Bytes start = OSCCodec::message("/transport_speed", {1.0F});
                datagram.insert(datagram.begin(), start.begin(), start.begin() + 20);
            }
            recorder.send(datagram, replies);
        }
    };
    for (int i = 0; i < 500; ++i) {
        garbage();
        runFor(1ms);
    }
    EXPECT_EQ(refusal(garbage), cannotCheck);
    EXPECT_EQ(refusal([&] {
                  garbage();
                  answer(recorder, 1);
              }),
              "Stop the transport and recording before updating the session.");
    EXPECT_GT(watch->ticks, 100U);
    EXPECT_LT(watch->longestGap, 5s);
    EXPECT_LT(watch->memoryGain(), 32 * megabyte);
}

} // namespace
} // namespace corvane

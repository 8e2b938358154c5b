#include "sim/ConsoleState.h"
#include "tests/hostile/HostileTest.h"

#include <gmock/gmock.h>

#include <chrono>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>

namespace corvane {
namespace {

using namespace std::chrono_literals;
using testing::AnyOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t longestPayload = 1'999'999;
constexpr std::chrono::duration<double> alive = 5s; ///< on a machine with much else to do

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int floodRounds = 2; // everything takes ten times as long
constexpr int heldColours = 200;
#else
constexpr int floodRounds = 10;
constexpr int heldColours = 2'000;
#endif

class HostileConsole : public HostileTest {};

// Half-open connections

TEST_F(HostileConsole, OneThatAcceptsAndSaysNothingIsNegotiatedWithUntilTheUserTurnsAway) {
    const StreamPeer mute = linked();
    runFor(400ms);
    EXPECT_THAT(diary, ElementsAre("<not connected>", negotiatingText));
    diary.clear();
    EXPECT_TRUE(stillWorks());
    EXPECT_EQ(diary.front(), "Disconnected");
    EXPECT_TRUE(mute.awaitEnd());
}

TEST_F(HostileConsole, OneThatNeverAnswersTheCallKeepsNobodyWaiting) {
    // A listener whose queue is full lets the system drop further calls.
    const Descriptor full = newSocket(SOCK_STREAM);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ASSERT_EQ(::bind(full.get(), reinterpret_cast<const sockaddr *>(&address), size), 0);
    ASSERT_EQ(::getsockname(full.get(), reinterpret_cast<sockaddr *>(&address), &size), 0);
    ASSERT_EQ(::listen(full.get(), 0), 0);
    std::vector<Descriptor> callers;
    for (int i = 0; i < 4; ++i) {
        callers.push_back(newSocket(SOCK_STREAM));
        ::fcntl(callers.back().get(), F_SETFL, O_NONBLOCK);
        static_cast<void>(
            ::connect(callers.back().get(), reinterpret_cast<const sockaddr *>(&address), size));
    }
    client->connect("127.0.0.1", ntohs(address.sin_port));
    const auto watch = Watch::over(main);
    runFor(300ms);
    EXPECT_THAT(diary, IsEmpty());
    EXPECT_GT(watch->ticks, 10U);
    EXPECT_TRUE(stillWorks());
    EXPECT_EQ(diary.front(), "Disconnected");
}

TEST_F(HostileConsole, OneThatStopsSendingButKeepsTheConnectionHasClosedIt) {
    StreamPeer peer = linked();
    const Bytes half = framed("/Notify/Scene/Name", {std::string("Never whole")});
    peer.write(Bytes(half.begin(), half.begin() + 20));
    peer.finishSending();
    ASSERT_TRUE(says(closeText));
    runFor(300ms); // the second greeting falls into this
    Bytes introduction = framed("/handshake", {1, -1, 6});
    const Bytes name = framed("/device_name",
                              {std::string("Front of House"), std::string("0f8fad5bd9cb469fa16570867728950e"),
                               std::string("02:00:00:00:00:01 02:00:00:00:00:02")});
    introduction.insert(introduction.end(), name.begin(), name.end());
    EXPECT_EQ(peer.read(introduction.size()), introduction);
    EXPECT_THAT(diary, ElementsAre("<not connected>", negotiatingText, "<not connected>", closeText));
    EXPECT_TRUE(stillWorks());
}

// The handshake, cut off

TEST_F(HostileConsole, AResetAtEveryByteOfItsHandshakeIsTheSameFailure) {
    Bytes answer = framed("/handshake", {1});
    const Bytes patch = patchFrame({record("Kick", 0, 0, 1)});
    answer.insert(answer.end(), patch.begin(), patch.end());
    linked().reset();
    ASSERT_TRUE(says("Connection error: Connection reset by peer"));
    const auto open = openDescriptors();
    for (std::size_t count = 0; count <= answer.size(); ++count) {
        SCOPED_TRACE(count);
        diary.clear();
        StreamPeer peer = linked();
        peer.write(Bytes(answer.begin(), answer.begin() + static_cast<std::ptrdiff_t>(count)));
        peer.reset();
        ASSERT_TRUE(says("Connection error: Connection reset by peer"));
        EXPECT_EQ(diary.back(), "Connection error: Connection reset by peer");
        EXPECT_THAT(diary, Each(AnyOf("Disconnected", "<not connected>", negotiatingText, "<connected>",
                                      acceptedText, "Synced: 1 tracks / 1 inputs",
                                      "Connection interrupted: Connection reset by peer",
                                      "Connection error: Connection reset by peer")));
        EXPECT_THAT(diary, Contains("Connection interrupted: Connection reset by peer"));
    }
    client->disconnect();
    EXPECT_TRUE(comes([&] { return openDescriptors() <= open; }));
    EXPECT_TRUE(stillWorks());
}

TEST_F(HostileConsole, ACloseAtEveryByteOfItsHandshakeIsTheSameClose) {
    Bytes answer = framed("/handshake", {1});
    const Bytes patch = patchFrame({record("Kick", 0, 0, 1)});
    answer.insert(answer.end(), patch.begin(), patch.end());
    for (std::size_t count = 0; count <= answer.size(); ++count) {
        SCOPED_TRACE(count);
        diary.clear();
        StreamPeer peer = linked();
        peer.write(Bytes(answer.begin(), answer.begin() + static_cast<std::ptrdiff_t>(count)));
        peer.close();
        ASSERT_TRUE(says(closeText));
        std::vector<std::string> expected{"<not connected>", negotiatingText};
        if (count >= framed("/handshake", {1}).size())
            expected.insert(expected.end(), {"<connected>", acceptedText});
        if (count == answer.size())
            expected.emplace_back("Synced: 1 tracks / 1 inputs");
        expected.insert(expected.end(), {"<not connected>", closeText});
        if (diary.front() == "Disconnected") // of the link before
            diary.erase(diary.begin());
        EXPECT_EQ(diary, expected);
    }
}

TEST_F(HostileConsole, AResetAtEveryByteOfTheClientsGreetingIsAFailureToo) {
    for (std::size_t count = 0; count <= greeting.size(); ++count) {
        SCOPED_TRACE(count);
        diary.clear();
        client->connect("127.0.0.1", listener.port());
        StreamPeer peer = listener.accept();
        ASSERT_TRUE(says(negotiatingText));
        peer.read(count);
        peer.reset();
        ASSERT_TRUE(says("Connection error: Connection reset by peer"));
        EXPECT_EQ(diary.back(), "Connection error: Connection reset by peer");
    }
    EXPECT_TRUE(stillWorks());
}

// Floods

Bytes paddedTo(std::size_t size, Bytes message) {
    message.resize(size);
    return OSCCodec::frame(message);
}

/// The longest frames there are, of each kind that costs something.
std::vector<Bytes> longestFrames() {
    std::vector<OSCValue> patch{std::int32_t{56'000}};
    for (int i = 0; i < 56'000; ++i) {
        const auto channel = record("", i % 2, i, i + 1, "");
        patch.insert(patch.end(), channel.begin(), channel.end());
        std::get<std::string>(patch[patch.size() - 5]).clear(); // the driver
    }
    Bytes large = OSCCodec::message("/Notify/IOConnections", patch);
    EXPECT_LE(large.size(), longestPayload);
    return {paddedTo(longestPayload, std::move(large)),
            OSCCodec::frame(OSCCodec::message("/Notify/Scene/Name", {std::string(1'999'960, 'S')})),
            OSCCodec::frame(OSCCodec::message("/nobody/knows/this", {std::string(1'999'950, 'x')})),
            OSCCodec::frame(OSCCodec::message("/tags", std::vector<OSCValue>(1'999'900, true))),
            paddedTo(longestPayload, Bytes(longestPayload, 0x2F))};
}

TEST_F(HostileConsole, AFloodOfTheLongestFramesFillsNeitherMemoryNorTheMainQueue) {
    const auto frames = longestFrames();
    StreamPeer peer = linked();
    const auto watch = Watch::over(main);
    std::thread flooding([&] {
        for (int round = 0; round < floodRounds; ++round)
            for (const Bytes &frame : frames) {
                peer.write(frame);
                // Each of these brings the whole list to the main queue once more.
                for (int i = 0; i < 20; ++i)
                    peer.write(colourFrame(0, i, 1.0F, 0.0F, static_cast<float>(round)));
            }
        peer.write(framed("/Notify/Scene/Name", {std::string("Last")}));
    });
    // Each round brings one; on a slow machine each has its own time.
    for (std::size_t count = 1; count <= floodRounds + 1U; ++count)
        EXPECT_TRUE(comes([&] { return scenes.size() >= count; })) << count;
    flooding.join();
    EXPECT_EQ(scenes.size(), floodRounds + 1U);
    EXPECT_EQ(scenes.back(), "Last");
    EXPECT_GT(watch->ticks, 50U);
    EXPECT_LT(watch->longestGap, alive);
    EXPECT_LT(watch->memoryGain(), 300 * megabyte); // a frame of tags alone takes 80
    EXPECT_TRUE(stillWorks());
}

TEST_F(HostileConsole, AMainQueueThatIsHeldUpIsNotBuriedUnderWhatTheConsoleSays) {
    StreamPeer peer = linked();
    peer.write(longestFrames().front());
    ASSERT_TRUE(comes([&] { return channels.size() == 56'000U; }));
    Bytes colours;
    for (int i = 0; i < heldColours; ++i) {
        const auto frame = colourFrame(0, i % 50, 1.0F, 0.0F, static_cast<float>(i % 1'000) / 1'000.0F);
        colours.insert(colours.end(), frame.begin(), frame.end());
    }
    const auto watch = Watch::over(main);
    std::thread talking([&] {
        peer.write(colours);
        peer.write(framed("/Notify/Scene/Name", {std::string("Last")}));
    });
    // The main thread does something else meanwhile.
    const std::size_t before = usageNow().memory();
    std::size_t most = 0;
    const auto end = std::chrono::steady_clock::now() + 500ms;
    while (std::chrono::steady_clock::now() < end)
        most = std::max(most, usageNow().memory());
    EXPECT_LT(most, before + 150 * megabyte);
    EXPECT_TRUE(comes([&] { return !scenes.empty(); }));
    talking.join();
    EXPECT_LT(watch->memoryGain(), 150 * megabyte);
}

TEST_F(HostileConsole, OneThatAsksAndNeverReadsTheAnswersIsCutOff) {
    StreamPeer peer = linked();
    const auto watch = Watch::over(main);
    std::thread asking([&] {
        const Bytes ping = framed("/ping", {std::string(1'900'000, 'p')});
        for (int i = 0; i < 40; ++i)
            peer.write(ping);
    });
    EXPECT_TRUE(says("Connection error: No buffer space available"));
    asking.join();
    EXPECT_THAT(diary, ElementsAre("<not connected>", negotiatingText,
                                   "Connection interrupted: No buffer space available", "<not connected>",
                                   "Connection error: No buffer space available"));
    EXPECT_LT(watch->memoryGain(), 128 * megabyte);
    EXPECT_LT(watch->longestGap, alive);
    EXPECT_TRUE(stillWorks());
}

TEST_F(HostileConsole, OneThatSendsAByteNowAndThenCostsNothing) {
    StreamPeer peer = linked();
    const Bytes frame = framed("/Notify/Scene/Name", {std::string("At long last")});
    const auto watch = Watch::over(main);
    for (const auto byte : frame) {
        peer.write({byte});
        runFor(15ms);
    }
    EXPECT_TRUE(comes([&] { return !scenes.empty(); }));
    EXPECT_THAT(scenes, ElementsAre("At long last"));
    EXPECT_THAT(diary, ElementsAre("<not connected>", negotiatingText));
    EXPECT_GT(watch->ticks, frame.size()) << "the main queue had its turns between all bytes";
    EXPECT_LT(watch->memoryGain(), 16 * megabyte);
}

TEST_F(HostileConsole, ANewLinkStandsWhileTheOldOneIsStillFlooded) {
    StreamPeer peer = linked();
    std::thread flooding([&] {
        const Bytes frame = framed("/Notify/Scene/Name", {std::string(1'999'900, 'O')});
        for (int i = 0; i < 200; ++i)
            peer.write(frame); // nothing more once the client has gone
    });
    ASSERT_TRUE(comes([&] { return !scenes.empty(); }));
    diary.clear();
    EXPECT_TRUE(connects(console()));
    EXPECT_EQ(channels, sim::bandOnStage().channels);
    EXPECT_EQ(scenes.back(), sim::bandOnStage().scene);
    EXPECT_THAT(diary, ElementsAre("Disconnected", "<not connected>", negotiatingText, "<connected>",
                                   acceptedText, "Synced: 24 tracks / 31 inputs"));
    flooding.join();
    runFor(20ms);
    EXPECT_EQ(scenes.back(), sim::bandOnStage().scene);
}

} // namespace
} // namespace corvane

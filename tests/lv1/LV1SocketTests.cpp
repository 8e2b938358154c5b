#include "sim/ConsoleState.h"
#include "tests/lv1/SocketTest.h"
#include "tests/support/Peers.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace corvane {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char *closeText = "LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1.";

class LV1Socket : public SocketTest {};

TEST_F(LV1Socket, AConsolesBandArrivesWithItsColoursAndItsScene) {
    ASSERT_TRUE(connects(console()));
    const auto band = sim::bandOnStage();
    EXPECT_EQ(channels, band.channels);
    EXPECT_EQ(patch.size(), 24U);
    EXPECT_THAT(scenes, ElementsAre(band.scene));
    EXPECT_EQ(channelReports, 25); // the patch, and each colour
    EXPECT_THAT(diary, ElementsAre("<not connected>", "Conectado. Negociando con LV1…", "<connected>",
                                   "LV1 conectado. Esperando el patch…", "Synced: 24 tracks / 31 inputs"));
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(LV1Socket, WhatTheConsoleChangesIsReported) {
    auto &desk = console();
    ASSERT_TRUE(connects(desk));
    desk.command("rename 1 Kick");
    ASSERT_TRUE(comes([&] { return patch.front().name() == "Kick"; }));
    EXPECT_EQ(channels.front().red, sim::bandOnStage().channels.front().red);
    desk.command("color 1 0 0.5 1");
    ASSERT_TRUE(comes([&] { return channels.front().red == 0.0F; }));
    EXPECT_NE(patch.front().red, 0.0F);
    desk.command("scene Encore");
    EXPECT_TRUE(comes([&] { return scenes.back() == "Encore"; }));
}

TEST_F(LV1Socket, PingsAreAnsweredToTheConsolesSatisfaction) {
    ConsoleSimOptions options;
    options.pingInterval = 100ms;
    ASSERT_TRUE(connects(console(options)));
    std::uint64_t heard = 0;
    EXPECT_TRUE(comes([&] {
        client->askCounters([&](const LV1Counters &counters) { heard = counters.traffic.pings; });
        // Before each next ping the console says what is wrong with the answer to the last one.
        return heard > reports.size() + 3;
    })) << heard
        << " pings: " << testing::PrintToString(reports);
    // On a busy machine an answer may be late and then be taken for the next one's, but none is wrong.
    if (!reports.empty()) {
        EXPECT_EQ(reports.front(), "no /pong to the last ping");
    }
}

TEST_F(LV1Socket, PingsAreAnsweredWhileMainIsHeld) {
    ConsoleSimOptions options;
    options.pingInterval = 100ms;
    auto &desk = console(options);
    ASSERT_TRUE(connects(desk));
    reports.clear();
    for (int i = 0; i < 1'000; ++i)
        desk.command("scene " + std::to_string(i));
    const auto begin = std::chrono::steady_clock::now();
    // Before each next ping the console says what is wrong with the answer to the last one; on a busy machine
    // some are late.
    EXPECT_TRUE(eventually([&] {
        desk.poll(); // and main has no turn
        const auto pings = (std::chrono::steady_clock::now() - begin) / options.pingInterval;
        return pings > static_cast<std::ptrdiff_t>(reports.size()) + 8;
    })) << reports.size();
    EXPECT_EQ(scenes.size(), 1U);
    ASSERT_TRUE(comes([&] { return scenes.back() == "999"; }));
    EXPECT_EQ(scenes.size(), 1'001U);
}

TEST_F(LV1Socket, AStreamOfSingleBytesIsReadLikeAnyOther) {
    auto &desk = console();
    desk.trickle(true);
    ASSERT_TRUE(connects(desk));
    EXPECT_EQ(channels, sim::bandOnStage().channels);
}

TEST_F(LV1Socket, AfterTheConsolesCloseAFreshConnectStartsAnew) {
    auto &desk = console();
    ASSERT_TRUE(connects(desk));
    desk.command("drop");
    ASSERT_TRUE(says(closeText));
    EXPECT_EQ(diary.at(diary.size() - 2), "<not connected>");
    diary.clear();
    ASSERT_TRUE(connects(desk));
    EXPECT_THAT(diary, Contains("<connected>"));
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(LV1Socket, AResetAfterReadyIsAnInterruptionAndThenAFailure) {
    auto &desk = console();
    ASSERT_TRUE(connects(desk));
    client->multicastEndpoint = LV1Endpoint{"FOH", "127.0.0.1", desk.port(), ""};
    diary.clear();
    desk.reset();
    ASSERT_TRUE(says("Connection error: Connection reset by peer"));
    EXPECT_THAT(diary, ElementsAre("Connection interrupted: Connection reset by peer", "<not connected>",
                                   "Connection error: Connection reset by peer"));
    EXPECT_FALSE(client->multicastEndpoint);
}

TEST_F(LV1Socket, APortWhereNobodyListensIsAFailure) {
    client->connect(LV1Endpoint{"FOH", "127.0.0.1", unusedPort(), ""});
    ASSERT_TRUE(says("Connection error: Connection refused"));
    EXPECT_FALSE(client->multicastEndpoint);
}

TEST_F(LV1Socket, AReconnectWhileTheOldConsoleStillTalksKeepsTheTwoApart) {
    auto &loud = console();
    ConsoleSimOptions options;
    options.channels = {LV1Channel("Only", false, "SG", 0, "Mixer_Ch", 1, 0.0F, 0.0F, 1.0F)};
    auto &quiet = console(options);
    ASSERT_TRUE(connects(loud));
    // Some megabytes of patches and colours, more than the sockets hold.
    Bytes talk;
    for (int i = 0; i < 60'000; ++i) {
        const auto frame = colourFrame(0, 0, 1.0F, 0.0F, static_cast<float>(i % 2));
        talk.insert(talk.end(), frame.begin(), frame.end());
    }
    loud.sendRaw(talk);
    runFor(5ms);
    diary.clear();
    ASSERT_TRUE(connects(quiet));
    EXPECT_EQ(channels, *options.channels);
    runFor(50ms);
    EXPECT_EQ(channels, *options.channels);
    EXPECT_EQ(diary.front(), "Disconnected");
    EXPECT_EQ(std::count(diary.begin(), diary.end(), "Disconnected"), 1);
}

TEST_F(LV1Socket, StoppingReportsTheEndAndNothingElse) {
    ASSERT_TRUE(connects(console()));
    diary.clear();
    client->stop();
    ASSERT_TRUE(says("Disconnected"));
    runFor(20ms);
    EXPECT_THAT(diary, ElementsAre("Disconnected"));
}

TEST_F(LV1Socket, AClientMayDieAtAnyMoment) {
    auto &desk = console();
    ASSERT_TRUE(connects(desk)); // the event loop opens what it needs with its first socket
    client.reset();
    ASSERT_TRUE(comes([&] { return desk.clients() == 0; }));
    runFor(1ms);
    const auto open = openDescriptors();
    for (int round = 0; round < 25; ++round) {
        auto mortal = makeClient();
        mortal->connect("127.0.0.1", desk.port());
        const auto life = std::chrono::steady_clock::now() + std::chrono::milliseconds(round * 12);
        while (std::chrono::steady_clock::now() < life)
            runFor(1ms);
        mortal.reset();
        diary.clear();
        scenes.clear();
        channelReports = 0;
        runFor(2ms);
        EXPECT_THAT(diary, IsEmpty());
        EXPECT_THAT(scenes, IsEmpty());
        EXPECT_EQ(channelReports, 0);
    }
    EXPECT_TRUE(comes([&] { return desk.clients() == 0; }));
    EXPECT_TRUE(comes([&] { return openDescriptors() <= open; }));
}

TEST_F(LV1Socket, BytesBehindARefusedHeaderAreDroppedAndTheCloseIsStillSeen) {
    auto &desk = console();
    ASSERT_TRUE(connects(desk));
    desk.sendRaw(Bytes(12)); // length 0
    for (int i = 0; i < 8; ++i)
        desk.sendRaw(Bytes(1'000'000, 0x2F));
    desk.command("scene Lost");
    desk.command("drop");
    ASSERT_TRUE(says(closeText));
    EXPECT_THAT(scenes, testing::Not(Contains("Lost")));
}

TEST_F(LV1Socket, AThousandChannelsAndTheirColoursArrive) {
    ConsoleSimOptions options;
    options.channels.emplace();
    for (int i = 0; i < 1'000; ++i)
        options.channels->emplace_back("Channel " + std::to_string(i + 1), i % 3 == 0, "SoundGrid Driver", i,
                                       "Mixer_Ch", i + 1, 0.5F, static_cast<float>(i) / 1'000.0F, 1.0F);
    ASSERT_TRUE(connects(console(options)));
    EXPECT_EQ(channels, *options.channels);
    EXPECT_EQ(channelReports, 1'001);
}

TEST_F(LV1Socket, TwoConsolesAnnouncedAndChosenFrom) {
    auto &one = console();
    auto &two = console();
    auto *announcements = static_cast<FakeMulticastListening *>(platform.multicast.get());
    client->startDiscovery();
    const LV1Endpoint first{"One", "127.0.0.1", one.port(), ""};
    const LV1Endpoint second{"Two", "127.0.0.1", two.port(), ""};
    announcements->deliver(announcement(first));
    ASSERT_TRUE(comes([&] { return one.acceptedClients() == 1; }));
    announcements->deliver(announcement(second));
    ASSERT_TRUE(says("Several LV1 hosts found. Choose one and press SYNC LV1."));
    runFor(20ms);
    EXPECT_EQ(one.clients(), 1U);
    EXPECT_EQ(two.clients(), 0U);
    client->connect(second);
    ASSERT_TRUE(comes([&] { return two.acceptedClients() == 1; }));
    EXPECT_TRUE(comes([&] { return one.clients() == 0; }));
}

} // namespace
} // namespace corvane

#include "lv1/HostChoice.h"
#include "platform/bonjour/DNSServiceBrowser.h"
#include "platform/bonjour/DNSServiceThread.h"
#include "sim/ConsoleState.h"
#include "tests/lv1/SocketTest.h"
#include "tests/support/PrivateBonjour.h"

namespace corvane {
namespace {

using testing::Contains;
using testing::ElementsAre;

/// Entered before the threads of the network are started: they live where they were started.
struct EnteredBonjour {
    EnteredBonjour() { entered = bonjour.enter(reason); }
    PrivateBonjour bonjour;
    bool entered = false;
    std::string reason;
};

/// A client that finds its consoles by a Bonjour daemon of the test's own, and the rules of the window.
class LV1Bonjour : protected EnteredBonjour, public SocketTest {
protected:
    void SetUp() override {
        if (!entered)
            GTEST_SKIP() << "no Bonjour daemon of its own: " << reason;
        platform.makeServiceBrowser = [this] {
            return std::make_unique<DNSServiceBrowser>(main, std::make_unique<DNSServiceThread>(main));
        };
        client = makeClient();
        client->onServices = [this](const auto &services) {
            if (const auto status = chooseHost(*client, client->endpoints, services))
                diary.push_back(*status);
        };
        ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    }
};

TEST_F(LV1Bonjour, ASoleConsoleIsResolvedAndConnectedWithoutAClick) {
    const auto &desk = console();
    ASSERT_TRUE(bonjour.publish("FOH", desk.port()));
    client->startDiscovery();
    ASSERT_TRUE(comes([&] { return !scenes.empty(); })) << testing::PrintToString(diary);
    EXPECT_EQ(channels, sim::bandOnStage().channels);
    EXPECT_THAT(diary, Contains("LV1 found: FOH"));
    runFor(std::chrono::milliseconds(500)); // whatever the daemon repeats
    EXPECT_EQ(desk.clients(), 1U);
    EXPECT_THAT(diary, testing::Not(Contains("Disconnected")));
    EXPECT_TRUE(reports.empty());
}

TEST_F(LV1Bonjour, AConsoleThatClosesAndComesBackIsConnectedAgainWhereverItIs) {
    auto &desk = console();
    auto &elsewhere = console();
    ASSERT_TRUE(bonjour.publish("FOH", desk.port()));
    client->startDiscovery();
    ASSERT_TRUE(comes([&] { return scenes.size() == 1; })) << testing::PrintToString(diary);
    for (const auto port : {desk.port(), elsewhere.port()}) {
        const auto before = scenes.size();
        desk.command("drop");
        bonjour.withdraw("FOH");
        ASSERT_TRUE(comes([&] { return client->services.empty(); })) << testing::PrintToString(diary);
        EXPECT_EQ(scenes.size(), before);
        ASSERT_TRUE(bonjour.publish("FOH", port));
        ASSERT_TRUE(comes([&] { return scenes.size() > before; })) << testing::PrintToString(diary);
        EXPECT_EQ(client->services.size(), 1U);
    }
}

TEST_F(LV1Bonjour, OfTwoConsolesNoneIsConnectedBeforeTheUserChooses) {
    const auto &one = console();
    const auto &two = console();
    ASSERT_TRUE(bonjour.publish("One", one.port()));
    ASSERT_TRUE(bonjour.publish("Two", two.port()));
    client->startDiscovery();
    ASSERT_TRUE(says("Several LV1 hosts found. Choose one and press SYNC LV1."));
    ASSERT_TRUE(says("LV1 found: One"));
    ASSERT_TRUE(says("LV1 found: Two"));
    EXPECT_EQ(one.clients() + two.clients(), 0U);
    ASSERT_EQ(client->services.size(), 2U);
    const auto chosen = client->services.at(1);
    client->connect(chosen);
    ASSERT_TRUE(comes([&] { return !scenes.empty(); }));
    EXPECT_EQ(chosen->name() == "One" ? one.clients() : two.clients(), 1U);
}

} // namespace
} // namespace corvane

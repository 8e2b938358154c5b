// One console that is found by Bonjour and by its announcements: one connection, whichever comes first.

#include "tests/lv1/BonjourTest.h"
#include "tests/support/Peers.h"

namespace corvane {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::Not;

constexpr std::uint16_t announcementPort = 13337;

class LV1BothWays : public BonjourTest {
protected:
    LV1Endpoint endpoint(const ConsoleSim &desk) const {
        return {"FOH", "127.0.0.1", desk.port(), "02:00:00:00:00:01"};
    }
    /// As often as a console would in a few seconds.
    void announce(const ConsoleSim &desk) {
        for (int i = 0; i < 5; ++i) {
            sender.send(announcement(endpoint(desk)), announcementPort);
            runFor(10ms);
        }
    }
    void expectOneConnection(const ConsoleSim &desk) {
        runFor(500ms); // whatever the daemon repeats
        EXPECT_EQ(desk.clients(), 1U);
        EXPECT_THAT(diary, Not(Contains("Disconnected")));
        EXPECT_EQ(std::count(diary.begin(), diary.end(), "<connected>"), 1);
        EXPECT_EQ(client->multicastEndpoint, endpoint(desk));
        EXPECT_THAT(diary, Contains("LV1 found: FOH"));
        EXPECT_TRUE(reports.empty()) << testing::PrintToString(reports);
    }

    DatagramPeer sender;
};

TEST_F(LV1BothWays, AConsoleFoundByBonjourIsNotConnectedAgainWhenItAnnouncesItself) {
    const auto &desk = console();
    ASSERT_TRUE(bonjour.publish("FOH", desk.port()));
    client->startDiscovery();
    ASSERT_TRUE(comes([&] { return !scenes.empty(); })) << testing::PrintToString(diary);
    announce(desk);
    ASSERT_TRUE(comes([&] { return !client->endpoints.empty(); }));
    expectOneConnection(desk);
}

TEST_F(LV1BothWays, AnAnnouncedConsoleIsNotConnectedAgainWhenBonjourFindsIt) {
    const auto &desk = console();
    client->startDiscovery();
    announce(desk);
    ASSERT_TRUE(comes([&] { return !scenes.empty(); })) << testing::PrintToString(diary);
    ASSERT_TRUE(bonjour.publish("FOH", desk.port()));
    ASSERT_TRUE(comes([&] { return !client->services.empty() && client->services[0]->port() > 0; }));
    announce(desk);
    expectOneConnection(desk);
}

TEST_F(LV1BothWays, AnAnnouncementInTheMiddleOfTheHandshakeIsOfTheConsoleThatIsBeingGreeted) {
    const auto &desk = console();
    ASSERT_TRUE(bonjour.publish("FOH", desk.port()));
    client->startDiscovery();
    // Between the two greetings there are 250 ms.
    ASSERT_TRUE(says("Conectado. Negociando con LV1…")) << testing::PrintToString(diary);
    announce(desk);
    ASSERT_TRUE(comes([&] { return !scenes.empty(); })) << testing::PrintToString(diary);
    expectOneConnection(desk);
}

TEST_F(LV1BothWays, AServiceFoundInTheMiddleOfTheHandshakeIsTheConsoleThatIsBeingGreeted) {
    const auto &desk = console();
    ASSERT_TRUE(bonjour.publish("FOH", desk.port()));
    client->onConnectionState = [&, told = client->onConnectionState](bool connected) {
        told(connected);
        // The service is found while the greeting is under way.
        if (!connected && client->services.empty())
            client->browser->search(LV1Client::serviceType, LV1Client::serviceDomain);
    };
    client->multicast->start();
    announce(desk);
    ASSERT_TRUE(comes([&] { return !client->services.empty() && client->services[0]->port() > 0; }));
    ASSERT_TRUE(comes([&] { return !scenes.empty(); })) << testing::PrintToString(diary);
    expectOneConnection(desk);
}

} // namespace
} // namespace corvane

#include "tests/lv1/DiscoveryTest.h"

#include <optional>
#include <random>

namespace corvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using LV1Discovery = DiscoveryTest;

TEST_F(LV1Discovery, StartsBothWaysAndSaysSoAtOnce) {
    diary.clear();
    client->startDiscovery();
    EXPECT_THAT(takeDiary(), ElementsAre("Buscando LV1 V17…")); // nothing has been run in between
    EXPECT_EQ(fake.multicast->group, "225.1.1.1");
    EXPECT_EQ(fake.multicast->port, 13337);
    EXPECT_EQ(fake.browser->type, "_waveslv113._tcp.");
    EXPECT_EQ(fake.browser->domain, "local.");
    EXPECT_TRUE(fake.browser->searching);
}

TEST_F(LV1Discovery, StartingAgainForgetsEverythingAndClosesTheOldSocketFirst) {
    hear(one);
    fake.browser->find("Bonjour", false);
    client->startDiscovery();
    EXPECT_THAT(client->endpoints, IsEmpty());
    EXPECT_THAT(client->services, IsEmpty());
    EXPECT_FALSE(client->multicastEndpoint);
    EXPECT_EQ(fake.multicast->openSockets(), 1U);
    EXPECT_EQ(fake.multicast->opened, 2U);
    EXPECT_EQ(fake.browser->searches, 2);
}

TEST_F(LV1Discovery, StartingAgainWhileALinkStandsLeavesTheLinkToTheHostThatIsHeardAgainAlone) {
    hear(one);
    stream().becomeReady();
    run();
    client->startDiscovery();
    run();
    EXPECT_FALSE(stream().cancelled);
    takeDiary();
    hear(one);
    EXPECT_THAT(takeDiary(), ElementsAre("<endpoints> LV1 One", "LV1 found: LV1 One"));
    EXPECT_EQ(fake.network->streams.size(), 1U);
    EXPECT_FALSE(stream().cancelled);
    EXPECT_EQ(client->multicastEndpoint, one);
}

TEST_F(LV1Discovery, ASoleAnnouncedHostIsConnectedWithoutAClick) {
    hear(one);
    EXPECT_THAT(takeDiary(), ElementsAre("<endpoints> LV1 One", "LV1 found: LV1 One"));
    EXPECT_EQ(client->multicastEndpoint, one);
    ASSERT_EQ(fake.network->streams.size(), 1U);
    EXPECT_EQ(stream().host, "10.0.0.1");
    EXPECT_EQ(stream().port, 5000);
}

TEST_F(LV1Discovery, WhoeverIsToldOfAHostFindsItRememberedAndNotYetConnectedTo) {
    std::size_t told = 0;
    client->onStatus = [&](const std::string &text) {
        if (!text.starts_with("LV1 found"))
            return;
        ++told;
        EXPECT_EQ(client->multicastEndpoint, one);
        EXPECT_EQ(fake.network->streams.size(), told == 1 ? 0U : 1U);
    };
    hear(one);
    client->startDiscovery();
    hear(one); // which the link leads to
    EXPECT_EQ(told, 2U);
}

TEST_F(LV1Discovery, OfMoreThanAThousandHostsTheFirstThousandAreListed) {
    client->onEndpoints = nullptr;
    for (int i = 0; i < 1'002; ++i)
        hear({std::to_string(i), "10.0.0.1", 5000, ""});
    ASSERT_EQ(client->endpoints.size(), 1'000U);
    EXPECT_EQ(client->endpoints.back().name, "999");
}

TEST_F(LV1Discovery, TheSameAnnouncementTwiceIsOneEntryAndOneConnection) {
    hear(one);
    takeDiary();
    hear(one);
    EXPECT_THAT(takeDiary(), IsEmpty());
    EXPECT_THAT(client->endpoints, ElementsAre(one));
    EXPECT_EQ(fake.network->streams.size(), 1U);
}

TEST_F(LV1Discovery, ASecondHostLeavesTheConnectionToTheFirstAlone) {
    hear(one);
    takeDiary();
    hear(two);
    EXPECT_THAT(takeDiary(), ElementsAre("<endpoints> LV1 One LV1 Two", severalHosts));
    EXPECT_EQ(fake.network->streams.size(), 1U);
    EXPECT_FALSE(stream().cancelled);
    EXPECT_EQ(client->multicastEndpoint, one);
    hear(one);
    EXPECT_THAT(takeDiary(), IsEmpty());
    hear(two);
    EXPECT_THAT(takeDiary(), ElementsAre(severalHosts));
}

TEST_F(LV1Discovery, SeveralHostsAreMentionedOnceAListWhileALinkIsAccepted) {
    hear(one);
    stream().becomeReady();
    stream().deliver(framed("/handshake", {1}));
    run();
    takeDiary();
    hear(two);
    EXPECT_THAT(takeDiary(), ElementsAre("<endpoints> LV1 One LV1 Two", severalHosts));
    for (int i = 0; i < 5; ++i) {
        hear(one);
        hear(two);
    }
    EXPECT_THAT(takeDiary(), IsEmpty());
    hear({"LV1 Three", "10.0.0.3", 5000, ""});
    EXPECT_THAT(takeDiary(), ElementsAre("<endpoints> LV1 One LV1 Two LV1 Three", severalHosts));
    stream().closeByPeer();
    run();
    takeDiary();
    hear(two);
    EXPECT_THAT(takeDiary(), ElementsAre(severalHosts));
}

TEST_F(LV1Discovery, TwoAnnouncementsThatDifferOnlyInMacAreTwoHosts) {
    hear(one);
    takeDiary();
    auto other = one;
    other.mac = "aa:bb:cc:00:00:99";
    hear(other);
    EXPECT_THAT(takeDiary(), ElementsAre("<endpoints> LV1 One LV1 One", severalHosts));
}

TEST_F(LV1Discovery, ASoleHostWhoseConnectionFailedIsConnectedByItsNextAnnouncement) {
    hear(one);
    stream().fail("Connection refused");
    run();
    takeDiary();
    hear(one);
    EXPECT_THAT(takeDiary(), ElementsAre("LV1 found: LV1 One", "Disconnected"));
    EXPECT_EQ(fake.network->streams.size(), 2U);
}

TEST_F(LV1Discovery, ASoleHostThatClosedTheConnectionWaitsForTheButton) {
    hear(one);
    stream().becomeReady();
    stream().closeByPeer();
    run();
    takeDiary();
    hear(one);
    EXPECT_THAT(takeDiary(), IsEmpty());
    EXPECT_EQ(fake.network->streams.size(), 1U);
}

TEST_F(LV1Discovery, AStreamOfAnnouncementsCausesNoReconnects) {
    for (int i = 0; i < 1000; ++i)
        hear(one);
    EXPECT_EQ(fake.network->streams.size(), 1U);
    EXPECT_EQ(client->endpoints.size(), 1U);
}

TEST_F(LV1Discovery, NoiseIsNeitherHeardNorKept) {
    std::minstd_rand random(7);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<std::size_t> size(0, 9'000);
    auto good = announcement(one);
    for (int i = 0; i < 2'000; ++i) {
        Bytes noise(size(random));
        for (auto &each : noise)
            each = static_cast<std::uint8_t>(byte(random));
        hear(noise);
        noise = good;
        // Every prefix, many times, that lacks more than padding.
        noise.resize(static_cast<std::size_t>(i) % (good.size() - 2));
        hear(noise);
    }
    EXPECT_THAT(takeDiary(), IsEmpty());
    EXPECT_EQ(fake.clock->pending(), 0U);
    good.resize(6'000); // zeros behind the message are no part of it
    hear(good);
    EXPECT_THAT(client->endpoints, ElementsAre(one));
}

TEST_F(LV1Discovery, AnnouncementsThatTheMainQueueDoesNotKeepUpWithAreDropped) {
    for (int i = 0; i < 1'000; ++i)
        fake.multicast->deliver(announcement({std::to_string(i), "10.0.0.1", 5000, ""}));
    fake.multicast->deliver(Bytes{1, 2, 3});
    std::optional<LV1Counters> counters;
    client->askCounters([&](const LV1Counters &told) { counters = told; });
    run(); // all are read before the main queue has its turn
    ASSERT_EQ(client->endpoints.size(), 256U);
    EXPECT_EQ(client->endpoints.back().name, "255");
    ASSERT_TRUE(counters);
    EXPECT_EQ(counters->announcements.heard, 256U);
    EXPECT_EQ(counters->announcements.dropped, 744U);
    EXPECT_EQ(counters->announcements.refused, 1U); // noise is noise
    hear(two);
    EXPECT_EQ(client->endpoints.back(), two);
}

TEST_F(LV1Discovery, AnnouncementsThatWaitWhileListeningBeginsAnewAreCountedOff) {
    for (int i = 0; i < 256; ++i)
        fake.multicast->deliver(announcement({std::to_string(i), "10.0.0.1", 5000, ""}));
    for (int i = 0; i < 256; ++i)
        ASSERT_TRUE(fake.clock->runOne()); // read, on their way to the main queue
    client->stop();
    run();
    client->startDiscovery();
    hear(one);
    EXPECT_THAT(client->endpoints, ElementsAre(one));
}

TEST_F(LV1Discovery, AnAnnouncementLongerThanTheBufferIsCutAndIgnored) {
    // Texts take multiples of four bytes.
    auto longNamed = one;
    longNamed.name = std::string(4'096 - announcement(one).size() + one.name.size() + 4, 'x');
    EXPECT_EQ(announcement(longNamed).size(), 4'100U);
    hear(longNamed);
    EXPECT_THAT(takeDiary(), IsEmpty());
    longNamed.name.resize(longNamed.name.size() - 4);
    hear(longNamed);
    EXPECT_THAT(client->endpoints, ElementsAre(longNamed));
    EXPECT_EQ(fake.multicast->capacity, 4'096U);
}

TEST_F(LV1Discovery, NothingIsHeardAfterStop) {
    fake.multicast->deliver(announcement(one));
    ASSERT_TRUE(fake.clock->runOne()); // read on the discovery queue, on its way to the main queue
    client->stop();
    fake.multicast->deliver(announcement(one));
    run();
    EXPECT_THAT(takeDiary(), IsEmpty());
    EXPECT_THAT(fake.network->streams, IsEmpty());
    EXPECT_EQ(fake.multicast->openSockets(), 0U);
}

TEST_F(LV1Discovery, NothingIsHeardAfterTheClientsDeath) {
    fake.multicast->deliver(announcement(one));
    ASSERT_TRUE(fake.clock->runOne());
    client.reset();
    run();
    EXPECT_THAT(takeDiary(), IsEmpty());
    EXPECT_EQ(fake.multicast->openSockets(), 0U);
}

TEST_F(LV1Discovery, AListenerThatOutlivesItsClientTellsNobody) {
    const auto listener = client->multicast;
    client.reset();
    listener->start();
    hear(one);
    EXPECT_THAT(takeDiary(), IsEmpty());
}

TEST_F(LV1Discovery, WithoutASocketNothingIsHeardAndBonjourGoesOn) {
    fake.multicast->error = "UDP port 13337 is in use by another program.";
    client->startDiscovery();
    EXPECT_THAT(takeDiary(), ElementsAre("Buscando LV1 V17…"));
    EXPECT_EQ(client->multicast->error(), "UDP port 13337 is in use by another program.");
    fake.browser->find("Bonjour", false);
    EXPECT_THAT(takeDiary(), ElementsAre("<services> Bonjour"));
}

TEST_F(LV1Discovery, WhatKeptAnnouncementsFromBeingHeardIsOverWhenTheSocketSaysSo) {
    *fake.multicast->socketError = "No network interface supports multicast.";
    client->startDiscovery();
    EXPECT_EQ(client->multicast->error(), "No network interface supports multicast.");
    fake.multicast->socketError->clear(); // a cable was plugged in
    EXPECT_EQ(client->multicast->error(), "");
}

TEST_F(LV1Discovery, TheListenerMayBeRestartedByTheOneWhoIsTold) {
    client->onEndpoints = [this](const auto &endpoints) {
        if (endpoints.size() == 1)
            client->startDiscovery();
    };
    hear(one);
    EXPECT_EQ(fake.multicast->openSockets(), 1U);
    client->onServices = [this](const auto &services) {
        client->startDiscovery();
        EXPECT_EQ(services.size(), 1U);
    };
    fake.browser->find("Bonjour", false);
}

TEST_F(LV1Discovery, TheClientMayBeEndedByTheOneWhoIsTold) {
    client->onStatus = [this](const std::string &) { client.reset(); };
    client->startDiscovery();
    EXPECT_FALSE(client);
    EXPECT_EQ(fake.multicast->openSockets(), 0U);
}

} // namespace
} // namespace corvane

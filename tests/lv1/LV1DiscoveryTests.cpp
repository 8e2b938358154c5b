#include "lv1/HostChoice.h"
#include "tests/lv1/ClientTest.h"

#include <chrono>
#include <random>

namespace corvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

const LV1Endpoint one{"LV1 One", "10.0.0.1", 5000, "aa:bb:cc:00:00:01"};
const LV1Endpoint two{"LV1 Two", "10.0.0.2", 5001, "aa:bb:cc:00:00:02"};
constexpr const char *severalHosts = "Several LV1 hosts found. Choose one and press SYNC LV1.";

/// A client that has started its discovery.
class LV1Discovery : public ClientTest {
protected:
    LV1Discovery() {
        client->startDiscovery();
        diary.clear();
    }
    void hear(const LV1Endpoint &endpoint) { hear(announcement(endpoint)); }
    void hear(const Bytes &datagram) {
        fake.multicast->deliver(datagram);
        run();
    }
    /// Resolves a service, and lets the client's turn come.
    void resolve(FakeNetService &service, const std::string &host, int port) {
        fake.browser->resolve(service, host, port);
        run();
    }
    /// The window's and the command line's part in what the client reports.
    void chooseByTheRules() {
        client->onServices = [this](const auto &services) {
            if (const auto status = chooseHost(*client, client->endpoints, services))
                diary.push_back(*status);
        };
    }
};

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
    run(); // all are read before the main queue has its turn
    ASSERT_EQ(client->endpoints.size(), 256U);
    EXPECT_EQ(client->endpoints.back().name, "255");
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
    auto longNamed = one;
    longNamed.name = std::string(5'000, 'x');
    hear(longNamed);
    EXPECT_THAT(takeDiary(), IsEmpty());
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

TEST_F(LV1Discovery, AServiceThatIsFoundIsResolvedFor5Seconds) {
    const auto service = fake.browser->find("Bonjour", false);
    EXPECT_THAT(service->resolves, ElementsAre(5000ms));
    EXPECT_THAT(takeDiary(), ElementsAre("<services> Bonjour"));
}

TEST_F(LV1Discovery, ABurstOfServicesIsReportedOnceWhenComplete) {
    fake.browser->find("A", true);
    fake.browser->find("B", true);
    EXPECT_THAT(takeDiary(), IsEmpty());
    fake.browser->find("C", false);
    EXPECT_THAT(takeDiary(), ElementsAre("<services> A B C"));
}

TEST_F(LV1Discovery, AResolvedServiceIsReportedAndNotConnectedByTheClientItself) {
    const auto service = fake.browser->find("Bonjour", false);
    takeDiary();
    resolve(*service, "lv1.local.", 5000);
    EXPECT_THAT(takeDiary(), ElementsAre("<services> Bonjour", "LV1 found: Bonjour"));
    EXPECT_THAT(fake.network->streams, IsEmpty());
}

TEST_F(LV1Discovery, AServiceThatDoesNotResolveIsSaidToBeSo) {
    const auto service = fake.browser->find("Bonjour", false);
    takeDiary();
    fake.browser->failToResolve(*service);
    EXPECT_THAT(takeDiary(), ElementsAre("Could not resolve Bonjour"));
}

TEST_F(LV1Discovery, ConnectingToAServiceWithoutAddressResolvesItAgain) {
    const auto service = fake.browser->find("Bonjour", false);
    takeDiary();
    client->connect(service);
    EXPECT_THAT(takeDiary(), ElementsAre("LV1 has not published its address yet"));
    EXPECT_THAT(service->resolves, ElementsAre(5000ms, 5000ms));
    EXPECT_THAT(fake.network->streams, IsEmpty());
}

TEST_F(LV1Discovery, AServiceWithAnImpossiblePortHasNoAddress) {
    const auto service = fake.browser->find("Bonjour", false);
    for (const int port : {-1, 0, 65'536}) {
        takeDiary();
        resolve(*service, "lv1.local.", port);
        client->connect(service);
        EXPECT_EQ(takeDiary().back(), "LV1 has not published its address yet");
    }
    resolve(*service, "lv1.local.", 65'535);
    client->connect(service);
    EXPECT_EQ(stream().port, 65'535);
    EXPECT_EQ(stream().host, "lv1.local.");
}

TEST_F(LV1Discovery, ASoleServiceIsConnectedOnceItIsResolved) {
    chooseByTheRules();
    const auto service = fake.browser->find("Bonjour", false);
    EXPECT_THAT(takeDiary(), ElementsAre("LV1 has not published its address yet"));
    resolve(*service, "lv1.local.", 5000);
    EXPECT_THAT(takeDiary(), ElementsAre("LV1 found: Bonjour"));
    EXPECT_EQ(fake.network->streams.size(), 1U);
}

TEST_F(LV1Discovery, AnExtraAnswerDoesNotReconnectInTheMiddleOfAHandshake) {
    chooseByTheRules();
    const auto service = fake.browser->find("Bonjour", false);
    resolve(*service, "lv1.local.", 5000);
    resolve(*service, "lv1.local.", 5000); // still connecting
    stream().becomeReady();
    run();
    resolve(*service, "lv1.local.", 5000); // greeted, not yet introduced
    fake.clock->advance(250ms);
    resolve(*service, "lv1.local.", 5000);
    EXPECT_EQ(fake.network->streams.size(), 1U);
    EXPECT_FALSE(stream().cancelled);
}

TEST_F(LV1Discovery, ASoleServiceThatMovedIsFollowed) {
    chooseByTheRules();
    const auto service = fake.browser->find("Bonjour", false);
    resolve(*service, "lv1.local.", 5000);
    resolve(*service, "lv1.local.", 5001);
    ASSERT_EQ(fake.network->streams.size(), 2U);
    EXPECT_EQ(stream().port, 5001);
}

TEST_F(LV1Discovery, AnAnswerAfterTheLinkHasEndedConnectsAgain) {
    chooseByTheRules();
    const auto service = fake.browser->find("Bonjour", false);
    resolve(*service, "lv1.local.", 5000);
    stream().fail("Connection refused");
    run();
    resolve(*service, "lv1.local.", 5000);
    EXPECT_EQ(fake.network->streams.size(), 2U);
    client->disconnect();
    resolve(*service, "lv1.local.", 5000);
    EXPECT_EQ(fake.network->streams.size(), 3U);
}

TEST_F(LV1Discovery, TheHostThatBonjourHasLedToIsRememberedWhenItAnnouncesItselfAndNotConnectedAgain) {
    chooseByTheRules();
    const auto service = fake.browser->find("Bonjour", false);
    resolve(*service, "lv1.local.", 5000);
    stream().peer = "10.0.0.1";
    stream().becomeReady();
    run();
    takeDiary();
    hear(one);
    hear(one);
    EXPECT_THAT(takeDiary(), ElementsAre("<endpoints> LV1 One", "LV1 found: LV1 One"));
    EXPECT_EQ(client->multicastEndpoint, one);
    EXPECT_EQ(fake.network->streams.size(), 1U);
    EXPECT_FALSE(stream().cancelled);
    stream().breakOff("Connection reset by peer");
    run();
    hear(one);
    EXPECT_EQ(fake.network->streams.size(), 2U) << "its next announcement connects again";
}

TEST_F(LV1Discovery, AHostAnnouncedWhileItsNameIsStillBeingLookedUpIsTheOneThatIsBeingOpened) {
    chooseByTheRules();
    const auto service = fake.browser->find("Bonjour", false);
    resolve(*service, "lv1.local.", 5000);
    takeDiary();
    hear(one);
    hear(one);
    EXPECT_THAT(takeDiary(), ElementsAre("<endpoints> LV1 One"));
    stream().peer = "10.0.0.1";
    stream().becomeReady();
    run();
    EXPECT_THAT(takeDiary(),
                ElementsAre("<not connected>", "Conectado. Negociando con LV1…", "LV1 found: LV1 One"));
    EXPECT_EQ(fake.network->streams.size(), 1U);
    EXPECT_THAT(sent(stream()), ElementsAre(OSCMessage{"/handshake", {-1, -1, 6}}));
}

TEST_F(LV1Discovery, AnotherHostAnnouncedWhileANameIsBeingLookedUpTakesPrecedenceOnceThatIsKnown) {
    chooseByTheRules();
    const auto service = fake.browser->find("Bonjour", false);
    resolve(*service, "lv1.local.", 5000);
    hear(one);
    stream().peer = "10.0.0.77";
    stream().becomeReady();
    run();
    ASSERT_EQ(fake.network->streams.size(), 2U);
    EXPECT_TRUE(fake.network->streams.front()->cancelled);
    EXPECT_THAT(fake.network->streams.front()->sent, IsEmpty());
    EXPECT_EQ(stream().host, "10.0.0.1");

    client->startDiscovery();
    client->connect("other.local", 5001);
    hear(two);
    EXPECT_EQ(fake.network->streams.size(), 3U);
    stream().fail("No such host");
    run();
    ASSERT_EQ(fake.network->streams.size(), 4U) << "a name that leads nowhere holds nobody up";
    EXPECT_EQ(stream().host, "10.0.0.2");
}

TEST_F(LV1Discovery, AnotherHostThanTheOneBonjourHasLedToTakesPrecedence) {
    chooseByTheRules();
    const auto service = fake.browser->find("Bonjour", false);
    resolve(*service, "lv1.local.", 5000);
    stream().peer = "10.0.0.77";
    stream().becomeReady();
    run();
    hear(one);
    ASSERT_EQ(fake.network->streams.size(), 2U);
    EXPECT_EQ(stream().host, "10.0.0.1");
}

TEST_F(LV1Discovery, AnAnnouncedHostNameIsTheSameInAnyCaseAndWithADot) {
    client->connect("LV1.local", 5000);
    hear({"FOH", "lv1.LOCAL.", 5000, ""});
    EXPECT_EQ(fake.network->streams.size(), 1U);
    EXPECT_TRUE(client->multicastEndpoint);
}

TEST_F(LV1Discovery, AWithdrawnServiceLeavesTheListWithoutAReport) {
    chooseByTheRules();
    const auto gone = fake.browser->find("A", true);
    const auto left = fake.browser->find("B", false);
    fake.browser->resolve(*left, "b.local.", 5000);
    run();
    takeDiary();
    fake.browser->withdraw(*gone);
    run();
    EXPECT_THAT(takeDiary(), IsEmpty());
    EXPECT_THAT(client->services, ElementsAre(left));
    EXPECT_THAT(fake.network->streams, IsEmpty()) << "nobody asked for the other one";
}

TEST_F(LV1Discovery, AConsoleThatClosesAndComesBackWhereItWasIsConnectedAgain) {
    chooseByTheRules();
    const auto before = fake.browser->find("Bonjour", false);
    resolve(*before, "lv1.local.", 5000);
    stream().becomeReady();
    run();
    stream().closeByPeer();
    fake.browser->withdraw(*before);
    run();
    EXPECT_EQ(fake.network->streams.size(), 1U);
    const auto after = fake.browser->find("Bonjour", false);
    resolve(*after, "lv1.local.", 5000);
    EXPECT_EQ(fake.network->streams.size(), 2U);
    EXPECT_THAT(client->services, ElementsAre(after));
}

TEST_F(LV1Discovery, AServiceWhoseConnectionFailsIsLookedUpAnew) {
    chooseByTheRules();
    const auto service = fake.browser->find("Bonjour", false);
    resolve(*service, "lv1.local.", 5000);
    stream().fail("Connection refused");
    run();
    EXPECT_EQ(service->resolvedAnew, 1);
    fake.clock->advance(30s);
    EXPECT_EQ(fake.network->streams.size(), 1U) << "against a closed port there is one attempt";
    resolve(*service, "lv1.local.", 5001); // the answer, which differs
    ASSERT_EQ(fake.network->streams.size(), 2U);
    EXPECT_EQ(stream().port, 5001);
    stream().fail("Connection refused");
    run();
    EXPECT_EQ(service->resolvedAnew, 1) << "whatever answers differently each time is not followed for ever";
    fake.clock->advance(30s);
    client->connect(service);
    stream().fail("Connection refused");
    run();
    EXPECT_EQ(service->resolvedAnew, 2);
}

TEST_F(LV1Discovery, AHostThatWasNotFoundByBonjourIsNotLookedUpThere) {
    const auto service = fake.browser->find("Bonjour", false);
    resolve(*service, "lv1.local.", 5000);
    client->connect("lv1.local.", 5000);
    stream().fail("Connection refused");
    run();
    EXPECT_EQ(service->resolvedAnew, 0);
}

TEST_F(LV1Discovery, AllServicesThatAreResolvedInOneTurnAreOneReport) {
    const auto a = fake.browser->find("A", true);
    const auto b = fake.browser->find("B", true);
    const auto c = fake.browser->find("C", false);
    takeDiary();
    for (const auto &service : {b, a, c})
        fake.browser->resolve(*service, "lv1.local.", 5000);
    run();
    EXPECT_THAT(takeDiary(), ElementsAre("<services> A B C", "LV1 found: B", "LV1 found: A", "LV1 found: C"));
}

TEST_F(LV1Discovery, ServicesThatWereResolvedBeforeASearchAnewAreNotReported) {
    const auto service = fake.browser->find("A", false);
    fake.browser->resolve(*service, "lv1.local.", 5000);
    client->startDiscovery();
    takeDiary();
    run();
    EXPECT_THAT(takeDiary(), IsEmpty());
}

TEST_F(LV1Discovery, OfMoreThanAThousandServicesTheFirstThousandAreListedAndSeldomReported) {
    std::size_t reports = 0;
    client->onServices = [&](const auto &) { ++reports; };
    std::vector<std::shared_ptr<FakeNetService>> found;
    for (int i = 0; i < 2'000; ++i)
        found.push_back(fake.browser->find(std::to_string(i), i < 1'999));
    EXPECT_EQ(reports, 1U);
    EXPECT_EQ(client->services.size(), 1'000U);
    EXPECT_THAT(found.back()->resolves, IsEmpty());
    for (int i = 0; i < 1'000; ++i) { // eight each 15 ms, as a daemon answers
        fake.browser->resolve(*found.at(static_cast<std::size_t>(i)), "lv1.local.", 5000);
        if (i % 8 == 7)
            fake.clock->advance(15ms);
    }
    fake.clock->advance(1s);
    EXPECT_LE(reports, 30U);
    EXPECT_EQ(takeDiary().size(), 1'000U);
}

TEST_F(LV1Discovery, TwoServicesAreLeftToTheUserToChooseFrom) {
    chooseByTheRules();
    fake.browser->find("A", true);
    fake.browser->find("B", false);
    EXPECT_THAT(takeDiary(), ElementsAre(severalHosts));
    EXPECT_THAT(fake.network->streams, IsEmpty());
}

TEST_F(LV1Discovery, AnnouncedHostsTakePrecedenceOverServices) {
    chooseByTheRules();
    hear(one);
    takeDiary();
    const auto service = fake.browser->find("Bonjour", false);
    resolve(*service, "lv1.local.", 5000);
    EXPECT_THAT(takeDiary(), ElementsAre("LV1 found: Bonjour"));
    EXPECT_EQ(fake.network->streams.size(), 1U);
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

TEST_F(LV1Discovery, AServiceMayBeForgottenByTheOneWhoIsTold) {
    fake.browser->find("Bonjour", false);
    client->onStatus = [this](const std::string &) { client.reset(); };
    client->connect(client->services.front());
    EXPECT_FALSE(client);
}

// Announcements

struct AnnouncementCase {
    const char *name;
    std::size_t position;
    OSCValue value;
};

class RefusedAnnouncement : public testing::TestWithParam<AnnouncementCase> {};

std::vector<OSCValue> announcedValues(const LV1Endpoint &endpoint) {
    return OSCCodec::parse(announcement(endpoint))->values;
}

std::optional<LV1Endpoint> read(const std::string &address, const std::vector<OSCValue> &values) {
    return LV1MulticastDiscovery::announcement(OSCCodec::message(address, std::span<const OSCValue>(values)));
}

TEST_P(RefusedAnnouncement, IsIgnored) {
    auto values = announcedValues(one);
    values.at(GetParam().position) = GetParam().value;
    EXPECT_EQ(read("/zDNS", values), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    Announcement, RefusedAnnouncement,
    testing::Values(AnnouncementCase{"OfAnotherService", 0, "_http._tcp"},
                    AnnouncementCase{"OfAServiceWithAFinalDot", 0, "_waveslv113._tcp."},
                    AnnouncementCase{"WhoseServiceIsNoText", 0, 1},
                    AnnouncementCase{"WhoseNameIsNoText", 3, 1}, AnnouncementCase{"OfPort0", 4, 0},
                    AnnouncementCase{"OfPort70000", 4, 70'000}, AnnouncementCase{"OfPort65536", 4, 65'536},
                    AnnouncementCase{"OfANegativePort", 4, -5000},
                    AnnouncementCase{"WhosePortIsWide", 4, std::int64_t{5000}},
                    AnnouncementCase{"WhosePortIsAFloat", 4, 5000.0F},
                    AnnouncementCase{"WhosePortIsText", 4, "5000"}, AnnouncementCase{"WithoutAHost", 8, ""},
                    AnnouncementCase{"WhoseHostIsNoText", 8, 1}, AnnouncementCase{"WhoseMacIsNoText", 12, 1}),
    [](const auto &each) { return each.param.name; });

TEST(LV1Announcement, BecomesAnEndpoint) {
    EXPECT_EQ(read("/zDNS", announcedValues(one)), one);
    EXPECT_EQ(read("/zDNS", announcedValues({"", "h", 1, ""})), (LV1Endpoint{"", "h", 1, ""}));
    EXPECT_EQ(read("/zDNS", announcedValues({"n", "h", 65'535, "m"})), (LV1Endpoint{"n", "h", 65'535, "m"}));
}

TEST(LV1Announcement, Of12ValuesIsIgnoredAndOf14IsNot) {
    auto values = announcedValues(one);
    values.emplace_back(7);
    EXPECT_EQ(read("/zDNS", values), one);
    values.resize(12);
    EXPECT_EQ(read("/zDNS", values), std::nullopt);
}

TEST(LV1Announcement, AtAnotherAddressIsIgnored) {
    EXPECT_EQ(read("/zdns", announcedValues(one)), std::nullopt);
    EXPECT_EQ(read("/zDNS/", announcedValues(one)), std::nullopt);
}

TEST(LV1Announcement, InAFrameIsIgnored) {
    EXPECT_EQ(LV1MulticastDiscovery::announcement(OSCCodec::frame(announcement(one))), std::nullopt);
    EXPECT_EQ(LV1MulticastDiscovery::announcement({}), std::nullopt);
}

} // namespace
} // namespace corvane

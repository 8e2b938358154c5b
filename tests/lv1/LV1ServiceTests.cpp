// Consoles that are found by Bonjour, alone and beside those that announce themselves.

#include "tests/lv1/DiscoveryTest.h"

#include <chrono>

namespace corvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

struct LV1Services : DiscoveryTest {
    /// The sole service, found, chosen by the rules and with an accepted link.
    std::shared_ptr<FakeNetService> acceptedService() {
        chooseByTheRules();
        auto service = fake.browser->find("A", false);
        resolve(*service, "a.local.", 5000);
        stream().becomeReady();
        stream().deliver(framed("/handshake", {1}));
        run();
        return service;
    }
};

TEST_F(LV1Services, AServiceThatIsFoundIsResolvedFor5Seconds) {
    const auto service = fake.browser->find("Bonjour", false);
    EXPECT_THAT(service->resolves, ElementsAre(5000ms));
    EXPECT_THAT(takeDiary(), ElementsAre("<services> Bonjour"));
}

TEST_F(LV1Services, ABurstOfServicesIsReportedOnceWhenComplete) {
    fake.browser->find("A", true);
    fake.browser->find("B", true);
    EXPECT_THAT(takeDiary(), IsEmpty());
    fake.browser->find("C", false);
    EXPECT_THAT(takeDiary(), ElementsAre("<services> A B C"));
}

TEST_F(LV1Services, AResolvedServiceIsReportedAndNotConnectedByTheClientItself) {
    const auto service = fake.browser->find("Bonjour", false);
    takeDiary();
    resolve(*service, "lv1.local.", 5000);
    EXPECT_THAT(takeDiary(), ElementsAre("<services> Bonjour", "LV1 found: Bonjour"));
    EXPECT_THAT(fake.network->streams, IsEmpty());
}

TEST_F(LV1Services, AServiceThatDoesNotResolveIsSaidToBeSo) {
    const auto service = fake.browser->find("Bonjour", false);
    takeDiary();
    fake.browser->failToResolve(*service);
    EXPECT_THAT(takeDiary(), ElementsAre("Could not resolve Bonjour"));
}

TEST_F(LV1Services, ConnectingToAServiceWithoutAddressResolvesItAgain) {
    const auto service = fake.browser->find("Bonjour", false);
    takeDiary();
    client->connect(service);
    EXPECT_THAT(takeDiary(), ElementsAre("LV1 has not published its address yet"));
    EXPECT_THAT(service->resolves, ElementsAre(5000ms, 5000ms));
    EXPECT_THAT(fake.network->streams, IsEmpty());
}

TEST_F(LV1Services, AServiceWithAnImpossiblePortHasNoAddress) {
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

TEST_F(LV1Services, ASoleServiceIsConnectedOnceItIsResolved) {
    chooseByTheRules();
    const auto service = fake.browser->find("Bonjour", false);
    EXPECT_THAT(takeDiary(), ElementsAre("LV1 has not published its address yet"));
    resolve(*service, "lv1.local.", 5000);
    EXPECT_THAT(takeDiary(), ElementsAre("LV1 found: Bonjour"));
    EXPECT_EQ(fake.network->streams.size(), 1U);
}

TEST_F(LV1Services, AnExtraAnswerDoesNotReconnectInTheMiddleOfAHandshake) {
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

TEST_F(LV1Services, ASoleServiceThatMovedIsFollowed) {
    chooseByTheRules();
    const auto service = fake.browser->find("Bonjour", false);
    resolve(*service, "lv1.local.", 5000);
    resolve(*service, "lv1.local.", 5001);
    ASSERT_EQ(fake.network->streams.size(), 2U);
    EXPECT_EQ(stream().port, 5001);
}

TEST_F(LV1Services, AnAnswerAfterTheLinkHasEndedConnectsAgain) {
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

TEST_F(LV1Services, TheHostThatBonjourHasLedToIsRememberedWhenItAnnouncesItselfAndNotConnectedAgain) {
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

TEST_F(LV1Services, AHostAnnouncedWhileItsNameIsStillBeingLookedUpIsTheOneThatIsBeingOpened) {
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

TEST_F(LV1Services, AnotherHostAnnouncedWhileANameIsBeingLookedUpTakesPrecedenceOnceThatIsKnown) {
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

TEST_F(LV1Services, AHostThatWaitsForANamesAddressWaitsNoMoreWhenTheSearchBeginsAnew) {
    client->connect("lv1.local", 5000);
    hear(one);
    client->startDiscovery();
    takeDiary();
    stream().peer = "10.0.0.77";
    stream().becomeReady();
    run();
    EXPECT_THAT(takeDiary(), ElementsAre("<not connected>", "Conectado. Negociando con LV1…"));
    EXPECT_EQ(fake.network->streams.size(), 1U);
}

TEST_F(LV1Services, OnlyANameMayTurnOutToBeTheHostThatIsAnnounced) {
    for (const auto &[host, isName] : {std::pair("lv1.local", true),
                                       {"x", true},
                                       {"10x", true},
                                       {"10.0.0.77", false},
                                       {"fe80::1", false},
                                       {"face::", false}}) {
        client->stop();
        client->startDiscovery();
        client->connect(host, 5000);
        const auto before = fake.network->streams.size();
        hear(one);
        EXPECT_EQ(fake.network->streams.size(), isName ? before : before + 1) << host;
    }
}

TEST_F(LV1Services, AHostThatWaitsForANamesAddressWaitsNoMoreWhenAnotherIsConnectedTo) {
    client->connect("lv1.local", 5000);
    hear(one);
    client->connect("10.0.0.77", 5001);
    stream().becomeReady();
    run();
    EXPECT_EQ(fake.network->streams.size(), 2U);
}

TEST_F(LV1Services, AServiceThatCannotBeConnectedToIsLookedUpAnewThoughAnAnnouncedHostTakesItsPlace) {
    const auto service = fake.browser->find("Bonjour", false);
    resolve(*service, "lv1.local.", 5000);
    client->connect(service);
    hear(one);
    stream().fail("Connection refused");
    run();
    EXPECT_EQ(service->resolvedAnew, 1);
    EXPECT_EQ(fake.network->streams.size(), 2U);
}

TEST_F(LV1Services, TheOneThatIsTurnedToWhenALinkFailsIsNotTakenForTheOneThatFailed) {
    const auto a = fake.browser->find("A", true);
    const auto b = fake.browser->find("B", false);
    resolve(*a, "a.local.", 5000);
    resolve(*b, "b.local.", 5000);
    client->connect(a);
    client->onStatus = [&](const std::string &text) {
        if (text.starts_with("Connection error"))
            client->connect(b);
    };
    stream().fail("Connection refused");
    run();
    EXPECT_EQ(stream().host, "b.local.");
    EXPECT_EQ(a->resolvedAnew + b->resolvedAnew, 0);
}

TEST_F(LV1Services, TheReportOfWhatWasResolvedIsPutOffAMillisecondForEveryTenServices) {
    std::vector<std::shared_ptr<FakeNetService>> found;
    for (int i = 0; i < 110; ++i)
        found.push_back(fake.browser->find(std::to_string(i), i < 109));
    takeDiary();
    fake.browser->resolve(*found.front(), "lv1.local.", 5000);
    fake.clock->advance(10ms);
    EXPECT_THAT(takeDiary(), IsEmpty());
    fake.clock->advance(1ms);
    EXPECT_EQ(takeDiary().size(), 2U);
}

TEST_F(LV1Services, WhatWasResolvedIsNotReportedAfterStop) {
    const auto service = fake.browser->find("A", false);
    takeDiary();
    fake.browser->resolve(*service, "lv1.local.", 5000);
    client->stop();
    fake.clock->advance(1s);
    EXPECT_THAT(takeDiary(), IsEmpty());
}

TEST_F(LV1Services, AServiceThatIsNotListedMayGoWithoutAWord) {
    const auto service = acceptedService();
    fake.browser->find("B", false);
    takeDiary();
    FakeNetService unlisted("C");
    client->didRemove(unlisted);
    resolve(*service, "a.local.", 5000);
    EXPECT_THAT(takeDiary(), ElementsAre("LV1 found: A"));
}

TEST_F(LV1Services, AnotherHostThanTheOneBonjourHasLedToTakesPrecedence) {
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

TEST_F(LV1Services, AnAnnouncedHostNameIsTheSameInAnyCaseAndWithADot) {
    client->connect("LV1.local", 5000);
    hear({"FOH", "lv1.LOCAL.", 5000, ""});
    EXPECT_EQ(fake.network->streams.size(), 1U);
    EXPECT_TRUE(client->multicastEndpoint);
}

TEST_F(LV1Services, AWithdrawnServiceLeavesTheListWithoutAReport) {
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

TEST_F(LV1Services, AConsoleThatClosesAndComesBackWhereItWasIsConnectedAgain) {
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

TEST_F(LV1Services, AServiceWhoseConnectionFailsIsLookedUpAnew) {
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

TEST_F(LV1Services, AHostThatWasNotFoundByBonjourIsNotLookedUpThere) {
    const auto service = fake.browser->find("Bonjour", false);
    resolve(*service, "lv1.local.", 5000);
    client->connect("lv1.local.", 5000);
    stream().fail("Connection refused");
    run();
    EXPECT_EQ(service->resolvedAnew, 0);
}

TEST_F(LV1Services, AllServicesThatAreResolvedInOneTurnAreOneReport) {
    const auto a = fake.browser->find("A", true);
    const auto b = fake.browser->find("B", true);
    const auto c = fake.browser->find("C", false);
    takeDiary();
    for (const auto &service : {b, a, c})
        fake.browser->resolve(*service, "lv1.local.", 5000);
    run();
    EXPECT_THAT(takeDiary(), ElementsAre("<services> A B C", "LV1 found: B", "LV1 found: A", "LV1 found: C"));
}

TEST_F(LV1Services, ServicesThatWereResolvedBeforeASearchAnewAreNotReported) {
    const auto service = fake.browser->find("A", false);
    fake.browser->resolve(*service, "lv1.local.", 5000);
    client->startDiscovery();
    takeDiary();
    run();
    EXPECT_THAT(takeDiary(), IsEmpty());
}

TEST_F(LV1Services, OfMoreThanAThousandServicesTheFirstThousandAreListedAndSeldomReported) {
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

TEST_F(LV1Services, TwoServicesAreLeftToTheUserToChooseFrom) {
    chooseByTheRules();
    fake.browser->find("A", true);
    fake.browser->find("B", false);
    EXPECT_THAT(takeDiary(), ElementsAre(severalHosts));
    EXPECT_THAT(fake.network->streams, IsEmpty());
}

TEST_F(LV1Services, SeveralAreMentionedOnceAListWhileALinkIsAccepted) {
    const auto service = acceptedService();
    takeDiary();
    const auto other = fake.browser->find("B", false);
    EXPECT_THAT(takeDiary(), ElementsAre(severalHosts));
    for (const auto &each : {other, service}) {
        resolve(*each, each->name() + ".local.", 5000);
        EXPECT_THAT(takeDiary(), ElementsAre("LV1 found: " + each->name()));
    }
    fake.browser->withdraw(*other);
    fake.browser->find("B", false);
    EXPECT_THAT(takeDiary(), ElementsAre(severalHosts));
    stream().closeByPeer();
    run();
    takeDiary();
    resolve(*service, "a.local.", 5000);
    EXPECT_THAT(takeDiary(), ElementsAre(severalHosts, "LV1 found: A"));
}

TEST_F(LV1Services, AListThatHasBecomeShorterUnderAnAcceptedLinkIsMentionedOnceMore) {
    const auto service = acceptedService();
    const auto other = fake.browser->find("B", true);
    const auto third = fake.browser->find("C", false);
    takeDiary();
    fake.browser->withdraw(*third);
    run();
    EXPECT_THAT(takeDiary(), IsEmpty());
    for (const bool isFirst : {true, false}) {
        resolve(*other, "b.local.", 5000);
        EXPECT_EQ(takeDiary().front(), isFirst ? severalHosts : "LV1 found: B");
    }
}

TEST_F(LV1Services, ALinkToAnotherHostLeadsToNoServiceAnyMore) {
    chooseByTheRules();
    const auto service = fake.browser->find("A", false);
    resolve(*service, "a.local.", 5000);
    EXPECT_TRUE(client->leadsTo(FakeNetService("A")));
    client->connect("10.0.0.7", 5000);
    EXPECT_FALSE(client->leadsTo(FakeNetService("A")));
}

TEST_F(LV1Services, AServiceThatIsWithdrawnAndBackUnderAStandingLinkIsLeftAlone) {
    chooseByTheRules();
    const auto service = fake.browser->find("A", false);
    resolve(*service, "a.local.", 5000);
    stream().becomeReady();
    run();
    takeDiary();
    fake.browser->withdraw(*service);
    const auto again = fake.browser->find("A", false);
    EXPECT_TRUE(client->leadsTo(*again));
    EXPECT_FALSE(client->leadsTo(FakeNetService("B")));
    EXPECT_THAT(takeDiary(), IsEmpty());
    resolve(*again, "a.local.", 5000);
    EXPECT_THAT(takeDiary(), ElementsAre("LV1 found: A"));
    EXPECT_EQ(fake.network->streams.size(), 1U);
    stream().fail("reset");
    run();
    EXPECT_FALSE(client->leadsTo(FakeNetService("A")));
}

TEST_F(LV1Services, AServiceThatIsWithdrawnBeforeItsReportIsNotSaidToBeFound) {
    const auto gone = fake.browser->find("A", true);
    const auto left = fake.browser->find("B", false);
    takeDiary();
    fake.browser->resolve(*gone, "a.local.", 5000);
    fake.browser->withdraw(*gone);
    run();
    EXPECT_THAT(takeDiary(), IsEmpty());
    resolve(*left, "b.local.", 5000);
    EXPECT_THAT(takeDiary(), ElementsAre("<services> B", "LV1 found: B"));
}

TEST_F(LV1Services, AnnouncedHostsTakePrecedenceOverServices) {
    chooseByTheRules();
    hear(one);
    takeDiary();
    const auto service = fake.browser->find("Bonjour", false);
    resolve(*service, "lv1.local.", 5000);
    EXPECT_THAT(takeDiary(), ElementsAre("LV1 found: Bonjour"));
    EXPECT_EQ(fake.network->streams.size(), 1U);
}

TEST_F(LV1Services, AServiceMayBeForgottenByTheOneWhoIsTold) {
    fake.browser->find("Bonjour", false);
    client->onStatus = [this](const std::string &) { client.reset(); };
    client->connect(client->services.front());
    EXPECT_FALSE(client);
}

} // namespace
} // namespace corvane

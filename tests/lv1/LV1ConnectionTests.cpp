#include "tests/lv1/ClientTest.h"

#include <chrono>
#include <optional>

namespace corvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class LV1Connection : public ClientTest {};

const OSCMessage firstHandshake{"/handshake", {-1, -1, 6}};
const OSCMessage secondHandshake{"/handshake", {1, -1, 6}};

TEST(LV1Queues, AreCalledWhatTheyAreLookedForByInADebugger) {
    FakePlatform fake;
    const auto client = LV1Client::make(fake.platform);
    EXPECT_THAT(fake.queues->labels, testing::UnorderedElementsAre("Corvane.Discovery", "Corvane.Network"));
}

TEST_F(LV1Connection, AConsoleThatHangsUpAtOnceIsNotGreeted) {
    client->connect("10.0.0.1", 50000);
    run();
    stream().becomeReady();
    stream().fail("reset");
    run();
    EXPECT_THAT(stream().sent, IsEmpty());
}

TEST_F(LV1Connection, Port0IsRefusedAndOpensNothing) {
    client->connect("10.0.0.1", 0);
    EXPECT_THAT(takeDiary(), ElementsAre("Invalid LV1 port"));
    EXPECT_THAT(fake.network->streams, IsEmpty());
}

TEST_F(LV1Connection, Port0LeavesAStandingLinkAlone) {
    link();
    client->connect("10.0.0.2", 0);
    run();
    EXPECT_THAT(takeDiary(), ElementsAre("Invalid LV1 port"));
    EXPECT_FALSE(stream().cancelled);
}

TEST_F(LV1Connection, AnEndpointOfPort0IsRememberedAndRefused) {
    const LV1Endpoint endpoint{"FOH", "10.0.0.7", 0, "aa"};
    client->onStatus = [&](const std::string &text) {
        diary.push_back(text);
        EXPECT_EQ(client->multicastEndpoint, endpoint) << "whoever is told finds it remembered";
    };
    client->connect(endpoint);
    EXPECT_THAT(takeDiary(), ElementsAre("Invalid LV1 port"));
    EXPECT_EQ(client->multicastEndpoint, endpoint);
    EXPECT_THAT(fake.network->streams, IsEmpty());
}

TEST_F(LV1Connection, OpensOneStreamToTheHost) {
    client->connect("lv1.local", 5000);
    ASSERT_EQ(fake.network->streams.size(), 1U);
    EXPECT_EQ(stream().host, "lv1.local");
    EXPECT_EQ(stream().port, 5000);
    EXPECT_TRUE(stream().started);
    EXPECT_THAT(stream().sent, IsEmpty());
}

TEST_F(LV1Connection, WhenReadySaysThatItIsNotYetAcceptedAndGreets) {
    client->connect("10.0.0.1", 5000);
    stream().becomeReady();
    run();
    EXPECT_THAT(takeDiary(), ElementsAre("<not connected>", "Conectado. Negociando con LV1…"));
    EXPECT_THAT(sent(stream()), ElementsAre(firstHandshake));
    EXPECT_TRUE(stream().receiving());
    EXPECT_EQ(stream().receiveMinimum, 1U);
    EXPECT_EQ(stream().receiveMaximum, 1'048'576U);
}

TEST_F(LV1Connection, IntroducesItself250MillisecondsLater) {
    link();
    fake.clock->advance(249ms);
    EXPECT_EQ(stream().sent.size(), 1U);
    fake.clock->advance(1ms);
    EXPECT_THAT(sent(stream()), ElementsAre(firstHandshake, secondHandshake,
                                            OSCMessage{"/device_name",
                                                       {"Front of House", "0f8fad5bd9cb469fa16570867728950e",
                                                        "02:00:00:00:00:01 02:00:00:00:00:02"}}));
}

TEST_F(LV1Connection, TheDeviceIdentifierIsStoredAndUsedFromThenOn) {
    link();
    fake.clock->advance(249ms);
    EXPECT_THAT(fake.defaults->values, IsEmpty());
    fake.clock->advance(1ms);
    EXPECT_EQ(fake.defaults->values.at("CorvaneDeviceID"), "0f8fad5bd9cb469fa16570867728950e");
    fake.defaults->values["CorvaneDeviceID"] = "kept";
    fake.host.newUUID = "another";
    link();
    fake.clock->advance(250ms);
    EXPECT_EQ(sent(stream()).back().values.at(1), OSCValue("kept"));
    EXPECT_EQ(fake.defaults->values.at("CorvaneDeviceID"), "kept");
}

TEST_F(LV1Connection, AComputerWithoutNameOrInterfacesSaysCorvaneAndNoAddresses) {
    fake.host.localizedName.reset();
    fake.host.ethernetAddresses.clear();
    link();
    fake.clock->advance(250ms);
    EXPECT_EQ(sent(stream()).back().values.at(0), OSCValue("Corvane"));
    EXPECT_EQ(sent(stream()).back().values.at(2), OSCValue(""));
}

TEST_F(LV1Connection, HardwareAddressesAreListedOnceInAscendingOrder) {
    fake.host.ethernetAddresses = {"0a:00:00:00:00:01", "02:00:00:00:00:09", "0a:00:00:00:00:01",
                                   "02:00:00:00:00:01"};
    link();
    fake.clock->advance(250ms);
    EXPECT_EQ(sent(stream()).back().values.at(2),
              OSCValue("02:00:00:00:00:01 02:00:00:00:00:09 0a:00:00:00:00:01"));
}

TEST_F(LV1Connection, AReconnectInBetweenCancelsTheIntroduction) {
    link();
    fake.clock->advance(100ms);
    client->connect("10.0.0.2", 5000);
    fake.clock->advance(1s);
    EXPECT_EQ(fake.network->streams.at(0)->sent.size(), 1U);
    EXPECT_THAT(fake.network->streams.at(1)->sent, IsEmpty());
}

TEST_F(LV1Connection, AnIntroductionThatIsCancelledStoresNoIdentifier) {
    link();
    fake.clock->advance(100ms);
    client->connect("10.0.0.2", 5000);
    fake.clock->advance(1s);
    EXPECT_THAT(fake.defaults->values, IsEmpty());
    stream().becomeReady();
    fake.clock->advance(100ms);
    client.reset();
    fake.clock->advance(1s);
    EXPECT_THAT(fake.defaults->values, IsEmpty());
}

TEST_F(LV1Connection, AHostThatIsLeftJustBeforeItWasToBeToldOfThisComputerIsToldNothing) {
    link();
    fake.clock->advance(249ms);
    client->connect("10.0.0.2", 5000);
    fake.clock->advance(1s);
    EXPECT_THAT(sent(*fake.network->streams.at(0)), ElementsAre(firstHandshake));
    EXPECT_THAT(fake.defaults->values, IsEmpty());
}

TEST_F(LV1Connection, TheSecondGreetingAndTheIntroductionLeaveTogetherWhateverMainDoes) {
    link();
    auto &held = stream();
    std::vector<Bytes> sentWhenHeld;
    fake.main.after(250ms, [&] { sentWhenHeld = held.sent; }); // main's next turn comes behind them
    held.deliver(framed("/ping", {1}));
    fake.clock->advance(250ms);
    EXPECT_EQ(sentWhenHeld.size(), 4U);
    const auto all = sent(held);
    ASSERT_EQ(all.size(), 4U);
    EXPECT_EQ(all[1].address, "/pong");
    EXPECT_EQ(all[2], secondHandshake);
    EXPECT_EQ(all[3].address, "/device_name");
}

TEST_F(LV1Connection, AnIdentifierThatCannotBeKeptIsMadeOnceARun) {
    fake.defaults->keepsNothing = true;
    link();
    fake.clock->advance(250ms);
    const auto first = sent(stream()).back().values.at(1);
    fake.host.newUUID = "another";
    link();
    fake.clock->advance(250ms);
    EXPECT_EQ(sent(stream()).back().values.at(1), first);
    EXPECT_THAT(fake.defaults->values, IsEmpty());
}

TEST_F(LV1Connection, AnEmptyIdentifierIsReplaced) {
    fake.defaults->values["CorvaneDeviceID"] = "";
    link();
    fake.clock->advance(250ms);
    EXPECT_EQ(sent(stream()).back().values.at(1), OSCValue("0f8fad5bd9cb469fa16570867728950e"));
    EXPECT_EQ(fake.defaults->values.at("CorvaneDeviceID"), "0f8fad5bd9cb469fa16570867728950e");
}

TEST_F(LV1Connection, StoppingInBetweenCancelsTheIntroduction) {
    link();
    client->stop();
    fake.clock->advance(1s);
    EXPECT_EQ(stream().sent.size(), 1U);
}

TEST_F(LV1Connection, TheConsolesHandshake1AcceptsTheLink) {
    link();
    deliver(framed("/handshake", {1}));
    EXPECT_THAT(takeDiary(), ElementsAre("<connected>", "LV1 conectado. Esperando el patch…"));
}

TEST_F(LV1Connection, TheConsolesHandshake1RepeatedIsReportedAgain) {
    link();
    deliver(framed("/handshake", {1}));
    takeDiary();
    deliver(framed("/handshake", {1}));
    EXPECT_THAT(takeDiary(), ElementsAre("<connected>", "LV1 conectado. Esperando el patch…"));
}

TEST_F(LV1Connection, AnyOtherHandshakeIsIgnored) {
    link();
    deliver(framed("/handshake", {0}));
    deliver(framed("/handshake", {1.0F}));
    deliver(framed("/handshake", {std::int64_t{1}}));
    deliver(framed("/handshake", {true}));
    deliver(framed("/handshake", {std::string("1")}));
    deliver(framed("/handshake", std::vector<OSCValue>{}));
    EXPECT_THAT(takeDiary(), IsEmpty());
}

TEST_F(LV1Connection, APingIsAnsweredAtOnceWithTheVerySameValues) {
    link();
    deliver(framed("/ping", {5, std::string("a")}));
    deliver(framed("/ping", {std::int64_t{-1}, 0.5F, true, false}));
    deliver(framed("/ping", std::vector<OSCValue>{}));
    EXPECT_THAT(sent(stream()), ElementsAre(firstHandshake, OSCMessage{"/pong", {5, "a"}},
                                            OSCMessage{"/pong", {std::int64_t{-1}, 0.5F, true, false}},
                                            OSCMessage{"/pong", {}}));
    EXPECT_THAT(takeDiary(), IsEmpty());
}

TEST_F(LV1Connection, UnknownAddressesAreIgnored) {
    link();
    deliver(framed("/Notify/Scene", {std::string("x")}));
    deliver(framed("/pinG", {1}));
    deliver(framed("#bundle", {1}));
    EXPECT_THAT(takeDiary(), IsEmpty());
    EXPECT_EQ(stream().sent.size(), 1U);
}

TEST_F(LV1Connection, AMessageThatCausesNoOtherCallbackIsMentioned) {
    client->onLinkEvent = [this](const LV1LinkEvent &event) {
        if (std::holds_alternative<lv1::Other>(event))
            diary.emplace_back("<other>");
    };
    link();
    deliver(framed("/ping", {1}));
    deliver(colourFrame(1, 0, 1.0F, 0.0F, 0.0F));
    EXPECT_THAT(takeDiary(), ElementsAre("<other>", "<other>"));
    deliver(framed("/Notify/Scene/Name", {std::string("Intro")}));
    EXPECT_THAT(takeDiary(), ElementsAre("<scene> Intro"));
    deliver(OSCCodec::frame(Bytes{'/', 'x'}));
    EXPECT_THAT(takeDiary(), IsEmpty()) << "a frame that does not parse is no message";
}

TEST_F(LV1Connection, MessagesInPiecesOfOneByteAreReadAsWell) {
    link();
    for (const auto byte : framed("/Notify/Scene/Name", {std::string("Intro")}))
        deliver({byte});
    EXPECT_THAT(takeDiary(), ElementsAre("<scene> Intro"));
}

TEST_F(LV1Connection, DataThatComesWithTheCloseIsReadFirst) {
    link();
    stream().closeByPeer(framed("/Notify/Scene/Name", {std::string("Last")}));
    run();
    EXPECT_THAT(takeDiary(),
                ElementsAre("<scene> Last", "<not connected>",
                            "LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1."));
}

TEST_F(LV1Connection, AfterThePeersCloseNothingIsReadAndAFreshConnectGreetsAnew) {
    link();
    stream().closeByPeer();
    run();
    EXPECT_FALSE(stream().receiving());
    takeDiary();
    client->connect("10.0.0.1", 5000);
    stream().becomeReady();
    fake.clock->advance(250ms);
    EXPECT_EQ(sent(stream()).size(), 3U);
    EXPECT_TRUE(stream().receiving());
    EXPECT_THAT(takeDiary(),
                ElementsAre("Disconnected", "<not connected>", "Conectado. Negociando con LV1…"));
}

TEST_F(LV1Connection, AResetAfterReadyIsAnInterruptionAndThenAFailure) {
    link();
    client->multicastEndpoint = LV1Endpoint{"FOH", "10.0.0.1", 5000, ""};
    stream().breakOff("Connection reset by peer");
    run();
    EXPECT_THAT(takeDiary(), ElementsAre("Connection interrupted: Connection reset by peer",
                                         "<not connected>", "Connection error: Connection reset by peer"));
    EXPECT_FALSE(client->multicastEndpoint);
    EXPECT_FALSE(stream().receiving());
}

TEST_F(LV1Connection, AConnectionThatFailsForgetsItsEndpoint) {
    client->connect(LV1Endpoint{"FOH", "10.0.0.1", 5000, "aa"});
    ASSERT_TRUE(client->multicastEndpoint);
    stream().fail("Connection refused");
    run();
    EXPECT_THAT(takeDiary(), ElementsAre("<not connected>", "Connection error: Connection refused"));
    EXPECT_FALSE(client->multicastEndpoint);
}

TEST_F(LV1Connection, WhoIsToldOfAnInterruptionFindsTheLinkNoMore) {
    link();
    const LV1Endpoint host{"FOH", "10.0.0.1", 5000, ""};
    ASSERT_TRUE(client->leadsTo(host));
    std::optional<bool> leads;
    client->onStatus = [&](const std::string &text) {
        if (text.starts_with("Connection interrupted"))
            leads = client->leadsTo(host);
    };
    stream().breakOff("Connection reset by peer");
    run();
    EXPECT_EQ(leads, false);
}

TEST_F(LV1Connection, ConnectingToAnEndpointRemembersIt) {
    const LV1Endpoint endpoint{"FOH", "10.0.0.7", 5001, "aa"};
    client->connect(endpoint);
    EXPECT_EQ(client->multicastEndpoint, endpoint);
    EXPECT_EQ(stream().host, "10.0.0.7");
    EXPECT_EQ(stream().port, 5001);
}

TEST_F(LV1Connection, StoppingReportsOnlyTheCancellation) {
    link();
    client->startDiscovery();
    takeDiary();
    client->stop();
    run();
    EXPECT_THAT(takeDiary(), ElementsAre("Disconnected"));
    EXPECT_FALSE(client->connection);
    EXPECT_TRUE(stream().cancelled);
    EXPECT_FALSE(fake.browser->searching);
    EXPECT_EQ(fake.multicast->openSockets(), 0U);
}

TEST_F(LV1Connection, ANewConnectCancelsTheOldOneFirst) {
    link();
    client->connect("10.0.0.2", 5000);
    stream().becomeReady();
    run();
    EXPECT_TRUE(fake.network->streams.at(0)->cancelled);
    EXPECT_THAT(takeDiary(),
                ElementsAre("Disconnected", "<not connected>", "Conectado. Negociando con LV1…"));
}

TEST_F(LV1Connection, WhatTheOldConnectionStillDeliversDoesNotReachTheNewOne) {
    link();
    auto &old = stream();
    // Already read, not yet handled, when the user turns to another host.
    old.deliver(colourFrame(0, 0, 1.0F, 0.0F, 0.0F));
    client->connect("10.0.0.2", 5000);
    stream().becomeReady();
    run();
    takeDiary();
    deliver(patchFrame({record("Kick", 0, 0, 1)}));
    EXPECT_THAT(takeDiary(), ElementsAre("Synced: 1 tracks / 1 inputs",
                                         "<patch> [Kick M SG:0 Mixer_Ch:1 (0.25 0.55 0.85)]",
                                         "<channels> [Kick M SG:0 Mixer_Ch:1 (0.25 0.55 0.85)]"));
}

TEST_F(LV1Connection, AnOldPatchOnItsWayToTheMainQueueIsDropped) {
    link();
    stream().deliver(patchFrame({record("Kick", 0, 0, 1)}));
    // Parsed on the network queue, not yet told on the main queue.
    ASSERT_TRUE(fake.clock->runOne());
    client->connect("10.0.0.2", 5000);
    run();
    EXPECT_THAT(takeDiary(), ElementsAre("Disconnected"));
}

TEST_F(LV1Connection, HalfAFrameOfTheOldConnectionDoesNotSpoilTheNewOne) {
    link();
    const auto frame = framed("/Notify/Scene/Name", {std::string("Intro")});
    deliver(Bytes(frame.begin(), frame.begin() + 20));
    link();
    deliver(frame);
    EXPECT_THAT(takeDiary(), ElementsAre("<scene> Intro"));
}

TEST_F(LV1Connection, AFailureOfTheOldConnectionIsIgnoredAfterANewConnect) {
    link();
    stream().fail("Connection reset by peer");
    client->connect(LV1Endpoint{"FOH", "10.0.0.2", 5000, ""});
    run();
    EXPECT_THAT(takeDiary(), ElementsAre("Disconnected"));
    EXPECT_TRUE(client->multicastEndpoint);
}

TEST_F(LV1Connection, AnOldConnectionThatBecomesReadyTooLateIsIgnored) {
    client->connect("10.0.0.1", 5000);
    stream().becomeReady();
    client->connect("10.0.0.2", 5000);
    run();
    EXPECT_THAT(takeDiary(), ElementsAre("Disconnected"));
    EXPECT_THAT(fake.network->streams.at(0)->sent, IsEmpty());
}

TEST_F(LV1Connection, NoCallbackReachesADeadClientsOwner) {
    link();
    stream().deliver(patchFrame({record("Kick", 0, 0, 1)}));
    client.reset();
    fake.clock->advance(1s);
    EXPECT_THAT(takeDiary(), IsEmpty());
    EXPECT_TRUE(stream().cancelled);
}

TEST_F(LV1Connection, TheClientMayDieBetweenAnyTwoSteps) {
    for (int steps = 0; steps < 40; ++steps) {
        FakePlatform platform;
        bool alive = true;
        auto mortal = LV1Client::make(platform.platform);
        mortal->onStatus = [&alive](const std::string &) { EXPECT_TRUE(alive); };
        mortal->onChannels = [&alive](const auto &) { EXPECT_TRUE(alive); };
        mortal->connect("10.0.0.1", 5000);
        const auto connection = platform.network->streams.back();
        connection->becomeReady();
        connection->deliver(framed("/handshake", {1}));
        connection->deliver(patchFrame({record("Kick", 0, 0, 1)}));
        connection->closeByPeer();
        for (int i = 0; i < steps; ++i)
            platform.clock->runOne();
        mortal.reset();
        alive = false;
        platform.clock->advance(1s);
        EXPECT_TRUE(connection->cancelled);
        EXPECT_EQ(connection.use_count(), 2); // this one and the fake network's: nothing is left over
    }
}

TEST_F(LV1Connection, ACallbackMayConnectElsewhereOrEndTheClient) {
    client->onStatus = [this](const std::string &text) {
        if (text == "Conectado. Negociando con LV1…")
            client->connect("10.0.0.2", 5000);
    };
    client->connect("10.0.0.1", 5000);
    stream().becomeReady();
    run();
    ASSERT_EQ(fake.network->streams.size(), 2U);
    EXPECT_THAT(fake.network->streams.at(0)->sent, IsEmpty());

    client->onStatus = [this](const std::string &) { client.reset(); };
    stream().becomeReady();
    run();
    EXPECT_FALSE(client);
    EXPECT_TRUE(stream().cancelled);
}

TEST_F(LV1Connection, ARefusedFrameHeaderStopsTheStreamForGood) {
    for (const std::uint32_t length : {0U, 2'000'000U, 0xFFFF'FFFFU}) {
        link();
        Bytes bytes = framed("/Notify/Scene/Name", {std::string("Good")});
        const auto header = OSCCodec::uint32(length);
        bytes.insert(bytes.end(), header.begin(), header.end());
        bytes.resize(bytes.size() + 8);
        deliver(bytes);
        deliver(framed("/ping", {1}));
        deliver(framed("/Notify/Scene/Name", {std::string("Lost")}));
        EXPECT_THAT(takeDiary(), ElementsAre("<scene> Good"));
        EXPECT_EQ(stream().sent.size(), 1U);
        stream().closeByPeer();
        run();
        EXPECT_THAT(takeDiary(),
                    ElementsAre("<not connected>",
                                "LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1."));
    }
}

TEST_F(LV1Connection, WhatItHasHeardCanBeAskedFor) {
    std::optional<LV1Counters> counters;
    const auto ask = [&] {
        client->askCounters([&](const LV1Counters &told) { counters = told; });
        run();
    };
    ask();
    ASSERT_TRUE(counters);
    EXPECT_EQ(counters->links, 0U);
    EXPECT_EQ(counters->reconnects(), 0U);
    EXPECT_FALSE(counters->sinceLastMessage);

    link();
    link();
    deliver(framed("/handshake", {1}));
    deliver(framed("/ping", {1}));
    deliver(framed("/Notify/IOConnections", {2, std::string("too few")}));
    auto bad = record("Bad", 0, 0, 1);
    bad.front() = 1.5F;
    deliver(patchFrame({record("Kick", 0, 0, 1), bad}));
    deliver(framed("/Notify/TrackColor", {0, 0}));
    deliver(framed("/Notify/Scene/Name", {5}));
    deliver(OSCCodec::frame(Bytes{'/', 'x'}));
    client->startDiscovery();
    fake.multicast->deliver(announcement({"FOH", "10.0.0.1", 5000, ""}));
    fake.multicast->deliver(Bytes{1, 2, 3});
    run();
    deliver(Bytes(12));
    fake.clock->advance(700ms);
    ask();
    EXPECT_EQ(counters->links, 2U);
    EXPECT_EQ(counters->reconnects(), 1U);
    EXPECT_EQ(counters->accepted, 1U);
    EXPECT_EQ(counters->traffic.frames, 7U);
    EXPECT_EQ(counters->traffic.messages, 6U);
    EXPECT_EQ(counters->traffic.unreadableFrames(), 1U);
    EXPECT_EQ(counters->traffic.pings, 1U);
    EXPECT_EQ(counters->traffic.malformedPatches, 1U);
    EXPECT_EQ(counters->traffic.skippedChannels, 1U);
    EXPECT_EQ(counters->traffic.malformedColours, 1U);
    EXPECT_EQ(counters->traffic.malformedScenes, 1U);
    EXPECT_EQ(counters->traffic.refusedHeaders, 1U);
    EXPECT_EQ(counters->announcements.heard, 1U);
    EXPECT_EQ(counters->announcements.refused, 1U);
    EXPECT_EQ(counters->announcements.dropped, 0U);
    EXPECT_EQ(counters->sinceLastMessage, 700ms);
}

} // namespace
} // namespace corvane

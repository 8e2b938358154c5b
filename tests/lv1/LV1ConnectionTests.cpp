#include "tests/lv1/ClientTest.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace corvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class LV1Connection : public ClientTest {};

const OSCMessage firstHandshake{"/handshake", {-1, -1, 6}};
const OSCMessage secondHandshake{"/handshake", {1, -1, 6}};

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

/// Of 20 MB, more than waits for the main queue.
Bytes thousandScenes() {
    Bytes bytes;
    for (int i = 0; i < 1'000; ++i) {
        const auto scene = framed("/Notify/Scene/Name", {std::to_string(i) + std::string(20'000, ' ')});
        bytes.insert(bytes.end(), scene.begin(), scene.end());
    }
    return bytes;
}

TEST_F(LV1Connection, ReadingPausesWhileTheMainQueueIsFarBehind) {
    link();
    stream().deliver(thousandScenes());
    ASSERT_TRUE(fake.clock->runOne()); // read on the network queue; the main queue has not had its turn
    EXPECT_FALSE(stream().receiving());
    run();
    EXPECT_EQ(takeDiary().size(), 1'000U);
    EXPECT_TRUE(stream().receiving());
    deliver(framed("/Notify/Scene/Name", {std::string("Next")}));
    EXPECT_THAT(takeDiary(), ElementsAre("<scene> Next"));
}

TEST_F(LV1Connection, PingsAreAnsweredInOrderWhileTheMainQueueIsBehind) {
    link();
    for (int i = 0; i < 100; ++i) {
        stream().deliver(framed("/Notify/Scene/Name", {std::to_string(i)}));
        stream().deliver(framed("/ping", {i}));
        ASSERT_TRUE(fake.clock->runOne()); // the network queue's; the main queue waits its turn for ever
        while (stream().receiving() == false && fake.clock->runOne()) {
        }
    }
    run();
    const auto answers = sent(stream());
    ASSERT_EQ(answers.size(), 101U);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(answers.at(static_cast<std::size_t>(i) + 1), (OSCMessage{"/pong", {i}}));
}

TEST_F(LV1Connection, PingsInOneReadAreAnsweredBeforeTheMainQueueHasItsTurn) {
    link();
    Bytes bytes;
    for (int i = 0; i < 1'000; ++i)
        for (const auto &frame : {framed("/Notify/Scene/Name", {std::to_string(i)}), framed("/ping", {i})})
            bytes.insert(bytes.end(), frame.begin(), frame.end());
    stream().deliver(bytes);
    ASSERT_TRUE(fake.clock->runOne());
    EXPECT_EQ(stream().sent.size(), 1'001U);
    EXPECT_TRUE(stream().receiving());
    EXPECT_THAT(takeDiary(), IsEmpty());
    run();
    EXPECT_EQ(takeDiary().size(), 1'000U);
}

TEST_F(LV1Connection, PingsWithoutEndCostNoMemoryWhileTheMainQueueIsBehind) {
    link();
    const auto before = fake.clock->pending();
    Bytes bytes;
    for (int i = 0; i < 10'000; ++i) {
        const auto ping = framed("/ping", {i});
        bytes.insert(bytes.end(), ping.begin(), ping.end());
    }
    stream().deliver(bytes);
    ASSERT_TRUE(fake.clock->runOne());
    EXPECT_EQ(stream().sent.size(), 10'001U);
    EXPECT_LE(fake.clock->pending(), before + 1);
}

TEST_F(LV1Connection, AFailureBehindAnOrderlyCloseIsToldAsWell) {
    link();
    stream().closeByPeer();
    stream().fail("Connection reset by peer");
    run();
    EXPECT_THAT(takeDiary(),
                ElementsAre("<not connected>",
                            "LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1.",
                            "<not connected>", "Connection error: Connection reset by peer"));
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

TEST_F(LV1Connection, ALinkThatPausesMayBeLeft) {
    link();
    stream().deliver(thousandScenes());
    ASSERT_TRUE(fake.clock->runOne());
    auto &old = stream();
    client->connect("10.0.0.2", 5000);
    run();
    EXPECT_THAT(takeDiary(), ElementsAre("Disconnected"));
    EXPECT_FALSE(old.receiving());
}

TEST_F(LV1Connection, WhatWaitsForTheMainQueueIsToldBeforeTheEndThatFollowsIt) {
    link();
    stream().deliver(thousandScenes());
    stream().breakOff("Connection reset by peer");
    run();
    auto told = takeDiary();
    ASSERT_EQ(told.size(), 1'003U);
    EXPECT_EQ(told[999].rfind("<scene> ", 0), 0U);
    told.erase(told.begin(), told.begin() + 1'000);
    EXPECT_THAT(told, ElementsAre("Connection interrupted: Connection reset by peer", "<not connected>",
                                  "Connection error: Connection reset by peer"));
}

TEST_F(LV1Connection, AFailureWhileReadingPausesIsToldAfterWhatTheConsoleSaid) {
    link();
    stream().deliver(thousandScenes());
    ASSERT_TRUE(fake.clock->runOne());
    ASSERT_FALSE(stream().receiving());
    stream().fail("Broken pipe"); // noticed by sending
    run();
    auto told = takeDiary();
    ASSERT_EQ(told.size(), 1'003U);
    told.erase(told.begin(), told.begin() + 1'000);
    EXPECT_THAT(told, ElementsAre("Connection interrupted: Broken pipe", "<not connected>",
                                  "Connection error: Broken pipe"));
}

TEST_F(LV1Connection, ACloseBehindMoreThanTheMainQueueTakesIsToldLast) {
    link();
    stream().closeByPeer(thousandScenes());
    run();
    const auto told = takeDiary();
    ASSERT_EQ(told.size(), 1'002U);
    EXPECT_EQ(told.back(), "LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1.");
    EXPECT_FALSE(stream().receiving());
}

#ifdef __GLIBC__
std::size_t inUse() {
    const auto use = ::mallinfo2();
    return use.uordblks + use.hblkhd;
}

TEST_F(LV1Connection, ColoursOfAHugePatchDoNotPileUpOnTheMainQueue) {
    link();
    std::size_t reports = 0;
    client->onPatch = nullptr;
    client->onChannels = [&](const auto &) { ++reports; };
    deliver(patchFrame(std::vector(20'000, record("", 0, 0, 1))));
    Bytes colours;
    for (int i = 0; i < 1'000; ++i) {
        const auto frame = colourFrame(0, 0, 1.0F, 0.0F, static_cast<float>(i) / 1'000.0F);
        colours.insert(colours.end(), frame.begin(), frame.end());
    }
    const auto before = inUse();
    stream().deliver(colours);
    std::size_t most = before;
    while (fake.clock->runOne())
        most = std::max(most, inUse());
    EXPECT_EQ(reports, 1'001U);
    EXPECT_LT(most, before + 32 * 1'048'576); // each report carries 2.5 MB
}

TEST_F(LV1Connection, ColoursOfChannelsWithoutEndAreNotAllRemembered) {
    link();
    const auto before = inUse();
    for (int block = 0; block < 300; ++block) {
        Bytes colours;
        for (int i = 0; i < 1'000; ++i) {
            const auto frame = colourFrame(block % 7, block * 1'000 + i, 1.0F, 0.0F, 0.0F);
            colours.insert(colours.end(), frame.begin(), frame.end());
        }
        deliver(colours);
    }
    EXPECT_LT(inUse(), before + 16 * 1'048'576);
    deliver(colourFrame(0, 0, 0.0F, 0.0F, 1.0F)); // known, and still changed
    std::vector<LV1Channel> channels;
    client->onChannels = [&](const auto &list) { channels = list; };
    deliver(patchFrame({record("Kick", 0, 0, 1)}));
    ASSERT_EQ(channels.size(), 1U);
    EXPECT_EQ(channels.front().blue, 1.0F);
}

TEST_F(LV1Connection, WhatIsBehindARefusedHeaderTakesNoMemory) {
    link();
    deliver(Bytes(12));
    const auto before = inUse();
    for (int i = 0; i < 64; ++i)
        deliver(Bytes(1'048'576, 0x2F));
    EXPECT_LT(inUse(), before + 8 * 1'048'576);
    EXPECT_TRUE(stream().receiving());
}
#endif

} // namespace
} // namespace corvane

#include "tests/livetrax/remote/LiveTraxOSCTest.h"

namespace corvane {
namespace {

// ---- the connection

TEST_F(LiveTraxOSCTest, SpeaksToPort3819FromPort8000OnTheLoopback) {
    client->start();
    run();
    ASSERT_EQ(network.datagrams.size(), 1U);
    EXPECT_EQ(connection().remoteHost, "127.0.0.1");
    EXPECT_EQ(connection().remotePort, 3819);
    EXPECT_EQ(connection().localHost, "127.0.0.1");
    EXPECT_EQ(connection().localPort, 8000);
    EXPECT_TRUE(connection().started);
}

TEST_F(LiveTraxOSCTest, StartingTwiceOpensOneConnection) {
    client->start();
    client->start();
    run();
    client->start();
    run();
    EXPECT_EQ(network.datagrams.size(), 1U);
}

TEST_F(LiveTraxOSCTest, ReceivesOnceReadyAndAgainAfterEachDatagram) {
    client->start();
    run();
    EXPECT_FALSE(connection().receiving());
    connection().becomeReady();
    run();
    EXPECT_TRUE(connection().receiving());
    answer("/anything", {});
    EXPECT_TRUE(connection().receiving());
    connection().deliver({1, 2, 3});
    run();
    EXPECT_TRUE(connection().receiving());
}

TEST_F(LiveTraxOSCTest, StoppingCancelsTheConnectionAndTheNextStartMakesAnother) {
    openReady();
    client->stop();
    client->start();
    run();
    ASSERT_EQ(network.datagrams.size(), 2U);
    EXPECT_TRUE(network.datagrams[0]->cancelled);
    EXPECT_FALSE(network.datagrams[1]->cancelled);
    // The late cancellation of the first is no news for the second.
    client->start();
    run();
    EXPECT_EQ(network.datagrams.size(), 2U);
}

TEST_F(LiveTraxOSCTest, StoppingWithoutAConnectionDoesNothing) {
    client->stop();
    run();
    EXPECT_TRUE(network.datagrams.empty());
}

TEST_F(LiveTraxOSCTest, AFailedConnectionIsReplacedByTheNextSend) {
    client->start();
    run();
    connection().fail("Address already in use");
    run();
    client->save();
    run();
    EXPECT_EQ(network.datagrams.size(), 2U);
}

TEST_F(LiveTraxOSCTest, AReceiveErrorLeavesNoConnectionBehind) {
    openReady();
    connection().breakOff("Connection refused");
    run();
    EXPECT_FALSE(connection().receiving());
    client->start();
    run();
    EXPECT_EQ(network.datagrams.size(), 2U);
}

TEST_F(LiveTraxOSCTest, TheOwnerIsToldWhyTheConnectionFailed) {
    Addresses errors;
    client->onFailure = [&](const std::string &error) { errors.push_back(error); };
    client->start();
    run();
    connection().fail("Address already in use");
    run();
    EXPECT_EQ(errors, Addresses{"Address already in use"});
}

TEST_F(LiveTraxOSCTest, TheOwnerMayEndTheClientWhenToldOfAFailure) {
    client->onFailure = [&](const std::string &) { client.reset(); };
    client->start();
    run();
    connection().fail("Address already in use");
    advance(10s);
    EXPECT_FALSE(client);
}

TEST_F(LiveTraxOSCTest, AFailureOfAStoppedConnectionDoesNotTouchTheNewOne) {
    openReady();
    client->stop();
    client->start();
    run();
    network.datagrams[0]->fail("late");
    network.datagrams[0]->becomeReady();
    run();
    EXPECT_FALSE(network.datagrams[1]->receiving());
    client->start();
    run();
    EXPECT_EQ(network.datagrams.size(), 2U);
}

TEST_F(LiveTraxOSCTest, ADatagramOfAStoppedConnectionDoesNotReadFromTheNewOne) {
    openReady();
    network.datagrams[0]->deliver(OSCCodec::message("/transport_speed", {1.0F}));
    client->stop();
    client->start();
    run();
    ASSERT_EQ(network.datagrams.size(), 2U);
    EXPECT_FALSE(network.datagrams[1]->receiving());
}

// ---- sending

TEST_F(LiveTraxOSCTest, AMessageLeavesAfter40Milliseconds) {
    openReady();
    client->send("/goto_start", {V(1), V("x")});
    advance(39ms);
    EXPECT_TRUE(connection().sent.empty());
    advance(1ms);
    EXPECT_EQ(sentOn(connection()), (Sent{{40, {"/goto_start", {V(1), V("x")}}}}));
}

TEST_F(LiveTraxOSCTest, SendingOpensTheConnection) {
    network.datagramsBecomeReady = true;
    client->save();
    advance(40ms);
    ASSERT_EQ(network.datagrams.size(), 1U);
    EXPECT_EQ(sentOn(connection()), (Sent{{40, {"/save_state", {}}}}));
}

TEST_F(LiveTraxOSCTest, MessagesKeepTheirOrder) {
    openReady();
    for (int i = 0; i < 5; ++i)
        client->send("/n", {V(i)});
    advance(40ms);
    Sent expected;
    for (int i = 0; i < 5; ++i)
        expected.push_back({40, {"/n", {V(i)}}});
    EXPECT_EQ(sentOn(connection()), expected);
}

TEST_F(LiveTraxOSCTest, AMessageWhoseConnectionIsGoneIsDropped) {
    openReady();
    client->save();
    advance(20ms);
    client->stop();
    advance(1s);
    EXPECT_EQ(network.datagrams.size(), 1U);
    EXPECT_TRUE(connection().sent.empty());
}

TEST_F(LiveTraxOSCTest, AMessageGoesOutOnTheConnectionThatIsThereAtItsTime) {
    openReady();
    client->save();
    advance(20ms);
    client->stop();
    client->start();
    advance(1s);
    EXPECT_TRUE(network.datagrams.at(0)->sent.empty());
    EXPECT_EQ(sentOn(*network.datagrams.at(1)), (Sent{{40, {"/save_state", {}}}}));
}

TEST_F(LiveTraxOSCTest, SavingReportsWhenItHasLeft) {
    openReady();
    std::vector<Addresses> reports;
    client->save([&](const Addresses &addresses) { reports.push_back(addresses); });
    advance(39ms);
    EXPECT_TRUE(reports.empty());
    advance(1ms);
    EXPECT_EQ(reports, (std::vector<Addresses>{{"/save_state"}}));
}

TEST_F(LiveTraxOSCTest, SavingWithoutAConnectionReportsThatNothingLeft) {
    std::vector<Addresses> reports;
    client->save([&](const Addresses &addresses) { reports.push_back(addresses); });
    run();
    connection().fail("Address already in use");
    advance(1s);
    EXPECT_EQ(reports, std::vector<Addresses>{{}});
}

// ---- markers

TEST_F(LiveTraxOSCTest, AMarkerIsDroppedAndThenNamedWithItsTrimmedName) {
    openReady();
    std::vector<Addresses> reports;
    client->addSceneMarker("  Verse 2 \n", [&](const Addresses &addresses) { reports.push_back(addresses); });
    advance(129ms);
    EXPECT_EQ(sentOn(connection()), (Sent{{40, {"/add_marker", {}}}}));
    EXPECT_TRUE(reports.empty());
    advance(1ms);
    EXPECT_EQ(sentOn(connection()), (Sent{{40, {"/add_marker", {}}}, {130, {"/marker", {V("Verse 2")}}}}));
    EXPECT_EQ(reports, (std::vector<Addresses>{{"/add_marker", "/marker"}}));
}

TEST_F(LiveTraxOSCTest, TrimmingKnowsBlanksBeyondASCII) {
    openReady();
    client->addSceneMarker("\xC2\xA0\xE3\x80\x80Verse\xC2\xA0\x32\xE2\x80\xA8");
    advance(130ms);
    ASSERT_EQ(connection().sent.size(), 2U);
    EXPECT_EQ(OSCCodec::parse(connection().sent[1].datagram)->values, std::vector<V>{"Verse\xC2\xA0\x32"});
}

TEST_F(LiveTraxOSCTest, ABlankMarkerSendsNothing) {
    openReady();
    std::vector<Addresses> reports;
    for (const char *name : {"", "   ", " \t\r\n", "\xC2\xA0\xE2\x80\xA8"})
        client->addSceneMarker(name, [&](const Addresses &addresses) { reports.push_back(addresses); });
    advance(1s);
    EXPECT_TRUE(connection().sent.empty());
    EXPECT_EQ(reports, std::vector<Addresses>(4));
}

TEST_F(LiveTraxOSCTest, AMarkersNameOpensTheConnectionAnewWhenTheFirstHalfLostIt) {
    network.datagramsBecomeReady = true;
    std::vector<Addresses> reports;
    client->addSceneMarker("Verse 2", [&](const Addresses &addresses) { reports.push_back(addresses); });
    advance(45ms);
    connection().breakOff("Connection refused");
    advance(1s);
    ASSERT_EQ(network.datagrams.size(), 2U);
    EXPECT_EQ(sentOn(*network.datagrams[1]), (Sent{{130, {"/marker", {V("Verse 2")}}}}));
    EXPECT_EQ(reports, (std::vector<Addresses>{{"/add_marker", "/marker"}}));
}

TEST_F(LiveTraxOSCTest, TwoMarkersInARowInterleaveByTheClock) {
    openReady();
    client->addSceneMarker("One");
    advance(50ms);
    client->addSceneMarker("Two");
    advance(1s);
    EXPECT_EQ(sentOn(connection()), (Sent{{40, {"/add_marker", {}}},
                                          {90, {"/add_marker", {}}},
                                          {130, {"/marker", {V("One")}}},
                                          {180, {"/marker", {V("Two")}}}}));
}

// ---- the transport query

TEST_F(LiveTraxOSCTest, AQueryAsksThreeQuestionsOnceReady) {
    query();
    advance(100ms);
    connection().becomeReady();
    advance(2s);
    const Sent expected{
        {120, {"/transport_speed", {}}}, {120, {"/record_enabled", {}}}, {120, {"/is_recording", {}}}};
    EXPECT_EQ(sentOn(connection()), expected);
}

TEST_F(LiveTraxOSCTest, AQueryChecks26TimesForAConnection) {
    query();
    advance(1039ms);
    connection().becomeReady();
    advance(1ms); // the 26th check, at 1040 ms
    EXPECT_EQ(connection().sent.size(), 3U);
}

TEST_F(LiveTraxOSCTest, AQueryGivesUpAskingAfterTheLastCheckAndIsAnsweredByItsTimeout) {
    query();
    advance(1040ms);
    connection().becomeReady();
    advance(1459ms);
    EXPECT_TRUE(connection().sent.empty());
    EXPECT_TRUE(answers.empty());
    advance(1ms);
    EXPECT_EQ(answers, std::vector<std::optional<TransportState>>{std::nullopt});
}

TEST_F(LiveTraxOSCTest, APortThatIsTakenMeansNoState) {
    query();
    run();
    connection().fail("Address already in use");
    advance(2500ms);
    EXPECT_EQ(answers, std::vector<std::optional<TransportState>>{std::nullopt});
    EXPECT_EQ(network.datagrams.size(), 1U);
}

} // namespace
} // namespace corvane

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

TEST_F(LiveTraxOSCTest, AConnectionThatEndsOfItselfIsReplaced) {
    openReady();
    connection().cancel();
    run();
    client->start();
    run();
    EXPECT_EQ(network.datagrams.size(), 2U);
}

TEST_F(LiveTraxOSCTest, TheOwnerIsToldWhyTheConnectionFailed) {
    std::vector<std::pair<std::error_code, std::string>> told;
    client->onFailure = [&](const std::error_code &error, const std::string &reason) {
        told.emplace_back(error, reason);
    };
    client->start();
    run();
    connection().fail(std::errc::address_in_use);
    run();
    client->start();
    run();
    connection().breakOff(std::errc::connection_refused);
    run();
    client->start();
    run();
    connection().fail(std::errc::network_down);
    run();
    const auto code = [](std::errc error) { return std::make_error_code(error); };
    EXPECT_EQ(told, (decltype(told){
                        {code(std::errc::address_in_use), "UDP port 8000 is in use by another program."},
                        {code(std::errc::connection_refused), "LiveTrax does not answer."},
                        {code(std::errc::network_down), code(std::errc::network_down).message()}}));
}

TEST_F(LiveTraxOSCTest, TheOwnerMayEndTheClientWhenToldOfAFailure) {
    client->onFailure = [&](const std::error_code &, const std::string &) { client.reset(); };
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

TEST_F(LiveTraxOSCTest, SavingReportsWhenItHasLeftAndWasNotRefused) {
    openReady();
    std::vector<SendReport> reports;
    client->save([&](const SendReport &report) { reports.push_back(report); });
    advance(139ms); // 40 ms until it leaves, and 100 ms for a refusal
    EXPECT_TRUE(reports.empty());
    advance(1ms);
    EXPECT_EQ(reports, (std::vector<SendReport>{{{"/save_state"}, ""}}));
}

TEST_F(LiveTraxOSCTest, SavingWithoutAConnectionReportsThatNothingLeft) {
    std::vector<SendReport> reports;
    client->save([&](const SendReport &report) { reports.push_back(report); });
    run();
    connection().fail(std::errc::address_in_use);
    advance(40ms);
    EXPECT_EQ(reports, (std::vector<SendReport>{{{}, "UDP port 8000 is in use by another program."}}));
}

TEST_F(LiveTraxOSCTest, ARefusalThatComesBackIsReportedAtOnce) {
    openReady();
    std::vector<SendReport> reports;
    client->save([&](const SendReport &report) { reports.push_back(report); });
    advance(139ms);
    connection().breakOff(std::errc::connection_refused);
    run();
    EXPECT_EQ(reports, (std::vector<SendReport>{{{"/save_state"}, "LiveTrax does not answer."}}));
    advance(1s);
    EXPECT_EQ(reports.size(), 1U);
}

TEST_F(LiveTraxOSCTest, ARefusalThatTheNextMessageMeetsConcernsTheOneBefore) {
    openReady();
    std::vector<SendReport> reports;
    for (int i = 0; i < 2; ++i) {
        client->save([&](const SendReport &report) { reports.push_back(report); });
        advance(50ms);
        connection().result = SendResult::leftAfterRefusal;
    }
    EXPECT_EQ(reports, (std::vector<SendReport>{{{"/save_state"}, "LiveTrax does not answer."}}));
    advance(1s);
    EXPECT_EQ(reports.back(), (SendReport{{"/save_state"}, ""}));
}

TEST_F(LiveTraxOSCTest, WhatTheSystemDoesNotTakeIsReportedAsNotSent) {
    openReady();
    std::vector<SendReport> reports;
    connection().result = SendResult::lost;
    client->save([&](const SendReport &report) { reports.push_back(report); });
    advance(40ms);
    EXPECT_EQ(reports, (std::vector<SendReport>{{{}, "Nothing could be sent to LiveTrax."}}));
}

TEST_F(LiveTraxOSCTest, WhyAConnectionFailedIsForgottenOnceThereIsAnother) {
    client->start();
    run();
    connection().fail(std::errc::address_in_use);
    run();
    openReady();
    connection().result = SendResult::lost;
    std::vector<SendReport> reports;
    client->save([&](const SendReport &report) { reports.push_back(report); });
    advance(40ms);
    EXPECT_EQ(reports, (std::vector<SendReport>{{{}, "Nothing could be sent to LiveTrax."}}));
}

TEST_F(LiveTraxOSCTest, TheOwnerIsToldOfWhatWasSavedBeforeTheOneWhoAsked) {
    openReady();
    std::vector<std::string> told;
    client->onSave = [&] { told.emplace_back("saved"); };
    client->save([&](const SendReport &report) { told.push_back("reported " + report.problem); });
    advance(140ms);
    EXPECT_EQ(told, (Addresses{"saved", "reported "}));
    client->save();
    advance(140ms);
    EXPECT_EQ(told, (Addresses{"saved", "reported ", "saved"}));
    connection().result = SendResult::lost;
    client->save([&](const SendReport &report) { told.push_back(report.problem); });
    advance(140ms);
    EXPECT_EQ(told, (Addresses{"saved", "reported ", "saved", "Nothing could be sent to LiveTrax."}));
}

TEST_F(LiveTraxOSCTest, TheOwnerMayEndTheClientWhenToldOfASave) {
    openReady();
    client->onSave = [&] { client.reset(); };
    client->save([](const SendReport &) { ADD_FAILURE(); });
    advance(1s);
    EXPECT_FALSE(client);
}

// ---- markers

TEST_F(LiveTraxOSCTest, AMarkerIsDroppedAndThenNamedWithItsTrimmedName) {
    openReady();
    std::vector<SendReport> reports;
    client->addSceneMarker("  Verse 2 \n", [&](const SendReport &report) { reports.push_back(report); });
    advance(129ms);
    EXPECT_EQ(sentOn(connection()), (Sent{{40, {"/add_marker", {}}}}));
    advance(1ms);
    EXPECT_EQ(sentOn(connection()), (Sent{{40, {"/add_marker", {}}}, {130, {"/marker", {V("Verse 2")}}}}));
    EXPECT_TRUE(reports.empty());
    advance(100ms);
    EXPECT_EQ(reports, (std::vector<SendReport>{{{"/add_marker", "/marker"}, ""}}));
}

TEST_F(LiveTraxOSCTest, TrimmingKnowsBlanksBeyondASCII) {
    openReady();
    client->addSceneMarker("\xC2\xA0\xE3\x80\x80Verse\xC2\xA0\x32\xE2\x80\xA8");
    advance(130ms);
    ASSERT_EQ(connection().sent.size(), 2U);
    EXPECT_EQ(OSCCodec::parse(connection().sent[1].datagram)->values, OSCValues{"Verse\xC2\xA0\x32"});
}

TEST_F(LiveTraxOSCTest, ABlankMarkerSendsNothing) {
    openReady();
    std::vector<SendReport> reports;
    for (const char *name : {"", "   ", " \t\r\n", "\xC2\xA0\xE2\x80\xA8"})
        client->addSceneMarker(name, [&](const SendReport &report) { reports.push_back(report); });
    advance(1s);
    EXPECT_TRUE(connection().sent.empty());
    EXPECT_EQ(reports, std::vector<SendReport>(4));
}

TEST_F(LiveTraxOSCTest, AMarkersNameOpensTheConnectionAnewWhenTheFirstHalfLostIt) {
    network.datagramsBecomeReady = true;
    std::vector<SendReport> reports;
    client->addSceneMarker("Verse 2", [&](const SendReport &report) { reports.push_back(report); });
    advance(45ms);
    connection().breakOff(std::errc::connection_refused);
    advance(1s);
    ASSERT_EQ(network.datagrams.size(), 2U);
    EXPECT_EQ(sentOn(*network.datagrams[1]), (Sent{{130, {"/marker", {V("Verse 2")}}}}));
    EXPECT_EQ(reports, (std::vector<SendReport>{{{"/add_marker", "/marker"}, "LiveTrax does not answer."}}));
}

TEST_F(LiveTraxOSCTest, AFirstHalfThatIsLostToARefusalIsARefusalWhateverBecomesOfTheSecond) {
    network.datagramsBecomeReady = true;
    std::vector<SendReport> reports;
    client->addSceneMarker("Verse 2", [&](const SendReport &report) { reports.push_back(report); });
    advance(39ms);
    // The refusal of something else is known before the message is known to have left.
    connection().breakOff(std::errc::connection_refused);
    connection().result = SendResult::lost;
    advance(1s);
    EXPECT_EQ(reports, (std::vector<SendReport>{{{"/marker"}, "LiveTrax does not answer."}}));
}

TEST_F(LiveTraxOSCTest, ASecondHalfThatIsLostIsReportedAsSuch) {
    openReady();
    std::vector<SendReport> reports;
    client->addSceneMarker("Verse 2", [&](const SendReport &report) { reports.push_back(report); });
    advance(100ms);
    connection().result = SendResult::lost;
    advance(30ms);
    EXPECT_EQ(reports, (std::vector<SendReport>{{{"/add_marker"}, "Not all could be sent to LiveTrax."}}));
}

TEST_F(LiveTraxOSCTest, ARefusalConcernsWhatHasLeftThoughSomethingBeforeItWasLost) {
    openReady();
    const auto usual = connection().result;
    connection().result = SendResult::lost;
    client->addSceneMarker("Verse 2");
    advance(40ms);
    connection().result = usual;
    std::vector<SendReport> reports;
    client->save([&](const SendReport &report) { reports.push_back(report); });
    advance(40ms);
    connection().breakOff(std::errc::connection_refused);
    run();
    EXPECT_EQ(reports, (std::vector<SendReport>{{{"/save_state"}, "LiveTrax does not answer."}}));
}

TEST_F(LiveTraxOSCTest, TheNamedWayIsOneMessage) {
    openReady();
    client->markerStyle = MarkerStyle::named;
    std::vector<SendReport> reports;
    client->addSceneMarker("  Verse 2 \n", [&](const SendReport &report) { reports.push_back(report); });
    advance(140ms);
    EXPECT_EQ(sentOn(connection()), (Sent{{40, {"/add_marker", {V("Verse 2")}}}}));
    EXPECT_EQ(reports, (std::vector<SendReport>{{{"/add_marker"}, ""}}));
}

/// The messages of a marker, each as its address and the name in it.
std::vector<std::string> markerMessages(const FakeDatagramConnection &connection) {
    std::vector<std::string> texts;
    for (const auto &sent : connection.sent) {
        const auto message = OSCCodec::parse(sent.datagram).value();
        texts.push_back(message.address);
        for (const auto &value : message.values)
            texts.back() += " " + std::get<std::string>(value);
    }
    return texts;
}

TEST_F(LiveTraxOSCTest, ANameThatWasMarkedBeforeIsNeverLocatedTo) {
    openReady();
    for (const char *name : {"A", "B", "A", " A\n", "a"}) {
        client->addSceneMarker(name);
        advance(1s);
    }
    EXPECT_EQ(markerMessages(connection()),
              (Addresses{"/add_marker", "/marker A", "/add_marker", "/marker B", "/add_marker A",
                         "/add_marker A", "/add_marker", "/marker a"}));
}

TEST_F(LiveTraxOSCTest, AMarkerThatIsStillOnItsWayCountsAsMarked) {
    openReady();
    client->addSceneMarker("A");
    advance(100ms); // its name is on its way
    client->addSceneMarker("A");
    advance(1s);
    EXPECT_EQ(markerMessages(connection()), (Addresses{"/add_marker", "/marker A", "/add_marker A"}));
}

TEST_F(LiveTraxOSCTest, ANameIsNeverLocatedToByItsOwnMarkerThatComesTooSoon) {
    openReady();
    for (const char *name : {"A", "B", "A", "A"}) {
        client->addSceneMarker(name);
        advance(20ms);
    }
    advance(1s);
    EXPECT_EQ(sentOn(connection()), (Sent{{40, {"/add_marker", {}}},
                                          {60, {"/add_marker", {}}},
                                          {130, {"/marker", {V("A")}}},
                                          {150, {"/marker", {V("B")}}},
                                          {170, {"/add_marker", {V("A")}}},
                                          {190, {"/add_marker", {V("A")}}}}));
}

TEST_F(LiveTraxOSCTest, ANameThatTheSessionHasIsNeverLocatedTo) {
    openReady();
    client->setSessionMarkers({"Verse", " Solo "});
    for (const char *name : {"Verse", "Solo", "Chorus"}) {
        client->addSceneMarker(name);
        advance(1s);
    }
    EXPECT_EQ(markerMessages(connection()),
              (Addresses{"/add_marker Verse", "/add_marker Solo", "/add_marker", "/marker Chorus"}));
}

TEST_F(LiveTraxOSCTest, WhileTheSessionsNamesAreUnknownNoneIsLocatedTo) {
    openReady();
    client->forgetSessionMarkers();
    client->addSceneMarker("Verse");
    advance(1s);
    client->setSessionMarkers({});
    client->addSceneMarker("Chorus");
    advance(1s);
    EXPECT_EQ(markerMessages(connection()),
              (Addresses{"/add_marker Verse", "/add_marker", "/marker Chorus"}));
}

TEST_F(LiveTraxOSCTest, AnotherSessionsNamesTakeTheirPlaceAndWhatWasMarkedStays) {
    openReady();
    client->setSessionMarkers({"Verse"});
    client->addSceneMarker("Solo");
    advance(1s);
    client->setSessionMarkers({});
    client->addSceneMarker("Verse");
    client->addSceneMarker("Solo");
    advance(1s);
    EXPECT_EQ(markerMessages(connection()),
              (Addresses{"/add_marker", "/marker Solo", "/add_marker", "/add_marker Solo", "/marker Verse"}));
}

TEST_F(LiveTraxOSCTest, NamesThatAreTooManyToRememberAreNeverLocatedTo) {
    openReady();
    client->addSceneMarker(std::string(1'000'000, 'x'));
    advance(1s);
    client->addSceneMarker("new");
    advance(1s);
    EXPECT_EQ(markerMessages(connection()).back(), "/add_marker new");
}

TEST_F(LiveTraxOSCTest, ASceneThatIsCalledAsLiveTraxCallsMarkersIsNeverLocatedTo) {
    openReady();
    for (const char *name : {"mark1", "mark", "mark 1", "mark1x", "marked"}) {
        client->addSceneMarker(name);
        advance(1s);
    }
    EXPECT_EQ(markerMessages(connection()),
              (Addresses{"/add_marker mark1", "/add_marker", "/marker mark", "/add_marker", "/marker mark 1",
                         "/add_marker", "/marker mark1x", "/add_marker", "/marker marked"}));
}

TEST_F(LiveTraxOSCTest, AMarkerThatDidNotReachLiveTraxIsToldWithTheReason) {
    std::vector<Addresses> lost;
    client->onMarkerLost = [&](const std::string &name, const std::string &reason) {
        lost.push_back({name, reason});
    };
    client->start();
    run();
    connection().fail(std::errc::address_in_use);
    client->addSceneMarker(" Solo ");
    run();
    connection().fail(std::errc::address_in_use);
    advance(1s);
    network.datagramsBecomeReady = true;
    client->addSceneMarker("Encore");
    advance(41ms);
    connection().breakOff(std::errc::connection_refused);
    advance(1s);
    EXPECT_EQ(lost, (std::vector<Addresses>{{"Solo", "UDP port 8000 is in use by another program."},
                                            {"Encore", "LiveTrax does not answer."}}));
    client->addSceneMarker("Arrived");
    advance(1s);
    EXPECT_EQ(lost.size(), 2U);
}

TEST_F(LiveTraxOSCTest, TheOwnerMayEndTheClientWhenToldOfALostMarker) {
    client->onMarkerLost = [&](const std::string &, const std::string &) { client.reset(); };
    client->addSceneMarker("Solo", [](const SendReport &) { ADD_FAILURE(); });
    run();
    connection().fail(std::errc::address_in_use);
    advance(1s);
    EXPECT_FALSE(client);
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

#include "tests/livetrax/remote/LiveTraxOSCTest.h"

namespace corvane {
namespace {

TEST_F(LiveTraxOSCQuery, AStoppedArmedTransportThatNeverTellsOfRecording) {
    answer("/transport_speed", {0.0F});
    EXPECT_TRUE(answers.empty());
    answer("/record_enabled", {1});
    expectOnly(TransportState{0, true, false});
}

TEST_F(LiveTraxOSCQuery, ARollingArmedTransportIsTakenToRecord) {
    answer("/transport_speed", {1.0F});
    answer("/record_enabled", {true});
    expectOnly(TransportState{1, true, true});
}

TEST_F(LiveTraxOSCQuery, ARollingTransportThatIsNotArmedDoesNotRecord) {
    answer("/transport_speed", {-1.0F});
    answer("/record_enabled", {0});
    expectOnly(TransportState{-1, false, false});
}

TEST_F(LiveTraxOSCQuery, NegativeZeroStandsStill) {
    answer("/transport_speed", {-0.0F});
    answer("/record_enabled", {1});
    expectOnly(TransportState{-0.0F, true, false});
}

TEST_F(LiveTraxOSCQuery, WhatLiveTraxSaysOfRecordingCountsWhenItCameFirst) {
    answer("/is_recording", {0});
    answer("/transport_speed", {1.0F});
    answer("/record_enabled", {1});
    expectOnly(TransportState{1, true, false});
}

TEST_F(LiveTraxOSCQuery, RecordingIsNotWaitedFor) {
    answer("/record_enabled", {1});
    answer("/transport_speed", {1.0F});
    answer("/is_recording", {0});
    expectOnly(TransportState{1, true, true});
}

TEST_F(LiveTraxOSCQuery, ADoubleSpeedIsRead) {
    auto bytes = OSCCodec::message("/transport_speed", {std::int64_t{0x3FF0000000000000}}); // 1.0
    bytes[bytes.size() - 11] = 'd';
    connection().deliver(bytes);
    run();
    answer("/record_enabled", {0});
    expectOnly(TransportState{1, false, false});
}

TEST_F(LiveTraxOSCQuery, AnIntegerSpeedIsANumberToo) {
    answer("/transport_speed", {1});
    answer("/record_enabled", {0});
    expectOnly(TransportState{1, false, false});
}

TEST_F(LiveTraxOSCQuery, ASpeedOfAnotherTypeStaysUnknown) {
    answer("/transport_speed", {std::int64_t{0}});
    answer("/transport_speed", {"0"});
    answer("/transport_speed", {false});
    answer("/record_enabled", {1});
    expectAtTimeout(std::nullopt);
}

TEST_F(LiveTraxOSCQuery, ASpeedOfAnotherTypeDoesNotEraseAKnownOne) {
    answer("/transport_speed", {2.0F});
    answer("/transport_speed", {"0"});
    answer("/record_enabled", {false});
    expectOnly(TransportState{2, false, false});
}

TEST_F(LiveTraxOSCQuery, RecordEnabledAloneFinishesNothing) {
    answer("/record_enabled", {1});
    expectAtTimeout(std::nullopt);
}

TEST_F(LiveTraxOSCQuery, SpeedAloneIsAnsweredByTheTimeout) {
    answer("/transport_speed", {1.0F});
    expectAtTimeout(TransportState{1, false, false});
}

TEST_F(LiveTraxOSCQuery, SpeedAndRecordingAreAnsweredByTheTimeout) {
    answer("/transport_speed", {1.0F});
    answer("/is_recording", {1});
    expectAtTimeout(TransportState{1, false, true});
}

TEST_F(LiveTraxOSCQuery, ATextForRecordEnabledMakesItUnknownAgain) {
    answer("/record_enabled", {1});
    answer("/record_enabled", {"yes"});
    answer("/transport_speed", {0.0F});
    expectAtTimeout(TransportState{0, false, false});
}

TEST_F(LiveTraxOSCQuery, YesAndNoComeInManyTypes) {
    const std::vector<std::pair<OSCValue, bool>> table = {
        {V(0), false},
        {V(2), true},
        {V(std::int64_t{0}), false},
        {V(std::int64_t{1} << 40U), true},
        {V(0.0F), false},
        {V(-0.0F), false},
        {V(0.5F), true},
        {V(false), false},
        {V(true), true},
    };
    for (const auto &[value, expected] : table) {
        answers.clear();
        query();
        run();
        answer("/is_recording", {value});
        answer("/record_enabled", {value});
        answer("/transport_speed", {0});
        EXPECT_EQ(answers,
                  (std::vector<std::optional<TransportState>>{TransportState{0, expected, expected}}));
    }
}

TEST_F(LiveTraxOSCQuery, OnlyTheFirstArgumentCounts) {
    answer("/transport_speed", {"x", 1.0F});
    answer("/transport_speed", {0.5F, 9});
    answer("/record_enabled", {1, 0});
    expectOnly(TransportState{0.5F, true, true});
}

TEST_F(LiveTraxOSCQuery, OtherAddressesAndMessagesWithoutArgumentsChangeNothing) {
    answer("/Transport_Speed", {1.0F});
    answer("/transport_speed/", {1.0F});
    answer("/transport_speed", {});
    answer("/record_enabled", {});
    connection().deliver({});
    connection().deliver({'#', 'b', 'u', 'n', 'd', 'l', 'e', 0});
    run();
    expectAtTimeout(std::nullopt);
}

TEST_F(LiveTraxOSCQuery, WhatIsAnsweredAlreadyIsNotAskedAnyMore) {
    answer("/transport_speed", {0.0F});
    answer("/record_enabled", {0});
    expectOnly(TransportState{0, false, false});
    EXPECT_TRUE(connection().sent.empty());
}

TEST_F(LiveTraxOSCQuery, TwoQueriesInARowAnswerOnlyTheSecond) {
    int first = 0;
    answers.clear();
    client->queryTransport([&](std::optional<TransportState>) { ++first; });
    advance(1s);
    query();
    advance(1s);
    answer("/transport_speed", {0.0F});
    answer("/record_enabled", {0});
    expectOnly(TransportState{0, false, false});
    EXPECT_EQ(first, 0);
}

TEST_F(LiveTraxOSCQuery, TheSecondQueryHasATimeoutOfItsOwn) {
    advance(2s);
    query();
    expectAtTimeout(std::nullopt);
}

TEST_F(LiveTraxOSCQuery, WhatAnEarlierQueryLearnedIsForgotten) {
    answer("/transport_speed", {1.0F});
    answer("/is_recording", {1});
    query();
    run();
    answer("/record_enabled", {1});
    expectAtTimeout(std::nullopt);
    query();
    run();
    answer("/transport_speed", {0.0F});
    answer("/record_enabled", {0});
    EXPECT_EQ(answers.back(), (TransportState{0, false, false}));
}

TEST_F(LiveTraxOSCQuery, AnAnswerOnItsWayWhenTheNextQueryIsMadeIsDropped) {
    connection().deliver(OSCCodec::message("/transport_speed", {1.0F}));
    connection().deliver(OSCCodec::message("/record_enabled", {1}));
    clock->run(); // the answer now waits for its turn on the main queue
    query();
    run();
    EXPECT_TRUE(answers.empty());
    answer("/transport_speed", {0.0F});
    answer("/record_enabled", {0});
    expectOnly(TransportState{0, false, false});
}

TEST_F(LiveTraxOSCQuery, RepliesWithoutAQueryTakeNoEffect) {
    answer("/transport_speed", {0.0F});
    answer("/record_enabled", {0});
    expectOnly(TransportState{0, false, false});
    answer("/transport_speed", {1.0F});
    answer("/record_enabled", {1});
    EXPECT_EQ(answers.size(), 1U);
}

TEST_F(LiveTraxOSCQuery, AStoppedClientsQueryIsNotAnsweredByItsTimeout) {
    client->stop();
    advance(10s);
    EXPECT_TRUE(answers.empty());
    // It is still pending: replies on a later connection finish it.
    openReady();
    answer("/transport_speed", {0.0F});
    answer("/record_enabled", {0});
    expectOnly(TransportState{0, false, false});
}

// ---- the end of the client

TEST_F(LiveTraxOSCQuery, NothingHappensOnceTheClientIsGone) {
    client->save([this](const SendReport &) { answers.emplace_back(); });
    client->addSceneMarker("Verse 2");
    client.reset();
    advance(10s);
    EXPECT_TRUE(answers.empty());
    EXPECT_TRUE(connection().sent.empty());
    EXPECT_TRUE(connection().cancelled);
    EXPECT_EQ(network.datagrams.size(), 1U);
}

TEST_F(LiveTraxOSCQuery, WhatWasHandedToTheMainQueueDoesNotOutliveTheClient) {
    client->onFailure = [this](const std::error_code &, const std::string &) { answers.emplace_back(); };
    client->save([this](const SendReport &) { answers.emplace_back(); });
    connection().deliver(OSCCodec::message("/transport_speed", {1.0F}));
    connection().deliver(OSCCodec::message("/record_enabled", {1}));
    clock->advance(40ms);
    connection().breakOff(std::errc::connection_refused);
    clock->run();
    EXPECT_GE(mainClock->pending(), 3U);
    client.reset();
    advance(10s);
    EXPECT_TRUE(answers.empty());
}

TEST_F(LiveTraxOSCQuery, ACompletionMayEndTheClient) {
    client->queryTransport([this](std::optional<TransportState> state) {
        answers.push_back(state);
        client.reset();
    });
    advance(10s);
    EXPECT_FALSE(client);
    EXPECT_EQ(answers.size(), 1U);
}

/// A queue that at some point runs nothing more: what is posted then is let go of.
class EndedQueue : public ManualQueue {
public:
    using ManualQueue::ManualQueue;
    void post(Task task) override {
        if (!ended)
            ManualQueue::post(std::move(task));
    }
    bool ended = false;
};

TEST_F(LiveTraxOSCTest, AClientWhoseQueueHasEndedStillClosesItsConnection) {
    const auto ending = std::make_shared<EndedQueue>(clock, "Corvane.LiveTraxOSC");
    client = std::make_unique<LiveTraxOSC>(main, ending, network);
    openReady();
    ending->ended = true;
    client.reset();
    EXPECT_TRUE(connection().cancelled);
}

} // namespace
} // namespace corvane

#include "lv1/LV1Notifications.h"
#include "tests/lv1/ClientTest.h"

#include <limits>

namespace corvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LV1Notification : public ClientTest {
protected:
    LV1Notification() { link(); }

    /// The status, the patch and the channels of one patch notification.
    void expectPatch(const std::string &status, const std::string &channels) {
        EXPECT_THAT(takeDiary(), ElementsAre(status, "<patch> " + channels, "<channels> " + channels));
    }
};

TEST_F(LV1Notification, APatchBecomesTheChannelListInRecordOrder) {
    deliver(patchFrame({record("Kick", 0, 0, 1), record("OH", 1, 4, 2), record("Aux 1", 0, 9, 1, "Aux_Ch")}));
    expectPatch("Synced: 3 tracks / 4 inputs",
                "[Kick M SG:0 Mixer_Ch:1 (0.25 0.55 0.85), OH S SG:4 Mixer_Ch:2 (0.25 0.55 0.85), "
                "Aux 1 M SG:9 Aux_Ch:1 (0.25 0.55 0.85)]");
}

TEST_F(LV1Notification, StatusPatchAndChannelsAreOneTaskOfTheMainQueue) {
    stream().deliver(patchFrame({record("Kick", 0, 0, 1)}));
    ASSERT_TRUE(fake.clock->runOne()); // the network queue
    EXPECT_THAT(diary, IsEmpty());
    ASSERT_TRUE(fake.clock->runOne()); // the main queue
    EXPECT_EQ(diary.size(), 3U);
}

TEST_F(LV1Notification, ACountOf2Needs15Values) {
    auto values = std::vector<OSCValue>{2};
    for (const auto &each : {record("Kick", 0, 0, 1), record("Snare", 0, 1, 2)})
        values.insert(values.end(), each.begin(), each.end());
    ASSERT_EQ(values.size(), 15U);
    const auto complete = framed("/Notify/IOConnections", values);
    values.pop_back();
    deliver(framed("/Notify/IOConnections", values));
    EXPECT_THAT(takeDiary(), IsEmpty());
    deliver(complete);
    EXPECT_THAT(takeDiary(), testing::Contains("Synced: 2 tracks / 2 inputs"));
}

TEST_F(LV1Notification, ACountOf0EmptiesTheList) {
    deliver(patchFrame({record("Kick", 0, 0, 1)}));
    takeDiary();
    deliver(patchFrame({}));
    expectPatch("Synced: 0 tracks / 0 inputs", "[]");
}

TEST_F(LV1Notification, ValuesBehindTheRecordsAreIgnored) {
    auto values = std::vector<OSCValue>{1};
    for (const auto &each : {record("Kick", 0, 0, 1), record("Snare", 0, 1, 2)})
        values.insert(values.end(), each.begin(), each.end());
    deliver(framed("/Notify/IOConnections", values));
    expectPatch("Synced: 1 tracks / 1 inputs", "[Kick M SG:0 Mixer_Ch:1 (0.25 0.55 0.85)]");
}

TEST_F(LV1Notification, APatchWithoutAnIntegerCountIsIgnored) {
    deliver(framed("/Notify/IOConnections", std::vector<OSCValue>{}));
    deliver(framed("/Notify/IOConnections", {0.0F}));
    deliver(framed("/Notify/IOConnections", {std::int64_t{0}}));
    deliver(framed("/Notify/IOConnections", {std::string("0")}));
    EXPECT_THAT(takeDiary(), IsEmpty());
}

TEST_F(LV1Notification, ACountWhoseSevenfoldDoesNotFit32BitsIsIgnored) {
    // 7 times the first, cut to 32 bits, is 2.
    deliver(framed("/Notify/IOConnections", {1'840'700'270, 1, 2, 3, 4}));
    deliver(framed("/Notify/IOConnections", {std::numeric_limits<std::int32_t>::max(), 1}));
    EXPECT_THAT(takeDiary(), IsEmpty());
}

TEST_F(LV1Notification, ARecordWhoseStereoValueIs2IsMono) {
    deliver(patchFrame({record("Kick", 2, 0, 1), record("Snare", -1, 1, 2)}));
    expectPatch("Synced: 2 tracks / 2 inputs",
                "[Kick M SG:0 Mixer_Ch:1 (0.25 0.55 0.85), Snare M SG:1 Mixer_Ch:2 (0.25 0.55 0.85)]");
}

TEST_F(LV1Notification, ARecordWithAValueOfTheWrongTypeIsSkippedAndNotCounted) {
    const auto good = record("Good", 0, 0, 1);
    for (std::size_t position = 0; position < 6; ++position) {
        auto bad = record("Bad", 1, 1, 2);
        bad[position] = 1.5F;
        deliver(patchFrame({bad, good}));
        expectPatch("Synced: 1 tracks / 1 inputs", "[Good M SG:0 Mixer_Ch:1 (0.25 0.55 0.85)]");
    }
}

TEST_F(LV1Notification, TheSeventhValueOfARecordMayBeAnything) {
    for (const OSCValue &last : {OSCValue(1.5F), OSCValue("x"), OSCValue(true), OSCValue(std::int64_t{3})}) {
        auto values = record("Kick", 1, 0, 1);
        values.back() = last;
        deliver(patchFrame({values}));
        expectPatch("Synced: 1 tracks / 2 inputs", "[Kick S SG:0 Mixer_Ch:1 (0.25 0.55 0.85)]");
    }
}

TEST_F(LV1Notification, IndicesAreTakenUnchanged) {
    constexpr auto lowest = std::numeric_limits<std::int32_t>::min();
    deliver(patchFrame({record("Low", 0, lowest, lowest)}));
    expectPatch("Synced: 1 tracks / 1 inputs",
                "[Low M SG:-2147483648 Mixer_Ch:-2147483648 (0.25 0.55 0.85)]");
}

TEST_F(LV1Notification, AColourBeforeThePatchColoursTheChannelOfTheNextNumber) {
    deliver(colourFrame(0, 3, 1.0F, 0.5F, 0.0F));
    EXPECT_THAT(takeDiary(), IsEmpty());
    deliver(
        patchFrame({record("Three", 0, 0, 3), record("Four", 0, 1, 4), record("Aux", 0, 2, 4, "Aux_Ch")}));
    expectPatch("Synced: 3 tracks / 3 inputs",
                "[Three M SG:0 Mixer_Ch:3 (0.25 0.55 0.85), Four M SG:1 Mixer_Ch:4 (1 0.5 0), "
                "Aux M SG:2 Aux_Ch:4 (0.25 0.55 0.85)]");
}

TEST_F(LV1Notification, AColourAfterThePatchIsAppliedAtOnceAndIsNoPatchChange) {
    deliver(patchFrame({record("Aux", 0, 0, 1, "Aux_Ch"), record("One", 0, 0, 1), record("Again", 0, 0, 1)}));
    takeDiary();
    deliver(colourFrame(0, 0, 1.0F, 0.5F, 0.0F));
    EXPECT_THAT(takeDiary(), ElementsAre("<channels> [Aux M SG:0 Aux_Ch:1 (0.25 0.55 0.85), "
                                         "One M SG:0 Mixer_Ch:1 (1 0.5 0), "
                                         "Again M SG:0 Mixer_Ch:1 (0.25 0.55 0.85)]"));
}

TEST_F(LV1Notification, AColourOfGroup1ChangesNoChannel) {
    deliver(colourFrame(1, 0, 1.0F, 0.0F, 0.0F));
    deliver(patchFrame({record("One", 0, 0, 1)}));
    takeDiary();
    deliver(colourFrame(1, 0, 0.0F, 1.0F, 0.0F));
    EXPECT_THAT(takeDiary(), IsEmpty());
    deliver(patchFrame({record("One", 0, 0, 1)}));
    expectPatch("Synced: 1 tracks / 1 inputs", "[One M SG:0 Mixer_Ch:1 (0.25 0.55 0.85)]");
}

TEST_F(LV1Notification, AColourOfNoChannelIsRememberedSilently) {
    deliver(patchFrame({record("One", 0, 0, 1)}));
    takeDiary();
    deliver(colourFrame(0, 7, 1.0F, 0.0F, 0.0F));
    EXPECT_THAT(takeDiary(), IsEmpty());
}

TEST_F(LV1Notification, ColoursOutliveThePatchTheyCameWith) {
    deliver(colourFrame(0, 0, 1.0F, 0.0F, 0.0F));
    deliver(patchFrame({record("One", 0, 0, 1)}));
    takeDiary();
    deliver(patchFrame({record("Uno", 0, 0, 1)}));
    expectPatch("Synced: 1 tracks / 1 inputs", "[Uno M SG:0 Mixer_Ch:1 (1 0 0)]");
}

TEST_F(LV1Notification, AColourNumberAtTheEndsOfItsRangeMatchesNothing) {
    deliver(patchFrame({record("Low", 0, 0, std::numeric_limits<std::int32_t>::min())}));
    takeDiary();
    deliver(colourFrame(0, std::numeric_limits<std::int32_t>::max(), 1.0F, 0.0F, 0.0F));
    EXPECT_THAT(takeDiary(), IsEmpty());
}

TEST_F(LV1Notification, ColoursAreTakenAsTheyComeWhateverTheirNumbers) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    std::vector<LV1Channel> channels;
    client->onChannels = [&](const auto &list) { channels = list; };
    deliver(patchFrame({record("One", 0, 0, 1)}));
    deliver(colourFrame(0, 0, infinity, -infinity, -3.5F));
    ASSERT_EQ(channels.size(), 1U);
    EXPECT_EQ(channels.front().red, infinity);
    EXPECT_EQ(channels.front().green, -infinity);
    EXPECT_EQ(channels.front().blue, -3.5F);
    deliver(colourFrame(0, 0, std::numeric_limits<float>::quiet_NaN(), 1e30F, 0.0F));
    EXPECT_NE(channels.front().red, channels.front().red);
    EXPECT_EQ(channels.front().green, 1e30F);
}

TEST_F(LV1Notification, MalformedColoursAreIgnored) {
    deliver(patchFrame({record("One", 0, 0, 1)}));
    takeDiary();
    const std::vector<OSCValue> good{0, 0, 0, 1.0F, 0.0F, 0.0F};
    for (const std::size_t position : {0U, 1U, 3U, 4U, 5U}) {
        auto bad = good;
        bad[position] = std::string("x");
        deliver(framed("/Notify/TrackColor", bad));
    }
    deliver(framed("/Notify/TrackColor", std::vector<OSCValue>(good.begin(), good.end() - 1)));
    deliver(framed("/Notify/TrackColor", {0, 0, 0, 1, 0, 0}));
    EXPECT_THAT(takeDiary(), IsEmpty());
}

TEST_F(LV1Notification, TheThirdValueOfAColourMayBeAnything) {
    deliver(patchFrame({record("One", 0, 0, 1)}));
    takeDiary();
    deliver(framed("/Notify/TrackColor", {0, 0, std::string("x"), 1.0F, 0.0F, 0.0F, 9}));
    EXPECT_THAT(takeDiary(), ElementsAre("<channels> [One M SG:0 Mixer_Ch:1 (1 0 0)]"));
}

TEST_F(LV1Notification, ASceneIsReportedAsItIsCalled) {
    deliver(framed("/Notify/Scene/Name", {std::string("  Canción 2 "), 5}));
    deliver(framed("/Notify/Scene/Name", {std::string()}));
    deliver(framed("/Notify/Scene/Name", {5}));
    deliver(framed("/Notify/Scene/Name", std::vector<OSCValue>{}));
    EXPECT_THAT(takeDiary(), ElementsAre("<scene>   Canción 2 ", "<scene> "));
}

TEST_F(LV1Notification, ManyMessagesInOneReadAreHandledInOrder) {
    Bytes bytes;
    for (int i = 0; i < 3; ++i) {
        const auto scene = framed("/Notify/Scene/Name", {std::to_string(i)});
        bytes.insert(bytes.end(), scene.begin(), scene.end());
    }
    deliver(bytes);
    EXPECT_THAT(takeDiary(), ElementsAre("<scene> 0", "<scene> 1", "<scene> 2"));
}

TEST(LV1NotificationDeathTest, ANegativeCountStopsTheProgram) {
    EXPECT_DEATH(
        {
            FakePlatform fake;
            const auto client = LV1Client::make(fake.platform);
            client->connect("10.0.0.1", 5000);
            fake.network->streams.back()->becomeReady();
            fake.clock->run();
            // Behind good messages of the same read.
            Bytes read = framed("/Notify/Scene/Name", {std::string("Intro")});
            for (const auto byte : framed("/Notify/IOConnections", {-1}))
                read.push_back(byte);
            fake.network->streams.back()->deliver(read);
            fake.clock->run();
        },
        "a negative number of console connections\n");
}

OSCMessage patchMessage(const std::vector<std::vector<OSCValue>> &records) {
    OSCMessage message("/Notify/IOConnections", {static_cast<std::int32_t>(records.size())});
    for (const auto &each : records)
        for (const auto &value : each)
            message.values.push_back(value);
    return message;
}

TEST(LV1Notifications, KnowTheMemoryOfTheirChannels) {
    LV1Notifications notifications;
    LV1Counters::Traffic traffic;
    const auto patch = patchMessage({record("Kick", 0, 0, 1), record("Snare top", 1, 1, 2, "Aux_Ch")});
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(notifications.read(patch, traffic));
        const std::string texts = "KickSGMixer_ChSnare topSGAux_Ch";
        EXPECT_EQ(notifications.channelMemory(), 2 * sizeof(LV1Channel) + texts.size());
    }
    EXPECT_TRUE(notifications.read(patchMessage({}), traffic));
    EXPECT_EQ(notifications.channelMemory(), 0U);
}

TEST(LV1Notifications, RememberSixtyFourThousandColoursAndNoMore) {
    LV1Notifications notifications;
    LV1Counters::Traffic traffic;
    for (int i = 0; i <= 65'536; ++i)
        notifications.read({"/Notify/TrackColor", {0, i, 0, 1.0F, 0.0F, 0.5F}}, traffic);
    const auto event = notifications.read(
        patchMessage({record("Last", 0, 0, 65'536), record("Too many", 0, 1, 65'537)}), traffic);
    const auto &channels = *std::get<lv1::Patch>(event.value()).channels;
    EXPECT_EQ(channels.at(0).red, 1.0F);
    EXPECT_EQ(channels.at(1).red, LV1Channel("", false, "", 0, "", 1).red);
}

} // namespace
} // namespace corvane

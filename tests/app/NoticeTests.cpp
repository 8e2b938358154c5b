#include "app/Notice.h"

#include <gmock/gmock.h>

namespace corvane {

namespace {

using Kind = Notice::Kind;
using Problem = NoticeFacts::CreateProblem;
using testing::ElementsAre;
using testing::IsEmpty;

/// Everything is well: a session that is in step, a console, room for hours.
NoticeFacts well() {
    NoticeFacts facts;
    facts.session = facts.lastOpened = "/Shows/Friday Night";
    facts.channels = 24;
    facts.difference = SessionDifference{};
    facts.recording.inputs = 31;
    facts.recording.volumes = {{"Show", 31ULL * 48'000 * 4 * 60 * 60}};
    return facts;
}

struct Row {
    const char *name;
    std::function<void(NoticeFacts &)> change;
    std::vector<Notice> expected;
};

const Row table[] = {
    {"NothingToSay", [](NoticeFacts &) {}, {}},
    {"NothingIsKnown", [](NoticeFacts &facts) { facts = {}; }, {}},
    {"CreateWithoutAName",
     [](NoticeFacts &facts) { facts.createProblem = Problem::noName; },
     {{Kind::createCannot, "Type a session name."}}},
    {"CreateWithoutChannels",
     [](NoticeFacts &facts) { facts.createProblem = Problem::noChannels; },
     {{Kind::createCannot, "The synchronised patch has no channels; press SYNC LV1."}}},
    {"LiveTraxOpenedAnotherSession",
     [](NoticeFacts &facts) { facts.lastOpened = "/Shows/Palau"; },
     {{Kind::otherSession,
       "LiveTrax opened “\u2068Palau\u2069” last; SYNC LV1 works on “\u2068Friday Night\u2069”.",
       "Use “\u2068Palau\u2069”"}}},
    {"LiveTraxOpenedNoSession", [](NoticeFacts &facts) { facts.lastOpened.reset(); }, {}},
    {"NoSessionIsActive", [](NoticeFacts &facts) { facts.session.reset(); }, {}},
    {"TheSessionIsGone",
     [](NoticeFacts &facts) {
         facts.session = "/Volumes/Show/Friday Night";
         facts.lastOpened.reset();
         facts.sessionIsGone = true;
         facts.difference = SessionDifference{2, 0, 0};
     },
     {{Kind::sessionGone, "“\u2068Friday Night\u2069” is not at \u2068/Volumes/Show\u2069 any more.",
       "Choose…"}}},
    {"TheLocalNetworkIsRefused",
     [](NoticeFacts &facts) { facts.networkIsRefused = true; },
     {{Kind::networkRefused,
       "This computer does not let Corvane use the local network, where consoles are. Switch Corvane on in "
       "System Settings, Privacy & Security, Local Network."}}},
    {"TheLinkIsDown",
     [](NoticeFacts &facts) { facts.linkIsDown = true; },
     {{Kind::linkDown, "The console is not connected. Choose it again in LV1 HOST, or:", "Reconnect"}}},
    {"TheSessionLacksChannels",
     [](NoticeFacts &facts) {
         facts.difference = SessionDifference{2, 1, 3};
     },
     {{Kind::sessionDiffers,
       "“\u2068Friday Night\u2069” lacks 2 of the console's 24 channels. It has 1 track that the console "
       "does "
       "not have. It differs from the console in 3 tracks.",
       "Update…"}}},
    {"TheSessionOnlyLacksChannels",
     [](NoticeFacts &facts) {
         facts.difference = SessionDifference{2, 0, 0, 3};
         facts.differences = {"Vox is added", "OH is added"};
     },
     {{Kind::sessionDiffers, "“\u2068Friday Night\u2069” lacks 2 of the console's 24 channels.", "Update…",
       "", 0, "The update would change:\nVox is added\nOH is added"}}},
    {"TheSessionLacksTheOnlyChannel",
     [](NoticeFacts &facts) {
         facts.channels = 1;
         facts.difference = SessionDifference{1, 0, 0};
     },
     {{Kind::sessionDiffers, "“\u2068Friday Night\u2069” lacks 1 of the console's 1 channel.", "Update…"}}},
    {"TheSessionHasAnotherTrack",
     [](NoticeFacts &facts) {
         facts.difference = SessionDifference{0, 1, 3};
     },
     {{Kind::sessionDiffers,
       "“\u2068Friday Night\u2069” has 1 track that the console does not have. It differs from the console "
       "in 3 "
       "tracks.",
       "Update…"}}},
    {"AnUpdateWouldTakeRecordingsOut",
     [](NoticeFacts &facts) {
         facts.difference = SessionDifference{0, 2, 0};
         facts.takesInDifference = {"Mix print", "Talk"};
     },
     {{Kind::sessionDiffers,
       "“\u2068Friday Night\u2069” has 2 tracks that the console does not have. An update takes 2 recorded "
       "tracks out: Mix print, Talk.",
       "Update…"}}},
    {"AnUpdateWouldTakeARecordingOut",
     [](NoticeFacts &facts) {
         facts.difference = SessionDifference{0, 1, 0};
         facts.takesInDifference = {"Talk"};
     },
     {{Kind::sessionDiffers,
       "“\u2068Friday Night\u2069” has 1 track that the console does not have. An update takes 1 recorded "
       "track out: Talk.",
       "Update…"}}},
    {"TheSessionHasAnotherName",
     [](NoticeFacts &facts) {
         facts.difference = SessionDifference{0, 0, 1};
     },
     {{Kind::sessionDiffers, "“\u2068Friday Night\u2069” differs from the console in 1 track.", "Update…"}}},
    {"ATrackStandsElsewhere",
     [](NoticeFacts &facts) {
         facts.difference = SessionDifference{0, 0, 0, 1};
     },
     {{Kind::sessionDiffers, "“\u2068Friday Night\u2069” has 1 track in another place than the console.",
       "Update…"}}},
    {"TheSessionHasOtherNames",
     [](NoticeFacts &facts) {
         facts.difference = SessionDifference{0, 0, 3};
     },
     {{Kind::sessionDiffers, "“\u2068Friday Night\u2069” differs from the console in 3 tracks.", "Update…"}}},
    {"TheSessionHasAnotherOrder",
     [](NoticeFacts &facts) {
         facts.difference = SessionDifference{0, 0, 0, 2};
     },
     {{Kind::sessionDiffers, "“\u2068Friday Night\u2069” has 2 tracks in another place than the console.",
       "Update…"}}},
    {"ChangesArePendingAnyway", [](NoticeFacts &facts) { facts.difference.reset(); }, {}},
    {"AnUpdateRemovedRecordings",
     [](NoticeFacts &facts) {
         facts.removedWithTakes = {"Mix print", "Talk"};
         facts.recordingsSinceRemoval = 0;
     },
     {{Kind::takesRemoved, "2 tracks with recordings left the session: Mix print, Talk.", "Undo", "", 0,
       "Undo puts the whole session back as it was before the update: markers, edits and mixes made since go "
       "with it."}}},
    {"AnUpdateRemovedARecordingForGood",
     [](NoticeFacts &facts) { facts.removedWithTakes = {"Talk"}; },
     {{Kind::takesRemoved, "1 track with recordings left the session: Talk."}}},
    {"ARecordingWasMadeSince",
     [](NoticeFacts &facts) {
         facts.removedWithTakes = {"Talk"};
         facts.recordingsSinceRemoval = 1;
     },
     {{Kind::takesRemoved, "1 track with recordings left the session: Talk. 1 recording was made since."}}},
    {"RecordingsWereMadeSince",
     [](NoticeFacts &facts) {
         facts.removedWithTakes = {"Talk"};
         facts.recordingsSinceRemoval = 2;
     },
     {{Kind::takesRemoved, "1 track with recordings left the session: Talk. 2 recordings were made since."}}},
    {"ANameIsTooLong",
     [](NoticeFacts &facts) {
         facts.overlongNames = {"One is too long.", "Two.", "Three."};
     },
     {{Kind::namesUnfit, "One is too long. (And 2 more.)", "", "", 0,
       "All of them:\nOne is too long.\nTwo.\nThree."}}},
    {"OneNameAloneIsTooLong",
     [](NoticeFacts &facts) { facts.overlongNames = {"One is too long."}; },
     {{Kind::namesUnfit, "One is too long."}}},
    {"ANameIsRewritten",
     [](NoticeFacts &facts) {
         facts.rewrittenNames = {"One would be called Two.", "Three."};
     },
     {{Kind::namesRewritten, "One would be called Two. (And 1 more.)", "", "", 0,
       "All of them:\nOne would be called Two.\nThree."}}},
    {"RecordingsAreAtRisk",
     [](NoticeFacts &facts) { facts.atRisk = {"Mix print"}; },
     {{Kind::takesAtRisk, "SYNC LV1 will take 1 recorded track out of the session: Mix print.",
       "Show plan"}}},
    {"TwoRecordingsAreAtRisk",
     [](NoticeFacts &facts) {
         facts.atRisk = {"Mix print", "Talk"};
     },
     {{Kind::takesAtRisk, "SYNC LV1 will take 2 recorded tracks out of the session: Mix print, Talk.",
       "Show plan"}}},
    {"AMarkerIsLost",
     [](NoticeFacts &facts) {
         facts.lostMarker = {{"Solo", "UDP port 8000 is in use by another program."}};
     },
     {{Kind::markerLost, "The marker “\u2068Solo\u2069” did not reach LiveTrax: UDP port 8000 is in use by "
                         "another program."}}},
    {"AMarkerIsLostToAProgramThatIsKnown",
     [](NoticeFacts &facts) {
         facts.lostMarker = {{"Solo", "UDP port 8000 is in use by another program."}};
         facts.portHolder = {{"UDP port 8000 is in use by another program.", "corvane (process 12)"}};
     },
     {{Kind::markerLost, "The marker “\u2068Solo\u2069” did not reach LiveTrax: UDP port 8000 is in use by "
                         "another program. It is held by corvane (process 12)."}}},
    {"AMarkerIsLostForAnotherReason",
     [](NoticeFacts &facts) {
         facts.lostMarker = {{"Solo", "LiveTrax does not answer."}};
         facts.portHolder = {{"UDP port 8000 is in use by another program.", "corvane (process 12)"}};
     },
     {{Kind::markerLost, "The marker “\u2068Solo\u2069” did not reach LiveTrax: LiveTrax does not answer."}}},
    {"ThePatchIsInConflict",
     [](NoticeFacts &facts) {
         facts.conflicts = {"“Vox” and “Vox FX” share SoundGrid input 25", "More"};
     },
     {{Kind::patchConflict, "“Vox” and “Vox FX” share SoundGrid input 25: a session cannot be created.",
       "Show"}}},
    {"AnHourIsLeft",
     [](NoticeFacts &facts) {
         facts.recording.volumes.push_back({"Big", UINTMAX_MAX});
     },
     {}},
    {"LessThanAnHourIsLeftOnOneOfTwo",
     [](NoticeFacts &facts) {
         facts.recording.volumes.push_back({"Small", 31ULL * 48'000 * 4 * 60 * 39 - 1});
     },
     {{Kind::spaceLow, "38 minutes left on “\u2068Small\u2069” for 31 inputs at 48 kHz.", "",
       "“\u2068Small\u2069”", 1}}},
    {"OfTwoThatHaveTheSameRoomTheFirstIsNamed",
     [](NoticeFacts &facts) {
         facts.recording.volumes = {{"One", 0}, {"Two", 0}};
     },
     {{Kind::spaceLow, "Less than a minute left on “\u2068One\u2069” for 31 inputs at 48 kHz.", "",
       "“\u2068One\u2069”", 5}}},
    {"OneMinuteIsLeftForOneInput",
     [](NoticeFacts &facts) {
         facts.recording = {1, {44'100, 4}, {{"", 44'100ULL * 4 * 60}}};
     },
     {{Kind::spaceLow, "1 minute left on this computer for 1 input at 44.1 kHz.", "", "this computer", 4}}},
    {"TheSessionsOwnFormatCounts",
     [](NoticeFacts &facts) {
         facts.recording = {2, {96'000, 3}, {{"Show", 2ULL * 96'000 * 3 * 60 * 30}}};
     },
     {{Kind::spaceLow, "30 minutes left on “\u2068Show\u2069” for 2 inputs at 96 kHz.", "",
       "“\u2068Show\u2069”", 1}}},
    {"NothingIsLeft",
     [](NoticeFacts &facts) {
         facts.recording.volumes = {{"Show", 0}};
     },
     {{Kind::spaceLow, "Less than a minute left on “\u2068Show\u2069” for 31 inputs at 48 kHz.", "",
       "“\u2068Show\u2069”", 5}}},
    {"NothingIsRecorded",
     [](NoticeFacts &facts) {
         facts.recording = {0, {}, {{"Show", 0}}};
     },
     {}},
};

class NoticeTest : public testing::TestWithParam<Row> {};

TEST_P(NoticeTest, SaysWhatTheTableSays) {
    NoticeFacts facts = well();
    GetParam().change(facts);
    EXPECT_EQ(notices(facts), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Rows, NoticeTest, testing::ValuesIn(table),
                         [](const auto &each) { return each.param.name; });

TEST(Notices, StandInTheOrderOfTheirImportance) {
    NoticeFacts facts = well();
    facts.createProblem = Problem::noName;
    facts.lastOpened = "/Shows/Palau";
    facts.sessionIsGone = true;
    facts.networkIsRefused = true;
    facts.linkIsDown = true;
    facts.removedWithTakes = facts.overlongNames = facts.rewrittenNames = facts.atRisk =
        facts.conflicts = {"One"};
    facts.lostMarker = {{"Solo", "LiveTrax does not answer."}};
    facts.recording.volumes = {{"Show", 0}};
    std::vector<Kind> kinds;
    for (const Notice &notice : notices(facts))
        kinds.push_back(notice.kind);
    EXPECT_THAT(kinds,
                ElementsAre(Kind::createCannot, Kind::otherSession, Kind::sessionGone, Kind::networkRefused,
                            Kind::linkDown, Kind::takesRemoved, Kind::namesUnfit, Kind::takesAtRisk,
                            Kind::markerLost, Kind::namesRewritten, Kind::patchConflict, Kind::spaceLow));
}

TEST(Notices, LittleRoomIsSaidAgainOnlyWhenItIsMuchLess) {
    const auto left = [](const char *volume, std::uintmax_t minutes) {
        NoticeFacts facts = well();
        facts.recording = {1, {48'000, 4}, {{volume, 48'000ULL * 4 * 60 * minutes}}};
        return notices(facts).front();
    };
    EXPECT_TRUE(left("Show", 38).covers(left("Show", 31)));
    EXPECT_TRUE(left("Show", 31).covers(left("Show", 38)));
    EXPECT_FALSE(left("Show", 38).covers(left("Show", 29)));
    EXPECT_TRUE(left("Show", 29).covers(left("Show", 45)));
    EXPECT_FALSE(left("Show", 29).covers(left("Show", 14)));
    EXPECT_FALSE(left("Show", 38).covers(left("Other", 38)));
}

TEST(Notices, LittleRoomGetsWorseBelowAHalfAQuarterFiveMinutesAndOne) {
    const std::vector<std::pair<std::uintmax_t, int>> steps{{59, 1}, {30, 1}, {29, 2}, {15, 2}, {14, 3},
                                                            {5, 3},  {4, 4},  {1, 4},  {0, 5}};
    for (const auto &[minutes, step] : steps) {
        NoticeFacts facts = well();
        facts.recording = {1, {48'000, 4}, {{"Show", 48'000ULL * 4 * 60 * minutes}}};
        EXPECT_EQ(notices(facts).front().step, step) << minutes;
    }
}

TEST(Notices, WhatIsBehindOneIsNoReasonToSayItAgain) {
    const Notice away{Kind::sessionDiffers, "It differs.", "Update…", "", 0, "One track is coloured."};
    EXPECT_TRUE(away.covers({Kind::sessionDiffers, "It differs.", "Update…", "", 0, "Two are."}));
    EXPECT_FALSE(away.covers({Kind::sessionDiffers, "It lacks a channel.", "Update…"}));
}

TEST(Notices, APathOfAnyLengthIsCut) {
    NoticeFacts facts = well();
    facts.session = "/" + std::string(100'000, 'x') + "/Show";
    facts.lastOpened.reset();
    facts.sessionIsGone = true;
    EXPECT_LT(notices(facts).front().text.size(), 300U);
}

TEST(Notices, ANameOfAnyLengthIsCutBetweenTwoLetters) {
    NoticeFacts facts = well();
    std::string longName = "x";
    for (int letters = 0; letters < 100'000; ++letters)
        longName += "é";
    facts.lastOpened = "/Shows/" + longName;
    const std::string text = notices(facts).front().text;
    EXPECT_LT(text.size(), 300U);
    EXPECT_THAT(text, testing::HasSubstr("é…\u2069”"));
}

} // namespace

} // namespace corvane

#include "tests/cli/SessionCommandTest.h"

#include "livetrax/session/History.h"
#include "livetrax/session/LiveTraxGenerator.h"

#include <cmath>
#include <filesystem>

namespace corvane::cli {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class CreateCommandTest : public SessionCommandTest {};
class SyncCommandTest : public SessionCommandTest {};
class HistoryCommandTest : public SessionCommandTest {};
class RestoreCommandTest : public SessionCommandTest {};

// create

TEST_F(CreateCommandTest, WritesTheTemplateAndRemembersTheSession) {
    const Outcome outcome = run({"create", " Gig ", "--in", "out/", "--from", patchFile(band), "--json"});
    EXPECT_EQ(status::done, outcome.status) << outcome.message;
    const std::string session = (fake.folder / "out/Gig").string();
    EXPECT_EQ((json{{"session", session}, {"template", templatePath("Gig")}}), printedJson());
    EXPECT_EQ(session, fake.defaults->values["CorvaneLastSession"]);
    EXPECT_THAT(textOf(templatePath("Gig")), HasSubstr("name=\"OH\""));
    EXPECT_THAT(fake.processes->started, IsEmpty());
}

TEST_F(CreateCommandTest, TellsPeopleWhatWasWrittenWhere) {
    run({"create", "Gig", "--in", "out", "--from", patchFile(band)});
    EXPECT_EQ("session  " + (fake.folder / "out/Gig").string() + "\ntemplate " + templatePath("Gig") + "\n",
              output.printed);
}

TEST_F(CreateCommandTest, AFolderOutsideOfTheRehearsalIsTakenAndThatIsSaid) {
    rehearse();
    run({"create", "Gig", "--in", "out", "--from", patchFile(band)});
    EXPECT_THAT(output.printed, testing::Not(HasSubstr("note")));
    output.printed.clear();
    outcome.reset();
    const TemporaryFolder elsewhere;
    const std::string shows = (elsewhere / "Shows").string();
    run({"create", "Gig", "--in", shows, "--from", patchFile(band)});
    EXPECT_EQ("session  " + shows + "/Gig\ntemplate " + templatePath("Gig") + "\nnote     " + shows +
                  " is outside of the rehearsal's folder; its own sessions are in " +
                  (fake.folder / "home/Music").string() + ".\n",
              output.printed);
    output.printed.clear();
    outcome.reset();
    run({"create", "Gig", "--in", shows, "--from", patchFile(band), "--json"});
    EXPECT_EQ((json{{"session", shows + "/Gig"}, {"template", templatePath("Gig")}}), printedJson());
}

TEST_F(CreateCommandTest, LaunchStartsLiveTraxOnTheNewSession) {
    run({"create", "Gig", "--in", "out", "--from", patchFile(band), "--launch"});
    ASSERT_EQ(1U, fake.processes->started.size());
    const auto &process = fake.processes->started.front();
    EXPECT_EQ(fake.folder / "Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3", process.program);
    EXPECT_THAT(
        process.arguments,
        ElementsAre("-a", "-n", "-k",
                    (fake.folder / "Applications/LiveTrax3.app/Contents/Resources/livetrax.keys").string(),
                    "-T", "Gig", "-N", (fake.folder / "out/Gig").string()));
}

TEST_F(CreateCommandTest, LaunchIsRefusedWhileLiveTraxRuns) {
    startLiveTrax();
    const Outcome outcome = run({"create", "Gig", "--in", "out", "--from", patchFile(band), "--launch"});
    EXPECT_EQ(status::refused, outcome.status);
    EXPECT_EQ("LiveTrax is running. Quit it and try again.", outcome.message);
    EXPECT_FALSE(fake.defaults->values.contains("CorvaneLastSession"));
    EXPECT_TRUE(fake.processes->started.empty());
    EXPECT_EQ(0, run({"create", "Gig", "--in", "out", "--from", patchFile(band)}).status);
}

TEST_F(CreateCommandTest, AFailedLaunchIsTheMessageAndTheSessionStaysRemembered) {
    fake.processes->failure = "LiveTrax3 cannot be started.";
    const Outcome outcome = run({"create", "Gig", "--in", "out", "--from", patchFile(band), "--launch"});
    EXPECT_EQ(status::refused, outcome.status);
    EXPECT_EQ("LiveTrax3 cannot be started.", outcome.message);
    EXPECT_EQ((fake.folder / "out/Gig").string(), fake.defaults->values["CorvaneLastSession"]);
    EXPECT_THAT(output.printed, IsEmpty());
}

TEST_F(CreateCommandTest, NoChannelsAreRefused) {
    const Outcome outcome = run({"create", "Gig", "--in", "out", "--from", patchFile({})});
    EXPECT_EQ(status::refused, outcome.status);
    EXPECT_EQ("There are no channels to record.", outcome.message);
    EXPECT_FALSE(std::filesystem::exists(fake.folder / "out"));
}

TEST_F(CreateCommandTest, WhatTheEngineRefusesIsTheMessage) {
    std::filesystem::create_directories(fake.folder / "out/Gig");
    const Outcome outcome = run({"create", "Gig", "--in", "out", "--from", patchFile(band)});
    EXPECT_EQ(status::refused, outcome.status);
    EXPECT_EQ("A session already exists at " + (fake.folder / "out/Gig").string() +
                  ". Choose another name or folder.",
              outcome.message);
}

TEST_F(CreateCommandTest, ChannelsThatCannotBeOneSessionAreNamedBeneathTheRefusal) {
    const Outcome inputs = run({"create", "Gig", "--in", "out", "--from",
                                patchFile({mono("Vox", 24, 1), stereo("FX", 23, 2), stereo("Keys", 24, 3)})});
    EXPECT_EQ(status::refused, inputs.status);
    EXPECT_EQ("The session would create a repeated direct-out id (25).\n"
              "  “\u2068Vox\u2069”, “\u2068FX\u2069” and “\u2068Keys\u2069” share SoundGrid input 25.",
              inputs.message);
    outcome.reset();
    const Outcome names = run({"create", "Gig", "--in", "out", "--from",
                               patchFile({mono("Vox", 0, 1), mono("Vox", 1, 2), mono("Kick", 1, 2)})});
    EXPECT_EQ("The session would create a duplicate audio port (Vox/audio_send 1). Check the LV1 channel "
              "names.\n  2 channels are called “\u2068Vox\u2069”.",
              names.message);
}

TEST_F(CreateCommandTest, WithoutLiveTraxNothingIsCreated) {
    std::filesystem::remove_all(fake.folder / "Applications");
    const Outcome outcome = run({"create", "Gig", "--in", "out", "--from", patchFile(band)});
    EXPECT_EQ(status::refused, outcome.status);
    EXPECT_EQ("LiveTrax 3 or LiveTrax 1 was not found in /Applications.", outcome.message);
    rehearse();
    std::filesystem::remove_all(fake.folder / "Applications");
    this->outcome.reset();
    EXPECT_EQ("LiveTrax 3 or LiveTrax 1 was not found in /Applications.\n  In this rehearsal that is " +
                  (fake.folder / "Applications").string() + ".",
              run({"create", "Gig", "--in", "out", "--from", patchFile(band)}).message);
}

TEST_F(CreateCommandTest, APatchFileThatCannotBeUsedIsWrongUsage) {
    const auto file = fake.folder.write("bad.json", R"({"version":1,"channels":[{"name":7}]})").string();
    const Outcome outcome = run({"create", "Gig", "--in", "out", "--from", file});
    EXPECT_EQ(status::wrongUsage, outcome.status);
    EXPECT_THAT(outcome.message, HasSubstr("name"));
    EXPECT_FALSE(std::filesystem::exists(fake.folder / "out"));
}

TEST_F(CreateCommandTest, AMissingPatchFileIsWrongUsage) {
    const Outcome outcome = run({"create", "Gig", "--in", "out", "--from", "nowhere.json"});
    EXPECT_EQ(status::wrongUsage, outcome.status);
    EXPECT_THAT(outcome.message, HasSubstr("nowhere.json"));
}

TEST_F(CreateCommandTest, TakesTheChannelsFromAConsole) {
    begin({"create", "Gig", "--in", "out", "--host", "10.0.0.1", "--port", "5000"});
    accept();
    deliverPatch(band);
    fake.clock->advance(300ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::done, outcome->status) << outcome->message;
    EXPECT_THAT(textOf(templatePath("Gig")), HasSubstr("name=\"Voice\""));
}

TEST_F(CreateCommandTest, AConsoleThatCannotBeReachedLeavesEverythingAsItWas) {
    begin({"create", "Gig", "--in", "out", "--host", "10.0.0.1", "--port", "5000"});
    stream().fail("No route to host");
    fake.clock->run();
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_EQ("Connection error: No route to host", outcome->message);
    EXPECT_FALSE(std::filesystem::exists(fake.folder / "out"));
}

// sync

TEST_F(SyncCommandTest, BringsTheSessionIntoLine) {
    const auto session = makeSession(band);
    const Outcome outcome =
        run({"sync", session + "/", "--from", patchFile({mono("Kick in", 0, 1), mono("Snare", 1, 2)})});
    EXPECT_EQ(status::done, outcome.status) << outcome.message;
    EXPECT_EQ("Session updated: 1 adjusted, 1 added, 2 removed.\n", output.printed);
    EXPECT_EQ("Kick in|1|0\nSnare|1|1", LiveTraxGenerator::sessionPatchSignature(session));
    EXPECT_EQ(session, fake.defaults->values["CorvaneLastSession"]);
}

TEST_F(SyncCommandTest, CountsAsJson) {
    const auto session = makeSession(band);
    run({"sync", session, "--from", patchFile(band), "--json"});
    EXPECT_EQ((json{{"adjusted", 3}, {"added", 0}, {"removed", 0}}), printedJson());
}

TEST_F(SyncCommandTest, LaunchReopensTheSession) {
    const auto session = makeSession(band);
    run({"sync", session, "--from", patchFile(band), "--launch"});
    ASSERT_EQ(1U, fake.processes->started.size());
    EXPECT_EQ(session, fake.processes->started.front().arguments.back());
}

TEST_F(SyncCommandTest, IsRefusedWhileLiveTraxRuns) {
    const auto session = makeSession(band);
    const std::string before = fake.folder.read("out/Gig/Gig.ardour");
    startLiveTrax();
    const Outcome outcome = run({"sync", session, "--from", patchFile({mono("Snare", 1, 2)})});
    EXPECT_EQ(status::refused, outcome.status);
    EXPECT_EQ("LiveTrax is running. Quit it and try again.", outcome.message);
    EXPECT_EQ(before, fake.folder.read("out/Gig/Gig.ardour"));
    EXPECT_EQ(status::refused, run({"sync", session, "--from", "/no/such/patch.json"}).status);
}

TEST_F(SyncCommandTest, AsksForEachLiveTraxOnceWhereNothingIsWaitedFor) {
    const auto session = makeSession(band);
    fake.applications->asked.clear();
    EXPECT_EQ(0, run({"sync", session, "--from", patchFile({mono("Snare", 1, 2)})}).status);
    EXPECT_EQ(2U, fake.applications->asked.size());
}

TEST_F(SyncCommandTest, IsRefusedWhenLiveTraxWasStartedWhileTheConsoleWasAsked) {
    const auto session = makeSession(band);
    const std::string before = fake.folder.read("out/Gig/Gig.ardour");
    begin({"sync", session, "--host", "10.0.0.1", "--port", "5000"});
    accept();
    deliverPatch({mono("Snare", 1, 2)});
    startLiveTrax();
    fake.clock->advance(300ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ("LiveTrax is running. Quit it and try again.", outcome->message);
    EXPECT_EQ(before, fake.folder.read("out/Gig/Gig.ardour"));
}

TEST_F(SyncCommandTest, AMissingSessionIsTheEnginesMessage) {
    const Outcome outcome = run({"sync", "nowhere", "--from", patchFile(band)});
    EXPECT_EQ(status::refused, outcome.status);
    EXPECT_EQ("The active LiveTrax session was not found at " +
                  (fake.folder / "nowhere/nowhere.ardour").string() + ".",
              outcome.message);
}

TEST_F(SyncCommandTest, ATornSessionFileIsReportedAndKept) {
    const auto file = fake.folder.write("Gig/Gig.ardour", "<Session><Routes>");
    const Outcome outcome = run({"sync", "Gig", "--from", patchFile(band)});
    EXPECT_EQ(status::refused, outcome.status);
    EXPECT_THAT(outcome.message, HasSubstr("Gig.ardour"));
    EXPECT_EQ("<Session><Routes>", textOf(file));
}

TEST_F(SyncCommandTest, NoChannelsAreRefusedUnlessTold) {
    const auto session = makeSession(band);
    const std::string before = fake.folder.read("out/Gig/Gig.ardour");
    const Outcome outcome = run({"sync", session, "--from", patchFile({})});
    EXPECT_EQ(status::refused, outcome.status);
    EXPECT_EQ("There are no channels to record.", outcome.message);
    EXPECT_EQ(before, fake.folder.read("out/Gig/Gig.ardour"));
    this->outcome.reset();
    EXPECT_EQ(status::done, run({"sync", session, "--from", patchFile({}), "--allow-empty"}).status);
    EXPECT_EQ("Session updated: 0 adjusted, 0 added, 3 removed.\n", output.printed);
}

TEST_F(SyncCommandTest, AColourThatIsNoNumberIsTheUsualOne) {
    const auto session = makeSession(band);
    begin({"sync", session, "--host", "10.0.0.1", "--port", "5000"});
    accept();
    deliverPatch({mono("Kick", 0, 1)});
    deliver("/Notify/TrackColor", {0, 0, 0, NAN, 1.0F, 1.0F});
    fake.clock->advance(300ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::done, outcome->status) << outcome->message;
    EXPECT_THAT(fake.folder.read("out/Gig/Gig.ardour"), HasSubstr("color=\"1066195199\""));
}

// history and restore

TEST_F(HistoryCommandTest, ListsTheCopiesNewestFirst) {
    const auto session = makeSession(band);
    sync(session, {mono("Kick in", 0, 1), mono("Snare", 1, 2)});
    sync(session, {mono("Kick", 0, 1), mono("Snare", 1, 2)});
    EXPECT_EQ(status::done, run({"history", session + "/", "--json"}).status);
    const json copies = printedJson()["copies"];
    ASSERT_EQ(2U, copies.size());
    EXPECT_EQ((json{{"number", 1},
                    {"time", timeText(fake.wallTime)},
                    {"bytes", copies[0]["bytes"]},
                    {"tracks", 2},
                    {"before", "sync"},
                    {"adjusted", 2},
                    {"added", 0},
                    {"removed", json::array()}}),
              copies[0]);
    EXPECT_EQ(2, copies[1]["number"]);
    EXPECT_EQ((json{"OH", "Voice"}), copies[1]["removed"]);
    EXPECT_GT(copies[1]["bytes"], 1000);
}

TEST_F(HistoryCommandTest, PeopleGetATable) {
    const auto session = makeSession(band);
    EXPECT_EQ(status::done, run({"history", session}).status);
    EXPECT_EQ("No copies are kept of this session.\n", output.printed);
    output.printed.clear();
    outcome.reset();
    sync(session, {mono("Kick in", 0, 1), mono("Snare", 1, 2)});
    run({"history", session});
    EXPECT_EQ("COPY  TIME                           TRACKS  KEPT BEFORE A  WHICH\n"
              "1     " +
                  timeText(fake.wallTime) +
                  "  3       sync           adjusted 1, added 1, removed OH, Voice\n",
              output.printed);
}

TEST_F(HistoryCommandTest, AFolderWithoutASessionIsSaidToBeSo) {
    const std::string gone = (fake.folder / "nowhere").string();
    EXPECT_EQ(status::done, run({"history", gone}).status);
    EXPECT_EQ("No copies are kept of " + gone + ", and there is no session there.\n", output.printed);
    const auto session = makeSession(band);
    sync(session, band);
    output.printed.clear();
    outcome.reset();
    run({"history", "elsewhere/Gig"});
    EXPECT_EQ("No copies are kept of " + (fake.folder / "elsewhere/Gig").string() +
                  ", and there is no session there. A session of that name is at " + session + ".\n",
              output.printed);
}

TEST_F(HistoryCommandTest, ASessionWithoutCopiesIsAnEmptyList) {
    EXPECT_EQ(status::done, run({"history", "nowhere", "--json"}).status);
    EXPECT_EQ((json{{"copies", json::array()}}), printedJson());
}

TEST_F(HistoryCommandTest, SaysWhatGoesOnWhileALongHistoryIsRead) {
    EXPECT_EQ(status::done, run({"history", "nowhere"}).status);
    EXPECT_EQ(std::vector<std::string>{"Looking for copies…"}, output.shown);
}

TEST_F(RestoreCommandTest, PutsTheNewestCopyBack) {
    const auto session = makeSession(band);
    const std::string before = fake.folder.read("out/Gig/Gig.ardour");
    sync(session, {mono("Snare", 1, 2)});
    const auto syncTime = fake.wallTime;
    fake.wallTime += 1min;
    const Outcome outcome = run({"restore", session, "--json"});
    EXPECT_EQ(status::done, outcome.status) << outcome.message;
    EXPECT_EQ(before, fake.folder.read("out/Gig/Gig.ardour"));
    EXPECT_EQ((json{{"restored", {{"number", 1}, {"time", timeText(syncTime)}}},
                    {"kept", {{"number", 1}, {"time", timeText(fake.wallTime)}}}}),
              printedJson());
}

TEST_F(RestoreCommandTest, SaysWhatGoesBackWithTheSession) {
    const auto session = makeSession(band);
    sync(session, {mono("Snare", 1, 2)});
    EXPECT_EQ(status::done, run({"restore", session}).status);
    EXPECT_EQ("Restored the copy of " + timeText(fake.wallTime) +
                  ". What was there before is copy 1 now.\n"
                  "Markers, edits and mixes made since then are in that copy alone.\n",
              output.printed);
    outcome.reset();
    output.printed.clear();
    run({"history", session, "--json"});
    EXPECT_EQ("restore", printedJson()["copies"][0]["before"]);
}

TEST_F(RestoreCommandTest, ACopyIsChosenByItsNumberOrItsTime) {
    const auto session = makeSession(band);
    const std::string before = fake.folder.read("out/Gig/Gig.ardour");
    sync(session, {mono("Snare", 1, 2)});
    const std::string first = timeText(fake.wallTime);
    const std::string between = fake.folder.read("out/Gig/Gig.ardour");
    sync(session, {mono("Tom", 2, 3)});

    EXPECT_EQ(status::done, run({"restore", session, "--number", "2"}).status);
    EXPECT_EQ(before, fake.folder.read("out/Gig/Gig.ardour"));
    outcome.reset();
    EXPECT_EQ(status::done, run({"restore", session, "--number", "2"}).status) << "they moved on by one";
    EXPECT_EQ(between, fake.folder.read("out/Gig/Gig.ardour"));
    outcome.reset();
    EXPECT_EQ(status::done, run({"restore", session, "--at", first}).status);
    EXPECT_EQ(before, fake.folder.read("out/Gig/Gig.ardour"));
}

TEST_F(RestoreCommandTest, ACopyThatIsNotThereIsWrongUsage) {
    const auto session = makeSession(band);
    sync(session, band);
    for (const std::vector<std::string> &which :
         {std::vector<std::string>{"--number", "2"}, {"--number", "0"}, {"--at", "2026-01-31"}}) {
        outcome.reset();
        const Outcome outcome = run({"restore", session, which[0], which[1]});
        EXPECT_EQ(status::wrongUsage, outcome.status);
        EXPECT_EQ("There is no such copy of " + session + ".\n  The only one is 1 (" +
                      timeText(fake.wallTime) + ").",
                  outcome.message);
    }
    const std::string first = timeText(fake.wallTime);
    sync(session, band);
    EXPECT_EQ("There is no such copy of " + session + ".\n  They are 1 (" + timeText(fake.wallTime) +
                  ") to 2 (" + first + ").",
              run({"restore", session, "--number", "9"}).message);
    outcome.reset();
    EXPECT_EQ("There is no such copy of " + (fake.folder / "nowhere").string() + ".",
              run({"restore", "nowhere"}).message);
    outcome.reset();
    EXPECT_EQ(status::wrongUsage, run({"restore", session, "--number", "x"}).status);
    outcome.reset();
    EXPECT_EQ(status::wrongUsage, run({"restore", session, "--number", "1", "--at", "x"}).status);
}

TEST_F(RestoreCommandTest, IsRefusedWhileLiveTraxRuns) {
    const auto session = makeSession(band);
    sync(session, {mono("Snare", 1, 2)});
    const std::string before = fake.folder.read("out/Gig/Gig.ardour");
    startLiveTrax();
    const Outcome outcome = run({"restore", session});
    EXPECT_EQ(status::refused, outcome.status);
    EXPECT_EQ("LiveTrax is running. Quit it and try again.", outcome.message);
    EXPECT_EQ(before, fake.folder.read("out/Gig/Gig.ardour"));
}

TEST_F(RestoreCommandTest, RecordingsMadeSinceThenAreDiscardedOnlyWhenTold) {
    const auto session = makeSession(band);
    sync(session, {mono("Snare", 1, 2)});
    std::string text = fake.folder.read("out/Gig/Gig.ardour");
    text.insert(text.find("<Regions"), "<Sources><Source id='9' name='Snare-1.wav'/></Sources>");
    text.erase(text.find("<Sources/>"), 10);
    fake.folder.write("out/Gig/Gig.ardour", text);
    const Outcome outcome = run({"restore", session});
    EXPECT_EQ(status::refused, outcome.status);
    EXPECT_EQ("1 recording was made since then.", outcome.message);
    this->outcome.reset();
    EXPECT_EQ(status::done, run({"restore", session, "--discard-recordings"}).status);
}

TEST_F(SyncCommandTest, LaunchStartsNoSecondLiveTrax) {
    const auto session = makeSession(band);
    fake.defaults->onSet = [this] { startLiveTrax(); }; // while the session is written
    run({"sync", session, "--from", patchFile({mono("Snare", 1, 2)}), "--launch"});
    EXPECT_THAT(fake.processes->started, IsEmpty());
}

TEST_F(CreateCommandTest, LaunchStartsNoSecondLiveTrax) {
    fake.defaults->onSet = [this] { startLiveTrax(); };
    run({"create", "Gig", "--in", "out", "--from", patchFile(band), "--launch"});
    EXPECT_THAT(fake.processes->started, IsEmpty());
}

} // namespace
} // namespace corvane::cli

#include "tests/cli/CommandTest.h"

#include "livetrax/session/LiveTraxGenerator.h"

#include <filesystem>

namespace corvane::cli {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::vector<LV1Channel> band{mono("Kick", 0, 1), stereo("OH", 6, 2), mono("Voice", 3, 3)};

class SessionCommandTest : public CommandTest {
protected:
    SessionCommandTest() { installLiveTrax(); }

    std::string templatePath(const std::string &name) const {
        return (fake.folder.path() / "home/Library/Preferences/LiveTrax3/templates" / name /
                (name + ".template"))
            .string();
    }
    /// A session of these channels on disk, as LiveTrax makes it from the template.
    std::string makeSession(const std::vector<LV1Channel> &channels) {
        EXPECT_EQ(status::done, run({"create", "Gig", "--in", "out", "--from", patchFile(channels)}).status);
        outcome.reset();
        output.printed.clear();
        fake.defaults->values.clear();
        return fake.folder.write("out/Gig/Gig.ardour", textOf(templatePath("Gig"))).parent_path().string();
    }
};

class CreateCommandTest : public SessionCommandTest {};
class SyncCommandTest : public SessionCommandTest {};
class PlanCommandTest : public SessionCommandTest {};
class SignatureCommandTest : public SessionCommandTest {};

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
              "  “Vox”, “FX” and “Keys” share SoundGrid input 25.",
              inputs.message);
    outcome.reset();
    const Outcome names = run({"create", "Gig", "--in", "out", "--from",
                               patchFile({mono("Vox", 0, 1), mono("Vox", 1, 2), mono("Kick", 1, 2)})});
    EXPECT_EQ("The session would create a duplicate audio port (Vox/audio_send 1). Check the LV1 channel "
              "names.\n  2 channels are called “Vox”.",
              names.message);
}

TEST_F(CreateCommandTest, WithoutLiveTraxNothingIsCreated) {
    std::filesystem::remove_all(fake.folder / "Applications");
    const Outcome outcome = run({"create", "Gig", "--in", "out", "--from", patchFile(band)});
    EXPECT_EQ(status::refused, outcome.status);
    EXPECT_EQ("LiveTrax 3 or LiveTrax 1 was not found in /Applications.", outcome.message);
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

// plan

TEST_F(PlanCommandTest, ShowsEachDecisionAndTouchesNothing) {
    const auto session = makeSession(band);
    const std::string before = fake.folder.read("out/Gig/Gig.ardour");
    const Outcome outcome = run({"plan", session, "--json", "--from",
                                 patchFile({mono("Kick", 0, 1), mono("Snare", 1, 2), mono("Lead", 3, 3)})});
    EXPECT_EQ(status::done, outcome.status) << outcome.message;
    EXPECT_EQ(json::parse(R"({"tracks":[
        {"action":"keep","name":"Kick","input":0,"stereo":false,"was":{}},
        {"action":"add","name":"Snare","input":1,"stereo":false,"was":{}},
        {"action":"change","name":"Lead","input":3,"stereo":false,"was":{"name":"Voice"}},
        {"action":"remove","name":"OH","input":6,"stereo":true,"was":{}}],
        "adjusted":2,"added":1,"removed":1})"),
              printedJson());
    EXPECT_EQ(before, fake.folder.read("out/Gig/Gig.ardour"));
    EXPECT_EQ(1, TemporaryFolder::entries(session)) << "no backup either";
    EXPECT_THAT(fake.defaults->values, IsEmpty());
}

TEST_F(PlanCommandTest, PeopleGetATable) {
    const auto session = makeSession(band);
    run({"plan", session, "--from", patchFile({mono("Kick in", 0, 1), stereo("OH", 6, 2)})});
    EXPECT_EQ("ACTION  TRACK    INPUT  BEFORE\n"
              "change  Kick in  1      name Kick\n"
              "keep    OH       7–8\n"
              "remove  Voice    4\n"
              "2 adjusted, 0 added, 1 removed\n",
              output.printed);
}

TEST_F(PlanCommandTest, WorksWhileLiveTraxRuns) {
    const auto session = makeSession(band);
    startLiveTrax();
    EXPECT_EQ(status::done, run({"plan", session, "--from", patchFile(band)}).status);
}

// signature

TEST_F(SignatureCommandTest, OfASessionAndOfItsPatchFileAreAlike) {
    const auto session = makeSession(band);
    const std::string expected = "Kick|1|0\nOH|2|6\nVoice|1|3";
    EXPECT_EQ(status::done, run({"signature", session, "--json"}).status);
    EXPECT_EQ((json{{"signature", expected}}), printedJson());
    output.printed.clear();
    EXPECT_EQ(status::done, run({"signature", "--from", patchFile(band)}).status);
    EXPECT_EQ(expected + "\n", output.printed);
}

TEST_F(SignatureCommandTest, ASessionThatCannotBeReadIsRefused) {
    const Outcome outcome = run({"signature", "nowhere"});
    EXPECT_EQ(status::refused, outcome.status);
    EXPECT_EQ("The session at " + (fake.folder / "nowhere").string() + " cannot be read.", outcome.message);
}

} // namespace
} // namespace corvane::cli

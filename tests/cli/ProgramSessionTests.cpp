#include "tests/cli/ProgramTest.h"

#include "cli/Outcome.h"
#include "tests/support/EnvironmentVariable.h"

#include <algorithm>
#include <chrono>

namespace corvane::cli {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// The programs as they are used, from a console to a recording session.
class SessionProgramTest : public ProgramTest {
protected:
    const std::string sessions = (work / "Sessions").string();
    const std::string session = sessions + "/Friday Night";

    std::string sessionFile() const { return textOf(session + "/Friday Night.ardour"); }

    void expectDone(const Ran &ran) const {
        EXPECT_EQ(status::done, ran.status) << ran.errors;
        EXPECT_THAT(ran.errors, IsEmpty());
    }
};

TEST_F(SessionProgramTest, AnEveningFromTheConsoleToAnUpdatedSession) {
    installLiveTrax();
    const Console console;

    const Ran created =
        run(Arguments{"create", "Friday Night", "--in", sessions + "/", "--launch", "--json"} +
            console.address());
    expectDone(created);
    EXPECT_EQ(json(session), created.json()["session"]);
    EXPECT_TRUE(std::filesystem::exists(created.json()["template"].get<std::string>()));
    ASSERT_TRUE(liveTraxAnswers());
    EXPECT_TRUE(std::filesystem::exists(session + "/Friday Night.ardour"));

    EXPECT_EQ((json{{"speed", 0.0}, {"recordEnabled", false}, {"isRecording", false}}),
              run({"transport", "--json"}).json());
    expectDone(run({"marker", "Verse 2"}));
    const Ran saved = run({"save", "--json"});
    expectDone(saved);
    EXPECT_EQ((json{{"sent", {"/save_state"}}}), saved.json());
    EXPECT_TRUE(eventually([&] { return sessionFile().find("Verse 2") != std::string::npos; }));

    const Ran refused = run(Arguments{"sync", session} + console.address());
    EXPECT_EQ(status::refused, refused.status);
    EXPECT_EQ("LiveTrax is running. Quit it and try again.\n", refused.errors);
    EXPECT_THAT(refused.output, IsEmpty());
    quitLiveTrax();

    console.type("rename 1 Kick In");
    console.type("move 2 60");
    const std::string before = sessionFile();
    const Ran planned = run(Arguments{"plan", session, "--json"} + console.address());
    expectDone(planned);
    EXPECT_EQ(23, planned.json()["adjusted"]);
    EXPECT_EQ(1, planned.json()["added"]);
    EXPECT_EQ(1, planned.json()["removed"]);
    EXPECT_EQ(before, sessionFile());

    const Ran synced = run(Arguments{"sync", session + "/"} + console.address());
    expectDone(synced);
    EXPECT_EQ("Session updated: 23 adjusted, 1 added, 1 removed.\n", synced.output);
    EXPECT_EQ(1, TemporaryFolder::entries(session + "/backup"));

    const Ran patch = run(Arguments{"patch", "--save", (work / "patch.json").string()} + console.address());
    expectDone(patch);
    EXPECT_EQ(run({"signature", session}).output,
              run({"signature", "--from", (work / "patch.json").string()}).output);
    EXPECT_EQ(json({{"CorvaneLastSession", session}})["CorvaneLastSession"],
              json::parse(textOf(room / "home/.config/corvane/defaults.json"))["CorvaneLastSession"]);
}

TEST_F(SessionProgramTest, SyncLaunchReopensTheSession) {
    installLiveTrax();
    const Console console;
    expectDone(run(Arguments{"create", "Friday Night", "--in", sessions, "--launch"} + console.address()));
    ASSERT_TRUE(liveTraxAnswers());
    quitLiveTrax();
    expectDone(run(Arguments{"sync", session, "--launch"} + console.address()));
    EXPECT_TRUE(liveTraxAnswers());
    EXPECT_THAT(textOf(room / "home/Library/Application Support/Corvane/livetrax.log"),
                HasSubstr("--- LiveTrax "));
}

TEST_F(SessionProgramTest, NothingOfTheProgramsOutlivesItInTheStartedLiveTrax) {
    installLiveTrax();
    const Console console;
    expectDone(run(Arguments{"create", "Friday Night", "--in", sessions, "--launch"} + console.address()));
    ASSERT_TRUE(liveTraxAnswers());
    const Ran held = shell("for exe in /proc/[0-9]*/exe; do case $(readlink $exe) in \"$room\"/*) "
                           "ls -l ${exe%exe}fd;; esac; done");
    EXPECT_THAT(held.output, Not(HasSubstr("defaults.json")));
    EXPECT_THAT(held.output, Not(HasSubstr(".rehearsal")));
}

TEST_F(SessionProgramTest, TransportTellsOfARollingRecorder) {
    const EnvironmentVariable recording("LIVETRAX_SIM", "recording");
    installLiveTrax();
    const Console console;
    expectDone(run(Arguments{"create", "Friday Night", "--in", sessions, "--launch"} + console.address()));
    ASSERT_TRUE(liveTraxAnswers());
    const json state = run({"transport", "--json"}).json();
    EXPECT_NE(0.0, state["speed"]);
    EXPECT_EQ(true, state["recordEnabled"]);
}

TEST_F(SessionProgramTest, ADeafOrMissingLiveTraxDoesNotAnswerInItsTime) {
    const auto begin = std::chrono::steady_clock::now();
    const Ran ran = run({"transport"});
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(status::noAnswer, ran.status);
    EXPECT_EQ("LiveTrax does not answer.\n", ran.errors);
    EXPECT_THAT(ran.output, IsEmpty());
    EXPECT_GE(took, std::chrono::milliseconds(2500));
    EXPECT_LT(took, std::chrono::seconds(10));
}

TEST_F(SessionProgramTest, SaveAndMarkerKnowWhetherSomebodyListens) {
    const std::vector<Arguments> commands{
        {"save"}, {"marker", "Verse"}, {"marker", "Verse", "--style", "named"}, {"save", "--confirm"}};
    for (int round = 0; round < 5; ++round) {
        for (const Arguments &command : commands) {
            const Ran ran = run(command);
            EXPECT_EQ(status::noAnswer, ran.status) << command.front();
            EXPECT_EQ("LiveTrax does not answer.\n", ran.errors);
            EXPECT_THAT(ran.output, IsEmpty());
        }
    }
    installLiveTrax();
    const Console console;
    expectDone(run(Arguments{"create", "Friday Night", "--in", sessions, "--launch"} + console.address()));
    ASSERT_TRUE(liveTraxAnswers());
    for (int round = 0; round < 5; ++round)
        for (const Arguments &command : commands)
            expectDone(run(command));
}

TEST_F(SessionProgramTest, ARehearsalStopsWhereSomebodyElseHoldsAPort) {
    for (const std::uint16_t port : {std::uint16_t{3819}, std::uint16_t{8000}}) {
        const Ran ran = shell(
            "python3 -c \"import socket, subprocess, sys; s = socket.socket(socket.AF_INET, "
            "socket.SOCK_DGRAM); s.bind(('127.0.0.1', " +
            std::to_string(port) +
            ")); sys.exit(subprocess.call(sys.argv[1:]))\" \"$corvanectl\" transport --rehearse \"$room\"");
        EXPECT_EQ(status::noAnswer, ran.status);
        EXPECT_EQ("UDP port " + std::to_string(port) + " is in use by another program.\n", ran.errors);
    }
}

TEST_F(SessionProgramTest, OutsideARehearsalATakenReplyPortIsSaid) {
    const EnvironmentVariable home("HOME", work.path().c_str());
    const Ran ran = shell("python3 -c \"import socket, subprocess, sys; s = socket.socket(socket.AF_INET, "
                          "socket.SOCK_DGRAM); s.bind(('127.0.0.1', 8000)); "
                          "sys.exit(subprocess.call(sys.argv[1:]))\" \"$corvanectl\" save");
    EXPECT_EQ(status::noAnswer, ran.status);
    EXPECT_EQ("UDP port 8000 is in use by another program.\n", ran.errors);
}

TEST_F(SessionProgramTest, APortThatCorvanesWindowHoldsIsSaidToBeIts) {
    const EnvironmentVariable home("HOME", work.path().c_str());
    // A program of that name: the holder is known by the file that it runs.
    const std::string window =
        "cp \"$(python3 -c 'import sys; print(sys.executable)')\" \"$work/corvane\" && \"$work/corvane\" -c "
        "\"import socket, subprocess, sys; s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM); "
        "s.bind(('127.0.0.1', 8000)); sys.exit(subprocess.call(sys.argv[1:]))\" \"$corvanectl\" save";
    for (const std::string where : {"", " --rehearse \"$room\""}) {
        const Ran ran = shell(window + where);
        EXPECT_EQ(status::noAnswer, ran.status);
        EXPECT_THAT(ran.errors, testing::MatchesRegex(
                                    "UDP port 8000 is in use by another program.\n  It is held by corvane "
                                    ".process [0-9]+.: as long as it runs, it alone talks to LiveTrax.\n"))
            << where;
    }
}

TEST_F(SessionProgramTest, WrongUsageIsOneLineAndExitTwo) {
    for (const Arguments &wrong : {Arguments{"create", "--in", sessions},
                                   {"create", " ", "--in", sessions},
                                   {"signature"},
                                   {"dance"},
                                   {"patch", "--host", "h"}}) {
        const Ran ran = run(wrong);
        EXPECT_EQ(status::wrongUsage, ran.status) << wrong.front();
        EXPECT_EQ(1, std::count(ran.errors.begin(), ran.errors.end(), '\n')) << ran.errors;
        EXPECT_THAT(ran.output, IsEmpty());
    }
}

TEST_F(SessionProgramTest, ABadPatchFileSaysWhichFieldOfWhichChannel) {
    installLiveTrax();
    const std::string good = R"({"name":"Kick","stereo":false,"driver":"SG","inputIndex":0,)"
                             R"("sourceType":"Mixer_Ch","sourceIndex":1})";
    std::string bad = good;
    bad.replace(bad.find("\"inputIndex\":0"), 14, "\"inputIndex\":0.5");
    const auto file =
        work.write("bad.json", R"({"version":1,"channels":[)" + good + "," + bad + "]}").string();
    for (const Arguments &command : {Arguments{"create", "Gig", "--in", sessions},
                                     {"sync", session},
                                     {"plan", session},
                                     {"signature"}}) {
        const Ran ran = run(command + Arguments{"--from", file});
        EXPECT_EQ(status::wrongUsage, ran.status) << command.front();
        EXPECT_THAT(ran.errors,
                    testing::AllOf(StartsWith(file + ": "), HasSubstr("channel 2"), HasSubstr("inputIndex")));
    }
    EXPECT_FALSE(std::filesystem::exists(sessions));
}

TEST_F(SessionProgramTest, WhatTheEngineRefusesIsTheMessage) {
    const Console console;
    const Ran missing = run(Arguments{"create", "Gig", "--in", sessions} + console.address());
    EXPECT_EQ(status::refused, missing.status);
    EXPECT_EQ("LiveTrax 3 or LiveTrax 1 was not found in /Applications.\n  In this rehearsal that is " +
                  (room / "Applications").string() + ".\n",
              missing.errors);

    const Ran noSession = run(Arguments{"sync", session} + console.address());
    EXPECT_EQ(status::refused, noSession.status);
    EXPECT_EQ("The active LiveTrax session was not found at " + session + "/Friday Night.ardour.\n",
              noSession.errors);

    const Ran unreadable = run({"signature", session});
    EXPECT_EQ(status::refused, unreadable.status);
    EXPECT_EQ("The session at " + session + " cannot be read.\n", unreadable.errors);
}

TEST_F(SessionProgramTest, NoChannelsAreRefused) {
    installLiveTrax();
    const auto file = work.write("none.json", R"({"version":1,"channels":[]})").string();
    const Ran ran = run({"create", "Gig", "--in", sessions, "--from", file});
    EXPECT_EQ(status::refused, ran.status);
    EXPECT_EQ("There are no channels to record.\n", ran.errors);
}

TEST_F(SessionProgramTest, AResultThatCannotBePrintedIsAFailureThoughTheWorkIsDone) {
    installLiveTrax();
    const Console console;
    const Ran ran =
        shell("exec \"$corvanectl\" create Gig --in \"$work/Sessions\" --rehearse \"$room\" --host "
              "127.0.0.1 --port " +
              std::to_string(console.port()) + " >/dev/full");
    EXPECT_EQ(status::refused, ran.status);
    EXPECT_EQ("Standard output cannot be written: No space left on device\n", ran.errors);
    EXPECT_TRUE(
        std::filesystem::exists(room / "home/Library/Preferences/LiveTrax3/templates/Gig/Gig.template"));
}

} // namespace
} // namespace corvane::cli

#include "cli/Checklist.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace corvane::cli {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using State = Check::State;
using Holder = CheckFacts::Port::Holder;

LV1Channel mono(const std::string &name, int input) {
    return {name, false, "SoundGrid", input, "Mixer_Ch", 1};
}

/// Everything as it should be.
CheckFacts ready() {
    CheckFacts facts;
    facts.console = {"FOH (10.0.0.1:5000)", "multicast", 400ms, true, ""};
    facts.channels = {mono("Kick", 0), {"OH", true, "SoundGrid", 6, "Mixer_Ch", 2}};
    facts.recorder = {"LiveTrax 3", "LiveTrax3", false, RecorderConfiguration{{}, true, {}}, ""};
    facts.baseTemplate = SessionHardware{"CoreAudio;;Waves SoundGrid", {}, 3};
    facts.folder = {"/Shows", true, "", Volume{"Shows", 3'000'000'000'000}};
    CheckFacts::Session session;
    session.place = {"/Shows/Gig", true, "", Volume{"Shows", 3'000'000'000'000}};
    session.made = SessionHardware{"CoreAudio;;Waves SoundGrid", {96'000, 4}, 3};
    session.inStep = true;
    session.plan.emplace();
    session.copies = 2;
    session.newestCopy = "2026-01-31T19:04:05.250+01:00";
    session.wasUpdated = true;
    facts.session = session;
    return facts;
}

Check checkOf(const CheckFacts &facts, const std::string &name) {
    const auto list = checklist(facts);
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const Check &check) { return check.name == name; });
    if (found == list.end()) {
        ADD_FAILURE() << "no line " << name;
        return {};
    }
    return *found;
}

TEST(Checklist, EverythingIsThereInTheOrderInWhichItIsSetUp) {
    std::vector<std::string> names;
    for (const Check &check : checklist(ready())) {
        EXPECT_EQ(State::ok, check.state) << check.name << ": " << check.text;
        names.push_back(check.name);
    }
    EXPECT_THAT(names, ElementsAre("console", "patch", "LiveTrax", "OSC surface", "port 3819", "port 8000",
                                   "device", "folder", "space", "session", "in step", "recordings", "history",
                                   "recovery data"));
}

TEST(Checklist, WithoutFolderAndSessionNothingIsSaidOfThem) {
    auto facts = ready();
    facts.folder.reset();
    facts.session.reset();
    EXPECT_EQ("device", checklist(facts).back().name);
}

TEST(Checklist, SaysWhichWayAConsoleWasHeardAndHowLongAgo) {
    EXPECT_EQ("FOH (10.0.0.1:5000) was heard by multicast 0.4 s ago and has accepted the link.",
              checkOf(ready(), "console").text);
    auto facts = ready();
    facts.console = {"10.0.0.1:5000", "", 0ms, true, ""};
    EXPECT_EQ("10.0.0.1:5000 has accepted the link.", checkOf(facts, "console").text);
}

TEST(Checklist, AConsoleThatWasNotHeardFailsWithWhatToCheck) {
    auto facts = ready();
    facts.console = {"", "", 0ms, false, "No LV1 host was heard.\n  Listened.\n  See that it is on."};
    facts.channels.reset();
    EXPECT_EQ((Check{"console", State::failed, "No LV1 host was heard.", "Listened. See that it is on."}),
              checkOf(facts, "console"));
    EXPECT_EQ(State::failed, checkOf(facts, "patch").state);
}

TEST(Checklist, ConflictsAreSaidByTheChannelsNames) {
    auto facts = ready();
    facts.channels = {mono("Vox", 24), mono("Vox FX", 24)};
    const Check patch = checkOf(facts, "patch");
    EXPECT_EQ(State::failed, patch.state);
    EXPECT_EQ("2 channels, 2 inputs. “\u2068Vox\u2069” and “\u2068Vox FX\u2069” share SoundGrid input 25.",
              patch.text);
    EXPECT_THAT(patch.advice, HasSubstr("console"));
}

TEST(Checklist, APatchWithoutChannelsFailsAndNamesThatLiveTraxChangesAreAWarning) {
    auto facts = ready();
    facts.channels = std::vector<LV1Channel>();
    EXPECT_EQ(State::failed, checkOf(facts, "patch").state);
    EXPECT_EQ("There are no channels to record.", checkOf(facts, "patch").text);
    facts.channels = {mono("Bass D/I", 0)};
    EXPECT_EQ(State::warning, checkOf(facts, "patch").state);
    EXPECT_THAT(checkOf(facts, "patch").text, HasSubstr("Bass D_I"));
}

TEST(Checklist, WithoutLiveTraxItsPreferencesDoNotMatter) {
    auto facts = ready();
    facts.recorder = {};
    EXPECT_EQ("LiveTrax 3 or LiveTrax 1 was not found in /Applications.", checkOf(facts, "LiveTrax").text);
    EXPECT_EQ(State::failed, checkOf(facts, "LiveTrax").state);
    for (const Check &check : checklist(facts))
        EXPECT_NE("OSC surface", check.name);
}

TEST(Checklist, ASurfaceThatIsOffIsSwitchedOnByAStart) {
    auto facts = ready();
    facts.recorder.configuration->surfaceActive = false;
    EXPECT_EQ(State::warning, checkOf(facts, "OSC surface").state);
    EXPECT_THAT(checkOf(facts, "OSC surface").text, HasSubstr("LiveTrax3"));
    facts.recorder.configuration.reset();
    EXPECT_THAT(checkOf(facts, "OSC surface").advice, HasSubstr("Start LiveTrax once"));
    facts.recorder.problem = "The configuration cannot be read.";
    EXPECT_EQ(State::failed, checkOf(facts, "OSC surface").state);
}

TEST(Checklist, ALiveTraxThatListensHasItsSurfaceOn) {
    auto facts = ready();
    facts.recorder.configuration.reset();
    facts.listening = {Holder::liveTrax, "LiveTrax3 (process 12)"};
    EXPECT_EQ((Check{"OSC surface", State::ok, "It is on: LiveTrax listens."}),
              checkOf(facts, "OSC surface"));
    facts.recorder.configuration = RecorderConfiguration{{}, false, {}};
    EXPECT_EQ(State::ok, checkOf(facts, "OSC surface").state);
}

TEST(Checklist, AStandInNeedsNoConfigurationAndWhereItBelongsIsSaid) {
    auto facts = ready();
    facts.recorder.rehearsal = "In this rehearsal that is /room/Applications.";
    facts.recorder.configuration.reset();
    EXPECT_EQ((Check{"OSC surface", State::ok, "LiveTrax's stand-in in a rehearsal needs no configuration."}),
              checkOf(facts, "OSC surface"));
    facts.recorder.configuration = RecorderConfiguration{{}, false, {}};
    EXPECT_EQ(State::warning, checkOf(facts, "OSC surface").state) << "it has one, and that says no";
    facts.recorder.name.clear();
    EXPECT_EQ("In this rehearsal that is /room/Applications.", checkOf(facts, "LiveTrax").advice);
}

TEST(Checklist, ThePortsBelongToTheirPrograms) {
    struct Row {
        bool runs;
        Holder listening, replies;
        State port3819, port8000;
    };
    for (const Row &row : {Row{false, Holder::nobody, Holder::nobody, State::ok, State::ok},
                           Row{true, Holder::nobody, Holder::corvane, State::failed, State::ok},
                           Row{true, Holder::liveTrax, Holder::corvane, State::ok, State::ok},
                           Row{false, Holder::other, Holder::other, State::failed, State::failed},
                           Row{false, Holder::corvane, Holder::liveTrax, State::failed, State::failed}}) {
        auto facts = ready();
        facts.recorder.runs = row.runs;
        facts.listening = {row.listening, "Mail (process 7)"};
        facts.replies = {row.replies, "Mail (process 7)"};
        EXPECT_EQ(row.port3819, checkOf(facts, "port 3819").state);
        EXPECT_EQ(row.port8000, checkOf(facts, "port 8000").state);
        if (row.replies != Holder::nobody) {
            EXPECT_THAT(checkOf(facts, "port 8000").text, HasSubstr("Mail (process 7)"));
        }
    }
}

TEST(Checklist, ASessionForAnotherDeviceIsAWarning) {
    auto facts = ready();
    facts.session->made->device = "JACK;;";
    EXPECT_EQ(State::warning, checkOf(facts, "device").state);
    EXPECT_THAT(checkOf(facts, "device").text, HasSubstr("JACK;;"));
    facts.session.reset();
    EXPECT_EQ(State::ok, checkOf(facts, "device").state);
    facts.baseTemplate.reset();
    facts.templateProblem = "The app does not contain the LiveTrax base template.";
    EXPECT_EQ((Check{"device", State::failed, facts.templateProblem, "Install Corvane anew."}),
              checkOf(facts, "device"));
}

TEST(Checklist, SpaceIsSaidAsRecordingTimeAtTheSessionsRate) {
    constexpr std::uintmax_t minute = 3ULL * 4 * 60;
    auto facts = ready();
    facts.session->place.volume = Volume{"Small", minute * 96'000 * 59};
    EXPECT_EQ((Check{"space", State::warning,
                     "59 min of recording left on “\u2068Small\u2069”: 3 inputs at 96 kHz, 32 bit.",
                     "Free some space, or record elsewhere."}),
              checkOf(facts, "space"));
    facts.session->made->format = {48'000, 3};
    facts.session->place.volume = Volume{"Small", minute * 48'000 * 60};
    EXPECT_EQ("1 h 20 min of recording left on “\u2068Small\u2069”: 3 inputs at 48 kHz, 24 bit.",
              checkOf(facts, "space").text);
    facts.session.reset();
    facts.folder->volume = Volume{"", minute * 48'000 * 95};
    EXPECT_EQ((Check{"space", State::ok, "1 h 35 min of recording left: 3 inputs at 48 kHz, 32 bit."}),
              checkOf(facts, "space"));
    facts.folder->volume = Volume{"", minute * 48'000 - 1};
    EXPECT_EQ(State::failed, checkOf(facts, "space").state);
}

TEST(Checklist, WithoutAPatchTheSessionsOwnTracksCount) {
    auto facts = ready();
    facts.channels.reset();
    facts.session->made->inputs = 12;
    EXPECT_THAT(checkOf(facts, "space").text, HasSubstr("12 inputs"));
    facts.session.reset();
    EXPECT_EQ("3000 GB are free on “\u2068Shows\u2069”.", checkOf(facts, "space").text);
}

TEST(Checklist, AFolderThatCannotBeWrittenFails) {
    auto facts = ready();
    facts.folder->problem = "The file could not be made.";
    EXPECT_EQ(State::failed, checkOf(facts, "folder").state);
    facts.folder->problem.clear();
    facts.folder->exists = false;
    EXPECT_THAT(checkOf(facts, "folder").text, HasSubstr("can be made"));
}

TEST(Checklist, ASessionOutOfStepIsSaidWithThePlansCountsAndTheRecordedTracksThatWouldGo) {
    auto facts = ready();
    facts.session->inStep = false;
    facts.session->plan->result = {20, 4, 1};
    facts.session->plan->tracks = {{TrackDecision::Action::remove, "Vox", 24, false, {}, 3},
                                   {TrackDecision::Action::remove, "Talk", 25, false, {}, 0}};
    EXPECT_EQ((Check{"in step", State::warning, "A sync would adjust 20, add 4, remove 1 tracks.",
                     "Press SYNC LV1, or use corvanectl sync."}),
              checkOf(facts, "in step"));
    EXPECT_EQ("A sync would take out 1 recorded track: “\u2068Vox\u2069”.",
              checkOf(facts, "recordings").text);
    EXPECT_EQ(State::warning, checkOf(facts, "recordings").state);
}

TEST(Checklist, ASyncThatWouldBeRefusedFails) {
    auto facts = ready();
    facts.session->plan.reset();
    facts.session->planProblem = "The session would create a duplicate audio port (A/audio_send 1).";
    EXPECT_EQ((Check{"in step", State::failed, facts.session->planProblem}), checkOf(facts, "in step"));
}

TEST(Checklist, ASessionThatIsNotThereSaysWhatIsMeant) {
    auto facts = ready();
    facts.session->problem = "The active LiveTrax session was not found at /Shows/Gig/Gig.ardour.";
    EXPECT_EQ(State::failed, checkOf(facts, "session").state);
    EXPECT_EQ("session", checklist(facts).back().name);
    EXPECT_EQ("See whether it is the session's folder.", checkOf(facts, "session").advice);
    facts.session->advice = "There is /Archive/Gig.";
    EXPECT_EQ("There is /Archive/Gig.", checkOf(facts, "session").advice);
}

TEST(Checklist, NoCopyIsAWarningOnlyOnceTheSessionWasChanged) {
    EXPECT_EQ("2 copies are kept, the newest of 2026-01-31T19:04:05.250+01:00.",
              checkOf(ready(), "history").text);
    auto facts = ready();
    facts.session->copies = 0;
    EXPECT_EQ(State::warning, checkOf(facts, "history").state);
    facts.session->wasUpdated = false;
    EXPECT_EQ(State::ok, checkOf(facts, "history").state);
}

TEST(Checklist, RecoveryDataFails) {
    auto facts = ready();
    facts.session->recoveryData = true;
    EXPECT_EQ(State::failed, checkOf(facts, "recovery data").state);
}

} // namespace
} // namespace corvane::cli

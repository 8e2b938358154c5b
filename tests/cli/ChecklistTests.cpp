#include "cli/Checklist.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>

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

TEST(Checklist, OnAMachineThatIsReadyEachLineSaysWhatWasFound) {
    std::vector<std::string> lines;
    for (const Check &check : checklist(ready()))
        lines.push_back(check.name + ": " + check.text + check.advice);
    EXPECT_THAT(
        lines,
        ElementsAre(
            "console: FOH (10.0.0.1:5000) was heard by multicast 0.4 s ago and has accepted the link.",
            "patch: 2 channels, 3 inputs.", "LiveTrax: LiveTrax 3 is installed.",
            "OSC surface: It is on in the preferences “\u2068LiveTrax3\u2069”.",
            "port 3819: It is free for LiveTrax.", "port 8000: It is free for Corvane.",
            "device: New sessions are made for “\u2068CoreAudio;;Waves SoundGrid\u2069”, and so was the "
            "session.",
            "folder: “\u2068/Shows\u2069” can be written to.",
            "space: 723 h 22 min of recording left on “\u2068Shows\u2069”: 3 inputs at 96 kHz, 32 bit.",
            "session: “\u2068/Shows/Gig\u2069” can be read and written.",
            "in step: The session has the console's patch.",
            "recordings: A sync would take out no recorded track.",
            "history: 2 copies are kept, the newest of 2026-01-31T19:04:05.250+01:00.",
            "recovery data: There is none."));
}

TEST(Checklist, EachLineThatIsNotAsItShouldBeSaysWhatToDo) {
    struct Row {
        std::function<void(CheckFacts &)> change;
        Check becomes;
    };
    const std::string device = "New sessions are made for “\u2068CoreAudio;;Waves SoundGrid\u2069”";
    const std::string preferences = "in the preferences “\u2068LiveTrax3\u2069”.";
    const Row rows[] = {
        {[](CheckFacts &facts) { facts.console = {}; },
         {"console", State::failed, "No LV1 host was heard.",
          "See that the console is on and in this computer's network; --host and --port name one that is not "
          "heard."}},
        {[](CheckFacts &facts) { facts.channels.reset(); },
         {"patch", State::failed, "The console's patch is not known."}},
        {[](CheckFacts &facts) { facts.channels->clear(); },
         {"patch", State::failed, "There are no channels to record.",
          "Patch inputs to channels on the console."}},
        {[](CheckFacts &facts) {
             facts.channels = {mono("Vox", 24), mono("FX", 24)};
         },
         {"patch", State::failed,
          "2 channels, 2 inputs. “\u2068Vox\u2069” and “\u2068FX\u2069” share SoundGrid input 25.",
          "Change that on the console: no session can be made of it."}},
        {[](CheckFacts &facts) { facts.recorder = {}; },
         {"LiveTrax", State::failed, "LiveTrax 3 or LiveTrax 1 was not found in /Applications.",
          "Install LiveTrax."}},
        {[](CheckFacts &facts) { facts.recorder.runs = true; },
         {"LiveTrax", State::ok, "LiveTrax 3 is installed and runs."}},
        {[](CheckFacts &facts) { facts.recorder.problem = "They cannot be read."; },
         {"OSC surface", State::failed, "They cannot be read.",
          "Start LiveTrax by itself and quit it, so that it writes them anew."}},
        {[](CheckFacts &facts) { facts.recorder.configuration.reset(); },
         {"OSC surface", State::warning, "LiveTrax has no configuration yet " + preferences,
          "Start LiveTrax once and quit it."}},
        {[](CheckFacts &facts) { facts.recorder.configuration->surfaceActive = false; },
         {"OSC surface", State::warning, "It is off " + preferences,
          "Have Corvane start LiveTrax: that switches it on."}},
        {[](CheckFacts &facts) {
             facts.listening = {Holder::liveTrax, "LiveTrax3 (process 7)"};
         },
         {"port 3819", State::ok, "LiveTrax listens there: LiveTrax3 (process 7)."}},
        {[](CheckFacts &facts) {
             facts.listening = {Holder::other, "Mail (process 7)"};
         },
         {"port 3819", State::failed, "It is held by Mail (process 7).",
          "Quit that program: LiveTrax has to listen there."}},
        {[](CheckFacts &facts) { facts.recorder.runs = true; },
         {"port 3819", State::failed, "LiveTrax runs and does not listen there.",
          "Quit LiveTrax and have Corvane start it."}},
        {[](CheckFacts &facts) {
             facts.replies = {Holder::corvane, "corvane (process 7)"};
         },
         {"port 8000", State::ok, "Corvane listens there: corvane (process 7)."}},
        {[](CheckFacts &facts) {
             facts.replies = {Holder::other, "Mail (process 7)"};
         },
         {"port 8000", State::failed, "It is held by Mail (process 7).",
          "Quit that program: LiveTrax's answers come to this port."}},
        {[](CheckFacts &facts) { facts.session.reset(); },
         {"device", State::ok, device + ".", "LiveTrax's Audio/MIDI Setup has to name the same device."}},
        {[](CheckFacts &facts) { facts.session->made->device = "JACK;;"; },
         {"device", State::warning, device + ", the session for “\u2068JACK;;\u2069”.",
          "See which of the two LiveTrax's Audio/MIDI Setup names."}},
        {[](CheckFacts &facts) { facts.folder->problem = "It is full."; },
         {"folder", State::failed, "It is full.", "Choose another folder, or see to its rights."}},
        {[](CheckFacts &facts) { facts.folder->exists = false; },
         {"folder", State::ok, "“\u2068/Shows\u2069” is not there yet and can be made."}},
        {[](CheckFacts &facts) {
             facts.folder->volume.reset();
             facts.session->place.volume.reset();
         },
         {"space", State::warning, "It cannot be told how much is free."}},
        {[](CheckFacts &facts) { facts.session->place.problem = "It is read-only."; },
         {"session", State::failed, "It is read-only.", "See to the rights of the folder."}},
        {[](CheckFacts &facts) {
             facts.session->plan->tracks = {{TrackDecision::Action::remove, "Vox", 24, false, {}, 1},
                                            {TrackDecision::Action::remove, "Sax", 25, false, {}, 2}};
         },
         {"recordings", State::warning,
          "A sync would take out 2 recorded tracks: “\u2068Vox\u2069”, “\u2068Sax\u2069”.",
          "Patch these channels on the console again, or save the session under another name first."}},
        {[](CheckFacts &facts) { facts.session->copies = 1; },
         {"history", State::ok, "1 copy is kept, the newest of 2026-01-31T19:04:05.250+01:00."}},
        {[](CheckFacts &facts) { facts.session->copies = 0; },
         {"history", State::warning, "No copy is kept of the session as it was before it was changed.",
          "Save a copy of the session in LiveTrax."}},
        {[](CheckFacts &facts) {
             facts.session->copies = 0;
             facts.session->wasUpdated = false;
         },
         {"history", State::ok, "No copy yet: the first is kept when Corvane first changes the session."}},
        {[](CheckFacts &facts) { facts.session->recoveryData = true; },
         {"recovery data", State::failed, "LiveTrax was not closed properly while recording.",
          "Open the session in LiveTrax once and have it recover the recording."}},
    };
    for (const Row &row : rows) {
        auto facts = ready();
        row.change(facts);
        const Check check = checkOf(facts, row.becomes.name);
        EXPECT_EQ(row.becomes, check) << check.text << '\n' << check.advice;
    }
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

TEST(Checklist, SecondsAreRoundedAndFromTenOnWhole) {
    for (const auto &[time, text] : {std::pair(0ms, "0.0 s"),
                                     {9'940ms, "9.9 s"},
                                     {9'999ms, "10.0 s"},
                                     {10'000ms, "10 s"},
                                     {75'400ms, "75 s"},
                                     {999'000ms, "999 s"}}) {
        auto facts = ready();
        facts.console.sinceHeard = time;
        EXPECT_EQ("FOH (10.0.0.1:5000) was heard by multicast " + std::string(text) +
                      " ago and has accepted the link.",
                  checkOf(facts, "console").text);
    }
}

TEST(Checklist, OfTwoVolumesTheTighterCountsAndOfEqualOnesTheFolders) {
    auto facts = ready();
    facts.folder->volume = Volume{"Folder", 1'000'000'000};
    facts.session->place.volume = Volume{"Session", 1'000'000'000};
    EXPECT_THAT(checkOf(facts, "space").text, HasSubstr("“\u2068Folder\u2069”"));
    facts.session->place.volume = Volume{"Session", 999'999'999};
    EXPECT_THAT(checkOf(facts, "space").text, HasSubstr("“\u2068Session\u2069”"));
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
    facts.folder->volume = Volume{"", minute * 48'000 * 60};
    EXPECT_EQ((Check{"space", State::ok, "1 h 0 min of recording left: 3 inputs at 48 kHz, 32 bit."}),
              checkOf(facts, "space"));
    facts.folder->volume = Volume{"", minute * 48'000};
    EXPECT_EQ(State::warning, checkOf(facts, "space").state);
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

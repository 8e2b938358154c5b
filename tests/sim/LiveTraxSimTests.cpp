#include "sim/LiveTraxSim.h"

#include "livetrax/session/XMLTree.h"
#include "platform/files/Files.h"
#include "tests/fakes/FakeSystem.h"
#include "tests/fakes/ManualQueue.h"

#include <gtest/gtest.h>

#include <locale>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace corvane {
namespace {

using namespace std::chrono_literals;
using V = OSCValue;
using Path = std::filesystem::path;
using Lines = std::vector<std::string>;

const std::string templateText = R"(<?xml version="1.0" encoding="UTF-8"?>
<Session version="7002" name="Seed" id-counter="302">
  <Config>
    <Option name="osc-port" value="3819"/>
  </Config>
  <Locations/>
</Session>
)";

// ---- command line and words

TEST(LiveTraxSimOptions, OpensAFolderOrMakesOneFromATemplate) {
    const auto opening = LiveTraxCommandLine::parse({"-a", "-n", "-k", "some.keys", "/shows/Friday"});
    EXPECT_EQ(opening.folder, Path("/shows/Friday"));
    EXPECT_FALSE(opening.templateName);
    const auto making =
        LiveTraxCommandLine::parse({"-a", "-n", "-k", "x", "-T", "Corvane Friday", "-N", "/shows/Friday/"});
    EXPECT_EQ(making.folder, Path("/shows/Friday"));
    EXPECT_EQ(making.templateName, "Corvane Friday");
    EXPECT_EQ(LiveTraxCommandLine::parse({"shows/../Friday//"}).folder,
              std::filesystem::current_path() / "Friday");
}

TEST(LiveTraxSimOptions, AWrongCommandLineIsRefusedAndThatIsSaid) {
    const std::string usage = "usage: livetrax-sim -a -n -k KEYS (FOLDER | -T NAME -N FOLDER)";
    const std::vector<std::pair<Lines, std::string>> table = {
        {{}, usage},
        {{"-a", "-n", "-k"}, "-k needs a value"},
        {{"-a", "-n", "-k", "keys"}, usage},
        {{"-T", "name", "/shows/Friday"}, "-T and -N go together"},
        {{"-N", "/shows/Friday"}, "-T and -N go together"},
        {{"-T", "name", "-N", "/shows/Friday", "/shows/Saturday"}, usage},
        {{"/shows/Friday", "/shows/Saturday"}, "more than one session: /shows/Saturday"},
        {{"-x", "/shows/Friday"}, "unknown option: -x"},
        {{"/"}, "not a session folder: /"},
    };
    for (const auto &[arguments, message] : table) {
        try {
            LiveTraxCommandLine::parse(arguments);
            ADD_FAILURE() << "is taken: " << testing::PrintToString(arguments);
        } catch (const LiveTraxSimUsageError &error) {
            EXPECT_EQ(message, error.what());
        }
    }
}

TEST(LiveTraxSimOptions, WordsChangeTheBehaviour) {
    const auto none = LiveTraxBehaviour::parse("");
    EXPECT_FALSE(none.deaf || none.rolling || none.armed || none.recording || none.noSave ||
                 none.ignoreTerminate);
    EXPECT_EQ(none.slowQuit, 0ms);
    const auto all = LiveTraxBehaviour::parse("deaf, no-save,ignore-term ,slow-quit=1.5");
    EXPECT_TRUE(all.deaf && all.noSave && all.ignoreTerminate);
    EXPECT_EQ(all.slowQuit, 1500ms);
    EXPECT_FALSE(all.rolling || all.armed);
    EXPECT_TRUE(LiveTraxBehaviour::parse("rolling").rolling);
    EXPECT_TRUE(LiveTraxBehaviour::parse("armed").armed);
    const auto recording = LiveTraxBehaviour::parse("recording");
    EXPECT_TRUE(recording.recording && recording.armed && recording.rolling);
}

TEST(LiveTraxSimOptions, EachWordChangesOneThing) {
    const auto changed = [](const std::string &words) {
        const auto behaviour = LiveTraxBehaviour::parse(words);
        std::string all;
        for (const auto &[is, name] : {std::pair(behaviour.deaf, "deaf "),
                                       {behaviour.rolling, "rolling "},
                                       {behaviour.armed, "armed "},
                                       {behaviour.recording, "recording "},
                                       {behaviour.noSave, "no-save "},
                                       {behaviour.ignoreTerminate, "ignore-term "}})
            all += is ? name : "";
        return all + std::to_string(behaviour.slowQuit.count());
    };
    for (const std::string word : {"deaf", "rolling", "armed", "no-save", "ignore-term"})
        EXPECT_EQ(changed(" " + word), word + " 0");
    EXPECT_EQ(changed("recording"), "rolling armed recording 0");
    EXPECT_EQ(changed("slow-quit=0"), "0");
    EXPECT_EQ(changed("slow-quit=86400"), "86400000");
    EXPECT_EQ(changed(",,deaf, ,armed,"), "deaf armed 0");
}

/// A point that is written as a comma.
struct CommaPoint : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

TEST(LiveTraxSimOptions, SecondsHaveAPointInEveryLocale) {
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new CommaPoint)); // which owns it
    const auto slowQuit = LiveTraxBehaviour::parse("slow-quit=1.5").slowQuit;
    std::locale::global(before);
    EXPECT_EQ(slowQuit, 1500ms);
}

TEST(LiveTraxSimOptions, UnknownWordsAreRefusedAndNamed) {
    const auto refusal = [](const std::string &words) -> std::string {
        try {
            LiveTraxBehaviour::parse(words);
            return "";
        } catch (const LiveTraxSimUsageError &error) {
            return error.what();
        }
    };
    for (const std::string word : {"Deaf", "deaf;armed", "slow-quit", "slow-quit:3"})
        EXPECT_EQ(refusal("deaf," + word), "LIVETRAX_SIM: unknown word: " + word);
    for (const std::string word : {"slow-quit=", "slow-quit=x", "slow-quit=-1", "slow-quit=1s",
                                   "slow-quit=nan", "slow-quit=86401", "slow-quit=1e9"})
        EXPECT_EQ(refusal("deaf," + word), "LIVETRAX_SIM: not a number of seconds: " + word);
}

TEST(LiveTraxSim, TheProgramsNameTellsThePreferences) {
    EXPECT_EQ(liveTraxPreferences("/h", "/Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3"),
              Path("/h/Library/Preferences/LiveTrax3"));
    EXPECT_EQ(liveTraxPreferences("/h", "/Applications/LiveTrax1.app/Contents/MacOS/LiveTrax1"),
              Path("/h/Library/Preferences/LiveTrax1"));
    EXPECT_EQ(liveTraxPreferences("/h", "/usr/bin/livetrax-sim"), Path("/h/Library/Preferences/LiveTrax3"));
}

// ---- sessions

struct LiveTraxSimTest : testing::Test {
    LiveTraxSimTest() { home.write("prefs/templates/Corvane Friday/Corvane Friday.template", templateText); }

    LiveTraxCommandLine making() const { return {show, "Corvane Friday"}; }
    LiveTraxCommandLine opening() const { return {show, std::nullopt}; }

    LiveTraxSim start(const LiveTraxCommandLine &line, const std::string &words = "") {
        return LiveTraxSim(line, LiveTraxBehaviour::parse(words), preferences, queue,
                           [this](const std::string &text) { log.push_back(text); });
    }

    std::string sessionText() const { return home.read("shows/Friday/Friday.ardour"); }

    /// Names of the markers in the file, each with its start.
    Lines markersInFile() const {
        const auto document = XMLDocument::load(show / "Friday.ardour");
        Lines names;
        for (const auto location : document.root().firstChild("Locations").children("Location")) {
            EXPECT_TRUE(location.attributeIs("flags", "IsMark"));
            EXPECT_EQ(location.attribute("start"), location.attribute("end"));
            names.push_back(*location.attribute("name") + " at " + *location.attribute("start"));
        }
        return names;
    }

    TemporaryFolder home;
    const Path preferences = home.path() / "prefs";
    const Path show = home.path() / "shows" / "Friday";
    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    ManualQueue queue{clock, "main"};
    Lines log;
};

TEST_F(LiveTraxSimTest, MakesTheSessionFromTheUserTemplateWithItsFoldersAndItsDevicesRate) {
    start(making());
    std::string expected = templateText;
    expected.replace(expected.find("Seed"), 4, "Friday");
    expected.insert(expected.find(">\n  <Config>"), R"( sample-rate="48000")");
    EXPECT_EQ(sessionText(), expected);
    for (const char *name : {"interchange/Friday/audiofiles", "interchange/Friday/midifiles", "analysis",
                             "dead", "export", "externals", "peaks", "plugins"})
        EXPECT_TRUE(std::filesystem::is_directory(show / name)) << name;
    EXPECT_EQ(home.read("prefs/recent"), "Friday\n" + show.string() + "\n");
}

TEST_F(LiveTraxSimTest, DoesNotMakeASessionWhereOneIs) {
    const auto file = home.write("shows/Friday/Friday.ardour", "<Session/>");
    try {
        start(making());
        ADD_FAILURE() << "is made";
    } catch (const FileError &error) {
        EXPECT_EQ("there is a session already: " + file.string(), error.what());
    }
    EXPECT_EQ(sessionText(), "<Session/>");
    EXPECT_FALSE(fileExists(preferences / "recent"));
}

TEST_F(LiveTraxSimTest, AMissingTemplateMakesNothing) {
    EXPECT_THROW(start({show, "Saturday"}), FileError);
    EXPECT_FALSE(fileExists(show));
}

TEST_F(LiveTraxSimTest, OpeningChangesNothingButTheRecentList) {
    home.write("shows/Friday/Friday.ardour", templateText);
    start(opening());
    EXPECT_EQ(sessionText(), templateText);
    EXPECT_EQ(home.read("prefs/recent"), "Friday\n" + show.string() + "\n");
}

TEST_F(LiveTraxSimTest, OpeningNeedsAWellFormedSessionFile) {
    EXPECT_THROW(start(opening()), FileError);
    home.write("shows/Friday/Friday.ardour", "<Session>");
    EXPECT_THROW(start(opening()), XMLError);
    EXPECT_FALSE(fileExists(preferences / "recent"));
}

TEST_F(LiveTraxSimTest, TheRecentListHasTheNewestFirstAndEachOnce) {
    prependToRecent(preferences, "/shows/A");
    prependToRecent(preferences, "/shows/B");
    prependToRecent(preferences, "/shows/A");
    EXPECT_EQ(home.read("prefs/recent"), "A\n/shows/A\nB\n/shows/B\n");
    for (int i = 0; i < 20; ++i)
        prependToRecent(preferences, "/shows/" + std::to_string(i));
    EXPECT_TRUE(home.read("prefs/recent").starts_with("19\n/shows/19\n18\n"));
    EXPECT_TRUE(home.read("prefs/recent").ends_with("10\n/shows/10\n"));
    home.write("prefs/recent", "A\n/shows/A\nhalf an entry\n");
    prependToRecent(preferences, "/shows/B");
    EXPECT_EQ(home.read("prefs/recent"), "B\n/shows/B\nA\n/shows/A\n");
}

// ---- the surface

TEST_F(LiveTraxSimTest, AnswersOfTheTransport) {
    struct Row {
        const char *words;
        float speed;
        int armed;
        int recording;
    };
    for (const Row &row :
         {Row{"", 0, 0, 0}, Row{"rolling", 1, 0, 0}, Row{"armed", 0, 1, 0}, Row{"recording", 1, 1, 1}}) {
        home.write("shows/Friday/Friday.ardour", templateText);
        auto sim = start(opening(), row.words);
        EXPECT_EQ(sim.handle({"/transport_speed", {}})->values, OSCValues{row.speed}) << row.words;
        EXPECT_EQ(sim.handle({"/record_enabled", {}})->values, OSCValues{row.armed}) << row.words;
        EXPECT_EQ(sim.handle({"/is_recording", {}})->values, OSCValues{row.recording}) << row.words;
    }
}

TEST_F(LiveTraxSimTest, MarkersAreInTheSessionOnceSaved) {
    auto sim = start(making(), "rolling");
    clock->advance(2s);
    EXPECT_FALSE(sim.handle({"/add_marker", {}}));
    EXPECT_FALSE(sim.handle({"/marker", {V("Verse <2>")}}));
    clock->advance(500ms);
    sim.handle({"/add_marker", {}});
    EXPECT_TRUE(markersInFile().empty());
    EXPECT_FALSE(sim.handle({"/save_state", {}}));
    EXPECT_EQ(markersInFile(), (Lines{"Verse <2> at a564480000", "mark2 at a705600000"}));
    sim.handle({"/add_marker", {}});
    sim.handle({"/save_state", {}});
    EXPECT_EQ(markersInFile().size(), 3U);
    // Ids are the session's next free ones.
    EXPECT_NE(sessionText().find("id-counter=\"305\""), std::string::npos);
    EXPECT_NE(sessionText().find("<Location id=\"304\" name=\"mark3\""), std::string::npos);
}

TEST_F(LiveTraxSimTest, AMarkerThatWasSavedBeforeItsNameCameStillGetsIt) {
    auto sim = start(making());
    sim.handle({"/add_marker", {}});
    sim.handle({"/save_state", {}});
    sim.handle({"/marker", {V("Encore")}});
    EXPECT_EQ(markersInFile(), (Lines{"mark1 at a0"})); // until it is saved again
    sim.handle({"/save_state", {}});
    EXPECT_EQ(markersInFile(), (Lines{"Encore at a0"}));
    sim.handle({"/add_marker", {}});
    sim.handle({"/save_state", {}});
    EXPECT_EQ(markersInFile(), (Lines{"Encore at a0", "mark2 at a0"}));
}

TEST_F(LiveTraxSimTest, TellsEachThingThatHappened) {
    auto sim = start(making());
    for (const OSCMessage &message : {OSCMessage{"/add_marker", {}},
                                      {"/marker", {V("Verse")}},
                                      {"/add_marker", {V("Solo")}},
                                      {"/marker", {}},
                                      {"/marker", {V(7)}},
                                      {"/something", {}},
                                      {"/save_state", {}},
                                      {"/marker", {V("Verse")}}})
        sim.handle(message);
    sim.terminate([] {});
    sim.terminate([] {});
    EXPECT_EQ(log, (Lines{"created " + show.string(), "marker", "marker is called Verse", "marker",
                          "marker is called Solo", "/marker without a name", "/marker without a name",
                          "unknown: /something", "saved", "goes to the marker Verse", "quitting"}));
    log.clear();
    auto other = start(opening(), "no-save,ignore-term,rolling");
    other.handle({"/save_state", {}});
    other.terminate([] {});
    clock->advance(1s);
    other.handle({"/marker", {V("late")}});
    EXPECT_EQ(log, (Lines{"opened " + show.string(), "did not save", "ignored a request to quit",
                          "no marker under the playhead to be called late"}));
}

TEST_F(LiveTraxSimTest, AMarkerIsWrittenAsTheRecorderWritesItAndOfSeveralInOnePlaceTheLastIsNamed) {
    home.write("shows/Friday/Friday.ardour",
               "<Session><Locations><Location name=\"Loop\" start=\"a0\" end=\"a9\" "
               "flags=\"IsAutoLoop\"/></Locations></Session>");
    auto sim = start(opening());
    sim.handle({"/add_marker", {}});
    sim.handle({"/add_marker", {}});
    sim.handle({"/marker", {V("Loop")}}); // the loop is no marker
    sim.handle({"/save_state", {}});
    const auto mark = [](const std::string &id, const std::string &name) {
        return "<Location id=\"" + id + "\" name=\"" + name +
               "\" start=\"a0\" end=\"a0\" flags=\"IsMark\" locked=\"0\" position-lock-style=\"AudioTime\"/>";
    };
    EXPECT_NE(sessionText().find(mark("1", "mark1")), std::string::npos) << sessionText();
    EXPECT_NE(sessionText().find(mark("2", "Loop")), std::string::npos);
    EXPECT_NE(sessionText().find("<Session id-counter=\"3\">"), std::string::npos);
}

TEST_F(LiveTraxSimTest, ASessionWithoutMarkersGetsAPlaceForThem) {
    home.write("shows/Friday/Friday.ardour", "<Session/>");
    auto sim = start(opening());
    sim.handle({"/add_marker", {}});
    sim.handle({"/save_state", {}});
    EXPECT_EQ(markersInFile(), Lines{"mark1 at a0"});
}

TEST_F(LiveTraxSimTest, ANameThatComesWhenThePlayheadHasMovedOnNamesNothing) {
    auto sim = start(making(), "recording");
    clock->advance(2s);
    sim.handle({"/add_marker", {}});
    clock->advance(90ms);
    sim.handle({"/marker", {V("Verse")}});
    EXPECT_EQ(log.back(), "no marker under the playhead to be called Verse");
    sim.handle({"/save_state", {}});
    EXPECT_EQ(markersInFile(), (Lines{"mark1 at a564480000"}));
    EXPECT_EQ(sim.handle({"/is_recording", {}})->values, OSCValues{1});
}

TEST_F(LiveTraxSimTest, AMarkerThatIsDroppedWithItsNameHasItWhateverTheTransportDoes) {
    for (const char *words : {"", "rolling", "recording"}) {
        std::filesystem::remove_all(show);
        auto sim = start(making(), words);
        for (int i = 0; i < 2; ++i)
            EXPECT_FALSE(sim.handle({"/add_marker", {V("Größe")}}));
        sim.handle({"/save_state", {}});
        EXPECT_EQ(markersInFile(), (Lines{"Größe at a0", "Größe at a0"})) << words;
    }
}

TEST_F(LiveTraxSimTest, TheNameOfAMarkerThatExistsIsAPlaceToGoToAndEndsARecording) {
    home.write("shows/Friday/Friday.ardour",
               "<Session><Locations><Location id=\"1\" name=\"Solo\" "
               "start=\"a282240000\" end=\"a282240000\" flags=\"IsMark\"/></Locations></Session>");
    auto sim = start(opening(), "recording");
    clock->advance(5s);
    sim.handle({"/add_marker", {}});
    sim.handle({"/marker", {V("Solo")}});
    EXPECT_EQ(log.back(), "goes to the marker Solo");
    EXPECT_EQ(sim.handle({"/transport_speed", {}})->values, OSCValues{0.0F});
    EXPECT_EQ(sim.handle({"/record_enabled", {}})->values, OSCValues{0});
    EXPECT_EQ(sim.handle({"/is_recording", {}})->values, OSCValues{0});
    sim.handle({"/add_marker", {V("here")}});
    sim.handle({"/save_state", {}});
    EXPECT_EQ(markersInFile(), (Lines{"Solo at a282240000", "mark1 at a1411200000", "here at a282240000"}));
}

TEST_F(LiveTraxSimTest, ANameWithoutAMarkerOrAMarkerWithoutANameChangesNothing) {
    auto sim = start(making());
    sim.handle({"/marker", {V("too early")}});
    sim.handle({"/marker", {}});
    sim.handle({"/marker", {V(7)}});
    sim.handle({"/something", {}});
    sim.handle({"/save_state", {}});
    EXPECT_TRUE(markersInFile().empty());
}

TEST_F(LiveTraxSimTest, ASaveWritesTheMemoryWhateverBecameOfTheFile) {
    auto sim = start(making());
    const auto before = sessionText();
    home.write("shows/Friday/Friday.ardour", "<Session/>");
    sim.handle({"/save_state", {}});
    EXPECT_EQ(sessionText(), before);
}

TEST_F(LiveTraxSimTest, ASaveMakesTheFileNewer) {
    auto sim = start(making());
    const auto file = show / "Friday.ardour";
    const auto longAgo = std::filesystem::last_write_time(file) - 1h;
    std::filesystem::last_write_time(file, longAgo);
    sim.handle({"/save_state", {}});
    EXPECT_GT(std::filesystem::last_write_time(file), longAgo);
}

TEST_F(LiveTraxSimTest, NoSaveSavesNothing) {
    auto sim = start(making(), "no-save");
    sim.handle({"/add_marker", {}});
    sim.handle({"/save_state", {}});
    EXPECT_TRUE(markersInFile().empty());
}

TEST_F(LiveTraxSimTest, ASaveThatFailsIsToldAndTheMarkersWaitForTheNext) {
    auto sim = start(making());
    sim.handle({"/add_marker", {}});
    std::filesystem::remove_all(show);
    sim.handle({"/save_state", {}});
    EXPECT_TRUE(log.back().starts_with("could not save: The file “")) << log.back();
    EXPECT_EQ(log.size(), 3U) << "created, marker, and not that it is saved";
    std::filesystem::create_directories(show);
    sim.handle({"/save_state", {}});
    EXPECT_EQ(markersInFile().size(), 1U);
}

// ---- the end

TEST_F(LiveTraxSimTest, QuitsAtOnceOrLaterOrNever) {
    int quits = 0;
    auto prompt = start(making());
    prompt.terminate([&] { ++quits; });
    prompt.terminate([&] { ++quits; });
    clock->run();
    EXPECT_EQ(quits, 1);

    auto slow = start(opening(), "slow-quit=3");
    slow.terminate([&] { ++quits; });
    clock->advance(2999ms);
    EXPECT_EQ(quits, 1);
    clock->advance(1ms);
    EXPECT_EQ(quits, 2);

    auto stubborn = start(opening(), "ignore-term");
    stubborn.terminate([&] { ++quits; });
    clock->advance(1h);
    EXPECT_EQ(quits, 2);
}

TEST_F(LiveTraxSimTest, QuittingSavesNothing) {
    auto sim = start(making());
    sim.handle({"/add_marker", {}});
    sim.terminate([] {});
    clock->run();
    EXPECT_TRUE(markersInFile().empty());
}

} // namespace
} // namespace corvane

#include "base/Text.h"
#include "livetrax/remote/SceneRecall.h"
#include "tests/app/ControllerFixture.h"

#include <gmock/gmock.h>

namespace corvane {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class SceneTest : public ControllerFixture {
protected:
    void recall(const std::string &name) {
        controller->client->onScene(name);
        fakes.clock->advance(std::chrono::seconds(1));
    }
    /// What is said of the recalls, without the style of the markers beneath.
    std::string recalls() const { return view.sceneDetail.substr(0, view.sceneDetail.find("\n\n")); }
    /// LiveTrax runs on a session and a first scene is known.
    void record() {
        fakes.defaults->values["CorvaneLastSession"] = "/Sessions/Show";
        runLiveTrax();
        launch();
        recall("Intro");
    }
    /// The same in a session file that holds `content`; returns its place in the test's folder.
    std::string recordIn(const std::string &content) {
        const std::string file = "Sessions/Show/Show.ardour";
        fakes.folder.write(file, content);
        fakes.defaults->values["CorvaneLastSession"] = (fakes.folder / "Sessions/Show").string();
        runLiveTrax();
        launch();
        recall("Intro");
        return file;
    }
};

TEST_F(SceneTest, TheStyleOfTheMarkersIsExplainedFromTheStartOn) {
    launch();
    EXPECT_EQ(view.sceneDetail,
              "Marker style: classic. LiveTrax names a marker only while the transport stands; "
              "started with --markers named, Corvane has all of them named.");
    recall("Intro");
    EXPECT_THAT(view.sceneDetail, testing::HasSubstr("not marked: first\n\nMarker style: classic."));
}

TEST_F(SceneTest, TheNamedStyleIsExplainedAsWell) {
    controller->liveTraxOSC->markerStyle = MarkerStyle::named;
    launch();
    EXPECT_EQ(view.sceneDetail, "Marker style: named. Markers have their names also while LiveTrax records.");
}

TEST_F(SceneTest, AnotherSceneDropsAMarker) {
    record();
    recall("Verse 2");
    EXPECT_EQ(view.sceneLabel, "Scene: Verse 2");
    EXPECT_EQ(view.status(), "Scene marker added: Verse 2");
    EXPECT_EQ(controller->lastScene, "Verse 2");
    EXPECT_THAT(sentToLiveTrax(), ElementsAre("/add_marker", "/marker"));
}

TEST_F(SceneTest, AMarkerThatDoesNotLeaveIsSaidUntilOneDoes) {
    recordIn("<Session><Locations/></Session>");
    recall("Verse");
    fakes.network->datagrams.back()->result = SendResult::lost;
    recall("Verse 2");
    ASSERT_TRUE(view.notice);
    EXPECT_THAT(view.notice->text,
                testing::StartsWith("The marker “\u2068Verse 2\u2069” did not reach LiveTrax: "));
    fakes.network->datagrams.back()->result = SendResult::left;
    recall("Solo");
    EXPECT_FALSE(view.notice);
}

TEST_F(SceneTest, ThePlainNameIsShownAsReceived) {
    record();
    recall("  Verse 2 ");
    EXPECT_EQ(view.sceneLabel, "Scene:   Verse 2 ");
    EXPECT_EQ(view.status(), "Scene marker added:   Verse 2 ");
}

TEST_F(SceneTest, TheFirstSceneAfterLaunchIsOnlyRemembered) {
    record();
    EXPECT_EQ(controller->lastScene, "Intro");
    EXPECT_EQ(view.sceneLabel, "Scene: Intro");
    EXPECT_THAT(sentToLiveTrax(), IsEmpty());
}

TEST_F(SceneTest, TheSameSceneAgainDropsNoMarker) {
    record();
    recall("Intro");
    EXPECT_THAT(sentToLiveTrax(), IsEmpty());
}

TEST_F(SceneTest, TheMarkerHasTheScenesName) {
    record();
    recall(" Verse 2");
    const auto &sent = fakes.network->datagrams.back()->sent;
    const auto message = OSCCodec::parse(sent.back().datagram);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->address, "/marker");
    EXPECT_THAT(message->values, ElementsAre(OSCValue(std::string("Verse 2"))));
}

TEST_F(SceneTest, ASceneThatReturnsAfterABlankOneOrNoSceneIsAnother) {
    record();
    for (const std::string between : {" ", "No Scene"}) {
        recall("Intro");
        recall(between);
        const auto before = sentToLiveTrax().size();
        recall("Intro");
        EXPECT_GT(sentToLiveTrax().size(), before) << between;
    }
}

TEST_F(SceneTest, NoSceneInAnyCapitalsDropsNoMarkerButIsRemembered) {
    record();
    for (const std::string name : {"No Scene", "NO SCENE", "no scene"}) {
        recall(name);
        EXPECT_EQ(controller->lastScene, name);
    }
    EXPECT_THAT(sentToLiveTrax(), IsEmpty());
}

TEST_F(SceneTest, OnlyTheVeryWordsNoSceneAreSpecial) {
    record();
    recall(" No Scene");
    EXPECT_THAT(sentToLiveTrax(), SizeIs(2));
}

TEST_F(SceneTest, ABlankSceneDropsNoMarker) {
    record();
    recall("");
    recall(" \t\u00a0\n");
    EXPECT_THAT(sentToLiveTrax(), IsEmpty());
    EXPECT_EQ(view.sceneLabel, "Scene:  \t\u00a0\n");
}

TEST_F(SceneTest, NoMarkerIsTriedWhileLiveTraxDoesNotRun) {
    record();
    fakes.applications->running.clear();
    recall("Verse");
    EXPECT_THAT(sentToLiveTrax(), IsEmpty());
    EXPECT_EQ(controller->lastScene, "Verse");
}

TEST_F(SceneTest, NoMarkerIsTriedWhileNoSessionIsKnown) {
    runLiveTrax();
    launch();
    recall("Intro");
    recall("Verse");
    EXPECT_THAT(sentToLiveTrax(), IsEmpty());
}

TEST_F(SceneTest, LiveTraxOneDoesAsWell) {
    record();
    fakes.applications->running.clear();
    runLiveTrax("1");
    recall("Verse");
    EXPECT_THAT(sentToLiveTrax(), SizeIs(2));
}

/// A session in which these names are marks.
std::string sessionWith(const std::vector<std::string> &names) {
    std::string locations;
    for (const auto &name : names)
        locations += "<Location name=\"" + name + "\" start=\"a0\" flags=\"IsMark\"/>";
    return "<Session sample-rate=\"48000\"><Locations>" + locations + "</Locations></Session>";
}

TEST_F(SceneTest, ScenesABAGoNowhere) {
    record();
    for (const char *name : {"A", "B", "A"})
        recall(name);
    EXPECT_THAT(sentToLiveTrax(),
                ElementsAre("/add_marker", "/marker", "/add_marker", "/marker", "/add_marker"));
}

TEST_F(SceneTest, AMarkerThatTheSessionHasIsNotGoneTo) {
    recordIn(sessionWith({"Solo"}));
    recall("Solo");
    EXPECT_THAT(sentToLiveTrax(), ElementsAre("/add_marker"));
    EXPECT_EQ(view.status(), "Scene marker added: Solo");
}

TEST_F(SceneTest, TheSessionIsReadAgainAfterEachSaveThatWasAskedFor) {
    const auto file = recordIn(sessionWith({}));
    fakes.folder.write(file, sessionWith({"Made by hand"}));
    controller->liveTraxOSC->save();
    fakes.clock->advance(std::chrono::seconds(2));
    recall("Made by hand");
    EXPECT_THAT(sentToLiveTrax(), ElementsAre("/save_state", "/add_marker"));
}

TEST_F(SceneTest, AMarkerThatWasMadeAndSavedInLiveTraxIsNotGoneTo) {
    const auto file = recordIn(sessionWith({}));
    recall("New");
    fakes.folder.write(file, sessionWith({"Made by hand"}));
    fakes.clock->advance(std::chrono::seconds(16));
    recall("Made by hand");
    recall("Another");
    EXPECT_THAT(sentToLiveTrax(),
                ElementsAre("/add_marker", "/marker", "/add_marker", "/add_marker", "/marker"));
}

TEST_F(SceneTest, ASaveThatTakesItsTimeIsReadWhenItIsDone) {
    const auto file = recordIn(sessionWith({}));
    controller->liveTraxOSC->save();
    fakes.clock->advance(std::chrono::seconds(5));
    fakes.folder.write(file, sessionWith({"Made by hand"}));
    fakes.clock->advance(std::chrono::seconds(16));
    recall("Made by hand");
    EXPECT_THAT(sentToLiveTrax(), ElementsAre("/save_state", "/add_marker"));
}

TEST_F(SceneTest, WhileTheSessionIsBeingReadNoNameIsGoneTo) {
    fakes.folder.write("Sessions/Show/Show.ardour", sessionWith({"Solo"}));
    fakes.defaults->values["CorvaneLastSession"] = (fakes.folder / "Sessions/Show").string();
    runLiveTrax();
    controller->applicationDidFinishLaunching(); // its queues have not run yet
    controller->client->onScene("Intro");
    controller->client->onScene("Solo");
    fakes.clock->advance(std::chrono::seconds(1));
    EXPECT_THAT(sentToLiveTrax(), ElementsAre("/add_marker"));
}

TEST_F(SceneTest, WhileTheSessionCannotBeReadNoNameIsGoneTo) {
    const auto file = recordIn("<Session");
    recall("Solo");
    fakes.folder.write(file, sessionWith({}));
    fakes.clock->advance(std::chrono::seconds(16));
    recall("Verse");
    fakes.folder.write(file, "<Session sample-rate=");
    fakes.clock->advance(std::chrono::seconds(16));
    recall("Bridge");
    EXPECT_THAT(sentToLiveTrax(), ElementsAre("/add_marker", "/add_marker", "/marker", "/add_marker"));
}

TEST_F(SceneTest, WhatIsKnownOfASessionHoldsWhileItsFileIsAway) {
    recordIn(sessionWith({"Solo"}));
    std::filesystem::remove_all(fakes.folder / "Sessions/Show");
    fakes.clock->advance(std::chrono::seconds(16));
    recall("Solo");
    EXPECT_THAT(sentToLiveTrax(), ElementsAre("/add_marker"));
}

TEST_F(SceneTest, TheSceneExplainsTheLastTwentyRecallsTheLatestFirst) {
    record();
    EXPECT_EQ(recalls(), timeOfDay(fakeWallTime) + "  Intro  not marked: first");
    for (int number = 1; number <= 25; ++number)
        recall("Scene " + std::to_string(number));
    recall("no scene");
    const auto lines = nonEmptyLines(recalls());
    ASSERT_THAT(lines, SizeIs(20));
    EXPECT_THAT(lines.front(), testing::EndsWith("  no scene  not marked: no scene"));
    EXPECT_THAT(lines[1], testing::EndsWith("  Scene 25  marked"));
    EXPECT_THAT(lines.back(), testing::EndsWith("  Scene 7  marked"));
    recall(std::string(119, 'x') + "ñ\nlong");
    EXPECT_THAT(nonEmptyLines(recalls()).front(),
                testing::EndsWith("  " + std::string(119, 'x') + "…  marked"));
}

TEST_F(SceneTest, AMarkerOfTheSessionThatLiveTraxHasReallyOpenIsNotGoneTo) {
    const auto palau = fakes.folder.write("Sessions/Palau/Palau.ardour", sessionWith({"Solo"})).parent_path();
    recordIn(sessionWith({"Verse"})); // the active session is Show
    fakes.folder.write("home/Library/Preferences/LiveTrax3/recent", "Palau\n" + palau.string() + "\n");
    fakes.clock->advance(std::chrono::seconds(60));
    ASSERT_TRUE(view.notice);
    EXPECT_THAT(view.notice->text, testing::StartsWith("LiveTrax opened “\u2068Palau\u2069” last"));
    recall("Solo");
    EXPECT_THAT(sentToLiveTrax(), ElementsAre("/add_marker"));
    // Back in the active session, whose markers are known.
    fakes.folder.write("home/Library/Preferences/LiveTrax3/recent",
                       "Show\n" + (fakes.folder / "Sessions/Show").string() + "\n");
    fakes.clock->advance(std::chrono::seconds(60));
    EXPECT_FALSE(view.notice);
    recall("Bridge");
    recall("Verse");
    EXPECT_THAT(sentToLiveTrax(), ElementsAre("/add_marker", "/add_marker", "/marker", "/add_marker"));
}

TEST_F(SceneTest, AMarkerThatIsLostStaysSaidWhenAnEarlierOneTurnsOutWell) {
    recordIn(sessionWith({}));
    controller->client->onScene("Verse");
    fakes.clock->advance(std::chrono::milliseconds(150)); // both of its messages have left
    fakes.network->datagrams.back()->result = SendResult::lost;
    controller->liveTraxOSC->markerStyle = MarkerStyle::named;
    controller->client->onScene("Bridge");
    fakes.clock->advance(std::chrono::milliseconds(45));
    ASSERT_TRUE(view.notice);
    fakes.clock->advance(std::chrono::seconds(1));
    EXPECT_TRUE(view.notice);
}

} // namespace

} // namespace corvane

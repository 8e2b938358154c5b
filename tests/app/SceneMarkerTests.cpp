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
    /// LiveTrax runs on a session and a first scene is known.
    void record() {
        fakes.defaults->values["CorvaneLastSession"] = "/Sessions/Show";
        runLiveTrax();
        launch();
        recall("Intro");
    }
};

TEST_F(SceneTest, AnotherSceneDropsAMarker) {
    record();
    recall("Verse 2");
    EXPECT_EQ(view.sceneLabel, "Scene: Verse 2");
    EXPECT_EQ(view.status(), "Scene marker added: Verse 2");
    EXPECT_EQ(controller->lastScene, "Verse 2");
    EXPECT_THAT(sentToLiveTrax(), ElementsAre("/add_marker", "/marker"));
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

} // namespace

} // namespace corvane

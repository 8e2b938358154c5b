// The window with everything real around it, in the order of a working day.

#include "tests/app/WindowEndToEnd.h"

namespace corvane {

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

TEST_F(WindowEndToEnd, FindsTheConsoleCreatesASessionAndFollowsAChange) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession();
    EXPECT_THAT(it->window.statuses, Contains("Synced: 24 tracks / 31 inputs"));
    const auto before = it->liveTrax();
    changePatchAndPressSync();
    it->answer(Qt::Key_Return);
    expectUpdated();
    EXPECT_TRUE(before->isTerminated());
    const std::vector<std::string> expected{"Checking transport…", "Saving the session…", "Closing LiveTrax…",
                                            "Session updated: 23 adjusted, 1 added, 1 removed."};
    const std::vector<std::string> last(it->window.statuses.end() - 4, it->window.statuses.end());
    EXPECT_EQ(last, expected);
}

TEST_F(WindowEndToEnd, ACancelledSyncChangesNothing) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession();
    const auto before = it->liveTrax();
    changePatchAndPressSync();
    it->answer(Qt::Key_Escape);
    EXPECT_EQ(it->status(), "Sync cancelled.");
    EXPECT_TRUE(it->is(amberLook));
    EXPECT_FALSE(it->sessionMatchesConsole());
    EXPECT_FALSE(before->isTerminated());
}

TEST_F(WindowEndToEnd, ARollingRecorderIsLeftAlone) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession("rolling");
    changePatchAndPressSync();
    it->answer(Qt::Key_Return);
    expectFailure("Stop the transport and recording before updating the session.");
    EXPECT_NE(it->liveTrax(), nullptr);
    EXPECT_FALSE(it->sessionMatchesConsole());
}

TEST_F(WindowEndToEnd, AnArmedRecorderThatStandsIsUpdated) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession("armed");
    changePatchAndPressSync();
    it->answer(Qt::Key_Return);
    expectUpdated();
}

TEST_F(WindowEndToEnd, ADeafRecorderIsLeftAlone) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession("deaf");
    changePatchAndPressSync();
    it->answer(Qt::Key_Return);
    expectFailure("Could not check LiveTrax transport. Stop playback and try again.");
    EXPECT_NE(it->liveTrax(), nullptr);
}

TEST_F(WindowEndToEnd, ARecorderThatDoesNotSaveIsUpdatedAllTheSame) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession("no-save");
    changePatchAndPressSync();
    it->answer(Qt::Key_Return);
    expectUpdated();
}

TEST_F(WindowEndToEnd, ARecorderThatDoesNotQuitIsForced) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession("ignore-term");
    const auto before = it->liveTrax();
    changePatchAndPressSync();
    it->answer(Qt::Key_Return);
    expectUpdated();
    EXPECT_TRUE(before->isTerminated());
}

TEST_F(WindowEndToEnd, ASessionFileThatVanishedIsReported) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession("no-save");
    std::filesystem::remove(it->sessionFile());
    changePatchAndPressSync();
    it->answer(Qt::Key_Return);
    ASSERT_TRUE(it->says("The session was not updated."));
    expectFailure("The active LiveTrax session was not found at " + it->sessionFile().string() + ".");
}

TEST_F(WindowEndToEnd, WhileTheRecorderIsClosedTheSessionIsUpdatedAtOnce) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession();
    const auto before = it->liveTrax();
    before->terminate();
    ASSERT_TRUE(QTest::qWaitFor([&] { return before->isTerminated(); }, timeout));
    it->stage.tellConsole("move 20 41");
    ASSERT_TRUE(it->becomes(amberLook));
    it->click("connectButton");
    EXPECT_EQ(it->window.findChild<QMessageBox *>("alert"), nullptr);
    expectUpdated();
}

TEST_F(WindowEndToEnd, SceneRecallsDropMarkersButForTheFirstTheSameAndNone) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession();
    const auto recall = [this](const std::string &name) {
        it->stage.tellConsole("scene " + QByteArray::fromStdString(name));
        ASSERT_TRUE(QTest::qWaitFor(
            [&] {
                return it->window.findChild<QLabel *>("sceneLabel")->text().toStdString() == "Scene: " + name;
            },
            timeout));
    };
    constexpr int markerTime = 200;
    recall("Prueba de sonido"); // the one that was recalled at the start
    QTest::qWait(markerTime);   // a marker that must not be sent would have left by now
    recall("Verse & Chorus");
    EXPECT_EQ(it->status(), "Scene marker added: Verse & Chorus");
    ASSERT_TRUE(it->recorderSays("marker is called Verse & Chorus"));
    recall("NO SCENE");
    QTest::qWait(markerTime);
    recall("Outro");
    ASSERT_TRUE(it->recorderSays("marker is called Outro")); // they come in the order of their recalls
    it->controller->liveTraxOSC->save();
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return it->savedSession().find("Outro") != std::string::npos; }, timeout));
    EXPECT_THAT(it->savedSession(), HasSubstr("Verse &amp; Chorus"));
    EXPECT_THAT(it->savedSession(), Not(HasSubstr("NO SCENE")));
    EXPECT_THAT(it->savedSession(), Not(HasSubstr("Prueba")));
}

TEST_F(WindowEndToEnd, ADroppedLinkIsRedAndSyncConnectsAgain) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    it.emplace();
    ASSERT_TRUE(it->becomes(greenLook));
    it->stage.tellConsole("drop");
    ASSERT_TRUE(it->becomes(redLook));
    EXPECT_THAT(it->window.statuses,
                Contains("LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1."));
    it->click("connectButton");
    EXPECT_TRUE(it->becomes(greenLook)) << it->status();
}

TEST_F(WindowEndToEnd, WithNoSessionAChangedPatchIsAccepted) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    it.emplace();
    ASSERT_TRUE(it->becomes(greenLook));
    it->stage.tellConsole("stereo 24 off");
    ASSERT_TRUE(it->becomes(amberLook));
    it->click("connectButton");
    EXPECT_EQ(it->status(), "Patch accepted. It will be used for the next session.");
    EXPECT_TRUE(it->is(greenLook));
}

TEST_F(WindowEndToEnd, AColourIsShownAtOnceAndIsNoChange) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    it.emplace();
    ASSERT_TRUE(it->becomes(greenLook));
    it->stage.tellConsole("color 3 0 0 1");
    ASSERT_TRUE(QTest::qWaitFor([&] { return it->controller->channels[2].blue == 1.0F; }, timeout));
    EXPECT_TRUE(it->is(greenLook));
    EXPECT_EQ(it->controller->synchronizedChannels, it->controller->channels);
}

} // namespace

} // namespace corvane

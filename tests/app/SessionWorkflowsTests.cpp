#include "livetrax/session/LiveTraxGenerator.h"
#include "tests/app/WorkflowFixture.h"

#include <gmock/gmock.h>

#include <fstream>

namespace corvane {

namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr std::size_t updateButton = 0;
constexpr std::size_t cancelButton = 1;

// Updating the session

class UpdateTest : public WorkflowTest {
protected:
    /// A session of the first patch, and a second patch that differs.
    void becomeAmber() {
        installLiveTrax();
        launch();
        consoleSendsPatch(kickAndKeys());
        view.nameText = "Show";
        controller->createSession();
        session = makeSessionFolder("Show");
        file = session / "Show.ardour";
        fakes.processes->started.clear();
        consoleSendsPatch(movedKeys());
        ASSERT_EQ(view.connectButton, amberLook);
    }
    /// SYNC LV1 is pressed while LiveTrax runs.
    void askForUpdate() {
        becomeAmber();
        application = runLiveTrax();
        controller->connectSelected();
    }
    void confirmUpdate() {
        askForUpdate();
        view.answer(updateButton);
    }
    void answerTransport(float speed, bool armed, bool recording) {
        fakes.clock->advance(milliseconds(100));
        liveTraxAnswers("/is_recording", recording);
        liveTraxAnswers("/transport_speed", speed);
        liveTraxAnswers("/record_enabled", armed);
        fakes.clock->run();
    }
    void expectFailure(const std::string &message) {
        EXPECT_EQ(view.status(), "The session was not updated.");
        EXPECT_EQ(view.alerts.back(), (Alert{"Session was not updated", message}));
        EXPECT_EQ(view.connectButton, amberLook);
        EXPECT_EQ(controller->synchronizedPatch, signature(kickAndKeys()));
    }
    void expectUpdated() {
        EXPECT_EQ(view.status(), "Session updated: 1 adjusted, 1 added, 1 removed.");
        EXPECT_EQ(view.connectButton, greenLook);
        EXPECT_EQ(view.statusDetail, "The update changed:\n“\u2068Keys\u2069” is added, on inputs 9–10\n"
                                     "“\u2068Keys\u2069” is removed, on inputs 2–3");
        EXPECT_EQ(controller->synchronizedPatch, signature(movedKeys()));
        EXPECT_EQ(controller->synchronizedChannels, movedKeys());
        EXPECT_EQ(LiveTraxGenerator::sessionPatchSignature(session), signature(movedKeys()));
        ASSERT_THAT(fakes.processes->started, SizeIs(1));
        EXPECT_EQ(fakes.processes->started[0].arguments.back(), session.string());
    }

    std::filesystem::path session;
    std::filesystem::path file;
    std::shared_ptr<FakeRunningApplication> application;
};

TEST_F(UpdateTest, WithNoSessionAnywhereThePatchIsAcceptedAndNoFileTouched) {
    launch();
    consoleSendsPatch(kickAndKeys());
    consoleSendsPatch(movedKeys());
    controller->connectSelected();
    EXPECT_EQ(controller->synchronizedPatch, signature(movedKeys()));
    EXPECT_EQ(controller->synchronizedChannels, movedKeys());
    EXPECT_EQ(view.connectButton, greenLook);
    EXPECT_EQ(view.status(), "Patch accepted. It will be used for the next session.");
    EXPECT_EQ(view.statusDetail, "");
    EXPECT_FALSE(controller->activeSessionURL);
    EXPECT_THAT(view.alerts, IsEmpty());
}

TEST_F(UpdateTest, WhileLiveTraxDoesNotRunTheSessionIsUpdatedAtOnce) {
    becomeAmber();
    controller->connectSelected();
    EXPECT_THAT(view.alerts, IsEmpty());
    expectUpdated();
    EXPECT_THAT(sentToLiveTrax(), IsEmpty());
}

TEST_F(UpdateTest, TheSessionThatLiveTraxOpenedLastIsTakenWhenNoneIsKnown) {
    becomeAmber();
    controller->activeSessionURL.reset();
    fakes.folder.write("home/Library/Preferences/LiveTrax3/recent", "Show\n" + session.string() + "\n");
    controller->connectSelected();
    EXPECT_EQ(controller->activeSessionURL, session);
    expectUpdated();
}

TEST_F(UpdateTest, WhileLiveTraxRunsTheUserIsAskedFirst) {
    askForUpdate();
    EXPECT_EQ(view.broughtToFront, 1);
    EXPECT_THAT(view.alerts,
                ElementsAre(Alert{
                    "Update Session",
                    "LiveTrax will close to apply the new channels, then reopen with the updated session.",
                    {"Update", "Cancel"}}));
    EXPECT_EQ(view.connectButton, amberLook);
    EXPECT_EQ(application->terminateRequests, 0);
}

TEST_F(UpdateTest, CancelledItSaysSoAndStaysAmber) {
    askForUpdate();
    view.answer(cancelButton);
    fakes.clock->advance(std::chrono::seconds(20));
    EXPECT_EQ(view.status(), "Sync cancelled.");
    EXPECT_EQ(view.connectButton, amberLook);
    EXPECT_THAT(view.alerts, SizeIs(1));
    EXPECT_THAT(sentToLiveTrax(), IsEmpty());
    EXPECT_EQ(application->terminateRequests, 0);
}

TEST_F(UpdateTest, AMessageArrivingWhileTheQuestionStandsIsHandled) {
    askForUpdate();
    controller->client->onScene("Intro");
    EXPECT_EQ(view.sceneLabel, "Scene: Intro");
}

TEST_F(UpdateTest, TheChannelsOfTheClickAreUsedWhateverArrivesUntilTheAnswer) {
    askForUpdate();
    consoleSendsPatch({channel("Later", 7, 20)});
    view.answer(updateButton);
    application->onTerminate = [] {};
    answerTransport(0, false, false);
    fakes.clock->advance(std::chrono::seconds(5));
    EXPECT_EQ(LiveTraxGenerator::sessionPatchSignature(session), signature(movedKeys()));
    EXPECT_EQ(controller->synchronizedPatch, signature(movedKeys()));
    EXPECT_EQ(view.connectButton, greenLook);
    EXPECT_EQ(view.meaning, "Green: synced, but the console's patch has changed since. Press to update "
                            "“\u2068Show\u2069” again.");
    EXPECT_EQ(view.statusDetail, "SYNC LV1 will change:\n“\u2068Later\u2069” is added, on input 21\n"
                                 "“\u2068Kick\u2069” is removed, on input 1\n"
                                 "“\u2068Keys\u2069” is removed, on inputs 9–10");
    consoleSendsPatch({channel("Later", 7, 21)});
    EXPECT_EQ(view.connectButton, amberLook);
    EXPECT_THAT(view.meaning, testing::StartsWith("Amber: the console's patch has changed."));
    consoleSendsPatch({channel("Later", 7, 20)});
    fakes.clock->run();
    controller->connectSelected(); // LiveTrax has ended
    EXPECT_EQ(LiveTraxGenerator::sessionPatchSignature(session), signature({channel("Later", 7, 20)}));
    EXPECT_EQ(view.meaning, "Green: no changes since the last sync. Press to search again. The session is "
                            "“\u2068Show\u2069”.");
    EXPECT_EQ(view.statusDetail, "The update changed:\n“\u2068Later\u2069” is added, on input 21\n"
                                 "“\u2068Kick\u2069” is removed, on input 1\n"
                                 "“\u2068Keys\u2069” is removed, on inputs 9–10");
}

TEST_F(UpdateTest, ConfirmedTheTransportIsChecked) {
    confirmUpdate();
    EXPECT_EQ(view.status(), "Checking transport…");
    fakes.clock->advance(milliseconds(100));
    EXPECT_THAT(sentToLiveTrax(), ElementsAre("/transport_speed", "/record_enabled", "/is_recording"));
}

TEST_F(UpdateTest, ALiveTraxThatDoesNotAnswerIsLeftAlone) {
    confirmUpdate();
    fakes.clock->advance(milliseconds(2400));
    EXPECT_EQ(view.status(), "Checking transport…");
    fakes.clock->advance(milliseconds(200));
    expectFailure("Could not check LiveTrax transport. Stop playback and try again.");
    EXPECT_EQ(application->terminateRequests, 0);
}

TEST_F(UpdateTest, ARollingTransportIsLeftAlone) {
    for (const float speed : {1.0F, -1.0F, 0.00011F, -0.00011F}) {
        if (view.alerts.empty()) {
            confirmUpdate();
        } else { // a failed update leaves everything as it was: the button can be pressed again
            controller->connectSelected();
            view.answer(updateButton);
        }
        answerTransport(speed, false, false);
        expectFailure("Stop the transport and recording before updating the session.");
    }
    EXPECT_EQ(application->terminateRequests, 0);
}

TEST_F(UpdateTest, ARecordingTransportIsLeftAloneEvenWhenItStands) {
    confirmUpdate();
    answerTransport(0, true, true);
    expectFailure("Stop the transport and recording before updating the session.");
}

TEST_F(UpdateTest, ATransportThatIsStoppedButArmedIsUpdated) {
    confirmUpdate();
    answerTransport(0, true, false);
    EXPECT_EQ(view.status(), "Saving the session…");
}

TEST_F(UpdateTest, ASpeedOfATenThousandthCountsAsStopped) {
    confirmUpdate();
    answerTransport(0.0001F, false, false);
    EXPECT_EQ(view.status(), "Saving the session…");
}

TEST_F(UpdateTest, TheSaveIsAskedForAndSeenByTheDateOfTheFile) {
    confirmUpdate();
    answerTransport(0, false, false);
    fakes.clock->advance(milliseconds(100));
    EXPECT_THAT(sentToLiveTrax().back(), "/save_state");
    fakes.clock->advance(milliseconds(1400));
    EXPECT_EQ(view.status(), "Saving the session…");
    EXPECT_EQ(application->terminateRequests, 0);
    application->obeysTerminate = false;
    touch(file);
    fakes.clock->advance(milliseconds(200));
    EXPECT_EQ(view.status(), "Closing LiveTrax…");
    EXPECT_EQ(application->terminateRequests, 1);
}

TEST_F(UpdateTest, WithoutASaveItGoesOnAfterFourSeconds) {
    confirmUpdate();
    answerTransport(0, false, false);
    fakes.clock->advance(milliseconds(3999));
    EXPECT_EQ(application->terminateRequests, 0);
    fakes.clock->advance(milliseconds(1));
    EXPECT_EQ(application->terminateRequests, 1);
    expectUpdated();
}

TEST_F(UpdateTest, AFileThatAppearsOnlyWithTheSaveCountsAsSaved) {
    confirmUpdate();
    const auto aside = session / "aside";
    std::filesystem::rename(file, aside);
    answerTransport(0, false, false);
    fakes.clock->advance(milliseconds(1000));
    EXPECT_EQ(application->terminateRequests, 0);
    std::filesystem::rename(aside, file);
    fakes.clock->advance(milliseconds(200));
    EXPECT_EQ(application->terminateRequests, 1);
}

TEST_F(UpdateTest, ALiveTraxThatQuitsInTimeIsNotForced) {
    confirmUpdate();
    application->obeysTerminate = false;
    answerTransport(0, false, false);
    fakes.clock->advance(milliseconds(4000 + 4900));
    EXPECT_EQ(view.status(), "Closing LiveTrax…");
    application->terminated = true;
    fakes.clock->advance(milliseconds(100));
    expectUpdated();
    EXPECT_EQ(application->forceRequests, 0);
    EXPECT_EQ(application->terminateRequests, 1);
}

TEST_F(UpdateTest, ALiveTraxThatStaysIsForcedAfterFiveSeconds) {
    confirmUpdate();
    application->obeysTerminate = false;
    answerTransport(0, false, false);
    fakes.clock->advance(milliseconds(4000 + 4999));
    EXPECT_EQ(application->forceRequests, 0);
    fakes.clock->advance(milliseconds(1));
    EXPECT_EQ(application->forceRequests, 1);
    expectUpdated();
}

TEST_F(UpdateTest, ALiveTraxThatSurvivesEvenForceIsReportedAfterThreeMoreSeconds) {
    confirmUpdate();
    application->obeysTerminate = false;
    application->obeysForce = false;
    answerTransport(0, false, false);
    fakes.clock->advance(milliseconds(4000 + 5000 + 2999));
    EXPECT_THAT(view.alerts, SizeIs(1));
    fakes.clock->advance(milliseconds(1));
    expectFailure("LiveTrax did not close. Quit it and press SYNC LV1 again.");
    EXPECT_THAT(fakes.processes->started, IsEmpty());
    EXPECT_EQ(LiveTraxGenerator::sessionPatchSignature(session), signature(kickAndKeys()));
}

TEST_F(UpdateTest, ASessionFileThatVanishedIsReported) {
    becomeAmber();
    std::filesystem::remove(file);
    controller->connectSelected();
    expectFailure("The active LiveTrax session was not found at " + file.string() + ".");
    EXPECT_THAT(fakes.processes->started, IsEmpty());
}

TEST_F(UpdateTest, ASessionFileThatIsNoXMLIsReportedAndKept) {
    becomeAmber();
    std::ofstream(file) << "no session";
    controller->connectSelected();
    ASSERT_THAT(view.alerts, SizeIs(1));
    expectFailure(view.alerts[0].informativeText);
    EXPECT_THAT(view.alerts[0].informativeText, Not(IsEmpty()));
    EXPECT_EQ(fakes.folder.read("home/Music/Show/Show.ardour"), "no session");
}

TEST_F(UpdateTest, WhenReopeningFailsThePatchStillCountsAsSynchronised) {
    becomeAmber();
    fakes.processes->failure = "LiveTrax3: permission denied";
    controller->connectSelected();
    EXPECT_EQ(view.statusLabel[view.statusLabel.size() - 2],
              "Session updated: 1 adjusted, 1 added, 1 removed.");
    EXPECT_EQ(view.status(), "The session was not updated.");
    EXPECT_THAT(view.alerts, ElementsAre(Alert{"Session was not updated", "LiveTrax3: permission denied"}));
    EXPECT_EQ(controller->synchronizedPatch, signature(movedKeys()));
    EXPECT_EQ(view.connectButton, greenLook);
}

TEST_F(UpdateTest, AnUpdateThatChangesNothingSucceeds) {
    becomeAmber();
    controller->performOfflineUpdate(session, {}, "");
    controller->performOfflineUpdate(session, {}, "");
    EXPECT_EQ(view.status(), "Session updated: 0 adjusted, 0 added, 0 removed.");
    EXPECT_THAT(view.alerts, IsEmpty());
    EXPECT_EQ(controller->synchronizedPatch, "");
}

TEST_F(UpdateTest, AfterAFailureTheButtonCanBePressedAgain) {
    confirmUpdate();
    answerTransport(1, false, false);
    controller->connectSelected();
    view.answer(updateButton);
    answerTransport(0, false, false);
    fakes.clock->advance(std::chrono::seconds(5));
    expectUpdated();
}

TEST_F(UpdateTest, TheNextChangeAfterAnUpdateIsAmberAgain) {
    becomeAmber();
    controller->connectSelected();
    consoleSendsPatch(kickAndKeys());
    EXPECT_EQ(view.connectButton, amberLook);
}

// A controller that goes away ends its chains

TEST_F(UpdateTest, AnAnswerToAQuestionOfAControllerThatIsGoneDoesNothing) {
    askForUpdate();
    controller.reset();
    view.answer(updateButton);
    fakes.clock->advance(std::chrono::seconds(20));
    EXPECT_EQ(application->terminateRequests, 0);
}

TEST_F(UpdateTest, AControllerThatGoesWhileCheckingStopsTheChain) {
    confirmUpdate();
    const auto liveTraxOSC = controller->liveTraxOSC; // outlives it: the answer still arrives
    fakes.clock->advance(milliseconds(100));
    controller.reset();
    liveTraxAnswers("/transport_speed", 0.0F);
    liveTraxAnswers("/record_enabled", false);
    fakes.clock->advance(std::chrono::seconds(20));
    EXPECT_EQ(view.status(), "Checking transport…");
    EXPECT_EQ(application->terminateRequests, 0);
}

TEST_F(UpdateTest, AControllerThatGoesWhileSavingStopsTheChain) {
    confirmUpdate();
    answerTransport(0, false, false);
    controller.reset();
    fakes.clock->advance(std::chrono::seconds(20));
    EXPECT_EQ(view.status(), "Saving the session…");
    EXPECT_EQ(application->terminateRequests, 0);
}

TEST_F(UpdateTest, AControllerThatGoesWhileClosingStopsTheChain) {
    confirmUpdate();
    application->obeysTerminate = false;
    answerTransport(0, false, false);
    fakes.clock->advance(milliseconds(4500));
    controller.reset();
    fakes.clock->advance(std::chrono::seconds(20));
    EXPECT_EQ(application->forceRequests, 0);
    EXPECT_THAT(fakes.processes->started, IsEmpty());
}

// Waiting

class WaitTest : public WorkflowTest {
protected:
    void wait(int attempts) {
        controller->waitUntil(
            attempts,
            [this] {
                ++asked;
                return answer && answer(asked);
            },
            [this](bool value) { results.push_back(value); });
    }

    int asked = 0;
    std::function<bool(int)> answer;
    std::vector<bool> results;
};

TEST_F(WaitTest, AConditionThatHoldsCompletesAtOnceHavingBeenAskedOnceMore) {
    answer = [](int) { return true; };
    wait(20);
    EXPECT_THAT(results, ElementsAre(true));
    EXPECT_EQ(asked, 2);
}

TEST_F(WaitTest, TheValueOfTheLastQuestionCounts) {
    answer = [](int question) { return question == 1; };
    wait(20);
    EXPECT_THAT(results, ElementsAre(false));
}

TEST_F(WaitTest, WithoutAttemptsItAsksTwiceAndCompletes) {
    wait(0);
    wait(-3);
    EXPECT_THAT(results, ElementsAre(false, false));
    EXPECT_EQ(asked, 4);
}

TEST_F(WaitTest, AsksAgainEveryFifthOfASecond) {
    wait(3);
    for (const int expected : {1, 2, 3}) {
        EXPECT_EQ(asked, expected);
        fakes.clock->advance(milliseconds(200));
    }
    EXPECT_EQ(asked, 5); // the fourth question, and once more for the completion
    EXPECT_THAT(results, ElementsAre(false));
    EXPECT_EQ(fakes.clock->pending(), 0U);
}

TEST_F(WaitTest, ACompletionOfAControllerThatIsGoneIsNeverCalled) {
    wait(3);
    controller.reset();
    fakes.clock->advance(std::chrono::seconds(2));
    EXPECT_EQ(asked, 1);
    EXPECT_THAT(results, IsEmpty());
}

TEST_F(WorkflowTest, TheDateOfAFileThatIsNotThereIsNone) {
    EXPECT_FALSE(BridgeController::modificationDate(fakes.folder.path() / "missing"));
    const auto file = fakes.folder.write("there", "");
    EXPECT_EQ(BridgeController::modificationDate(file), std::filesystem::last_write_time(file));
}

} // namespace

} // namespace corvane

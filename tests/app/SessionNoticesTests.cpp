// What is said of the session on disk: that it is another one, gone, or differs from the console.

#include "tests/app/NoticesFixture.h"

#include <gmock/gmock.h>

namespace corvane {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

class SessionNoticesTest : public NoticesFixture {};

TEST_F(SessionNoticesTest, ASessionThatIsNotInStepIsSaidAlthoughTheButtonIsGreen) {
    begin({channel("Kick", 1, 0), channel("Keys", 2, 1, true), channel("Vox", 3, 9)});
    EXPECT_EQ(view.connectButton, greenLook);
    EXPECT_EQ(text(), "“\u2068Show\u2069” lacks 1 of the console's 3 channels.");
    EXPECT_THAT(view.meaning, StartsWith("Green: the first patch since the start"));

    const auto application = runLiveTrax();
    controller->noticeAction();
    ASSERT_THAT(view.alerts, SizeIs(1));
    EXPECT_EQ(view.alerts.back().message, "Update Session");
    application->terminated = true;
    controller->noticeAction();
    fakes.clock->run();
    EXPECT_EQ(view.status(), "Session updated: 2 adjusted, 1 added, 0 removed.");
    EXPECT_EQ(view.statusDetail, "The update changed:\n“\u2068Vox\u2069” is added, on input 10");
    EXPECT_EQ(text(), "");
}

TEST_F(SessionNoticesTest, NoRecordedTrackGoesByANoticeUnasked) {
    show = makeSession("Show", kickAndKeys());
    record(show, "Keys");
    opensLast(show);
    launch();
    consoleSendsPatch(movedKeys());
    fakes.clock->run();
    EXPECT_EQ(text(),
              "“\u2068Show\u2069” lacks 1 of the console's 2 channels. It has 1 track that the console does "
              "not have. An update takes 1 recorded track out: “\u2068Keys\u2069”.");
    EXPECT_EQ(view.notice->detail, "The update would change:\n“\u2068Keys\u2069” is added, on inputs 9–10\n"
                                   "“\u2068Keys\u2069” is removed, on inputs 2–3, with 1 recording");
    const std::string before = textOf(show / "Show.ardour");
    controller->noticeAction();
    ASSERT_THAT(view.alerts, SizeIs(1));
    EXPECT_EQ(
        view.alerts.back(),
        (Alert{"Update Session",
               "This takes 1 recorded track out of the session: “\u2068Keys\u2069”. The sound files stay, "
               "and Undo is offered afterwards.",
               {"Update", "Cancel"}}));
    view.answer(1);
    EXPECT_EQ(view.status(), "Sync cancelled.");
    EXPECT_EQ(textOf(show / "Show.ardour"), before);
    controller->noticeAction();
    view.answer(0);
    fakes.clock->run();
    EXPECT_EQ(view.status(), "Session updated: 1 adjusted, 1 added, 1 removed.");
    EXPECT_THAT(text(), StartsWith("1 track with recordings left the session"));
}

TEST_F(SessionNoticesTest, ARecordingOfAMomentAgoIsAskedAboutAsWell) {
    show = makeSession("Show", kickAndKeys());
    opensLast(show);
    launch();
    consoleSendsPatch(movedKeys());
    fakes.clock->run();
    record(show, "Keys");
    controller->noticeAction();
    ASSERT_THAT(view.alerts, SizeIs(1));
    EXPECT_THAT(view.alerts.back().informativeText,
                StartsWith("This takes 1 recorded track out of the session"));
}

TEST_F(SessionNoticesTest, AllRecordedTracksThatWouldGoAreInTheQuestion) {
    show = makeSession("Show", kickAndKeys());
    record(show, "Kick");
    record(show, "Keys");
    opensLast(show);
    launch();
    consoleSendsPatch({channel("Kick", 1, 4), channel("Keys", 2, 8, true)});
    fakes.clock->run();
    controller->noticeAction();
    ASSERT_THAT(view.alerts, SizeIs(1));
    EXPECT_THAT(
        view.alerts.back().informativeText,
        StartsWith(
            "This takes 2 recorded tracks out of the session: “\u2068Kick\u2069”, “\u2068Keys\u2069”."));
}

TEST_F(SessionNoticesTest, ColoursHaveNoSessionReadWhileNoPlanIsOnShow) {
    begin(kickAndKeys());
    fakes.clock->advance(1s);
    const std::size_t asleep = fakes.clock->pending();
    Channels painted = kickAndKeys();
    painted.front().green = 1;
    controller->client->onChannels(painted);
    EXPECT_EQ(fakes.clock->pending(), asleep + 1);
    opensLast(makeSession("Palau", kickAndKeys()));
    fakes.clock->advance(2s);
    EXPECT_EQ(text(), ""); // a look would have found the other session
    fakes.clock->advance(15s);
    EXPECT_THAT(text(), StartsWith("LiveTrax opened"));
}

TEST_F(SessionNoticesTest, AnotherSessionThatLiveTraxOpenedLastCanBeUsed) {
    const auto palau = makeSession("Palau", kickAndKeys());
    fakes.defaults->values["CorvaneLastSession"] = (*fakes.musicFolder / "Show").string();
    show = makeSession("Show", kickAndKeys());
    opensLast(palau);
    launch();
    EXPECT_EQ(text(), "LiveTrax opened “\u2068Palau\u2069” last; SYNC LV1 works on “\u2068Show\u2069”.");
    consoleSendsPatch({channel("Kick", 1, 0)});
    fakes.clock->run();
    controller->noticeAction();
    EXPECT_EQ(controller->activeSessionURL, palau);
    EXPECT_EQ(fakes.defaults->values["CorvaneLastSession"], show.string());
    EXPECT_EQ(text(), "") << "nothing is known of it yet";
    fakes.clock->run();
    EXPECT_EQ(text(), "“\u2068Palau\u2069” has 1 track that the console does not have.");
}

TEST_F(SessionNoticesTest, ALiveTraxThatCouldNotBeStartedHasNotOpenedTheSession) {
    fakes.defaults->values["CorvaneLastSession"] = (*fakes.musicFolder / "Show").string();
    show = makeSession("Show", kickAndKeys());
    opensLast(makeSession("Palau", kickAndKeys()));
    launch();
    consoleSendsPatch(kickAndKeys());
    consoleSendsPatch(movedKeys());
    const std::string told =
        "LiveTrax opened “\u2068Palau\u2069” last; SYNC LV1 works on “\u2068Show\u2069”.";
    ASSERT_EQ(text(), told);
    fakes.processes->failure = "no memory";
    controller->connectSelected();
    fakes.clock->run();
    EXPECT_EQ(view.status(), "The session was not updated.");
    EXPECT_EQ(text(), told);
    view.nameText = "Friday";
    controller->createSession();
    fakes.clock->run();
    EXPECT_EQ(view.alerts.back().message, "Could not create the session");
    EXPECT_EQ(text(), "LiveTrax opened “\u2068Palau\u2069” last; SYNC LV1 works on “\u2068Friday\u2069”.");
}

TEST_F(SessionNoticesTest, ASessionThatLiveTraxGoesBackToIsNotTakenForTheOneOpenedFromHere) {
    begin(kickAndKeys());
    view.nameText = "Friday Night";
    controller->createSession();
    opensLast(makeSessionFolder("Friday Night"));
    fakes.clock->advance(60s);
    EXPECT_EQ(text(), "");
    opensLast(show);
    fakes.clock->advance(60s);
    EXPECT_EQ(text(),
              "LiveTrax opened “\u2068Show\u2069” last; SYNC LV1 works on “\u2068Friday Night\u2069”.");
}

TEST_F(SessionNoticesTest, ANewSessionIsNeitherGoneNorAnotherOneUntilLiveTraxHasMadeIt) {
    begin(kickAndKeys());
    view.nameText = "Friday Night";
    fakes.clock->advance(1s);
    controller->createSession();
    fakes.clock->advance(60s);
    EXPECT_EQ(text(), "");
    const auto friday = makeSessionFolder("Friday Night");
    fakes.clock->advance(60s);
    EXPECT_EQ(text(), "");
    opensLast(friday);
    std::filesystem::rename(friday, show / "moved");
    fakes.clock->advance(60s);
    EXPECT_EQ(text(), "“\u2068Friday Night\u2069” is not at \u2068" + friday.parent_path().string() +
                          "\u2069 any more.");
}

TEST_F(SessionNoticesTest, ASessionThatIsGoneCanBeChosenAgain) {
    begin(kickAndKeys());
    const auto moved = *fakes.musicFolder / "Old/Show";
    std::filesystem::create_directories(moved.parent_path());
    std::filesystem::rename(show, moved);
    fakes.clock->advance(60s);
    EXPECT_THAT(text(), HasSubstr("is not at"));
    controller->noticeAction();
    view.folderAnswer(moved.parent_path());
    EXPECT_THAT(view.alerts,
                ElementsAre(Alert{"This folder is no LiveTrax session",
                                  moved.parent_path().string() + " holds no session file of its own name."}));
    EXPECT_EQ(controller->activeSessionURL, show);
    controller->noticeAction();
    view.folderAnswer(std::nullopt);
    EXPECT_EQ(controller->activeSessionURL, show);
    controller->noticeAction();
    view.folderAnswer(moved);
    EXPECT_EQ(text(), "") << "what was read is of the other";
    fakes.clock->run();
    EXPECT_EQ(controller->activeSessionURL, moved);
    EXPECT_EQ(text(), "");
}

TEST_F(SessionNoticesTest, ASessionThatIsGoneIsSaidThroughAPatchChange) {
    begin(kickAndKeys());
    std::filesystem::remove_all(show);
    fakes.clock->advance(60s);
    ASSERT_THAT(text(), HasSubstr("is not at"));
    consoleSendsPatch(movedKeys());
    EXPECT_THAT(text(), HasSubstr("is not at"));
    controller->dismissNotice();
    consoleSendsPatch(kickAndKeys());
    EXPECT_EQ(text(), "");
    fakes.clock->run();
    EXPECT_EQ(text(), "");
}

TEST_F(SessionNoticesTest, ASessionThatDiffersOnlyInANameIsSaid) {
    begin({channel("Kick", 1, 0), channel("Piano", 2, 1, true)});
    EXPECT_EQ(text(), "“\u2068Show\u2069” differs from the console in 1 track.");
}

TEST_F(SessionNoticesTest, ASessionThatDiffersOnlyInItsOrderIsSaid) {
    begin({channel("Keys", 1, 1, true), channel("Kick", 2, 0)});
    EXPECT_EQ(text(), "“\u2068Show\u2069” has 2 tracks in another place than the console.");
    EXPECT_EQ(view.meaning,
              "Green: the first patch since the start; “\u2068Show\u2069” differs from it. Press "
              "to search again.");
}

TEST_F(SessionNoticesTest, ASessionThatSpellsNamesAsTheRecorderDoesIsInStep) {
    show = makeSession("Show", {channel("Kick_In", 1, 0)});
    opensLast(show);
    launch();
    consoleSendsPatch({channel("Kick/In", 1, 0)});
    fakes.clock->run();
    EXPECT_THAT(view.meaning, StartsWith("Green: “\u2068Show\u2069” has the console's patch."));
    EXPECT_EQ(view.notice,
              (Notice{Notice::Kind::namesRewritten,
                      "“\u2068Kick/In\u2069” would be called “\u2068Kick_In\u2069” in LiveTrax."}));
}

TEST_F(SessionNoticesTest, TheSameSessionByAnotherPathIsNoOtherSession) {
    show = makeSession("Show", kickAndKeys());
    const auto link = fakes.musicFolder->parent_path() / "Shows";
    std::filesystem::create_directory_symlink(*fakes.musicFolder, link);
    opensLast(link / "Show");
    fakes.defaults->values["CorvaneLastSession"] = show.string();
    launch();
    EXPECT_EQ(controller->activeSessionURL, show);
    EXPECT_EQ(text(), "");
}

TEST_F(SessionNoticesTest, WhatWasReadBeforeAnUpdateIsNotSaidAfterIt) {
    begin(kickAndKeys());
    fakes.clock->advance(60s);
    consoleSendsPatch(movedKeys()); // asks the disk
    // The reading thread is through, and what it found is on its way to main: of the session before.
    ASSERT_TRUE(fakes.clock->runOne());
    controller->connectSelected(); // LiveTrax does not run: the session is rewritten at once
    ASSERT_EQ(LiveTraxGenerator::sessionPatchSignature(show), signature(movedKeys()));
    EXPECT_EQ(text(), "");
    while (fakes.clock->runOne()) {
        EXPECT_EQ(text(), "");
    }
    EXPECT_EQ(text(), "");
}

TEST_F(SessionNoticesTest, ASessionOpenedAndClosedJustBeforeIsNotSaidToBeTheOneThatLiveTraxOpenedLast) {
    const auto palau = makeSession("Palau", kickAndKeys());
    begin(kickAndKeys());
    fakes.clock->advance(60s);
    consoleSendsPatch(movedKeys());
    fakes.clock->run();
    fakes.clock->advance(1s);
    opensLast(palau); // and quits
    controller->connectSelected();
    ASSERT_EQ(fakes.processes->started.size(), 1U);
    fakes.clock->run();
    EXPECT_EQ(text(), "");
}

} // namespace

} // namespace corvane

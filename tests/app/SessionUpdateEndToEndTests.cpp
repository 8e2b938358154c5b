// What happens between two presses, with a recorder that takes its time.

#include "tests/app/WindowEndToEnd.h"

#include <QTimer>

namespace corvane {

namespace {

using testing::Contains;
using testing::Not;

constexpr auto updatedText = "Session updated: 23 adjusted, 1 added, 1 removed.";

class SessionUpdateEndToEnd : public WindowEndToEnd {
protected:
    /// Up to an update that has been confirmed and shows this status.
    void updateUpTo(const char *behaviour, const char *status) {
        openSession(behaviour);
        changePatchAndPressSync();
        it->answer(Qt::Key_Return);
        ASSERT_TRUE(it->says(status)) << it->status();
        EXPECT_TRUE(it->window.findChild<QWidget *>("busyMark")->isVisible());
    }
    void pressAgainAndAnswer(Qt::Key key) {
        it->click("connectButton");
        ASSERT_NE(it->alert(), "");
        it->answer(key);
    }
    void expectOneRecorderOnTheUpdatedSession() {
        EXPECT_TRUE(it->sessionMatchesConsole());
        EXPECT_TRUE(QTest::qWaitFor([&] { return it->recorders() == 1; }, timeout)) << it->recorders();
        QTest::qWait(500);
        EXPECT_EQ(it->recorders(), 1);
        EXPECT_FALSE(it->window.findChild<QWidget *>("busyMark")->isVisible());
        EXPECT_TRUE(it->is(greenLook));
    }
};

TEST_F(SessionUpdateEndToEnd, ASecondUpdateWhileSavingTakesOverAndOneRecorderRuns) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    updateUpTo("no-save", "Saving the session…");
    pressAgainAndAnswer(Qt::Key_Return);
    ASSERT_TRUE(it->says(updatedText)) << it->status();
    QTest::qWait(5000); // the older one would have come to its end by now
    expectOneRecorderOnTheUpdatedSession();
    EXPECT_EQ(it->window.findChild<QMessageBox *>("alert"), nullptr);
}

TEST_F(SessionUpdateEndToEnd, ASecondUpdateWhileClosingDoesNotRewriteUnderARunningRecorder) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    updateUpTo("slow-quit=3", "Closing LiveTrax…");
    pressAgainAndAnswer(Qt::Key_Return);
    ASSERT_TRUE(it->says(updatedText)) << it->status();
    expectOneRecorderOnTheUpdatedSession();
}

TEST_F(SessionUpdateEndToEnd, CancelWhileSavingLeavesEverythingAsItWas) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    updateUpTo("no-save", "Saving the session…");
    const auto before = it->liveTrax();
    pressAgainAndAnswer(Qt::Key_Escape);
    EXPECT_EQ(it->status(), "Sync cancelled.");
    QTest::qWait(4500); // the wait for the save would have ended by now, and LiveTrax been asked to quit
    EXPECT_FALSE(before->isTerminated());
    EXPECT_FALSE(it->sessionMatchesConsole());
    EXPECT_TRUE(it->is(amberLook));
    EXPECT_EQ(it->status(), "Sync cancelled.");
    EXPECT_FALSE(it->window.findChild<QWidget *>("busyMark")->isVisible());
}

TEST_F(SessionUpdateEndToEnd, CancelWhileClosingIsTooLateAndTheUpdateIsFinished) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    updateUpTo("slow-quit=3", "Closing LiveTrax…");
    pressAgainAndAnswer(Qt::Key_Escape);
    EXPECT_EQ(it->status(), "Closing LiveTrax…");
    EXPECT_THAT(it->window.statuses, Not(Contains("Sync cancelled.")));
    ASSERT_TRUE(it->says(updatedText)) << it->status();
    expectOneRecorderOnTheUpdatedSession();
}

TEST_F(SessionUpdateEndToEnd, CreateWhileTheRecorderRunsIsRefused) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession();
    QTest::qWait(QApplication::doubleClickInterval() + 1); // a press of its own
    it->window.findChild<QLineEdit *>("sessionName")->setText("Another");
    it->click("syncButton");
    EXPECT_EQ(it->alert(), "LiveTrax is running. Quit it and try again.");
    it->answer(Qt::Key_Return);
    EXPECT_EQ(it->recorders(), 1);
    EXPECT_FALSE(std::filesystem::exists(*it->platform->folders.music() / "Another"));
}

TEST_F(SessionUpdateEndToEnd, QuitWhileClosingFinishesTheUpdateFirst) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    updateUpTo("slow-quit=2", "Closing LiveTrax…");
    std::string statusAfterQuit;
    QTimer::singleShot(0, &it->window, [&] {
        QApplication::quit();
        statusAfterQuit = it->status();
    });
    QTimer::singleShot(timeout, &it->window, [] { QApplication::exit(1); });
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_EQ(statusAfterQuit, "Finishing the update…");
    EXPECT_TRUE(it->sessionMatchesConsole());
    EXPECT_EQ(it->recorders(), 1);
}

TEST_F(SessionUpdateEndToEnd, QuitWhileSavingEndsAtOnceAndNothingHasHappened) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    updateUpTo("no-save", "Saving the session…");
    const auto before = it->liveTrax();
    QTimer::singleShot(0, &it->window, [] { QApplication::quit(); });
    QTimer::singleShot(3000, &it->window, [] { QApplication::exit(1); });
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_FALSE(before->isTerminated());
    EXPECT_FALSE(it->sessionMatchesConsole());
}

TEST_F(SessionUpdateEndToEnd, ARecorderThatIsStartedByHandWhileTheOtherClosesKeepsTheSessionAsItIs) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    updateUpTo("slow-quit=2", "Closing LiveTrax…");
    const auto before = it->liveTrax();
    LiveTraxGenerator::launchExisting(*it->platform, it->session(), {});
    expectFailure("LiveTrax did not close. Quit it and press SYNC LV1 again.");
    EXPECT_TRUE(before->isTerminated());
    EXPECT_FALSE(it->sessionMatchesConsole());
    EXPECT_EQ(it->recorders(), 1);
    EXPECT_FALSE(it->window.findChild<QWidget *>("busyMark")->isVisible());
}

TEST_F(SessionUpdateEndToEnd, CancelWhileCheckingLeavesEverythingAsItWas) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    updateUpTo("deaf", "Checking transport…");
    const auto before = it->liveTrax();
    pressAgainAndAnswer(Qt::Key_Escape);
    EXPECT_EQ(it->status(), "Sync cancelled.");
    QTest::qWait(3000); // LiveTrax would have been given up by now
    EXPECT_EQ(it->status(), "Sync cancelled.");
    EXPECT_EQ(it->window.findChild<QMessageBox *>("alert"), nullptr);
    EXPECT_FALSE(before->isTerminated());
    EXPECT_FALSE(it->sessionMatchesConsole());
    EXPECT_TRUE(it->is(amberLook));
    EXPECT_FALSE(it->window.findChild<QWidget *>("busyMark")->isVisible());
}

TEST_F(SessionUpdateEndToEnd, QuitWhileCheckingEndsAtOnceAndNothingHasHappened) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    updateUpTo("deaf", "Checking transport…");
    const auto before = it->liveTrax();
    QTimer::singleShot(0, &it->window, [] { QApplication::quit(); });
    QTimer::singleShot(2000, &it->window, [] { QApplication::exit(1); });
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_FALSE(before->isTerminated());
    EXPECT_FALSE(it->sessionMatchesConsole());
}

} // namespace

} // namespace corvane

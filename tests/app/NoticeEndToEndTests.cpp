// What the window says besides its status, with everything real around it.

#include "tests/app/Recording.h"
#include "tests/app/WindowEndToEnd.h"

#ifdef __linux__
#include <arpa/inet.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace corvane {

namespace {

using testing::HasSubstr;

class NoticeEndToEnd : public WindowEndToEnd {
protected:
    std::string notice() const {
        const auto *row = it->window.findChild<QWidget *>("noticeRow");
        return row->isVisible() ? row->findChild<QLabel *>("noticeText")->text().toStdString() : "";
    }
    /// Waits until a notice holds these words.
    bool tells(const std::string &words) const {
        return QTest::qWaitFor([&] { return notice().find(words) != std::string::npos; }, timeout);
    }
    bool tellsNoMore(const std::string &words) const {
        return QTest::qWaitFor([&] { return notice().find(words) == std::string::npos; }, timeout);
    }
    std::string action() const {
        const auto *button = it->window.findChild<QPushButton *>("noticeAction");
        return button->isVisible() ? button->text().toStdString() : "";
    }
    void press(const char *button) const {
        QTest::qWait(500); // a press so soon after another notice would be meant for that
        it->click(button);
    }
    void begin() {
        it.emplace();
        ASSERT_TRUE(it->becomes(greenLook)) << it->status();
        dismissNames();
    }
    void dismissNames() {
        // Two names of the stand-in's band have a slash, which is told first.
        ASSERT_TRUE(tells("would be called")) << notice();
        press("noticeDismiss");
        ASSERT_TRUE(tellsNoMore("would be called")) << notice();
    }
};

TEST_F(NoticeEndToEnd, ALinkThatIsDownIsConnectedAgainByItsAction) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    begin();
    it->stage.tellConsole("drop");
    ASSERT_TRUE(tells("The console is not connected.")) << notice();
    EXPECT_EQ(action(), "Reconnect");
    press("noticeAction");
    EXPECT_TRUE(it->becomes(greenLook)) << it->status();
    EXPECT_TRUE(tellsNoMore("The console is not connected.")) << notice();
}

TEST_F(NoticeEndToEnd, CreateWithoutANameSaysWhyNothingHappens) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    begin();
    it->window.findChild<QLineEdit *>("sessionName")->setText("  ");
    const std::string before = it->status();
    it->click("syncButton");
    EXPECT_EQ(notice(), "Type a session name.");
    EXPECT_EQ(action(), "");
    EXPECT_EQ(it->status(), before);
    EXPECT_EQ(it->window.findChild<QMessageBox *>("alert"), nullptr);
    press("noticeDismiss");
    EXPECT_TRUE(tellsNoMore("Type a session name."));
}

TEST_F(NoticeEndToEnd, ASessionThatIsGoneIsMissed) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession();
    it->controller->fieldsEdited(); // has the disk asked
    const auto *sync = it->window.findChild<QWidget *>("connectButton");
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            return sync->toolTip().startsWith("Green: “\u2068LV1 Session\u2069” has the console's patch.");
        },
        timeout))
        << "the session was not seen: " << sync->toolTip().toStdString();
    it->liveTrax()->forceTerminate();
    std::filesystem::rename(it->session(), *it->platform->folders.music() / "Elsewhere");
    it->controller->fieldsEdited();
    ASSERT_TRUE(tells(" is not at ")) << notice();
    EXPECT_THAT(notice(), HasSubstr("LV1 Session"));
    EXPECT_EQ(action(), "Choose…");
}

TEST_F(NoticeEndToEnd, ASessionThatDiffersThoughTheButtonIsGreenIsUpdatedByItsAction) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession();
    it->liveTrax()->terminate();
    it->stage.tellConsole("move 20 41");
    ASSERT_TRUE(it->becomes(amberLook));
    // As after a start of the program: the first patch that it hears counts as the synchronised one.
    it->controller->synchronizedPatch.reset();
    it->stage.tellConsole("drop");
    ASSERT_TRUE(it->becomes(redLook));
    it->click("connectButton");
    ASSERT_TRUE(it->becomes(greenLook)) << it->status();
    ASSERT_TRUE(tells("of the console's 24 channels")) << notice();
    EXPECT_EQ(action(), "Update…");
    press("noticeAction");
    EXPECT_TRUE(it->says("Session updated: 23 adjusted, 1 added, 1 removed.")) << it->status();
    EXPECT_TRUE(tellsNoMore("of the console's 24 channels")) << notice();
}

TEST_F(NoticeEndToEnd, APatchThatCannotBecomeASessionIsShown) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    begin();
    it->stage.tellConsole("move 2 1");
    ASSERT_TRUE(tells("a session cannot be created")) << notice();
    EXPECT_EQ(action(), "Show");
    press("noticeAction");
    EXPECT_NE(it->window.findChild<QWidget *>("lines"), nullptr);
}

TEST_F(NoticeEndToEnd, ANameThatTheRecorderCannotHoldIsTold) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    begin();
    it->stage.tellConsole("rename 1 " + QByteArray(300, 'x'));
    EXPECT_TRUE(tells("too long")) << notice();
    EXPECT_EQ(action(), "");
}

TEST_F(NoticeEndToEnd, AnUpdateThatTookARecordingOutIsUndoneByItsAction) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession();
    dismissNames();
    const auto first = it->liveTrax();
    first->terminate();
    ASSERT_TRUE(QTest::qWaitFor([&] { return first->isTerminated(); }, timeout));
    const std::string moved = it->controller->channels[19].name();
    record(it->session(), moved);
    it->stage.tellConsole("move 20 41");
    ASSERT_TRUE(it->becomes(amberLook));
    ASSERT_TRUE(tells("SYNC LV1 will take 1 recorded track out of the session")) << notice();
    EXPECT_EQ(action(), "Show plan");
    press("noticeAction");
    EXPECT_NE(it->window.findChild<QWidget *>("lines"), nullptr);
    delete it->window.findChild<QWidget *>("lines");

    it->click("connectButton");
    expectUpdated();
    ASSERT_TRUE(tells("1 track with recordings left the session: ")) << notice();
    EXPECT_THAT(notice(), HasSubstr(moved));
    EXPECT_EQ(action(), "Undo");
    ASSERT_TRUE(liveTraxListens()) << "opened again";
    press("noticeAction");
    EXPECT_THAT(it->alert(),
                testing::StartsWith("LiveTrax will close to put the session back as it was before "
                                    "the update, then reopen with it.\n\n"));
    EXPECT_THAT(it->window.findChild<QPushButton *>("noticeAction")->toolTip().toStdString(),
                HasSubstr("markers, edits and mixes"));
    it->answer(Qt::Key_Return);
    ASSERT_TRUE(it->says("The update was undone.")) << it->status();
    EXPECT_TRUE(it->is(amberLook));
    EXPECT_FALSE(it->sessionMatchesConsole());
    EXPECT_THAT(it->savedSession(), HasSubstr(moved + "-1"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return it->recorders() == 1; }, timeout));
    EXPECT_TRUE(tells("SYNC LV1 will take 1 recorded track out of the session")) << notice();
}

TEST_F(NoticeEndToEnd, AnotherSessionThatWasOpenedLastIsUsedByItsAction) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    openSession();
    const auto palau = *it->platform->folders.music() / "Palau";
    std::filesystem::create_directories(palau);
    std::filesystem::copy(it->sessionFile(), palau / "Palau.ardour");
    const auto recent = it->platform->folders.home / "Library/Preferences/LiveTrax3/recent";
    ASSERT_TRUE(QTest::qWaitFor([&] { return std::filesystem::exists(recent); }, timeout));
    std::ofstream(recent) << "Palau\n" << palau.string() << "\n";
    it->controller->fieldsEdited(); // has the disk asked
    ASSERT_TRUE(tells("last; SYNC LV1 works on")) << notice();
    EXPECT_THAT(action(), HasSubstr("Palau"));
    press("noticeAction");
    EXPECT_EQ(it->controller->activeSessionURL, palau);
    EXPECT_TRUE(tellsNoMore("last; SYNC LV1 works on")) << notice();
}

#ifdef __linux__

TEST_F(NoticeEndToEnd, AMarkerThatAnotherProgramKeepsFromLiveTraxIsTold) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    const int other = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(8000);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::bind(other, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    openSession();
    dismissNames();
    it->stage.tellConsole("scene Solo");
    EXPECT_TRUE(tells(" did not reach LiveTrax: UDP port 8000 is in use by another program.")) << notice();
    EXPECT_THAT(notice(), HasSubstr("Solo"));
    EXPECT_EQ(action(), "");
    ::close(other);
}

TEST_F(NoticeEndToEnd, AVolumeThatIsNearlyFullIsTold) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        GTEST_SKIP() << "no file systems of its own";
    begin();
    const std::string music = it->platform->folders.music()->string();
    ASSERT_EQ(::mount("none", music.c_str(), "tmpfs", 0, "size=12g"), 0);
    it->controller->fieldsEdited(); // has the disk asked
    EXPECT_TRUE(tells("minutes left on “\u2068Music\u2069” for 31 inputs at 48 kHz.")) << notice();
    EXPECT_EQ(action(), "");
    ::umount(music.c_str());
    it->controller->fieldsEdited();
    EXPECT_TRUE(tellsNoMore("minutes left on “\u2068Music\u2069”")) << notice();
}

#endif

} // namespace

} // namespace corvane

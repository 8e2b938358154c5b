// What the window says besides its status, with everything real around it.

#include "tests/app/WindowEndToEnd.h"

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
    QTest::qWait(500);              // until the session has been seen
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

} // namespace

} // namespace corvane

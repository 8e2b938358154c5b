#include "tests/app/WindowFixture.h"

#include "app/BezelButton.h"
#include "app/ElidedLabel.h"
#include "tests/app/Activate.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QComboBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QTableView>
#include <QTextDocument>
#include <QToolTip>
#include <QWheelEvent>

#include <gmock/gmock.h>

namespace corvane {

namespace {

using testing::ElementsAre;

// The window for everyone: keyboard, screen readers, explanations

class WindowAccessTest : public WindowFixture {
protected:
    /// What a reader sees of a tooltip.
    static std::string plain(const QString &toolTip) {
        QTextDocument document;
        if (Qt::mightBeRichText(toolTip))
            document.setHtml(toolTip);
        else
            document.setPlainText(toolTip);
        return document.toPlainText().remove(QChar(0x200B)).toStdString();
    }
    std::string shownOnHover(const char *name) const {
        QToolTip::hideText();
        QHelpEvent hover(QEvent::ToolTip, QPoint(5, 5), control(name)->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(control(name), &hover);
        return plain(QToolTip::text());
    }
};

TEST_F(WindowAccessTest, ReturnPressesTheFocusedButton) {
    launch();
    control("connectButton")->setFocus();
    QTest::keyClick(control("connectButton"), Qt::Key_Return);
    EXPECT_EQ(fakes.browser->searches, 2);
    QTest::keyClick(control("patchButton"), Qt::Key_Return);
    EXPECT_TRUE(controller->patchExpanded);
    QTest::keyClick(control("patchButton"), Qt::Key_Enter);
    EXPECT_FALSE(controller->patchExpanded);
    QTest::keyClick(control("patchButton"), Qt::Key_Space);
    EXPECT_TRUE(controller->patchExpanded);
}

TEST_F(WindowAccessTest, AKeyThatIsHeldPressesOnce) {
    launch();
    for (const int key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
        const int before = fakes.browser->searches;
        const auto send = [&](QEvent::Type type, bool repeated) {
            QKeyEvent event(type, key, Qt::NoModifier, QString(), repeated);
            QApplication::sendEvent(control("connectButton"), &event);
        };
        send(QEvent::KeyPress, false);
        for (int repeat = 0; repeat < 5; ++repeat) {
            send(QEvent::KeyRelease, true);
            send(QEvent::KeyPress, true);
        }
        send(QEvent::KeyRelease, false);
        EXPECT_EQ(fakes.browser->searches, before + 1) << key;
    }
}

TEST_F(WindowAccessTest, NoKeyChoosesAnotherConsoleWhileTheHostListIsClosed) {
    launch();
    controller->client->onEndpoints({{"FOH", "10.0.0.1", 1, "aa"}, {"MON", "10.0.0.2", 1, "bb"}});
    auto *menu = control<QComboBox>("devicePopup");
    menu->setFocus();
    click("connectButton");
    const auto links = fakes.network->streams.size();
    ASSERT_EQ(links, 1U);
    int chosen = 0;
    QObject::connect(menu, &QComboBox::activated, menu, [&] { ++chosen; });
    for (const int key : {Qt::Key_M, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Home, Qt::Key_End}) {
        QTest::keyClick(menu, static_cast<Qt::Key>(key));
        EXPECT_FALSE(menu->view()->isVisible()) << key;
    }
    for (const int key : {Qt::Key_Down, Qt::Key_Up, Qt::Key_F4, Qt::Key_Space}) {
        QTest::keyClick(menu, static_cast<Qt::Key>(key));
        EXPECT_TRUE(menu->view()->isVisible()) << key;
        menu->hidePopup();
    }
    EXPECT_EQ(chosen, 0);
    EXPECT_EQ(menu->currentIndex(), 0);
    QKeyEvent key(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QWheelEvent wheel({5, 5}, menu->mapToGlobal(QPointF(5, 5)), {}, {0, -120}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    for (QEvent *event : std::initializer_list<QEvent *>{&key, &wheel}) {
        event->accept();
        static_cast<QObject *>(menu)->event(event);
        EXPECT_FALSE(event->isAccepted()) << "it is for the window";
    }
    EXPECT_EQ(menu->currentIndex(), 0);
    EXPECT_EQ(fakes.network->streams.size(), links);
}

/// Real keys, as a display delivers them: to the window that has the keyboard.
class HeldKeyTest : public WindowAccessTest {
protected:
    void launchWithKeyboardOn(const char *name) {
        launch();
        control(name)->setFocus();
        activate(window);
    }
    QMessageBox *ask() {
        window.showAlert({"Update Session", "It will close.", {"Update", "Cancel"}},
                         [this](std::size_t button) { answers.push_back(button); });
        auto *box = window.findChild<QMessageBox *>("alert");
        EXPECT_TRUE(QTest::qWaitForWindowExposed(box));
        activate(*box);
        return box;
    }
    static void press(QWidget &in, Qt::Key key) { QTest::keyPress(in.windowHandle(), key); }
    static void release(QWidget &in, Qt::Key key) {
        QTest::keyRelease(in.windowHandle(), key);
        QTest::qWait(2); // no finger is faster
    }
    static void repeat(QWidget &in, Qt::Key key) {
        for (const auto type : {QEvent::KeyRelease, QEvent::KeyPress}) {
            QKeyEvent event(type, key, Qt::NoModifier, QString(), true);
            QApplication::sendEvent(in.windowHandle(), &event);
        }
    }
    std::vector<std::size_t> answers;
};

TEST_F(HeldKeyTest, AKeyThatWasDownWhenTheQuestionCameDoesNotAnswerIt) {
    launchWithKeyboardOn("sessionName");
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space, Qt::Key_Escape}) {
        answers.clear();
        press(window, key);
        QMessageBox *box = ask();
        press(*box, key); // the first after a change of window is not marked as a repetition
        repeat(*box, key);
        repeat(*box, key);
        EXPECT_THAT(answers, testing::IsEmpty()) << key;
        release(*box, key);
        EXPECT_THAT(answers, testing::IsEmpty()) << key;
        press(*box, key);
        release(answers.empty() ? static_cast<QWidget &>(*box) : window, key);
        EXPECT_THAT(answers, ElementsAre(key == Qt::Key_Escape ? 1U : 0U));
        QTest::qWait(1);
    }
}

TEST_F(HeldKeyTest, ARepetitionOfAKeyThatWentDownElsewhereAnswersNothing) {
    launchWithKeyboardOn("sessionName");
    QMessageBox *box = ask();
    repeat(*box, Qt::Key_Return);
    EXPECT_THAT(answers, testing::IsEmpty());
    // A pair of one time, whatever its marks say
    for (const auto type : {QEvent::KeyRelease, QEvent::KeyPress}) {
        QKeyEvent event(type, Qt::Key_Return, Qt::NoModifier);
        event.setTimestamp(4711);
        QApplication::sendEvent(box->windowHandle(), &event);
    }
    EXPECT_THAT(answers, testing::IsEmpty());
}

TEST_F(HeldKeyTest, AKeyThatWasLetGoOfUnheardPressesAgain) {
    launchWithKeyboardOn("patchButton");
    const auto pressAt = [this](quint64 time) {
        QKeyEvent event(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
        event.setTimestamp(time);
        QApplication::sendEvent(window.windowHandle(), &event);
    };
    pressAt(10000);
    EXPECT_TRUE(controller->patchExpanded);
    pressAt(10700);
    pressAt(10740);
    EXPECT_TRUE(controller->patchExpanded) << "held";
    pressAt(11900);
    EXPECT_FALSE(controller->patchExpanded);
}

TEST_F(HeldKeyTest, AKeyThatWasSilentForASecondPressesAgain) {
    launchWithKeyboardOn("patchButton");
    const auto pressAt = [this](quint64 time) {
        QKeyEvent event(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
        event.setTimestamp(time);
        QApplication::sendEvent(window.windowHandle(), &event);
        return controller->patchExpanded;
    };
    EXPECT_TRUE(pressAt(10000));
    EXPECT_TRUE(pressAt(10999)) << "held";
    EXPECT_FALSE(pressAt(11999));
}

TEST_F(HeldKeyTest, WritingRepeats) {
    launchWithKeyboardOn("sessionName");
    control<QLineEdit>("sessionName")->clear();
    for (int times = 0; times < 3; ++times) {
        QKeyEvent event(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, " ", times > 0);
        QApplication::sendEvent(window.windowHandle(), &event);
    }
    EXPECT_EQ(control<QLineEdit>("sessionName")->text(), "   ");
}

TEST_F(HeldKeyTest, AHeldKeyPressesAButtonOnceThroughTheWindow) {
    launchWithKeyboardOn("patchButton");
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
        const bool before = controller->patchExpanded;
        press(window, key);
        for (int times = 0; times < 4; ++times)
            repeat(window, key);
        release(window, key);
        EXPECT_NE(controller->patchExpanded, before) << key;
    }
}

TEST_F(WindowAccessTest, TabVisitsTheControlsFromTopToBottom) {
    launch();
    consoleSendsPatch(channels(3));
    click("patchButton");
    control("devicePopup")->setFocus();
    std::vector<std::string> visited;
    for (int step = 0; step < 8; ++step) {
        visited.push_back(window.focusWidget()->objectName().toStdString());
        QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
    }
    EXPECT_THAT(visited, ElementsAre("devicePopup", "connectButton", "patchButton", "table", "sessionName",
                                     "outputPath", "chooseButton", "syncButton"));
}

TEST_F(WindowAccessTest, TabVisitsANoticeBetweenTheTableAndTheFieldsBelowIt) {
    launch();
    consoleSendsPatch(channels(3));
    click("patchButton");
    window.showNotice(Notice{Notice::Kind::patchConflict, "Two channels have one name.", "Show"});
    control("table")->setFocus();
    std::vector<std::string> visited;
    for (int step = 0; step < 4; ++step) {
        visited.push_back(window.focusWidget()->objectName().toStdString());
        QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
    }
    EXPECT_THAT(visited, ElementsAre("table", "noticeAction", "noticeDismiss", "sessionName"));
}

TEST_F(WindowAccessTest, EveryControlHasANameForScreenReaders) {
    launch();
    for (const char *name : {"statusLabel", "sceneLabel", "devicePopup", "connectButton", "sessionName",
                             "outputPath", "chooseButton", "table", "patchButton", "syncButton"}) {
        QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(control(name));
        ASSERT_NE(spoken, nullptr) << name;
        EXPECT_FALSE(spoken->text(QAccessible::Name).isEmpty()) << name;
    }
}

TEST_F(WindowAccessTest, WhateverTakesTheKeyboardHasANameForScreenReadersAlsoInPanelsAndQuestions) {
    fakes.resources->files["ThirdPartyNotices.txt"] = fakes.folder.write("notices.txt", "Somebody's licence");
    launch();
    consoleSendsPatch(channels(3));
    click("patchButton");
    window.showNotice(Notice{Notice::Kind::patchConflict, "Two channels have one name.", "Show"});
    window.showLines("What would change", {"One line"});
    controller->showAbout();
    control<QAbstractButton>("licences")->click();
    window.showAlert({"Update Session", "It will close.", {"Update", "Cancel"}}, [](std::size_t) {});
    int reached = 0;
    std::vector<std::string> nameless;
    for (QWidget *each : QApplication::allWidgets()) {
        if (!each->isVisible() || each->focusPolicy() == Qt::NoFocus)
            continue;
        ++reached;
        QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(each);
        if (spoken == nullptr || spoken->text(QAccessible::Name).isEmpty())
            nameless.push_back(std::string(each->metaObject()->className()) + " " +
                               each->objectName().toStdString());
    }
    EXPECT_THAT(nameless, testing::IsEmpty());
    EXPECT_GE(reached, 16);
}

TEST_F(WindowAccessTest, TheSessionNameTakesTheSystemsKeysForEditing) {
    launch();
    QWidget *const field = control("sessionName");
    QTest::keySequence(field, QKeySequence::SelectAll);
    QTest::keyClicks(field, "Friday");
    QTest::keySequence(field, QKeySequence::SelectAll);
    QTest::keySequence(field, QKeySequence::Copy);
    QTest::keyClick(field, Qt::Key_End);
    QTest::keySequence(field, QKeySequence::Paste);
    EXPECT_EQ(window.sessionName(), "FridayFriday");
    QTest::keySequence(field, QKeySequence::SelectAll);
    QTest::keySequence(field, QKeySequence::Cut);
    EXPECT_EQ(window.sessionName(), "");
    QTest::keySequence(field, QKeySequence::Undo);
    EXPECT_EQ(window.sessionName(), "FridayFriday");
}

TEST_F(WindowAccessTest, TheHostMenuIsLabelledByTheWordsBesideIt) {
    launch();
    const auto labels =
        QAccessible::queryAccessibleInterface(control("devicePopup"))->relations(QAccessible::Label);
    ASSERT_EQ(labels.size(), 1);
    EXPECT_EQ(labels.front().first->text(QAccessible::Name), "LV1 HOST");
}

TEST_F(WindowAccessTest, TheButtonSaysItsStateByAShapeAsWell) {
    launch();
    const auto shape = [this] {
        return static_cast<BezelButton *>(control("connectButton"))->currentLook().symbol;
    };
    const int width = control("connectButton")->width();
    EXPECT_EQ(shape(), ButtonLook::Symbol::cross);
    consoleSendsPatch(channels(1));
    EXPECT_EQ(shape(), ButtonLook::Symbol::check);
    consoleSendsPatch(channels(2));
    EXPECT_EQ(shape(), ButtonLook::Symbol::triangle);
    EXPECT_EQ(control("connectButton")->width(), width);
    EXPECT_EQ(text("connectButton"), "SYNC LV1");
}

TEST_F(WindowAccessTest, EachShapeIsPaintedBesideTheTitle) {
    BezelButton button("SYNC LV1");
    std::vector<QImage> left;
    for (const auto symbol :
         {ButtonLook::Symbol::check, ButtonLook::Symbol::triangle, ButtonLook::Symbol::cross}) {
        button.setLook({0.2, 0.2, 0.2, 1, ButtonLook::Tint::white, symbol});
        button.resize(button.sizeHint());
        left.push_back(button.grab(QRect(14, 0, 16, button.height())).toImage());
    }
    EXPECT_NE(left[0], left[1]);
    EXPECT_NE(left[1], left[2]);
    EXPECT_NE(left[0], left[2]);
}

TEST_F(WindowAccessTest, AScreenReaderSaysWhatTheColourOfTheButtonMeans) {
    launch();
    consoleSendsPatch(channels(1));
    consoleSendsPatch(channels(2));
    EXPECT_TRUE(QAccessible::queryAccessibleInterface(control("connectButton"))
                    ->text(QAccessible::Description)
                    .startsWith("Amber"));
    EXPECT_TRUE(control("connectButton")->toolTip().startsWith("Amber"));
}

TEST_F(WindowAccessTest, TheCreateButtonSaysWhatItWouldMake) {
    launch();
    consoleSendsPatch(channels(3));
    EXPECT_EQ(
        control("syncButton")->toolTip().toStdString(),
        "Makes a LiveTrax session of the console's 3 channels, one armed track for each, and opens it.");
    EXPECT_EQ(control("syncButton")->accessibleDescription(), control("syncButton")->toolTip());
}

TEST_F(WindowAccessTest, TheStatusExplainsPendingChangesOnHover) {
    launch();
    consoleSendsPatch(channels(1));
    consoleSendsPatch(channels(2));
    EXPECT_EQ(shownOnHover("statusLabel"),
              "Changes since the last sync:\n“\u2068Channel 2\u2069” is new, on input 2");
    window.setStatusLabel(std::string(300, 'x'));
    EXPECT_EQ(shownOnHover("statusLabel"),
              std::string(300, 'x') +
                  "\n\nChanges since the last sync:\n“\u2068Channel 2\u2069” is new, on input 2");
}

TEST_F(WindowAccessTest, NamesAreShownOnHoverAsTheyAreEvenIfTheyLookLikeMarkup) {
    launch();
    const std::string name = "<b>Kick</b> &amp; <img src='x'>" + std::string(200, 'x');
    window.setSceneLabel(name);
    EXPECT_THAT(shownOnHover("sceneLabel"), testing::StartsWith(name + "\n\nMarker style: classic."));
    window.setDevicePopup({name});
    EXPECT_EQ(shownOnHover("devicePopup"),
              name + "\n\nThe LV1 host to connect to; choosing another one connects to that");
    EXPECT_EQ(plain(control<QComboBox>("devicePopup")->itemData(0, Qt::ToolTipRole).toString()), name);
    consoleSendsPatch({channel(name, 1, 0)});
    EXPECT_EQ(plain(control<QTableView>("table")->model()->index(0, 1).data(Qt::ToolTipRole).toString()),
              name);
}

TEST_F(WindowAccessTest, AHostNameThatIsWholeNeedsNoSecondShowing) {
    launch();
    window.setDevicePopup({"FOH  ·  AA:BB"});
    EXPECT_EQ(shownOnHover("devicePopup"),
              "The LV1 host to connect to; choosing another one connects to that");
}

TEST_F(WindowAccessTest, ALongNameOnHoverIsWrapped) {
    launch();
    std::string words;
    while (words.size() < 400)
        words += "words ";
    for (const std::string &name : {std::string(400, 'x'), words + "end"}) {
        window.setStatusLabel(name);
        EXPECT_EQ(shownOnHover("statusLabel"), name);
        const QWidget *tip = nullptr;
        for (const QWidget *each : QApplication::topLevelWidgets())
            if (each->inherits("QTipLabel") && each->isVisible())
                tip = each;
        ASSERT_NE(tip, nullptr);
        EXPECT_LT(tip->width(), 760);
        EXPECT_GT(tip->height(), 30);
    }
}

TEST_F(WindowAccessTest, ALongStatusIsCutOffAndWholeOnHover) {
    launch();
    auto *label = static_cast<ElidedLabel *>(control("statusLabel"));
    window.setStatusLabel("Short");
    EXPECT_FALSE(label->isElided());
    const std::string text(400, 'x');
    window.setStatusLabel(text);
    EXPECT_TRUE(label->isElided());
    EXPECT_EQ(label->text().toStdString(), text);
    EXPECT_EQ(window.width(), 760);
    EXPECT_EQ(shownOnHover("statusLabel"), text);
}

TEST_F(WindowAccessTest, ALongSceneNameAndALongHostNameDoNotWidenTheWindow) {
    launch();
    window.setSceneLabel("Scene: " + std::string(400, 'x'));
    window.setDevicePopup({std::string(400, 'y')});
    QTest::qWait(1);
    EXPECT_EQ(window.width(), 760);
    EXPECT_EQ(control("syncButton")->mapTo(&window, QPoint(0, 0)).x() + control("syncButton")->width(), 740);
}

} // namespace

} // namespace corvane

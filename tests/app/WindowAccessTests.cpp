#include "tests/app/WindowFixture.h"

#include "app/ElidedLabel.h"

#include <QAccessible>
#include <QComboBox>
#include <QTableView>
#include <QTextDocument>
#include <QToolTip>

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

TEST_F(WindowAccessTest, EveryControlHasANameForScreenReaders) {
    launch();
    for (const char *name : {"statusLabel", "sceneLabel", "devicePopup", "connectButton", "sessionName",
                             "outputPath", "chooseButton", "table", "patchButton", "syncButton"}) {
        QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(control(name));
        ASSERT_NE(spoken, nullptr) << name;
        EXPECT_FALSE(spoken->text(QAccessible::Name).isEmpty()) << name;
    }
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

TEST_F(WindowAccessTest, TheStatusExplainsPendingChangesOnHover) {
    launch();
    consoleSendsPatch(channels(1));
    consoleSendsPatch(channels(2));
    EXPECT_EQ(shownOnHover("statusLabel"), "Changes since the last sync:\n“Channel 2” is new, on input 2");
    window.setStatusLabel(std::string(300, 'x'));
    EXPECT_EQ(shownOnHover("statusLabel"),
              std::string(300, 'x') + "\n\nChanges since the last sync:\n“Channel 2” is new, on input 2");
}

TEST_F(WindowAccessTest, NamesAreShownOnHoverAsTheyAreEvenIfTheyLookLikeMarkup) {
    launch();
    const std::string name = "<b>Kick</b> &amp; <img src='x'>" + std::string(200, 'x');
    window.setSceneLabel(name);
    EXPECT_EQ(shownOnHover("sceneLabel"), name);
    window.setDevicePopup({name});
    EXPECT_EQ(shownOnHover("devicePopup"), name + "\n\nThe LV1 host that SYNC LV1 connects to");
    EXPECT_EQ(plain(control<QComboBox>("devicePopup")->itemData(0, Qt::ToolTipRole).toString()), name);
    consoleSendsPatch({channel(name, 1, 0)});
    EXPECT_EQ(plain(control<QTableView>("table")->model()->index(0, 1).data(Qt::ToolTipRole).toString()),
              name);
}

TEST_F(WindowAccessTest, AHostNameThatIsWholeNeedsNoSecondShowing) {
    launch();
    window.setDevicePopup({"FOH  ·  AA:BB"});
    EXPECT_EQ(shownOnHover("devicePopup"), "The LV1 host that SYNC LV1 connects to");
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

#include "app/NoticeRow.h"

#include "app/ElidedLabel.h"
#include "app/Look.h"
#include "app/ShownText.h"
#include "tests/app/Activate.h"

#include <QAccessible>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>

#include <gtest/gtest.h>

#include <utility>

namespace corvane {

namespace {

class NoticeRowTest : public testing::Test {
protected:
    NoticeRowTest() {
        row.onAction = [this] { ++actions; };
        row.onDismissal = [this] { ++dismissals; };
        auto *rows = new QVBoxLayout(&window);
        rows->addWidget(&field);
        rows->addWidget(&row);
        window.resize(720, 120);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
        activate(window);
        field.setFocus();
    }
    template <class Control = QPushButton>
    Control *control(const char *name) const {
        auto *found = dynamic_cast<Control *>(row.findChild<QWidget *>(QString::fromUtf8(name)));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    void click(const char *name) const { QTest::mouseClick(control(name), Qt::LeftButton); }

    QWidget window;
    QLineEdit field;
    NoticeRow row;
    int actions = 0;
    int dismissals = 0;
};

TEST_F(NoticeRowTest, IsHiddenWhileThereIsNothingToSay) {
    EXPECT_FALSE(row.isVisible());
    row.setNotice("Something", "");
    EXPECT_TRUE(row.isVisible());
    row.setNotice("", "");
    EXPECT_FALSE(row.isVisible());
}

TEST_F(NoticeRowTest, HasAtMostOneActionAndAlwaysAWayToPutItAway) {
    row.setNotice("LiveTrax opened “Palau” last.", "Use “Palau”");
    EXPECT_EQ(control("noticeAction")->text(), "Use “Palau”");
    click("noticeAction");
    EXPECT_EQ(actions, 1);
    row.setNotice("", "");
    row.setNotice("Type a session name.", "");
    EXPECT_FALSE(control("noticeAction")->isVisible());
    click("noticeDismiss");
    EXPECT_EQ(dismissals, 1);
    EXPECT_EQ(actions, 1);
}

TEST_F(NoticeRowTest, AnActionsNameIsWrittenAsItIsAndDoesNotWidenTheWindow) {
    row.setNotice("One", "Use “Rock & Roll”");
    EXPECT_EQ(control("noticeAction")->text(), "Use “Rock && Roll”");
    EXPECT_EQ(control("noticeAction")->accessibleName(), "Use “Rock & Roll”");
    row.setNotice("Two", "Use “" + QString(120, 'W') + "”");
    EXPECT_LT(row.minimumSizeHint().width(), 400);
    EXPECT_EQ(control("noticeAction")->text(),
              control("noticeAction")
                  ->fontMetrics()
                  .elidedText("Use “" + QString(120, 'W') + "”", Qt::ElideMiddle, 220));
    EXPECT_EQ(control("noticeAction")->toolTip(), plainToolTip("Use “" + QString(120, 'W') + "”"));
    row.setNotice("Two", QString(120, 'W'), "Behind it");
    EXPECT_EQ(control("noticeAction")->toolTip(), plainToolTip(QString(120, 'W') + "\n\nBehind it"));
}

TEST_F(NoticeRowTest, AnActionsNameIsWholeUpToItsWidestAndCutOffBeyond) {
    QFont font = control("noticeAction")->font();
    for (const auto &[width, whole] : {std::pair(220, true), std::pair(221, false)}) {
        qreal apart = 0;
        do
            font.setLetterSpacing(QFont::AbsoluteSpacing, apart += 0.125);
        while (QFontMetricsF(font).horizontalAdvance("Undo") <= width - 0.75);
        control("noticeAction")->setFont(font);
        row.setNotice("One", "Undo");
        EXPECT_EQ(control("noticeAction")->text() == "Undo", whole) << width;
    }
}

TEST_F(NoticeRowTest, WhatIsBehindTheWordsIsShownOnHoverOverThemAndTheAction) {
    row.setNotice("One", "Undo", "Markers <b>go</b> with it.");
    EXPECT_TRUE(control("noticeAction")->toolTip().contains("Markers &lt;b&gt;go"));
    EXPECT_EQ(control("noticeAction")->accessibleDescription(), "One\nMarkers <b>go</b> with it.");
    EXPECT_EQ(control<QWidget>("noticeText")->accessibleDescription(), "Markers <b>go</b> with it.");
    row.setNotice("Two", "Act");
    EXPECT_EQ(control("noticeAction")->toolTip(), "");
    EXPECT_EQ(control<QWidget>("noticeText")->accessibleDescription(), "");
}

TEST_F(NoticeRowTest, TakesTheKeyboardFromNothing) {
    for (const char *text : {"One", "Two", ""}) {
        row.setNotice(text, text);
        EXPECT_TRUE(field.hasFocus()) << text;
    }
    row.setNotice("One", "Act");
    click("noticeAction");
    EXPECT_TRUE(field.hasFocus());
}

TEST_F(NoticeRowTest, IsReachedAndPressedByTheKeyboard) {
    row.setNotice("One", "Act");
    QTest::keyClick(&field, Qt::Key_Tab);
    ASSERT_TRUE(control("noticeAction")->hasFocus());
    QTest::keyClick(control("noticeAction"), Qt::Key_Return);
    EXPECT_EQ(actions, 1);
    QTest::keyClick(control("noticeAction"), Qt::Key_Tab);
    ASSERT_TRUE(control("noticeDismiss")->hasFocus());
    QTest::keyClick(control("noticeDismiss"), Qt::Key_Space);
    EXPECT_EQ(dismissals, 1);
}

TEST_F(NoticeRowTest, HasNamesForScreenReaders) {
    row.setNotice("The console is not connected.", "Reconnect");
    const auto name = [](QWidget *widget) {
        return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name).toStdString();
    };
    EXPECT_EQ(name(&row), "Notice");
    EXPECT_EQ(name(control<QWidget>("noticeText")), "The console is not connected.");
    EXPECT_EQ(name(control("noticeAction")), "Reconnect");
    EXPECT_EQ(name(control("noticeDismiss")), "Dismiss this notice");
    EXPECT_EQ(row.accessibleDescription(), "The console is not connected.");
}

TEST_F(NoticeRowTest, APressThatWasMeantForAnotherNoticeDoesNothing) {
    row.setNotice("One", "Act");
    QElapsedTimer replaced;
    replaced.start();
    row.setNotice("Two", "Undo");
    click("noticeAction");
    click("noticeDismiss");
    EXPECT_EQ(actions + dismissals, 0);
    const auto pressCounts = [this] {
        click("noticeAction");
        return actions > 0;
    };
    EXPECT_TRUE(QTest::qWaitFor(pressCounts, 5000)); // real pointers, real time
    EXPECT_GE(replaced.elapsed(), 400);
    EXPECT_EQ(actions, 1);
}

struct Change {
    const char *text;
    const char *action;
    bool isAnother; ///< than "One" with "Act", which is shown before
};
const Change changes[] = {
    {"One", "Act", false}, {"One", "Undo", true}, {"Two", "Act", true}, {"Two", "Undo", true}};

TEST_F(NoticeRowTest, OnlyAnotherNoticeTakesThePressOfTheOneBefore) {
    for (const auto &[text, action, isAnother] : changes) {
        row.setNotice("", "");
        row.setNotice("One", "Act");
        QElapsedTimer replaced;
        replaced.start();
        row.setNotice(text, action, "Behind it");
        actions = 0;
        click("noticeAction");
        if (!isAnother || !replaced.hasExpired(400)) { // where a click takes so long, nothing can be said
            EXPECT_EQ(actions, isAnother ? 0 : 1) << text << " " << action;
        }
    }
}

TEST_F(NoticeRowTest, ANoticeAfterNoneIsPressedAtOnceWhateverWasReplacedBefore) {
    row.setNotice("One", "Act");
    row.setNotice("Two", "Act");
    row.setNotice("", "");
    row.setNotice("Three", "Act");
    click("noticeAction");
    click("noticeDismiss");
    EXPECT_EQ(actions + dismissals, 2);
}

TEST_F(NoticeRowTest, ALongTextHasTwoLinesAndIsCutOffThen) {
    auto *words = control<ElidedLabel>("noticeText");
    const auto isCutAt = [&](int height, const QString &text) {
        row.setFixedHeight(height);
        row.setNotice(text, "Act");
        EXPECT_TRUE(QTest::qWaitFor([&] { return row.height() == height; }, 3000));
        row.layout()->activate();
        return words->isElided();
    };
    QString text;
    while (words->fontMetrics().horizontalAdvance(text) < 800)
        text += "word ";
    EXPECT_FALSE(isCutAt(NoticeRow::fullHeight, text));
    EXPECT_TRUE(isCutAt(NoticeRow::leastHeight, text));
    EXPECT_TRUE(isCutAt(NoticeRow::fullHeight, QString(250000, 'x')));
}

} // namespace

} // namespace corvane

// What stands where in the window, how large and how bright.

#include "app/ButtonLook.h"
#include "app/Look.h"
#include "tests/app/Activate.h"
#include "tests/app/WindowFixture.h"

#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QScrollBar>
#include <QTableView>
#include <QVariantAnimation>

#include <gmock/gmock.h>

namespace corvane {

namespace {

using testing::ElementsAre;

class WindowLayoutTest : public WindowFixture {
protected:
    QLabel *labelOf(const char *text) const {
        for (auto *label : window.findChildren<QLabel *>())
            if (label->text() == QString::fromUtf8(text))
                return label;
        ADD_FAILURE() << text;
        return nullptr;
    }
    QRect place(const QWidget *widget) const {
        return {widget->mapTo(window.centralWidget(), QPoint(0, 0)), widget->size()};
    }
    static double white(const QLabel *label) {
        return label->palette().color(QPalette::WindowText).lightnessF();
    }
    void openPatch() const {
        click("patchButton");
        const auto *animation = window.findChild<QVariantAnimation *>();
        ASSERT_TRUE(QTest::qWaitFor([&] { return animation->state() == QAbstractAnimation::Stopped; }, 3000));
    }
};

TEST_F(WindowLayoutTest, TheHeaderNamesTheProgramInItsSizesAndGreys) {
    launch();
    EXPECT_EQ(labelOf("CORVANE")->font().pixelSize(), 23);
    EXPECT_EQ(labelOf("for LiveTrax")->font().pixelSize(), 23);
    EXPECT_NEAR(white(labelOf("for LiveTrax")), 0.78, 0.004);
    EXPECT_EQ(labelOf("CORVANE")->font().family(), QApplication::font().family());
    const QLabel *subtitle = labelOf("ONLINE INTEGRATION · PATCH / NAMES / COLORS");
    EXPECT_EQ(subtitle->font().pixelSize(), 10);
    EXPECT_NEAR(white(subtitle), look::secondaryGrey, 0.004);
    EXPECT_EQ(place(control("icon")).size(), QSize(38, 38));
}

TEST_F(WindowLayoutTest, CaptionsAndLinesHaveTheirSizesAndGreys) {
    launch();
    EXPECT_EQ(labelOf("LV1 HOST")->font().pixelSize(), 11);
    EXPECT_NEAR(white(control<QLabel>("statusLabel")), 0.72, 0.004);
    EXPECT_EQ(control("patchButton")->font().pixelSize(), 12);
    EXPECT_EQ(text("chooseButton"), "Choose…");
    EXPECT_EQ(labelOf("Session name:")->buddy(), control("sessionName"));
    EXPECT_EQ(labelOf("Save in:")->buddy(), control("outputPath"));
    EXPECT_EQ(control<QLineEdit>("outputPath")->isReadOnly(), false);
}

TEST_F(WindowLayoutTest, TheRowsStandBelowOneAnotherTenPointsApart) {
    launch();
    const std::vector<const QWidget *> rows{control("icon"),        control("subtitle"),
                                            control("separator"),   control("devicePopup"),
                                            control("statusLabel"), control("patchButton")};
    for (std::size_t next = 1; next < rows.size(); ++next)
        EXPECT_EQ(place(rows[next]).top() - place(rows[next - 1]).bottom() - 1, 10)
            << rows[next]->objectName().toStdString();
    EXPECT_EQ(place(control("syncButton")).top() - place(control("sessionFields")).bottom() - 1, 10);
    openPatch();
    EXPECT_EQ(place(control("channelScroll")).top() - place(control("patchButton")).bottom() - 1, 10);
}

TEST_F(WindowLayoutTest, TheSeparatorIsALineAcrossTheWindow) {
    launch();
    EXPECT_EQ(place(control("separator")).left(), 20);
    EXPECT_EQ(place(control("separator")).size(), QSize(720, 1));
    EXPECT_NE(control("separator")->grab().toImage().pixelColor(360, 0),
              window.grab().toImage().pixelColor(5, window.height() - 5));
}

TEST_F(WindowLayoutTest, TheHostRowsPartsStandTwelvePointsApart) {
    launch();
    EXPECT_EQ(place(control("devicePopup")).left() - place(labelOf("LV1 HOST")).right() - 1, 12);
    EXPECT_EQ(place(control("connectButton")).left() - place(control("devicePopup")).right() - 1, 12);
}

TEST_F(WindowLayoutTest, TheCaptionsOfTheFieldsEndAtOneLine) {
    launch();
    EXPECT_EQ(place(labelOf("Session name:")).right(), place(labelOf("Save in:")).right());
    EXPECT_EQ(place(control("chooseButton")).right() - place(control("outputPath")).left() + 1, 500);
    EXPECT_EQ(place(control("sessionName")).left(), place(control("outputPath")).left());
}

TEST_F(WindowLayoutTest, SceneStandsLeftAndCreateRight) {
    launch();
    EXPECT_EQ(place(control("sceneLabel")).left(), 20);
    EXPECT_EQ(place(control("syncButton")).right(), 739);
}

TEST_F(WindowLayoutTest, TheTableHasAHeaderAlternatingRowsAndAVerticalScroller) {
    launch();
    consoleSendsPatch(channels(2));
    openPatch();
    auto *table = control<QTableView>("table");
    EXPECT_TRUE(table->horizontalHeader()->isVisible());
    EXPECT_TRUE(table->verticalHeader()->isHidden());
    EXPECT_TRUE(table->verticalScrollBar()->isVisible());
    const QImage rows = table->viewport()->grab().toImage();
    const auto at = [&](int row) { return rows.pixelColor(rows.width() - 4, row * 24 + 12); };
    EXPECT_NE(at(0), at(1));
    EXPECT_EQ(at(0), at(2));
    EXPECT_EQ(at(1), at(3)) << "below the last channel as well";
}

TEST_F(WindowLayoutTest, PatchTitleStandsLeft) {
    launch();
    const QImage image = control("patchButton")->grab().toImage();
    int firstLit = 0;
    while (firstLit < image.width() / 2 && [&] {
        for (int y = 4; y < image.height() - 4; ++y)
            if (image.pixelColor(firstLit, y).lightness() > 120)
                return false;
        return true;
    }())
        ++firstLit;
    EXPECT_LT(firstLit, 25);
}

TEST_F(WindowLayoutTest, IsInFrontAtLaunchAndForTheQuestion) {
    launch();
    EXPECT_EQ(QApplication::activeWindow(), &window);
    QWidget other;
    other.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&other));
    activate(other);
    window.showMinimized();
    window.bringToFront();
    EXPECT_FALSE(window.isMinimized());
    EXPECT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == &window; }, 3000));
}

TEST_F(WindowLayoutTest, TheMenusItemsDoWhatTheySay) {
    launch();
    QMenu *menu = window.menuBar()->actions().front()->menu();
    EXPECT_EQ(window.menuBar()->actions().front()->text(), "Corvane");
    const auto trigger = [menu](const char *title) {
        for (QAction *item : menu->actions())
            if (item->text() == QString::fromUtf8(title))
                item->trigger();
    };
    trigger("About Corvane…");
    EXPECT_NE(window.findChild<QWidget *>("about"), nullptr);
    trigger("Hide Corvane");
    EXPECT_TRUE(window.isMinimized());
    trigger("Show All");
    EXPECT_FALSE(window.isMinimized());
    for (const QAction *item : menu->actions())
        EXPECT_FALSE(item->autoRepeat() && !item->isSeparator()) << item->text().toStdString();
}

TEST_F(WindowLayoutTest, NothingMovesWhenThereIsSomethingToSay) {
    launch();
    QWidget *notice = control("noticeRow");
    std::vector<QRect> before;
    for (const char *name :
         {"devicePopup", "connectButton", "statusLabel", "patchButton", "sessionFields", "syncButton"})
        before.push_back(place(control(name)));
    for (const int content : {370, 350}) {
        window.resize(760, content + window.menuBar()->height());
        notice->show();
        QTest::qWait(1);
        if (content == 370) {
            std::vector<QRect> after;
            for (const char *name : {"devicePopup", "connectButton", "statusLabel", "patchButton",
                                     "sessionFields", "syncButton"})
                after.push_back(place(control(name)));
            EXPECT_EQ(after, before);
        }
        EXPECT_GT(place(notice).top(), place(control("patchButton")).bottom()) << content;
        EXPECT_LT(place(notice).bottom(), place(control("sessionFields")).top()) << content;
        EXPECT_EQ(place(control("syncButton")).bottom(), content - 18 - 1);
    }
    EXPECT_EQ(window.minimumHeight(), 350 + window.menuBar()->height());
}

} // namespace

} // namespace corvane

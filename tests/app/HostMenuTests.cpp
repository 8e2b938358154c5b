#include "app/HostMenu.h"

#include "tests/app/Activate.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QFontMetricsF>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QTextDocument>
#include <QToolTip>

#include <cmath>

namespace corvane {

namespace {

using Titles = std::vector<std::string>;

Titles titlesOf(const HostMenu &menu) {
    Titles titles;
    for (int position = 0; position < menu.count(); ++position)
        titles.push_back(menu.itemText(position).toStdString());
    return titles;
}

TEST(HostMenu, WhatIsChosenStaysSoWhereverItsTitleGoesAndElseTheFirstIs) {
    struct Row {
        Titles before;
        int chosen;
        Titles after;
        int expected;
    };
    for (const auto &[before, chosen, after, expected] :
         std::initializer_list<Row>{{{}, -1, {"A", "B"}, 0},
                                    {{"A"}, 0, {"X"}, 0},
                                    {{"A"}, 0, {}, -1},
                                    {{"A", "B"}, 1, {}, -1},
                                    {{"A", "B"}, 0, {"B", "A"}, 1},
                                    {{"A", "B"}, 1, {"B", "A"}, 0},
                                    {{"A", "B"}, 1, {"A"}, 0},
                                    {{"A", "B"}, 1, {"C", "D"}, 0},
                                    {{"A", "B", "C"}, 2, {"A", "C"}, 1},
                                    {{"A", "B", "C"}, 1, {"X", "Y", "B"}, 2},
                                    {{"foh"}, 0, {"FOH", "foh"}, 1},
                                    {{"A", "B"}, 1, {"AB", "X", "B"}, 2},
                                    {{"A", "A", "B"}, 1, {"A", "A", "C"}, 1},
                                    {{"A", "A"}, 1, {"A"}, 0}}) {
        HostMenu menu;
        menu.refill(before);
        menu.setCurrentIndex(chosen);
        menu.refill(after);
        EXPECT_EQ(titlesOf(menu), after);
        EXPECT_EQ(menu.currentIndex(), expected) << testing::PrintToString(before) << chosen;
    }
}

TEST(HostMenu, ALongNameDoesNotWidenIt) {
    HostMenu narrow;
    HostMenu wide;
    narrow.refill({"A"});
    wide.refill({std::string(400, 'x')});
    EXPECT_EQ(wide.sizeHint(), narrow.sizeHint());
    EXPECT_EQ(wide.minimumSizeHint(), narrow.minimumSizeHint());
}

TEST(HostMenu, IsPaintedAnewUnderTheMouse) {
    HostMenu menu;
    menu.ensurePolished();
    EXPECT_TRUE(menu.testAttribute(Qt::WA_Hover));
}

class OpenHostMenuTest : public testing::Test {
protected:
    void open(const Titles &titles, int marked) {
        menu.refill(titles);
        menu.show();
        menu.showPopup();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(list()));
        menu.view()->setCurrentIndex(menu.model()->index(marked, 0));
    }
    QWidget *list() const { return menu.view()->window(); }
    int marked() const { return menu.view()->currentIndex().row(); }
    /// By how many rows it is higher than it was.
    double grownBy(const Titles &titles) {
        const int height = list()->height();
        const int row = menu.view()->sizeHintForRow(0);
        menu.refill(titles);
        EXPECT_TRUE(menu.view()->isVisible());
        return (list()->height() - height) / double(row);
    }

    HostMenu menu;
};

TEST_F(OpenHostMenuTest, ItsListIsAsHighAsItsRowsAndNeverHigherThanTen) {
    open({"A"}, 0);
    EXPECT_EQ(grownBy({"A", "B", "C"}), 2);
    EXPECT_EQ(grownBy({"A"}), -2);
    EXPECT_EQ(grownBy(Titles(12, "A")), 9);
    EXPECT_EQ(grownBy(Titles(11, "A")), 0);
    EXPECT_EQ(grownBy({}), 0);
}

TEST_F(OpenHostMenuTest, TheMarkStaysOnItsHost) {
    open({"FOH", "MON", "BC"}, 1);
    menu.refill({"BC", "FOH", "MON"});
    EXPECT_EQ(marked(), 2);
    menu.refill({"MON", "BC"});
    EXPECT_EQ(marked(), 0);
    menu.refill({"BC", "FOH"});
    EXPECT_EQ(marked(), 0) << "it is gone";
}

TEST(HostMenu, TheKeysThatOpenItAreItsOwnAndHeldOnesDoNothing) {
    HostMenu menu;
    menu.refill({"A"});
    menu.show();
    for (const int key : {Qt::Key_Up, Qt::Key_Down, Qt::Key_F4, Qt::Key_Space}) {
        for (const bool repeated : {true, false}) {
            QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, QString(), repeated);
            press.accept();
            QApplication::sendEvent(&menu, &press);
            EXPECT_TRUE(press.isAccepted()) << key;
            EXPECT_EQ(menu.view()->isVisible(), !repeated) << key;
        }
        menu.hidePopup();
    }
}

class HostMenuTextTest : public testing::Test {
protected:
    HostMenuTextTest() {
        menu.refill({"Front of House"});
        menu.setToolTip("The host");
        const auto title = QFontMetricsF(menu.font()).horizontalAdvance(menu.currentText());
        fitting = 12 + int(std::ceil(title)) + 30;
    }
    /// What is shown on hover: the whole name first where it is cut off.
    std::string shownAt(int width) {
        menu.resize(width, 30);
        QToolTip::hideText();
        QHelpEvent hover(QEvent::ToolTip, QPoint(5, 5), menu.mapToGlobal(QPoint(5, 5)));
        EXPECT_TRUE(QApplication::sendEvent(&menu, &hover));
        QTextDocument shown;
        shown.setHtml(QToolTip::text());
        return shown.toPlainText().toStdString();
    }

    HostMenu menu;
    int fitting; ///< the least width that a whole name has room in
};

TEST_F(HostMenuTextTest, IsCutWhereItWouldTouchTheArrow) {
    EXPECT_EQ(shownAt(fitting), "The host");
    EXPECT_EQ(shownAt(fitting - 1), "Front of House\n\nThe host");
    QToolTip::hideText();
}

TEST_F(HostMenuTextTest, StandsTwelvePointsFromTheEdgeInTheMiddle) {
    for (const int height : {30, 31}) { // whichever the letters' own leaves a half of
        menu.setFixedHeight(height);
        menu.resize(fitting + 40, height);
        const QRect room(12, 1, fitting - 2, height - 2); // inside of the frame, beside the arrow
        const QImage painted = menu.grab().toImage();
        QImage expected(menu.size() * painted.devicePixelRatio(), painted.format());
        expected.setDevicePixelRatio(painted.devicePixelRatio());
        expected.fill(painted.pixelColor(20, 4));
        QPainter painter(&expected);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setFont(menu.font());
        painter.setPen(menu.palette().color(QPalette::ButtonText));
        painter.drawText(QRect(12, 0, menu.width(), height), Qt::AlignLeft | Qt::AlignVCenter,
                         "Front of House");
        painter.end();
        EXPECT_EQ(painted.copy(room), expected.copy(room)) << height;
        EXPECT_NE(painted.copy(room), painted.copy(room.translated(1, 0)));
    }
}

} // namespace

} // namespace corvane

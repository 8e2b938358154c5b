// What the style sheets and the palette make of the controls: shades at chosen points, rooms and weights.

#include "app/Look.h"

#include "tests/app/Activate.h"
#include "tests/app/Painting.h"
#include "tests/app/WindowFixture.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QStyleOptionMenuItem>
#include <QStyleOptionSlider>
#include <QTableView>
#include <QToolTip>

#include <gmock/gmock.h>

namespace corvane {

namespace {

std::string shade(const QImage &image, int x, int y) {
    return image.pixelColor(x, y).name().toStdString();
}

/// The shades at the left edge of a control, and beside that.
std::pair<std::string, std::string> edgeAndGround(QWidget &control) {
    const QImage image = control.grab().toImage();
    return {shade(image, 0, image.height() / 2), shade(image, 2, image.height() / 2)};
}

using Shades = std::pair<std::string, std::string>;

class LookTest : public WindowFixture {
protected:
    Shades shades(const char *name) const { return edgeAndGround(*control(name)); }
    static void moveMouse(QWidget &button, bool over) {
        button.setAttribute(Qt::WA_UnderMouse, over);
        const QPointF place(3, 3);
        QMouseEvent event(QEvent::MouseMove, place, button.mapToGlobal(place), Qt::NoButton, Qt::NoButton,
                          Qt::NoModifier);
        QApplication::sendEvent(&button, &event);
    }
    static Shades shadesUnderMouse(QWidget &button) {
        moveMouse(button, true);
        const Shades found = edgeAndGround(button);
        moveMouse(button, false);
        return found;
    }
    static Shades shadesPressed(QPushButton &button) {
        button.setDown(true);
        const Shades found = edgeAndGround(button);
        button.setDown(false);
        return found;
    }
    static Shades shadesWithFocus(QWidget &control) {
        control.setFocus();
        EXPECT_TRUE(QTest::qWaitFor([&] { return control.hasFocus(); }, 5000));
        return edgeAndGround(control);
    }
};

// The palette

TEST_F(LookTest, NoColourOfWhatIsShownIsUpToTheDesktop) {
    const QColor accent(74, 144, 226);
    const std::vector<std::pair<QPalette::ColorRole, QColor>> colours{
        {QPalette::Window, look::grey(0.105)},     {QPalette::WindowText, look::grey(0.90)},
        {QPalette::Base, look::grey(0.075)},       {QPalette::AlternateBase, look::grey(0.135)},
        {QPalette::Text, look::grey(0.90)},        {QPalette::PlaceholderText, look::grey(0.45)},
        {QPalette::Button, look::grey(0.21)},      {QPalette::ButtonText, look::grey(0.92)},
        {QPalette::BrightText, Qt::white},         {QPalette::ToolTipBase, look::grey(0.18)},
        {QPalette::ToolTipText, look::grey(0.92)}, {QPalette::Highlight, accent.darker(150)},
        {QPalette::HighlightedText, Qt::white},    {QPalette::Link, accent}};
    const QPalette palette = look::darkPalette();
    for (const auto &[role, colour] : colours) {
        EXPECT_TRUE(palette.isBrushSet(QPalette::Active, role)) << role;
        EXPECT_EQ(palette.color(QPalette::Active, role), colour) << role;
        EXPECT_EQ(palette.color(QPalette::Inactive, role), colour) << role;
    }
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        EXPECT_TRUE(palette.isBrushSet(QPalette::Disabled, role)) << role;
        EXPECT_EQ(palette.color(QPalette::Disabled, role), look::grey(0.42)) << role;
    }
}

TEST_F(LookTest, IsOfOneStyleOnEverySystem) {
    qApp->setStyleSheet(QString());
    QApplication::setStyle("Windows");
    QApplication::setPalette(QPalette(Qt::magenta, Qt::magenta));
    look::apply(*qApp);
    EXPECT_EQ(QApplication::palette().color(QPalette::Button), look::grey(0.21));
    EXPECT_NE(qApp->styleSheet(), "");
    const QString applied = qApp->styleSheet();
    qApp->setStyleSheet(QString());
    EXPECT_EQ(QApplication::style()->name().toLower(), "fusion");
    qApp->setStyleSheet(applied);
}

// The window

TEST_F(LookTest, FieldsAndThePatchButtonHaveTheirShades) {
    launch();
    activate(window);
    EXPECT_EQ(shades("sessionName"), Shades("#404040", "#131313"));
    EXPECT_EQ(shadesWithFocus(*control("sessionName")), Shades("#4a90e2", "#131313"));
    auto &patch = *control<QPushButton>("patchButton");
    EXPECT_EQ(edgeAndGround(patch), Shades("#333333", "#262626"));
    EXPECT_EQ(shadesUnderMouse(patch), Shades("#333333", "#2f2f2f"));
    EXPECT_EQ(shadesPressed(patch), Shades("#333333", "#1d1d1d"));
    EXPECT_THAT(Painting::of(patch), testing::HasSubstr("▸' #ffd9d9d9\n"));
    EXPECT_EQ(shadesWithFocus(patch), Shades("#4a90e2", "#262626"));
    EXPECT_EQ(shade(control("separator")->grab().toImage(), 5, 0), "#393939");
}

TEST_F(LookTest, TheTableAndItsHeaderHaveTheirShades) {
    launch();
    activate(window);
    control("channelScroll")->setFixedHeight(120);
    control("channelScroll")->show();
    auto *table = control<QTableView>("table");
    QTest::qWait(1);
    EXPECT_EQ(shades("table").first, "#404040");
    EXPECT_EQ(shadesWithFocus(*table).first, "#4a90e2");
    EXPECT_EQ(shade(table->viewport()->grab().toImage(), 2, 2), "#131313");
    const QImage header = table->horizontalHeader()->viewport()->grab().toImage();
    EXPECT_EQ(shade(header, 2, 2), "#242424");
    EXPECT_EQ(shade(header, 27, 2), "#353535") << "between two columns";
    EXPECT_EQ(shade(header, 2, header.height() - 1), "#404040") << "below the titles";
    EXPECT_EQ(shade(header, header.width() - 2, 2), "#242424") << "beyond the last";
    EXPECT_THAT(Painting::of(*table->horizontalHeader()->viewport()),
                testing::HasSubstr("'LV1 Channel' #ffb8b8b8\n"));
}

TEST_F(LookTest, ANoticeHasItsShades) {
    launch();
    window.showNotice(Notice{Notice::Kind::patchConflict, "Two channels have one name.", "Show"});
    QTest::qWait(1);
    EXPECT_EQ(shades("noticeRow"), Shades("#7a5b12", "#2b2413"));
    EXPECT_EQ(Painting::of(*control("noticeText")), "'Two channels have one name.' #fff0dfb4\n");
    auto &action = *control<QPushButton>("noticeAction");
    EXPECT_EQ(edgeAndGround(action), Shades("#7a5b12", "#4a3d1a"));
    EXPECT_EQ(shadesUnderMouse(action), Shades("#7a5b12", "#5d4d21"));
    EXPECT_EQ(shadesPressed(action), Shades("#7a5b12", "#372d13"));
    EXPECT_THAT(Painting::of(action), testing::HasSubstr("'Show' #ffffefc8\n"));
    auto &dismissal = *control<QPushButton>("noticeDismiss");
    const QRect place(dismissal.mapTo(&window, QPoint()), dismissal.size());
    EXPECT_EQ(shade(window.grab(place).toImage(), 2, place.height() / 2), "#2b2413");
    EXPECT_EQ(shadesUnderMouse(dismissal).second, "#4a3d1a");
    activate(window);
    EXPECT_EQ(shadesWithFocus(action).first, "#4a90e2");
    EXPECT_EQ(shadesWithFocus(dismissal).first, "#4a90e2");
}

TEST_F(LookTest, TheMenuBarHasItsShades) {
    launch();
    QMenuBar *bar = window.menuBar();
    const QImage image = bar->grab().toImage();
    EXPECT_EQ(shade(image, image.width() - 5, image.height() / 2), "#161616");
    EXPECT_THAT(Painting::of(*bar), testing::HasSubstr("'Corvane' #ffc8c8c8\n"));
    QStyleOptionMenuItem item;
    item.initFrom(bar);
    item.menuItemType = QStyleOptionMenuItem::Normal;
    item.rect = QRect(0, 0, 60, 24);
    item.state = QStyle::State_Enabled | QStyle::State_Selected;
    QImage selected(item.rect.size(), QImage::Format_RGB32);
    QPainter painter(&selected);
    bar->style()->drawControl(QStyle::CE_MenuBarItem, &item, &painter, bar);
    EXPECT_EQ(shade(selected, 3, 12), "#333333");
}

TEST_F(LookTest, AScrollBarIsAHandleInAGrooveWithoutButtons) {
    QWidget window;
    window.setStyleSheet(look::styleSheet());
    auto &bar = *new QScrollBar(Qt::Vertical, &window);
    bar.setRange(0, 100);
    bar.setPageStep(100);
    bar.resize(bar.sizeHint().width(), 200);
    window.show();
    EXPECT_EQ(bar.width(), 11);
    QStyleOptionSlider option;
    option.initFrom(&bar);
    option.subControls = QStyle::SC_All;
    option.orientation = Qt::Vertical;
    option.maximum = 100;
    option.pageStep = 100;
    const auto partOf = [&](QStyle::SubControl part) {
        return bar.style()->subControlRect(QStyle::CC_ScrollBar, &option, part, &bar);
    };
    EXPECT_EQ(partOf(QStyle::SC_ScrollBarAddLine).height(), 0);
    EXPECT_EQ(partOf(QStyle::SC_ScrollBarSubLine).height(), 0);
    EXPECT_EQ(partOf(QStyle::SC_ScrollBarGroove), bar.rect());
    const auto painted = [&](QStyle::State state) {
        option.state = state;
        option.activeSubControls = QStyle::SC_ScrollBarSlider;
        QImage image(bar.size(), QImage::Format_RGB32);
        QPainter painter(&image);
        bar.style()->drawComplexControl(QStyle::CC_ScrollBar, &option, &painter, &bar);
        painter.end();
        return std::vector<std::string>{shade(image, 5, 50), shade(image, 0, 50), shade(image, 5, 150)};
    };
    using testing::ElementsAre;
    EXPECT_THAT(painted(QStyle::State_Enabled), ElementsAre("#5a5a5a", "#1a1a1a", "#1a1a1a"));
    EXPECT_THAT(painted(QStyle::State_Enabled | QStyle::State_MouseOver),
                ElementsAre("#757575", "#1a1a1a", "#1a1a1a"));
}

// What opens

TEST_F(LookTest, AMenuHasItsShadesAndItsRooms) {
    QMenu menu;
    QAction *first = menu.addAction("First");
    QAction *line = menu.addSeparator();
    QAction *last = menu.addAction("Last");
    last->setEnabled(false);
    menu.resize(menu.sizeHint());
    menu.ensurePolished();
    const QImage image = menu.grab().toImage();
    EXPECT_EQ(shade(image, 0, image.height() / 2), "#4a4a4a");
    EXPECT_EQ(shade(image, 3, 3), "#262626");
    EXPECT_EQ(menu.actionGeometry(first).topLeft(), QPoint(1, 5));
    EXPECT_EQ(menu.actionGeometry(line).height(), 9);
    const QPoint middle = menu.actionGeometry(line).center();
    EXPECT_EQ(shade(image, middle.x(), middle.y()), "#404040");
    EXPECT_EQ(shade(image, 5, middle.y()), "#262626");
    EXPECT_THAT(Painting::of(menu), testing::HasSubstr("'First' #ffe6e6e6\n"));
    EXPECT_THAT(Painting::of(menu), testing::HasSubstr("'Last' #ff777777\n"));
    menu.setActiveAction(first);
    const QRect lit = menu.actionGeometry(first);
    EXPECT_EQ(shade(menu.grab().toImage(), lit.left() + 3, lit.center().y()), "#2f6db5");
}

TEST_F(LookTest, AListThatOpensStandsBelowItsBox) {
    QComboBox box;
    box.addItems({"One", "Two", "Three"}); // the first is lit
    box.show();
    box.showPopup();
    QStyleOptionComboBox option;
    option.initFrom(&box);
    EXPECT_EQ(box.style()->styleHint(QStyle::SH_ComboBox_Popup, &option, &box), 0);
    EXPECT_EQ(edgeAndGround(*box.view()), Shades("#5a5a5a", "#262626"));
    EXPECT_THAT(Painting::of(*box.view()->viewport()), testing::HasSubstr("'Two' #ffe6e6e6\n"));
}

TEST_F(LookTest, TheButtonsOfADialogueHaveTheShadesOfTheirStates) {
    QDialog dialogue;
    QPushButton other("Other", &dialogue);
    QPushButton button("Some", &dialogue);
    button.setAutoDefault(false);
    button.resize(button.sizeHint());
    button.move(0, 60);
    dialogue.resize(200, 100);
    dialogue.show();
    activate(dialogue);
    other.setFocus();
    EXPECT_EQ(edgeAndGround(button), Shades("#4a4a4a", "#3d3d3d"));
    EXPECT_EQ(shadesUnderMouse(button), Shades("#4a4a4a", "#484848"));
    EXPECT_EQ(shadesPressed(button), Shades("#4a4a4a", "#303030"));
    EXPECT_THAT(Painting::of(button), testing::HasSubstr("'Some' #ffebebeb\n"));
    button.setDefault(true);
    EXPECT_EQ(edgeAndGround(button), Shades("#4a90e2", "#2f6db5"));
    EXPECT_EQ(shadesUnderMouse(button), Shades("#4a90e2", "#387cc9"));
    EXPECT_EQ(shadesWithFocus(button).first, "#a9cdf6");
    button.setDefault(false);
    button.setEnabled(false);
    EXPECT_EQ(edgeAndGround(button), Shades("#4a4a4a", "#2a2a2a"));
    EXPECT_THAT(Painting::of(button), testing::HasSubstr("'Some' #ff6b6b6b\n"));
}

TEST_F(LookTest, PanelsAndQuestionsHaveTheirGround) {
    launch();
    window.showLines("What would change", {"One line"});
    controller->showAbout();
    window.showAlert({"Update Session", "It will close.", {"Update", "Cancel"}}, [](std::size_t) {});
    for (const char *name : {"lines", "about", "alert"})
        EXPECT_EQ(shade(control(name)->grab().toImage(), 3, 3), "#282828") << name;
    EXPECT_EQ(control("alert")->findChild<QLabel *>("qt_msgbox_label")->font().weight(), 600);
}

TEST_F(LookTest, AToolTipHasItsShades) {
    launch();
    QToolTip::showText(window.mapToGlobal(QPoint(50, 50)), "Words", &window);
    QWidget *tip = nullptr;
    for (QWidget *each : QApplication::topLevelWidgets())
        if (each->inherits("QTipLabel") && each->isVisible())
            tip = each;
    ASSERT_NE(tip, nullptr);
    EXPECT_EQ(edgeAndGround(*tip), Shades("#555555", "#2e2e2e"));
    EXPECT_THAT(Painting::of(*tip), testing::HasSubstr("'Words' #ffebebeb\n"));
    QToolTip::hideText();
}

} // namespace

} // namespace corvane

#include "app/BezelButton.h"

#include "app/Look.h"
#include "tests/app/Painting.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QProxyStyle>
#include <QTest>

#include <gtest/gtest.h>

namespace corvane {

namespace {

using Symbol = ButtonLook::Symbol;

ButtonLook looking(double red, Symbol symbol) {
    return {red, 0.4, 0.6, 1, ButtonLook::Tint::white, symbol};
}

/// Counts how often a widget paints itself.
class Paints : public QObject {
public:
    explicit Paints(QWidget &of) { of.installEventFilter(this); }
    int count = 0;

    bool eventFilter(QObject *, QEvent *event) override {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

TEST(BezelButton, TheCheckIsALineOfTwoStrokes) {
    BezelButton button("");
    button.setLook(looking(0.2, Symbol::check));
    button.resize(100, 30);
    const std::string lines = Painting::of(button);
    EXPECT_EQ(lines.substr(lines.find("smooth\n") + 7),
              "40.6,15.6 44.4,19.4 51.6,10.8  pen #ffffffff 2.4 cap 20 join 80 smooth\n");
}

TEST(BezelButton, TheTitleStandsBehindTheShapeAndBothInTheMiddle) {
    for (const auto symbol : {Symbol::none, Symbol::check}) {
        BezelButton button("IIIIII");
        button.setLook(looking(0.2, symbol));
        button.resize(button.sizeHint().width() + 40, 30);
        const QImage image = button.grab().toImage();
        int first = -1;
        int last = -1;
        for (int x = 0; x < image.width(); ++x)
            for (int y = 8; y < 22; ++y)
                if (image.pixelColor(x, y).red() > 150) {
                    first = first < 0 ? x : first;
                    last = x;
                }
        ASSERT_GE(first, 0);
        EXPECT_NEAR(first, 36, 4);
        EXPECT_NEAR(image.width() - 1 - last, 36, 4);
    }
}

TEST(BezelButton, ANewLookIsShownAtOnceAndGetsTheRoomThatItNeeds) {
    QWidget window;
    auto *row = new QHBoxLayout(&window);
    auto *button = new BezelButton("SYNC LV1");
    button->setLook(looking(0.2, Symbol::none));
    row->addWidget(button);
    row->addStretch();
    window.resize(400, 60);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QTest::qWait(1);
    const int narrow = button->width();
    Paints paints(*button);
    button->setLook(looking(0.3, Symbol::none));
    EXPECT_TRUE(QTest::qWaitFor([&] { return paints.count > 0; }, 5000));
    button->setLook(looking(0.3, Symbol::check));
    EXPECT_TRUE(QTest::qWaitFor([&] { return button->width() == narrow + 19; }, 5000));
}

TEST(BezelButton, SaysWhatItsLookMeansAndIsPaintedAnewUnderTheMouse) {
    BezelButton button("SYNC LV1");
    button.setLook(looking(0.2, Symbol::none), "Red: nothing is connected.");
    EXPECT_EQ(button.toolTip(), "Red: nothing is connected.");
    EXPECT_EQ(button.accessibleDescription(), "Red: nothing is connected.");
    button.ensurePolished();
    EXPECT_TRUE(button.testAttribute(Qt::WA_Hover));
}

/// A desktop on which buttons are for the mouse.
class MouseStyle : public QProxyStyle {
public:
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *more) const override {
        return hint == SH_Button_FocusPolicy ? int(Qt::NoFocus)
                                             : QProxyStyle::styleHint(hint, option, widget, more);
    }
};

TEST(BezelButton, TakesTheKeyboardWhateverButtonsDoOnThisDesktop) {
    QApplication::setStyle(new MouseStyle);
    const QPushButton other("Other");
    const BezelButton button("SYNC LV1");
    look::apply(*qApp);
    EXPECT_EQ(other.focusPolicy(), Qt::NoFocus);
    EXPECT_EQ(button.focusPolicy(), Qt::StrongFocus);
}

} // namespace

} // namespace corvane

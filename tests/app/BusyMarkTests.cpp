#include "app/BusyMark.h"

#include "tests/app/Painting.h"

#include <QApplication>
#include <QPainter>
#include <QTest>
#include <QTimerEvent>

#include <gtest/gtest.h>

namespace corvane {

namespace {

/// What comes to a widget of its own accord.
class Arrivals : public QObject {
public:
    explicit Arrivals(QWidget &at) { at.installEventFilter(this); }
    int timer = 0;  ///< the identifier of its timer
    int paints = 0; ///< since that first ran

    bool eventFilter(QObject *, QEvent *event) override {
        if (event->type() == QEvent::Timer)
            timer = static_cast<QTimerEvent *>(event)->timerId();
        else if (event->type() == QEvent::Paint && timer != 0)
            ++paints;
        return false;
    }
};

std::string arc(int degrees) {
    Painting painting(QSize(14, 14));
    {
        QPainter painter(&painting);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(QColor(0xc7, 0xc7, 0xc7), 2, Qt::SolidLine, Qt::RoundCap));
        painter.drawArc(QRectF(1.5, 1.5, 11, 11), -degrees * 16, 260 * 16);
    }
    return painting.text();
}

TEST(BusyMark, TurnsByThirtyDegreesEachTimeAndIsPaintedAnew) {
    BusyMark busy;
    Arrivals arrivals(busy);
    busy.show();
    ASSERT_TRUE(QTest::qWaitFor([&] { return arrivals.timer != 0; }, 30'000));
    EXPECT_TRUE(QTest::qWaitFor([&] { return arrivals.paints > 0; }, 5000));
    int turns = 0;
    while (turns < 12 && Painting::of(busy) != arc(30 * turns))
        ++turns; // as many as there were meanwhile
    ASSERT_LT(turns, 12);
    for (int more = 1; more <= 13; ++more) {
        QTimerEvent event(arrivals.timer);
        QApplication::sendEvent(&busy, &event);
        EXPECT_EQ(Painting::of(busy), arc((turns + more) % 12 * 30)) << more;
    }
}

} // namespace

} // namespace corvane

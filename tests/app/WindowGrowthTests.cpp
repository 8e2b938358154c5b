// How the window comes up, grows and shrinks, and what it makes of a desktop's wishes. The animation is moved
// by hand.

#include "app/SessionUpdate.h"
#include "osc/OSCCodec.h"
#include "tests/app/Activate.h"
#include "tests/app/WindowFixture.h"

#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QProxyStyle>
#include <QTimer>
#include <QVariantAnimation>

#include <gmock/gmock.h>

namespace corvane {

namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

class WindowGrowthTest : public WindowFixture {
protected:
    QVariantAnimation &animation() const { return *window.findChild<QVariantAnimation *>(); }
    int menuHeight() const { return window.menuBar()->height(); }
    int content() const { return window.height() - menuHeight(); }
    /// The height of the content that the window is on its way to.
    int goal() const { return animation().endValue().toInt() - menuHeight(); }
    void goHalfWay() const { animation().setCurrentTime(animation().duration() / 2); }
    void goAllTheWay() const { animation().setCurrentTime(animation().duration()); }
    void setContent(int height) { window.resize(window.width(), height + menuHeight()); }
};

TEST_F(WindowGrowthTest, MovesAsTheStyleDoesFromWhereItIs) {
    launch();
    setContent(400);
    window.growWindow(240);
    EXPECT_EQ(animation().easingCurve().type(), QEasingCurve::InOutQuad);
    EXPECT_EQ(animation().startValue(), 400 + menuHeight());
    goHalfWay();
    EXPECT_NEAR(content(), 520, 3);
    goAllTheWay();
    EXPECT_EQ(animation().state(), QAbstractAnimation::Stopped);
    EXPECT_EQ(content(), 640);
}

/// As somebody sets it while the program runs.
class PaceOfAStyle : public QProxyStyle {
public:
    explicit PaceOfAStyle(int duration) : duration(duration) {}

    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *data) const override {
        return hint == SH_Widget_Animation_Duration ? duration
                                                    : QProxyStyle::styleHint(hint, option, widget, data);
    }

private:
    const int duration;
};

TEST_F(WindowGrowthTest, TakesTheTimeThatTheStyleTakesByThen) {
    launch();
    PaceOfAStyle slow(77);
    window.setStyle(&slow);
    window.growWindow(240);
    EXPECT_EQ(animation().duration(), 77);
    window.setStyle(nullptr);
}

TEST_F(WindowGrowthTest, GetsThereUnderAStyleThatMovesNothing) {
    launch();
    PaceOfAStyle none(0);
    window.setStyle(&none);
    for (const auto &[points, height] : {std::pair(240, 610), {-240, 370}, {240, 610}}) {
        window.growWindow(points);
        EXPECT_TRUE(
            QTest::qWaitFor([this] { return animation().state() == QAbstractAnimation::Stopped; }, 30'000));
        EXPECT_EQ(content(), height);
    }
    window.setStyle(nullptr);
}

struct Wish {
    int height; ///< that a window manager has given it, of 370
    int points;
    int goal;
};

class WindowGrowthFromTest : public WindowGrowthTest, public testing::WithParamInterface<Wish> {};

TEST_P(WindowGrowthFromTest, GrowsFromTheHeightItHasAndGivesBackWhatItAskedFor) {
    launch();
    setContent(GetParam().height);
    window.growWindow(GetParam().points);
    EXPECT_EQ(goal(), GetParam().goal);
}

INSTANTIATE_TEST_SUITE_P(Heights, WindowGrowthFromTest,
                         testing::Values(Wish{360, 240, 600}, Wish{360, 1, 361}, Wish{360, 0, 370},
                                         Wish{360, -1, 369}, Wish{400, 240, 640}, Wish{400, 0, 400},
                                         Wish{400, -1, 399}, Wish{370, -1, 369}));

TEST_F(WindowGrowthTest, ClicksOnTheWayCountFromTheGoal) {
    launch();
    window.growWindow(240);
    EXPECT_EQ(goal(), 610);
    goHalfWay();
    const int there = window.height();
    EXPECT_GT(content(), 400);
    window.growWindow(-240);
    EXPECT_EQ(goal(), 370);
    EXPECT_EQ(animation().startValue(), there);
    EXPECT_EQ(animation().currentTime(), 0);
    EXPECT_EQ(window.height(), there);
    goHalfWay();
    window.growWindow(240);
    EXPECT_EQ(goal(), 610);
    goAllTheWay();
    EXPECT_EQ(content(), 610);
}

TEST_F(WindowGrowthTest, ATableThatIsOpenedAgainWhileItClosesHasItsWholeHeight) {
    launch();
    setContent(350);
    click("patchButton");
    goAllTheWay();
    click("patchButton");
    goHalfWay();
    click("patchButton");
    goAllTheWay();
    EXPECT_EQ(content(), 590);
    EXPECT_TRUE(control("channelScroll")->isVisible());
    EXPECT_EQ(control("channelScroll")->height(), 230);
}

TEST_F(WindowGrowthTest, ATableThatIsOpenedAgainWhileItClosesTakesNoRoomFromTheRest) {
    launch();
    click("patchButton");
    goAllTheWay();
    click("patchButton");
    goHalfWay();
    const int there = content();
    click("patchButton");
    EXPECT_EQ(content(), there);
    EXPECT_EQ(control("channelScroll")->maximumHeight(), there - 370 - 10);
    goAllTheWay();
    EXPECT_EQ(content(), 610);
    EXPECT_EQ(control("channelScroll")->height(), 230);
}

TEST_F(WindowGrowthTest, TheTableHasTheRoomThatThereIsSoFar) {
    launch();
    click("patchButton");
    EXPECT_EQ(control("channelScroll")->maximumHeight(), 0);
    goHalfWay();
    EXPECT_EQ(control("channelScroll")->maximumHeight(), content() - 370 - 10);
    EXPECT_EQ(control("channelScroll")->minimumHeight(), content() - 370 - 10);
    goAllTheWay();
    EXPECT_EQ(control("channelScroll")->minimumHeight(), 230);
}

/// What happens to a window, in its order.
class Happenings : public QObject {
public:
    explicit Happenings(QWidget &window) : window(window) { window.installEventFilter(this); }

    bool eventFilter(QObject *, QEvent *event) override {
        const std::map<QEvent::Type, const char *> known{{QEvent::Show, "shown"},
                                                         {QEvent::ZOrderChange, "raised"},
                                                         {QEvent::WindowStateChange, "state changed"},
                                                         {QEvent::Paint, "painted"}};
        const auto name = known.find(event->type());
        if (name != known.end() && (told.empty() || told.back() != name->second))
            told.emplace_back(name->second);
        if (event->type() == QEvent::Show)
            shownAt = window.geometry();
        return false;
    }
    /// What has happened since the last time.
    std::vector<std::string> take() { return std::exchange(told, {}); }

    QRect shownAt;

private:
    QWidget &window;
    std::vector<std::string> told;
};

TEST_F(WindowGrowthTest, IsShownInItsPlaceAndThenBroughtToTheFront) {
    Happenings happenings(window);
    window.buildUI();
    EXPECT_THAT(happenings.take(), ElementsAre("shown", "raised"));
    EXPECT_EQ(happenings.shownAt, window.geometry());
}

TEST_F(WindowGrowthTest, ComesToTheFrontOfTheProgramsOthers) {
    launch();
    const auto showAll = [this] { window.menuBar()->actions().front()->menu()->actions()[4]->trigger(); };
    QWidget other;
    other.show();
    for (const std::function<void()> &come :
         std::initializer_list<std::function<void()>>{showAll, [this] { window.bringToFront(); }}) {
        activate(other);
        Happenings happenings(window);
        come();
        EXPECT_THAT(happenings.take(), ElementsAre("raised"));
        EXPECT_TRUE(QTest::qWaitFor([this] { return window.isActiveWindow(); }, 30'000));
        window.showMinimized();
        happenings.take();
        come();
        EXPECT_FALSE(window.isMinimized());
        const auto told = happenings.take();
        ASSERT_FALSE(told.empty());
        EXPECT_EQ(told.front(), "state changed");
        EXPECT_EQ(told.back(), "raised");
    }
}

TEST_F(WindowGrowthTest, NoWishOfADesktopMakesItLarger) {
    launch();
    const QRect frame = window.geometry();
    for (const auto state : {Qt::WindowMaximized, Qt::WindowFullScreen}) {
        window.setWindowState(state);
        QTest::qWait(1);
        EXPECT_EQ(window.windowState(), Qt::WindowNoState);
        EXPECT_EQ(window.size(), frame.size());
    }
    window.setWindowState(Qt::WindowMinimized);
    EXPECT_TRUE(window.isMinimized());
}

TEST_F(WindowGrowthTest, IsPaintedAnewInOtherColours) {
    launch();
    control<QTimer>("searchTimer")->stop(); // no advice meanwhile
    Happenings happenings(window);
    const auto isAtRest = [&] {
        happenings.take();
        QApplication::processEvents();
        return happenings.take().empty();
    };
    ASSERT_TRUE(QTest::qWaitFor(isAtRest, 30'000));
    QEvent change(QEvent::PaletteChange);
    QApplication::sendEvent(&window, &change);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !happenings.take().empty(); }, 5000));
}

TEST_F(WindowGrowthTest, StaysUntilAnUpdateIsFinishedThatLiveTraxWasClosedFor) {
    fakes.network->datagramsBecomeReady = true;
    launch();
    const auto recorder = std::make_shared<FakeRunningApplication>();
    recorder->obeysTerminate = false;
    fakes.applications->running["com.harrisonconsoles.LiveTrax3"] = recorder;
    const auto update = std::make_shared<SessionUpdate>(*controller, fakes.platform, window,
                                                        fakes.folder / "Show", channels(1), "");
    ASSERT_TRUE(controller->takeOver(update));
    update->check();
    EXPECT_TRUE(window.close()) << "nothing has been begun";
    window.show();
    fakes.clock->advance(milliseconds(100));
    using Answer = std::pair<const char *, OSCValue>;
    for (const auto &[address, value] :
         {Answer{"/is_recording", false}, Answer{"/transport_speed", 0.0F}, Answer{"/record_enabled", false}})
        fakes.network->datagrams.back()->deliver(OSCCodec::message(address, {value}));
    for (int step = 0; step < 200 && recorder->terminateRequests == 0; ++step)
        fakes.clock->advance(milliseconds(200));
    ASSERT_EQ(recorder->terminateRequests, 1);
    EXPECT_FALSE(window.close());
    EXPECT_TRUE(window.isVisible());
}

} // namespace

} // namespace corvane

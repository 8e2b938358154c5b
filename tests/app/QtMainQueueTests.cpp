#include "app/QtMainQueue.h"
#include "app/ShutdownSignals.h"

#include <QAbstractEventDispatcher>
#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace corvane {

namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class QtMainQueueTest : public testing::Test {
protected:
    Task note(int number) {
        return [this, number] { ran.push_back(number); };
    }
    bool waitFor(std::size_t count) {
        return QTest::qWaitFor([&] { return ran.size() >= count; }, 30'000);
    }

    QtMainQueue queue;
    std::vector<int> ran;
};

TEST_F(QtMainQueueTest, RunsTasksInOrderAndNeverInsideThePost) {
    queue.post(note(1));
    queue.post([this] {
        queue.post(note(4));
        ran.push_back(2);
    });
    queue.post(note(3));
    EXPECT_THAT(ran, IsEmpty());
    ASSERT_TRUE(waitFor(4));
    EXPECT_THAT(ran, ElementsAre(1, 2, 3, 4));
}

TEST_F(QtMainQueueTest, RunsTasksOfOtherThreadsOnTheMainThread) {
    std::thread::id ranOn;
    std::thread other([&] {
        for (int number = 0; number < 100; ++number)
            queue.post(note(number));
        queue.post([&] { ranOn = std::this_thread::get_id(); });
    });
    other.join();
    ASSERT_TRUE(waitFor(100));
    EXPECT_TRUE(std::is_sorted(ran.begin(), ran.end()));
    ASSERT_TRUE(QTest::qWaitFor([&] { return ranOn != std::thread::id(); }, 5000));
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST_F(QtMainQueueTest, RunsADelayedTaskNotBeforeItsTime) {
    const auto start = queue.now();
    for (const int delay : {60, 20})
        queue.after(milliseconds(delay), [this, start, delay] {
            EXPECT_GE(queue.now() - start, milliseconds(delay));
            ran.push_back(delay);
        });
    ASSERT_TRUE(waitFor(2));
    // A machine that is so busy that both are late may run them in either order.
    EXPECT_THAT(ran, UnorderedElementsAre(20, 60));
}

TEST_F(QtMainQueueTest, ADelayedTaskOfAnotherThreadRunsHere) {
    std::thread([&] { queue.after(milliseconds(10), note(1)); }).join();
    EXPECT_TRUE(waitFor(1));
}

TEST_F(QtMainQueueTest, ADelayIsPreciseAndEndsOnce) {
    queue.after(std::chrono::hours(1), note(1));
    const QTimer *timer = nullptr;
    ASSERT_TRUE(QTest::qWaitFor([&] { return (timer = queue.findChild<QTimer *>()) != nullptr; }, 30'000));
    EXPECT_EQ(timer->timerType(), Qt::PreciseTimer);
    EXPECT_TRUE(timer->isSingleShot());
}

TEST_F(QtMainQueueTest, ACancelledTaskDoesNotRunAndIsLetGoOf) {
    auto held = std::make_shared<int>(0);
    const DelayedTask task = queue.after(milliseconds(5), [this, held] { ran.push_back(1); });
    task.cancel();
    EXPECT_EQ(held.use_count(), 1);
    queue.after(milliseconds(40), note(2));
    ASSERT_TRUE(waitFor(1));
    EXPECT_THAT(ran, ElementsAre(2));
}

TEST_F(QtMainQueueTest, ATaskIsCancelledEvenWhenItIsAlreadyDue) {
    DelayedTask second;
    queue.after(milliseconds(5), [&] {
        ran.push_back(1);
        second.cancel();
    });
    second = queue.after(milliseconds(5), note(2));
    const auto bothAreDue = queue.now() + milliseconds(10);
    while (queue.now() < bothAreDue)
        continue;
    ASSERT_TRUE(waitFor(1));
    QTest::qWait(20);
    EXPECT_THAT(ran, ElementsAre(1));
}

TEST_F(QtMainQueueTest, ALongRunOfTasksLeavesTheWindowItsTurns) {
    int turns = 0;
    QTimer window;
    QObject::connect(&window, &QTimer::timeout, [&] { ++turns; });
    window.start(0);
    for (int number = 0; number < 100; ++number)
        queue.post([this, number] {
            const auto end = queue.now() + milliseconds(1);
            while (queue.now() < end)
                continue;
            ran.push_back(number);
        });
    ASSERT_TRUE(waitFor(100));
    EXPECT_GE(turns, 10);
    EXPECT_TRUE(std::is_sorted(ran.begin(), ran.end()));
}

TEST_F(QtMainQueueTest, TakesATurnAsSoonAsItCanAndOnlyWhileThereIsSomethingToRun) {
    const auto turns = [this] { return QAbstractEventDispatcher::instance()->registeredTimers(&queue); };
    decltype(turns()) during;
    queue.post([&] {
        during = turns();
        ran.push_back(1);
    });
    ASSERT_TRUE(waitFor(1));
    ASSERT_EQ(during.size(), 1);
    EXPECT_EQ(during.front().interval, 0);
    EXPECT_TRUE(turns().isEmpty());
}

TEST_F(QtMainQueueTest, NothingIsLeftOfADelayThatIsOverOrWasCalledOff) {
    queue.after(milliseconds(1), note(1));
    ASSERT_TRUE(waitFor(1));
    EXPECT_TRUE(QTest::qWaitFor([this] { return queue.children().isEmpty(); }, 30'000));
    queue.after(milliseconds(1), note(3)).cancel();
    queue.post([this] { // behind what would have made a timer
        EXPECT_TRUE(queue.children().isEmpty());
        ran.push_back(2);
    });
    ASSERT_TRUE(waitFor(2));
    EXPECT_THAT(ran, ElementsAre(1, 2));
}

TEST_F(QtMainQueueTest, IsTheMainQueue) {
    EXPECT_EQ(queue.label(), "main");
}

TEST(ShutdownSignals, EachSignalToEndAsksOnTheMainThread) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        ::signal(signal, SIG_DFL); // a shell has what it starts in the background ignore some
    int asked = 0;
    ShutdownSignals watcher([&] { ++asked; });
    int expected = 0;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        raise(signal);
        EXPECT_EQ(asked, expected) << "not from within the signal handler";
        ++expected;
        EXPECT_TRUE(QTest::qWaitFor([&] { return asked == expected; }, 5000));
    }
}

/// The descriptors that are open, of the first few hundred.
std::vector<int> openDescriptors() {
    std::vector<int> open;
    for (int each = 0; each < 400; ++each)
        if (fcntl(each, F_GETFD) >= 0)
            open.push_back(each);
    return open;
}

TEST(ShutdownSignals, ItsPipeIsNoOthersNeverWaitsAndIsClosedInTheEnd) {
    const std::vector<int> before = openDescriptors();
    {
        ShutdownSignals watcher([] {});
        std::vector<int> pipe;
        for (const int each : openDescriptors())
            if (std::find(before.begin(), before.end(), each) == before.end())
                pipe.push_back(each);
        EXPECT_EQ(pipe.size(), 2U);
        for (const int end : pipe) {
            EXPECT_EQ(fcntl(end, F_GETFD), FD_CLOEXEC);
            EXPECT_TRUE(fcntl(end, F_GETFL) & O_NONBLOCK);
        }
    }
    EXPECT_EQ(openDescriptors(), before);
}

struct sigaction actionOf(int signal) {
    struct sigaction now = {};
    sigaction(signal, nullptr, &now);
    return now;
}

void (*handlerOf(int signal))(int) {
    return actionOf(signal).sa_handler;
}

/// Somebody who is told of signals, and the two ends of the pipe for it.
struct Watch {
    Watch() {
        for (const int each : openDescriptors())
            if (std::find(before.begin(), before.end(), each) == before.end())
                pipe.push_back(each);
    }

    const std::vector<int> before = openDescriptors();
    int asked = 0;
    ShutdownSignals watcher{[this] { ++asked; }};
    std::vector<int> pipe;
};

TEST(ShutdownSignals, SeveralAtOnceAskOnce) {
    Watch watch;
    ASSERT_EQ(watch.pipe.size(), 2U);
    raise(SIGTERM);
    int waiting = 0;
    ioctl(watch.pipe[0], FIONREAD, &waiting);
    EXPECT_EQ(waiting, 1);
    for (int times = 0; times < 4; ++times)
        raise(SIGTERM);
    EXPECT_TRUE(QTest::qWaitFor([&] { return watch.asked > 0; }, 5000));
    QTest::qWait(1);
    EXPECT_EQ(watch.asked, 1);
}

TEST(ShutdownSignals, WhatASignalInterruptsGoesOnAndKeepsItsError) {
    Watch watch;
    ASSERT_EQ(watch.pipe.size(), 2U);
    EXPECT_TRUE(actionOf(SIGTERM).sa_flags & SA_RESTART);
    const std::array<char, 4096> full{};
    while (write(watch.pipe[1], full.data(), full.size()) > 0)
        continue;
    errno = 0;
    raise(SIGTERM); // its pipe takes no more
    EXPECT_EQ(errno, 0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return watch.asked > 0; }, 5000));
}

TEST(ShutdownSignals, WithoutADescriptorLeftTheSignalsStayAsTheyAre) {
    const auto own = [](int) {};
    const auto before = signal(SIGTERM, own);
    const std::vector<int> open = openDescriptors();
    struct rlimit limit {};
    getrlimit(RLIMIT_NOFILE, &limit);
    const struct rlimit none { 0, limit.rlim_max };
    {
        setrlimit(RLIMIT_NOFILE, &none);
        ShutdownSignals watcher([] {});
        setrlimit(RLIMIT_NOFILE, &limit);
        EXPECT_EQ(handlerOf(SIGTERM), static_cast<void (*)(int)>(own));
        signal(SIGTERM, SIG_IGN); // somebody else's, from here on
    }
    EXPECT_EQ(handlerOf(SIGTERM), SIG_IGN);
    EXPECT_EQ(openDescriptors(), open);
    signal(SIGTERM, before);
}

TEST(ShutdownSignals, LeavesTheSignalsAsTheyWere) {
    const auto own = [](int) {};
    const auto before = signal(SIGINT, own);
    {
        ShutdownSignals watcher([] {});
        EXPECT_NE(handlerOf(SIGINT), static_cast<void (*)(int)>(own));
    }
    EXPECT_EQ(handlerOf(SIGTERM), SIG_DFL);
    EXPECT_EQ(handlerOf(SIGINT), static_cast<void (*)(int)>(own));
    signal(SIGINT, before);
}

TEST(ShutdownSignals, ASignalThatThisProgramWasStartedToIgnoreStaysIgnored) {
    const auto before = signal(SIGHUP, SIG_IGN);
    int asked = 0;
    {
        ShutdownSignals watcher([&] { ++asked; });
        EXPECT_EQ(handlerOf(SIGHUP), SIG_IGN);
        raise(SIGHUP);
        raise(SIGTERM);
        EXPECT_TRUE(QTest::qWaitFor([&] { return asked == 1; }, 5000));
        QTest::qWait(1);
        EXPECT_EQ(asked, 1);
    }
    EXPECT_EQ(handlerOf(SIGHUP), SIG_IGN);
    signal(SIGHUP, before);
}

} // namespace

} // namespace corvane

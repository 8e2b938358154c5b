#include "platform/queues/AsioMainQueue.h"
#include "platform/queues/AsioRuntime.h"
#include "platform/queues/AsioVersion.h"
#include "tests/support/Peers.h"

#include <gtest/gtest.h>

#include <asio/version.hpp>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <future>
#include <pthread.h>
#include <stdexcept>
#include <thread>

namespace corvane {
namespace {

using namespace std::chrono_literals;

TEST(AsioQueue, HasTheLabelItWasMadeWith) {
    AsioRuntime runtime;
    EXPECT_EQ(runtime.make("Corvane.Network")->label(), "Corvane.Network");
}

#ifdef __linux__
TEST(AsioQueue, ItsThreadBearsItsLabelAsFarAsTheSystemHasRoomForIt) {
    AsioRuntime runtime(1);
    const auto network = runtime.make("Corvane.Network");
    const auto remote = runtime.make("Corvane.LiveTraxOSC");
    const auto nameOn = [](SerialQueue &queue) {
        std::promise<std::string> name;
        queue.after(1ms, [&] {
            char text[16] = {};
            ::pthread_getname_np(::pthread_self(), text, sizeof text);
            name.set_value(text);
        });
        return name.get_future().get();
    };
    EXPECT_EQ(nameOn(*network), "Corvane.Network");
    EXPECT_EQ(nameOn(*remote), "Corvane.LiveTra");
    EXPECT_EQ(nameOn(*network), "Corvane.Network");
}
#endif

TEST(AsioQueueDeathTest, ATaskThatThrowsStopsTheProgramWhichSaysWhereAndWhat) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto failing = [] { throw std::runtime_error("no such thing"); };
    EXPECT_DEATH(
        {
            AsioRuntime runtime;
            const auto queue = runtime.make("Corvane.Test");
            queue->post(failing);
            std::promise<void>().get_future().wait();
        },
        "the queue \"Corvane.Test\" has thrown: no such thing");
    EXPECT_DEATH(
        {
            AsioMainQueue main;
            main.after(1ms, failing);
            main.run();
        },
        "the queue \"Corvane.Main\" has thrown: no such thing");
}

TEST(AsioMainQueue, LeavesTheMainThreadItsName) {
    char before[16] = {};
    char during[16] = {};
    ::pthread_getname_np(::pthread_self(), before, sizeof before);
    AsioMainQueue main;
    main.post([&] {
        ::pthread_getname_np(::pthread_self(), during, sizeof during);
        main.quit();
    });
    main.run();
    EXPECT_STREQ(during, before);
}

TEST(AsioQueue, RunsTasksOneAtATimeInTheOrderOfPosting) {
    AsioRuntime runtime(4);
    const auto queue = runtime.make("Corvane.Test");
    std::vector<int> seen; // no lock: the queue is the guard, which the thread sanitizer checks
    std::promise<void> done;
    for (int i = 0; i < 10000; ++i)
        queue->post([&, i] { seen.push_back(i); });
    queue->post([&] { done.set_value(); });
    ASSERT_EQ(done.get_future().wait_for(testTimeout), std::future_status::ready);
    ASSERT_EQ(seen.size(), 10000u);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
}

TEST(AsioQueue, NeverRunsATaskInsideThePostingOfIt) {
    AsioRuntime runtime;
    const auto queue = runtime.make("Corvane.Test");
    Journal<std::string> journal;
    queue->post([&] {
        queue->post([&] { journal.add("inner"); });
        journal.add("outer");
    });
    ASSERT_TRUE(journal.awaitCount(2));
    EXPECT_EQ(journal.all(), (std::vector<std::string>{"outer", "inner"}));
}

TEST(AsioQueue, QueuesDoNotWaitForEachOther) {
    AsioRuntime runtime(2);
    const auto slow = runtime.make("Corvane.Slow");
    const auto quick = runtime.make("Corvane.Quick");
    std::promise<void> release;
    std::promise<void> passed;
    slow->post([gate = release.get_future().share()] { gate.wait(); });
    quick->post([&] { passed.set_value(); });
    EXPECT_EQ(passed.get_future().wait_for(testTimeout), std::future_status::ready);
    release.set_value();
}

TEST(AsioQueue, RunsADelayedTaskNotBeforeItsTime) {
    AsioRuntime runtime;
    const auto queue = runtime.make("Corvane.Test");
    const auto start = queue->now();
    std::promise<SerialQueue::Clock::time_point> ran;
    queue->after(30ms, [&] { ran.set_value(queue->now()); });
    auto future = ran.get_future();
    ASSERT_EQ(future.wait_for(testTimeout), std::future_status::ready);
    EXPECT_GE(future.get() - start, 30ms);
}

TEST(AsioQueue, KeepsTheOrderOfDelayedTasksThatAreDueTogetherOnSeveralThreads) {
    AsioRuntime runtime(4);
    const auto queue = runtime.make("Corvane.Test");
    std::vector<int> seen;
    std::promise<void> done;
    queue->post([&] { // on the queue: none is run before all are there
        for (int i = 0; i < 5000; ++i) {
            const auto task = queue->after(1ms, [&, i] { seen.push_back(i); });
            if (i % 3 == 0)
                task.cancel();
        }
        queue->after(30ms, [&] { done.set_value(); });
    });
    ASSERT_EQ(done.get_future().wait_for(testTimeout), std::future_status::ready);
    EXPECT_EQ(seen.size(), 3333u);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
}

TEST(AsioQueue, RunsDelayedTasksInTheOrderOfTheirTimes) {
    AsioRuntime runtime;
    const auto queue = runtime.make("Corvane.Test");
    Journal<int> journal;
    queue->post([&] {
        queue->after(40ms, [&] { journal.add(3); });
        queue->after(20ms, [&] { journal.add(2); });
        queue->after(0ms, [&] { journal.add(1); });
    });
    ASSERT_TRUE(journal.awaitCount(3));
    EXPECT_EQ(journal.all(), (std::vector<int>{1, 2, 3}));
}

TEST(AsioQueue, ATaskThatIsCancelledOnItsQueueNeverRunsHoweverDueItIs) {
    AsioRuntime runtime(4);
    const auto queue = runtime.make("Corvane.Test");
    std::atomic<int> wrong{0};
    Journal<int> journal;
    for (int round = 0; round < 200; ++round)
        queue->post([&, round] {
            const auto task = queue->after(0ms, [&] { ++wrong; });
            // Due by now, and perhaps on its way already: the queue is busy with this task.
            const auto until = queue->now() + 1ms;
            while (queue->now() < until) {
            }
            task.cancel();
            journal.add(round);
        });
    ASSERT_TRUE(journal.awaitCount(200));
    std::promise<void> done;
    queue->after(20ms, [&] { done.set_value(); });
    ASSERT_EQ(done.get_future().wait_for(testTimeout), std::future_status::ready);
    EXPECT_EQ(wrong, 0);
}

TEST(AsioQueue, CancellingTwiceOrTooLateOrAnEmptyHandleIsHarmless) {
    AsioRuntime runtime;
    const auto queue = runtime.make("Corvane.Test");
    DelayedTask().cancel();
    Journal<int> journal;
    const auto task = queue->after(0ms, [&] { journal.add(1); });
    const auto other = queue->after(1h, [&] { journal.add(2); });
    ASSERT_TRUE(journal.awaitCount(1));
    std::promise<void> gone; // the first, while the other one waits
    queue->post([&] { gone.set_value(); });
    ASSERT_EQ(gone.get_future().wait_for(testTimeout), std::future_status::ready);
    task.cancel();
    task.cancel();
    other.cancel();
    other.cancel();
}

TEST(AsioQueue, ACancelledTaskIsLetGoOfWithoutWaitingForItsTime) {
    AsioRuntime runtime;
    const auto queue = runtime.make("Corvane.Test");
    auto held = std::make_shared<std::promise<void>>();
    auto released = held->get_future();
    const auto task =
        queue->after(1h, [held = std::shared_ptr<std::promise<void>>(
                              held.get(), [held](std::promise<void> *p) { p->set_value(); })] {});
    held.reset();
    task.cancel();
    EXPECT_EQ(released.wait_for(testTimeout), std::future_status::ready);
}

TEST(AsioRuntime, RunsNothingOnceItIsGone) {
    std::atomic<int> count{0};
    std::shared_ptr<SerialQueue> queue;
    DelayedTask later;
    {
        AsioRuntime runtime;
        queue = runtime.make("Corvane.Test");
        later = queue->after(1ms, [&] { ++count; });
        for (int i = 0; i < 1000; ++i)
            queue->post([&] { ++count; });
    }
    const int atTheEnd = count;
    queue->post([&] { ++count; });
    queue->after(0ms, [&] { ++count; });
    later.cancel();
    std::this_thread::yield();
    EXPECT_EQ(count, atTheEnd);
    EXPECT_LE(count, 1001);
}

TEST(AsioRuntime, EndsAtOnceHoweverMuchWaits) {
    const auto start = std::chrono::steady_clock::now();
    {
        AsioRuntime runtime;
        const auto queue = runtime.make("Corvane.Test");
        for (int i = 0; i < 1000; ++i)
            queue->after(1h, [queue] {});
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
}

TEST(AsioRuntime, LetsGoOfWaitingTasksEvenWhenTheyHoldTheirQueue) {
    const auto token = std::make_shared<int>(0);
    {
        AsioRuntime runtime;
        const auto queue = runtime.make("Corvane.Test");
        queue->after(1h, [queue, token] {});
        queue->post([queue, token] { queue->after(1h, [queue, token] {}); });
    }
    EXPECT_EQ(token.use_count(), 1);
}

TEST(AsioRuntime, LetsThoseWhoPostWhileItEndsBe) {
    for (int round = 0; round < 50; ++round) {
        std::atomic<bool> stop{false};
        std::atomic<int> ran{0};
        auto runtime = std::make_unique<AsioRuntime>();
        const auto queue = runtime->make("Corvane.Test");
        std::thread poster([&] {
            while (!stop) {
                queue->post([&] { ++ran; });
                queue->after(0ms, [&] { ++ran; }).cancel();
            }
        });
        runtime.reset();
        const int ranUntilTheEnd = ran;
        queue->post([&] { ++ran; });
        stop = true;
        poster.join();
        EXPECT_EQ(ran, ranUntilTheEnd) << "a task ran after its threads had ended";
    }
}

TEST(AsioMainQueue, RunsOnTheThreadThatCallsRunUntilQuit) {
    AsioMainQueue main;
    std::thread::id ran;
    main.post([&] { ran = std::this_thread::get_id(); });
    main.post([&] { main.quit(); });
    main.run();
    EXPECT_EQ(ran, std::this_thread::get_id());
}

TEST(AsioMainQueue, LeavesWhatFollowsTheQuitForTheNextRun) {
    AsioMainQueue main;
    std::vector<int> seen;
    main.post([&] {
        main.quit();
        main.post([&] { seen.push_back(2); });
        seen.push_back(1);
    });
    main.run();
    EXPECT_EQ(seen, (std::vector<int>{1}));
    main.post([&] { main.quit(); });
    main.run();
    EXPECT_EQ(seen, (std::vector<int>{1, 2}));
}

TEST(AsioMainQueue, LeavesWhatWasQueuedBehindTheQuitForTheNextRun) {
    AsioMainQueue main;
    std::vector<int> seen;
    main.post([&] {
        main.post([&] {
            seen.push_back(1);
            main.quit();
        });
        main.post([&] { seen.push_back(2); });
        main.after(0ms, [&] { seen.push_back(3); });
    });
    main.run();
    EXPECT_EQ(seen, (std::vector<int>{1}));
    main.after(20ms, [&] { main.quit(); });
    main.run();
    EXPECT_EQ(seen, (std::vector<int>{1, 2, 3}));
}

TEST(AsioMainQueue, EndsARunThatWasQuitBeforeItBegan) {
    AsioMainQueue main;
    bool ran = false;
    main.quit();
    main.after(20ms, [&] { // what else would end the run
        ran = true;
        main.quit();
    });
    main.run();
    EXPECT_FALSE(ran);
}

TEST(AsioMainQueue, TakesTasksFromOtherThreads) {
    AsioMainQueue main;
    AsioRuntime runtime;
    const auto queue = runtime.make("Corvane.Test");
    int answers = 0;
    for (int i = 0; i < 1000; ++i)
        queue->post([&] {
            main.post([&] {
                if (++answers == 1000)
                    main.quit();
            });
        });
    main.run();
    EXPECT_EQ(answers, 1000);
}

TEST(AsioMainQueue, ReportsInterruptionsInsteadOfDyingOfThem) {
    AsioMainQueue main;
    std::vector<int> signals;
    std::thread::id ran;
    main.onInterruption([&](int signal) {
        signals.push_back(signal);
        ran = std::this_thread::get_id();
        if (signal == SIGINT)
            ::kill(::getpid(), SIGTERM);
        else
            main.quit();
    });
    main.post([] { ::kill(::getpid(), SIGINT); });
    main.run();
    EXPECT_EQ(signals, (std::vector<int>{SIGINT, SIGTERM}));
    EXPECT_EQ(ran, std::this_thread::get_id());
}

TEST(AsioMainQueue, OfTwoWhoAskForInterruptionsTheLaterIsToldOfEachOnce) {
    AsioMainQueue main;
    std::vector<std::string> told;
    main.onInterruption([&](int) { told.emplace_back("the earlier"); });
    main.onInterruption([&](int) {
        told.emplace_back("the later");
        main.after(1ms, [&] { main.quit(); });
    });
    main.post([] { ::kill(::getpid(), SIGINT); });
    main.run();
    EXPECT_EQ(told, (std::vector<std::string>{"the later"}));
}

#ifdef __linux__
TEST(AsioRuntime, HasAsManyThreadsAsItIsToHave) {
    const auto threads = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                             std::filesystem::directory_iterator());
    };
    std::thread([] {}).join(); // a sanitizer starts one of its own beside the first
    const auto before = threads();
    const AsioRuntime runtime(5);
    EXPECT_EQ(threads(), before + 5);
}
#endif

TEST(AsioVersion, IsThatOfTheHeaders) {
    int numbers[3] = {};
    ASSERT_EQ(std::sscanf(asioVersion().c_str(), "%d.%d.%d", numbers, numbers + 1, numbers + 2), 3);
    EXPECT_EQ(numbers[0] * 100'000 + numbers[1] * 100 + numbers[2], ASIO_VERSION);
}

TEST(AsioMainQueue, DropsWhatStillWaitsAtItsEnd) {
    const auto token = std::make_shared<int>(0);
    {
        AsioMainQueue main;
        main.post([token] {});
        main.after(1h, [token] {});
    }
    EXPECT_EQ(token.use_count(), 1);
}

TEST(AsioMainQueue, NothingOfTheLoopsIsInheritedByStartedPrograms) {
    const auto before = inheritableDescriptors();
    AsioMainQueue main;
    main.onInterruption([](int) {});
    AsioRuntime runtime;
    runtime.make("Corvane.Test")->after(1h, [] {});
    EXPECT_EQ(inheritableDescriptors(), before);
}

} // namespace
} // namespace corvane

#include "tests/fakes/ManualQueue.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corvane {
namespace {

using std::chrono::milliseconds;

struct Owner {
    int calls = 0;
};

class ManualQueueTest : public testing::Test {
protected:
    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    ManualQueue queue{clock, "Corvane.Test"};
    std::string order;
};

TEST_F(ManualQueueTest, APostedTaskRunsLaterAndInOrder) {
    queue.post([this] { order += "a"; });
    queue.post([this] { order += "b"; });
    EXPECT_EQ(order, "");
    clock->run();
    EXPECT_EQ(order, "ab");
}

TEST_F(ManualQueueTest, ADelayedTaskRunsAtItsTimeAndNotBefore) {
    queue.after(milliseconds(40), [this] { order += "later"; });
    clock->advance(milliseconds(39));
    EXPECT_EQ(order, "");
    clock->advance(milliseconds(1));
    EXPECT_EQ(order, "later");
}

TEST_F(ManualQueueTest, ACancelledTaskNeverRuns) {
    const DelayedTask task = queue.after(milliseconds(40), [this] { order += "later"; });
    task.cancel();
    clock->advance(milliseconds(100));
    EXPECT_EQ(order, "");
    EXPECT_EQ(clock->pending(), 0U);
}

TEST_F(ManualQueueTest, WorkForAnOwnerThatIsGoneDoesNothing) {
    auto owner = std::make_shared<Owner>();
    const std::weak_ptr<Owner> held = owner;
    int calls = 0;
    queue.post(weakly(held, [&calls](Owner &) { ++calls; }));
    clock->run();
    queue.post(weakly(held, [&calls](Owner &) { ++calls; }));
    owner.reset();
    clock->run();
    EXPECT_EQ(calls, 1);
}

} // namespace
} // namespace corvane

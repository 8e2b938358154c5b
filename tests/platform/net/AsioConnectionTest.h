#pragma once

#include "platform/net/AsioNetwork.h"
#include "platform/queues/AsioRuntime.h"
#include "tests/support/Eventually.h"
#include "tests/support/Peers.h"
#include "tests/support/Recorders.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace corvane {

using Words = std::vector<std::string>;

/// A queue whose delayed tasks wait until the test says that their time has come.
class ElapsingQueue : public SerialQueue {
public:
    explicit ElapsingQueue(std::shared_ptr<SerialQueue> real) : real(std::move(real)) {}

    const std::string &label() const override { return real->label(); }
    void post(Task task) override { real->post(std::move(task)); }
    DelayedTask after(std::chrono::milliseconds delay, Task task) override {
        const auto held = std::make_shared<Task>(std::move(task));
        delays.add({delay, held});
        return DelayedTask([held] { *held = nullptr; });
    }
    Clock::time_point now() const override { return real->now(); }

    /// Runs what was put off so far and not called off, on the queue.
    void elapse() {
        post([waiting = delays.all()] {
            for (const auto &[delay, task] : waiting)
                if (const auto due = std::exchange(*task, nullptr))
                    due();
        });
    }

    Journal<std::pair<std::chrono::milliseconds, std::shared_ptr<Task>>> delays;

private:
    std::shared_ptr<SerialQueue> real;
};

inline std::string systemText(std::errc error) {
    return std::make_error_code(error).message();
}

/// Real sockets, and a journal of what a connection reports.
class AsioConnectionTest : public testing::Test {
protected:
    /// Name look-ups on threads of their own hold the loop a moment longer than their connections: the next
    /// test finds none of its descriptors.
    void TearDown() override {
        EXPECT_TRUE(eventually([&] { return runtime.context().use_count() <= holders; }));
    }

    /// Runs what was posted to the queue so far.
    void settle() {
        std::promise<void> done;
        queue->post([&] { done.set_value(); });
        ASSERT_EQ(done.get_future().wait_for(testTimeout), std::future_status::ready);
    }

    /// Lets everything come about that is under way between this machine's own sockets.
    void settleSockets() {
        const StreamListener listener;
        const auto words = std::make_shared<ConnectionJournal>();
        const auto last = network.makeStream("127.0.0.1", listener.port(), queue);
        last->start(words->states());
        ASSERT_TRUE(words->await("ready"));
        last->cancel();
        ASSERT_TRUE(words->await("cancelled")); // its socket is closed by then
        settle();
    }

    std::shared_ptr<ConnectionJournal> journal = std::make_shared<ConnectionJournal>();
    AsioRuntime runtime;
    AsioNetwork network{runtime};
    std::shared_ptr<SerialQueue> queue = runtime.make("Corvane.Test");

private:
    const long holders = runtime.context().use_count();
};

} // namespace corvane

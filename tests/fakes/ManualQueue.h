#pragma once

#include "platform/queues/SerialQueue.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace corvane {

/// The one clock and the one order of tasks of all manual queues of a test. Nothing runs and no time passes
/// but when told to, on the calling thread, so a test never sleeps and always sees the same order.
class ManualClock {
public:
    using TimePoint = SerialQueue::Clock::time_point;

    /// Runs everything that is due, and what that posts in turn, without moving the clock.
    void run();
    /// Moves the clock by `delay` in steps, running each task at its own time.
    void advance(std::chrono::milliseconds delay);
    /// Runs just the one task that is next in order; false when none is due.
    bool runOne();

    TimePoint now() const { return current; }
    /// Tasks not yet run, delayed ones included.
    std::size_t pending() const { return tasks.size(); }

private:
    friend class ManualQueue;
    using Key = std::pair<TimePoint, std::uint64_t>;

    Key add(TimePoint due, Task task);

    TimePoint current{};
    std::uint64_t sequence = 0;
    std::map<Key, Task> tasks;
};

/// A serial queue on a manual clock. Once the clock is gone, what is posted is dropped.
class ManualQueue : public SerialQueue {
public:
    ManualQueue(const std::shared_ptr<ManualClock> &clock, std::string label)
        : clock(clock), name(std::move(label)) {}

    const std::string &label() const override { return name; }
    void post(Task task) override;
    DelayedTask after(std::chrono::milliseconds delay, Task task) override;
    Clock::time_point now() const override;

private:
    /// Not held: what waits on the clock may hold this queue, and goes with the clock at the end of a test.
    std::weak_ptr<ManualClock> clock;
    std::string name;
};

/// Makes manual queues on one clock.
class ManualQueues : public SerialQueues {
public:
    explicit ManualQueues(std::shared_ptr<ManualClock> clock) : clock(std::move(clock)) {}
    std::shared_ptr<SerialQueue> make(std::string label) override {
        labels.push_back(label);
        return std::make_shared<ManualQueue>(clock, std::move(label));
    }

    std::vector<std::string> labels; ///< of the queues that were made

private:
    std::shared_ptr<ManualClock> clock;
};

} // namespace corvane

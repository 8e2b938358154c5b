#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace corvane {

using Task = std::function<void()>;

/// A task that was scheduled for later and can be cancelled. Copies refer to the same task; destroying the
/// handle does not cancel it. After `cancel` on the task's own queue the task does not run any more; from
/// another thread it may be running already.
class DelayedTask {
public:
    DelayedTask() = default;
    explicit DelayedTask(std::function<void()> cancellation) : cancellation(std::move(cancellation)) {}

    void cancel() const {
        if (cancellation)
            cancellation();
    }

private:
    std::function<void()> cancellation;
};

/// A labelled first-in first-out queue: its tasks run one at a time, in order. State that belongs to a queue
/// is touched from its tasks alone and needs no lock. All operations may be called from any thread.
class SerialQueue {
public:
    using Clock = std::chrono::steady_clock;

    virtual ~SerialQueue() = default;

    virtual const std::string &label() const = 0;
    /// Runs `task` after everything posted before it, never inside this call.
    virtual void post(Task task) = 0;
    /// Runs `task` once `delay` has passed.
    virtual DelayedTask after(std::chrono::milliseconds delay, Task task) = 0;
    /// The clock that `after` goes by: real time, or a test's own.
    virtual Clock::time_point now() const = 0;
};

/// Makes the queues of the components that need one of their own. Labels are "Corvane." + area.
class SerialQueues {
public:
    virtual ~SerialQueues() = default;
    virtual std::shared_ptr<SerialQueue> make(std::string label) = 0;
};

/// Deferred work for an owner that may be gone by then: calls `action(owner)` if the owner still lives. To be
/// run on the owner's own queue only, because the strong hold it takes for the call may be the last one.
template <class Owner, class Action>
Task weakly(std::weak_ptr<Owner> owner, Action action) {
    return [owner = std::move(owner), action = std::move(action)]() mutable {
        if (auto strong = owner.lock())
            action(*strong);
    };
}

} // namespace corvane

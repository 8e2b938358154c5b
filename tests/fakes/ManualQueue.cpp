#include "tests/fakes/ManualQueue.h"

namespace corvane {

ManualClock::Key ManualClock::add(TimePoint due, Task task) {
    const Key key{due, sequence++};
    tasks.emplace(key, std::move(task));
    return key;
}

bool ManualClock::runOne() {
    if (tasks.empty() || tasks.begin()->first.first > current)
        return false;
    // Taken out first: the task may post, cancel or run others.
    auto next = tasks.extract(tasks.begin());
    next.mapped()();
    return true;
}

void ManualClock::run() {
    while (runOne()) {
    }
}

void ManualClock::advance(std::chrono::milliseconds delay) {
    const TimePoint end = current + delay;
    run();
    while (!tasks.empty() && tasks.begin()->first.first <= end) {
        current = tasks.begin()->first.first;
        run();
    }
    current = end;
}

void ManualQueue::post(Task task) {
    if (const auto owner = clock.lock())
        owner->add(owner->now(), std::move(task));
}

DelayedTask ManualQueue::after(std::chrono::milliseconds delay, Task task) {
    const auto owner = clock.lock();
    if (!owner)
        return {};
    const auto key = owner->add(owner->now() + delay, std::move(task));
    return DelayedTask([held = clock, key] {
        if (const auto stillThere = held.lock())
            stillThere->tasks.erase(key);
    });
}

SerialQueue::Clock::time_point ManualQueue::now() const {
    const auto owner = clock.lock();
    return owner ? owner->now() : Clock::time_point();
}

} // namespace corvane

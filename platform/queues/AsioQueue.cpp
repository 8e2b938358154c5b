#include "platform/queues/AsioQueue.h"

#include "platform/queues/TaskRun.h"

#include <asio/post.hpp>
#include <asio/steady_timer.hpp>

#include <map>
#include <utility>

namespace corvane {

/// Runs the queue's tasks on whichever thread of the loop has time.
struct AsioQueue::Runner {
    void run(const Task &task) const {
        if (threadName == ThreadName::label) {
            thread_local std::string current;
            if (current != label)
                nameThread(current = label);
        }
        runTask(label, task);
    }

    std::string label;
    ThreadName threadName;
};

/// A task, its time, and the timer that wakes its queue then.
struct AsioQueue::Delayed {
    Delayed(const asio::strand<asio::io_context::executor_type> &strand, Clock::time_point due, Task task)
        : timer(strand, due), due(due), task(std::move(task)) {}

    asio::steady_timer timer;
    Clock::time_point due;
    Task task;
};

/// The delayed tasks of a queue that have neither run nor been cancelled. On an event loop with several
/// threads the timers of two tasks that are due together may call in either order; so a timer's call runs the
/// task that is first in line, which need not be its own. Used from any thread.
class AsioQueue::Schedule {
public:
    void add(const std::shared_ptr<Delayed> &delayed) {
        const std::lock_guard lock(mutex);
        waiting.emplace(delayed->due, delayed);
    }

    /// False when the task has run already, or is running.
    bool remove(const std::shared_ptr<Delayed> &delayed) {
        const std::lock_guard lock(mutex);
        const auto [first, last] = waiting.equal_range(delayed->due);
        for (auto each = first; each != last; ++each) {
            if (each->second == delayed) {
                waiting.erase(each);
                return true;
            }
        }
        return false;
    }

    void runFirstDue(const Runner &runner) {
        if (const auto delayed = takeFirstDue())
            runner.run(delayed->task);
    }

private:
    std::shared_ptr<Delayed> takeFirstDue() {
        const std::lock_guard lock(mutex);
        // A timer that was cancelled too late may call before anything else is due.
        if (waiting.empty() || waiting.begin()->first > Clock::now())
            return nullptr;
        return waiting.extract(waiting.begin()).mapped();
    }

    std::mutex mutex;
    std::multimap<Clock::time_point, std::shared_ptr<Delayed>> waiting; ///< equal times: as they came
};

AsioQueue::AsioQueue(std::shared_ptr<AsioContext> context, std::string label, ThreadName threadName)
    : context(std::move(context)), strand(asio::make_strand(this->context->loop())),
      runner(std::make_shared<const Runner>(Runner{std::move(label), threadName})) {}

const std::string &AsioQueue::label() const {
    return runner->label;
}

void AsioQueue::post(Task task) {
    context->whileOpen(
        [&] { asio::post(strand, [runner = runner, task = std::move(task)] { runner->run(task); }); });
}

DelayedTask AsioQueue::after(std::chrono::milliseconds delay, Task task) {
    std::weak_ptr<Delayed> weakDelayed;
    std::weak_ptr<Schedule> weakSchedule;
    context->whileOpen([&] {
        const auto line = currentSchedule();
        auto delayed = std::make_shared<Delayed>(strand, now() + delay, std::move(task));
        weakDelayed = delayed;
        weakSchedule = line;
        line->add(delayed);
        delayed->timer.async_wait(
            [line, delayed, runner = runner](const asio::error_code &) { line->runFirstDue(*runner); });
    });
    return DelayedTask([weakDelayed, weakSchedule, context = context, strand = strand] {
        const auto delayed = weakDelayed.lock();
        const auto line = weakSchedule.lock();
        if (!delayed || !line || !line->remove(delayed))
            return;
        // The timer itself is touched on its strand alone; waking it lets go of the task early.
        context->whileOpen([&] { asio::post(strand, [delayed] { delayed->timer.cancel(); }); });
    });
}

std::shared_ptr<AsioQueue::Schedule> AsioQueue::currentSchedule() {
    const std::lock_guard lock(mutex);
    auto current = schedule.lock();
    if (!current) {
        current = std::make_shared<Schedule>();
        schedule = current;
    }
    return current;
}

} // namespace corvane

#pragma once

#include "platform/queues/AsioContext.h"
#include "platform/queues/SerialQueue.h"

#include <asio/strand.hpp>

#include <memory>
#include <mutex>
#include <string>

namespace corvane {

/// A serial queue on an event loop: a strand. Once the loop is closed, what is posted is dropped.
class AsioQueue final : public SerialQueue {
public:
    /// Whether a thread bears the queue's label while it runs its tasks.
    enum class ThreadName { label, unchanged };

    AsioQueue(std::shared_ptr<AsioContext> context, std::string label, ThreadName threadName);

    const std::string &label() const override;
    void post(Task task) override;
    DelayedTask after(std::chrono::milliseconds delay, Task task) override;
    Clock::time_point now() const override { return Clock::now(); }

private:
    struct Runner;
    struct Delayed;
    class Schedule;

    std::shared_ptr<Schedule> currentSchedule();

    std::shared_ptr<AsioContext> context; ///< outlives the strand
    asio::strand<asio::io_context::executor_type> strand;
    std::shared_ptr<const Runner> runner; ///< held by its tasks as well, which may outlive the queue
    std::mutex mutex;
    /// Lives while a timer waits: its tasks may hold this queue, and must not be held by it.
    std::weak_ptr<Schedule> schedule; ///< guarded by the mutex
};

} // namespace corvane

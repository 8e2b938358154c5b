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
    AsioQueue(std::shared_ptr<AsioContext> context, std::string label);

    const std::string &label() const override { return name; }
    void post(Task task) override;
    DelayedTask after(std::chrono::milliseconds delay, Task task) override;
    Clock::time_point now() const override { return Clock::now(); }

private:
    struct Delayed;
    class Schedule;

    std::shared_ptr<Schedule> currentSchedule();

    std::shared_ptr<AsioContext> context; ///< outlives the strand
    asio::strand<asio::io_context::executor_type> strand;
    std::string name;
    std::mutex mutex;
    /// Lives while a timer waits: its tasks may hold this queue, and must not be held by it.
    std::weak_ptr<Schedule> schedule; ///< guarded by the mutex
};

} // namespace corvane

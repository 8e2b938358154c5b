#pragma once

#include "platform/queues/SerialQueue.h"

#include <functional>
#include <memory>
#include <string>

namespace corvane {

/// The main thread's queue in programs without a window. Owned by the process entry; outlives everything
/// that posts to it.
class AsioMainQueue final : public SerialQueue {
public:
    AsioMainQueue();
    /// Drops what still waits.
    ~AsioMainQueue() override;

    AsioMainQueue(const AsioMainQueue &) = delete;
    AsioMainQueue &operator=(const AsioMainQueue &) = delete;

    /// Runs tasks on the calling thread until `quit`. May be called again afterwards; tasks that were
    /// waiting then run first.
    void run();
    /// Ends `run` after the task that is running. A `quit` before `run` ends that one at once. Any thread.
    void quit();
    /// Calls `handler` on this queue for each SIGINT and SIGTERM from now on, instead of ending the program.
    /// Called on the main thread.
    void onInterruption(std::function<void(int signal)> handler);

    const std::string &label() const override;
    void post(Task task) override;
    DelayedTask after(std::chrono::milliseconds delay, Task task) override;
    Clock::time_point now() const override;

private:
    struct Loop;
    std::unique_ptr<Loop> loop;
};

} // namespace corvane

#include "platform/queues/AsioMainQueue.h"

#include "platform/queues/AsioQueue.h"
#include "platform/queues/TaskRun.h"

#include <asio/executor_work_guard.hpp>
#include <asio/signal_set.hpp>

#include <atomic>
#include <csignal>
#include <deque>
#include <utility>

namespace corvane {

struct AsioMainQueue::Loop {
    std::shared_ptr<AsioContext> context = std::make_shared<AsioContext>();
    AsioQueue queue{context, "Corvane.Main", AsioQueue::ThreadName::unchanged};
    asio::executor_work_guard<asio::io_context::executor_type> work = asio::make_work_guard(context->loop());
    asio::signal_set signals{context->loop()};
    std::function<void(int)> interruption;
    std::atomic<bool> isQuitting = false;
    std::deque<Task> left; ///< tasks that came up after a `quit`, for the next `run`

    /// As a task of the queue.
    Task unlessQuitting(Task task) {
        return [this, task = std::move(task)]() mutable {
            if (isQuitting)
                left.push_back(std::move(task));
            else
                task();
        };
    }

    void awaitSignal() {
        // Never called off: it ends with the loop.
        signals.async_wait([this](const asio::error_code &, int signal) {
            queue.post(unlessQuitting([this, signal] { interruption(signal); }));
            awaitSignal();
        });
    }
};

AsioMainQueue::AsioMainQueue() : loop(std::make_unique<Loop>()) {}

AsioMainQueue::~AsioMainQueue() {
    loop->context->close();
}

void AsioMainQueue::run() {
    while (!loop->isQuitting && !loop->left.empty()) {
        const Task task = std::move(loop->left.front());
        loop->left.pop_front();
        runTask(label(), task);
    }
    if (!loop->isQuitting)
        loop->context->loop().run();
    loop->context->loop().restart();
    loop->isQuitting = false;
}

void AsioMainQueue::quit() {
    loop->isQuitting = true;
    loop->context->loop().stop();
}

void AsioMainQueue::onInterruption(std::function<void(int)> handler) {
    const bool isFirst = !loop->interruption;
    loop->interruption = std::move(handler);
    if (!isFirst)
        return;
    loop->signals.add(SIGINT);
    loop->signals.add(SIGTERM);
    loop->awaitSignal();
}

const std::string &AsioMainQueue::label() const {
    return loop->queue.label();
}

void AsioMainQueue::post(Task task) {
    loop->queue.post(loop->unlessQuitting(std::move(task)));
}

DelayedTask AsioMainQueue::after(std::chrono::milliseconds delay, Task task) {
    return loop->queue.after(delay, loop->unlessQuitting(std::move(task)));
}

SerialQueue::Clock::time_point AsioMainQueue::now() const {
    return loop->queue.now();
}

} // namespace corvane

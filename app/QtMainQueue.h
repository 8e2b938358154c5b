#pragma once

#include "platform/queues/SerialQueue.h"

#include <QBasicTimer>
#include <QObject>

#include <deque>
#include <memory>
#include <string>

namespace corvane {

/// The main thread's queue on Qt's event loop. A long run of tasks is cut into short turns, between which the
/// window gets its input and paints, so that a burst of messages never holds the user up. Made on the main
/// thread; outlives everything that posts to it.
class QtMainQueue : public QObject, public SerialQueue {
public:
    /// How long the tasks of one turn may take before the window has its turn; a single task runs to its end.
    static constexpr std::chrono::milliseconds turnTimeout{4};

    const std::string &label() const override { return name; }
    void post(Task task) override;
    DelayedTask after(std::chrono::milliseconds delay, Task task) override;
    Clock::time_point now() const override { return Clock::now(); }

protected:
    bool event(QEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    struct Delayed;

    void enqueue(Task task);
    void schedule(const std::shared_ptr<Delayed> &delayed, Clock::time_point due);

    const std::string name = "main";
    std::deque<Task> tasks; ///< what has arrived and not run yet; the main thread's
    QBasicTimer turn;
};

} // namespace corvane

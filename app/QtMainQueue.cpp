#include "app/QtMainQueue.h"

#include "platform/queues/TaskRun.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <QTimer>

#include <utility>

namespace corvane {

namespace {

/// Carries a task to the main thread.
class TaskEvent : public QEvent {
public:
    explicit TaskEvent(Task task) : QEvent(type()), task(std::move(task)) {}

    static Type type() {
        static const int number = QEvent::registerEventType();
        return static_cast<Type>(number);
    }

    Task task;
};

} // namespace

/// A task to be run later; without a task when it was called off or has run. The main thread's.
struct QtMainQueue::Delayed {
    Task task;
};

void QtMainQueue::post(Task task) {
    QCoreApplication::postEvent(this, new TaskEvent(std::move(task)));
}

bool QtMainQueue::event(QEvent *event) {
    if (event->type() != TaskEvent::type())
        return QObject::event(event);
    enqueue(std::move(static_cast<TaskEvent *>(event)->task));
    return true;
}

void QtMainQueue::enqueue(Task task) {
    tasks.push_back(std::move(task));
    if (!turn.isActive())
        turn.start(0, this);
}

void QtMainQueue::timerEvent(QTimerEvent *) {
    const Clock::time_point end = now() + turnTimeout;
    while (!tasks.empty() && now() < end) {
        const Task task = std::move(tasks.front());
        tasks.pop_front();
        runTask(label(), task);
    }
    if (tasks.empty())
        turn.stop();
}

DelayedTask QtMainQueue::after(std::chrono::milliseconds delay, Task task) {
    auto delayed = std::make_shared<Delayed>();
    delayed->task = std::move(task);
    // Timers belong to the main thread, wherever this is called.
    post([this, delayed, due = now() + delay] { schedule(delayed, due); });
    return DelayedTask([this, delayed] {
        if (QThread::currentThread() == thread())
            delayed->task = nullptr;
        else
            post([delayed] { delayed->task = nullptr; });
    });
}

void QtMainQueue::schedule(const std::shared_ptr<Delayed> &delayed, Clock::time_point due) {
    if (!delayed->task)
        return;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - now());
    auto *timer = new QTimer(this);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    connect(timer, &QTimer::timeout, this, [this, delayed, timer] {
        timer->deleteLater();
        enqueue([delayed] {
            if (const Task task = std::exchange(delayed->task, nullptr))
                task();
        });
    });
    timer->start(std::max(left, std::chrono::milliseconds{0}));
}

} // namespace corvane

#include "platform/queues/TaskRun.h"

#include "base/Preconditions.h"

#include <exception>

namespace corvane {

void runTask(const std::string &label, const Task &task) {
    try {
        task();
    } catch (const std::exception &error) {
        preconditionFailure("a task of the queue \"" + label + "\" has thrown: " + error.what());
    }
}

} // namespace corvane

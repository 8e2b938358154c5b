#pragma once

#include "platform/queues/SerialQueue.h"

#include <string>

namespace corvane {

/// Runs one task of the queue with that label. A task that throws is a programming error: the program stops
/// and says which queue it was and what was thrown.
void runTask(const std::string &label, const Task &task);

/// Names the calling thread for debuggers and process listings, cut to what the system takes (15 bytes on
/// Linux). Not for the main thread, whose name is the program's.
void nameThread(const std::string &name);

} // namespace corvane

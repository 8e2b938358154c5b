#pragma once

#include <chrono>
#include <ctime>

namespace corvane {

/// What the calling thread has used of a processor: on a busy machine the time that passes says little.
inline std::chrono::nanoseconds processorTime() {
    timespec used{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

} // namespace corvane

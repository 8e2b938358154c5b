#include "platform/queues/TaskRun.h"

#include <pthread.h>

namespace corvane {

void nameThread(const std::string &name) {
    constexpr std::size_t longestName = 15;
    ::pthread_setname_np(::pthread_self(), name.substr(0, longestName).c_str());
}

} // namespace corvane

#include "platform/queues/TaskRun.h"

#include <pthread.h>

namespace corvane {

void nameThread(const std::string &name) {
    constexpr std::size_t longestName = 63;
    ::pthread_setname_np(name.substr(0, longestName).c_str());
}

} // namespace corvane

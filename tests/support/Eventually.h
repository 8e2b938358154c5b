#pragma once

#include <chrono>
#include <thread>

namespace corvane {

/// Polls a real event of the system until it has come; false when it has not come for half a minute.
template <class Condition>
bool eventually(Condition condition) {
    using namespace std::chrono_literals;
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

} // namespace corvane

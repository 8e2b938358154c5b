#pragma once

#include "tests/support/Usage.h"

#include "platform/queues/SerialQueue.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>

namespace corvane {

/// Watches over the main queue and the process: its ticks show that the queue is alive, and it keeps the most
/// memory that was in use. Ends with its last holder.
class Watch : public std::enable_shared_from_this<Watch> {
public:
    static std::shared_ptr<Watch> over(SerialQueue &main) {
        std::shared_ptr<Watch> watch(new Watch(main));
        watch->tick();
        return watch;
    }

    std::size_t ticks = 0;
    /// The longest time between two ticks.
    std::chrono::duration<double> longestGap{0};
    /// Memory gained since the start, at most; heap in use gained just now.
    std::size_t memoryGain() const { return most - std::min(most, before.memory()); }
    std::ptrdiff_t heapGain() const {
        return static_cast<std::ptrdiff_t>(usageNow().heap) - static_cast<std::ptrdiff_t>(before.heap);
    }

private:
    explicit Watch(SerialQueue &main) : main(main), before(usageNow()), last(main.now()) {}

    void tick() {
        ++ticks;
        longestGap = std::max<std::chrono::duration<double>>(longestGap, main.now() - last);
        last = main.now();
        if (ticks % 4 == 0)
            most = std::max(most, usageNow().memory());
        main.after(std::chrono::milliseconds(2),
                   weakly(weak_from_this(), [](Watch &watch) { watch.tick(); }));
    }

    SerialQueue &main;
    Usage before;
    std::size_t most = 0;
    SerialQueue::Clock::time_point last;
};

constexpr std::size_t megabyte = 1U << 20U;

} // namespace corvane

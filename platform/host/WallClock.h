#pragma once

#include <chrono>

namespace corvane {

/// The time of day, for texts. Delays go by SerialQueue's clock.
class WallClock {
public:
    virtual ~WallClock() = default;
    virtual std::chrono::system_clock::time_point now() const = 0;
};

} // namespace corvane

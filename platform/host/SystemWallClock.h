#pragma once

#include "platform/host/WallClock.h"

namespace corvane {

/// The computer's own clock.
class SystemWallClock : public WallClock {
public:
    std::chrono::system_clock::time_point now() const override { return std::chrono::system_clock::now(); }
};

} // namespace corvane

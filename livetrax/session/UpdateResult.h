#pragma once

#include <cstdint>

namespace corvane {

/// How many tracks an update of a session re-configured, created and deleted.
struct UpdateResult {
    std::int64_t updated = 0;
    std::int64_t added = 0;
    std::int64_t removed = 0;

    bool operator==(const UpdateResult &) const = default;
};

} // namespace corvane

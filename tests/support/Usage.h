#pragma once

#include <cstddef>
#include <vector>

namespace corvane {

/// What this process holds of the system at a moment.
struct Usage {
    std::size_t heap = 0;        ///< bytes allocated and not freed; 0 where nobody counts them
    std::size_t resident = 0;    ///< bytes of memory in use, everything included
    std::size_t descriptors = 0; ///< open files and sockets

    /// Bytes that a bound can be held against: resident memory, or the heap where a sanitizer keeps as much
    /// again for itself.
    std::size_t memory() const;
};

Usage usageNow();

/// The least of each kind in a part of the samples, from `first` to just before `last`: what is held when
/// little is going on.
Usage leastOf(const std::vector<Usage> &samples, std::size_t first, std::size_t last);

} // namespace corvane

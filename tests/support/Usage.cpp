#include "tests/support/Usage.h"

#include "tests/support/Peers.h"

#include <algorithm>
#include <fstream>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// Of the sanitizers' own runtime; not every compiler brings the header.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes(); // NOLINT(bugprone-reserved-identifier)
#define CORVANE_COUNTED_BY_SANITIZER
#elif defined(__GLIBC__)
#include <malloc.h>
#endif

namespace corvane {

namespace {

std::size_t allocated() {
#ifdef CORVANE_COUNTED_BY_SANITIZER
    return __sanitizer_get_current_allocated_bytes();
#elif defined(__GLIBC__)
    const auto use = ::mallinfo2();
    return use.uordblks + use.hblkhd;
#else
    return 0;
#endif
}

std::size_t resident() {
    std::ifstream statistics("/proc/self/statm");
    std::size_t size = 0;
    std::size_t pages = 0;
    statistics >> size >> pages;
    return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

} // namespace

std::size_t Usage::memory() const {
#ifdef CORVANE_COUNTED_BY_SANITIZER
    return heap;
#else
    return resident;
#endif
}

Usage usageNow() {
    return {allocated(), resident(), openDescriptors()};
}

Usage leastOf(const std::vector<Usage> &samples, std::size_t first, std::size_t last) {
    Usage least = samples.at(first);
    for (std::size_t i = first; i < last; ++i) {
        least.heap = std::min(least.heap, samples.at(i).heap);
        least.resident = std::min(least.resident, samples.at(i).resident);
        least.descriptors = std::min(least.descriptors, samples.at(i).descriptors);
    }
    return least;
}

} // namespace corvane

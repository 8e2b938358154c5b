#pragma once

#include <cerrno>

namespace corvane {

/// Makes a call of the system, and makes it again for as long as a signal interrupts it. Returns what the
/// call returns: below zero after an error, which errno then names.
template <class Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

} // namespace corvane

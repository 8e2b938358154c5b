#pragma once

#include <string_view>

namespace corvane {

/// Stops the program: a caller broke a rule that only a programming error can break. Never for bad input.
[[noreturn]] void preconditionFailure(std::string_view message);

/// left + right, or a stop when the result does not fit the type.
template <class Integer>
Integer addingChecked(Integer left, Integer right) {
    Integer result{};
    if (__builtin_add_overflow(left, right, &result))
        preconditionFailure("integer overflow");
    return result;
}

} // namespace corvane

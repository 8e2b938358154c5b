#pragma once

#include <string>

namespace corvane {

/// The one thing that the window should say besides its status: what a person would want to know before the
/// next press, in words, with at most one thing to do about it.
struct Notice {
    std::string text;
    /// The title of its action; empty when there is nothing to press.
    std::string action;

    bool operator==(const Notice &) const = default;
};

} // namespace corvane

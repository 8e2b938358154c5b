#pragma once

#include "tests/cli/CommandTest.h"

#include <string>
#include <vector>

namespace corvane::cli {

// For commands that are told where the console is.

inline const std::vector<LV1Channel> kickAndOverheads{mono("Kick", 0, 1), stereo("OH", 6, 2)};
inline const std::vector<std::string> fromHost{"--host", "10.0.0.1", "--port", "5000"};

inline std::vector<std::string> operator+(std::vector<std::string> left,
                                          const std::vector<std::string> &right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

} // namespace corvane::cli

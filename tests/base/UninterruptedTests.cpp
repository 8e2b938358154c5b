#include "base/Uninterrupted.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

namespace corvane {
namespace {

TEST(Uninterrupted, ACallThatASignalInterruptsIsMadeAgainAndNoOther) {
    std::vector<int> errors{EINTR, EINTR, EIO, EINTR};
    std::size_t calls = 0;
    const auto call = [&] {
        errno = errors.at(calls++);
        return -1;
    };
    EXPECT_EQ(uninterrupted(call), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(calls, 3U);
    errno = EINTR; // from an earlier call
    EXPECT_EQ(uninterrupted([&] { return static_cast<int>(++calls); }), 4);
    EXPECT_EQ(uninterrupted([] { return 0; }), 0);
}

} // namespace
} // namespace corvane

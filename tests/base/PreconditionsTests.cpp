#include "base/Preconditions.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(PreconditionsDeathTest, TheProgramSaysWhyItStops) {
    EXPECT_DEATH(preconditionFailure("a track without a channel"),
                 "Corvane stops: a track without a channel\n");
}

} // namespace
} // namespace corvane

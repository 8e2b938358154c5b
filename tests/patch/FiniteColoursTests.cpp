#include "patch/FiniteColours.h"

#include <gtest/gtest.h>

#include <limits>

namespace corvane {
namespace {

TEST(FiniteColours, AColourThatIsNoNumberGivesWayAsAWhole) {
    constexpr float none = std::numeric_limits<float>::quiet_NaN();
    constexpr float endless = std::numeric_limits<float>::infinity();
    const auto channel = [](float red, float green, float blue) {
        return LV1Channel("Kick", true, "SoundGrid", 3, "Mixer_Ch", 7, red, green, blue);
    };
    const LV1Channel usual("Kick", true, "SoundGrid", 3, "Mixer_Ch", 7);
    EXPECT_EQ((std::vector<LV1Channel>{usual, usual, usual, channel(-1, 0, 9)}),
              withFiniteColours(
                  {channel(none, 1, 1), channel(1, endless, 1), channel(1, 1, -endless), channel(-1, 0, 9)}));
}

} // namespace
} // namespace corvane

#include "lv1/LV1Channel.h"
#include "lv1/LV1Endpoint.h"

#include <gtest/gtest.h>

#include <limits>

namespace corvane {
namespace {

TEST(LV1Channel, AStereoChannelOnInputIndex0ShowsBothInputs) {
    EXPECT_EQ(LV1Channel("OH", true, "SG", 0, "Mixer_Ch", 1).inputText(), "1–2");
}

TEST(LV1Channel, AMonoChannelOnInputIndex9Shows10) {
    EXPECT_EQ(LV1Channel("Kick", false, "SG", 9, "Mixer_Ch", 1).inputText(), "10");
}

TEST(LV1Channel, TheHighestInputIndexDoesNotOverflow) {
    const LV1Channel channel("Last", true, "SG", std::numeric_limits<std::int32_t>::max(), "Mixer_Ch", 1);
    EXPECT_EQ(channel.inputText(), "2147483648–2147483649");
}

TEST(LV1Channel, AChannelBuiltWithoutColoursIsMutedBlue) {
    const LV1Channel channel("Kick", false, "SG", 0, "Mixer_Ch", 1);
    EXPECT_EQ(channel.red, 0.25F);
    EXPECT_EQ(channel.green, 0.55F);
    EXPECT_EQ(channel.blue, 0.85F);
}

TEST(LV1Channel, TheFormatSaysMonoOrStereo) {
    EXPECT_EQ(LV1Channel("Kick", false, "SG", 0, "Mixer_Ch", 1).format(), "Mono");
    EXPECT_EQ(LV1Channel("OH", true, "SG", 0, "Mixer_Ch", 1).format(), "Stereo");
}

TEST(LV1Endpoint, TwoEndpointsThatDifferOnlyInMacAreDifferentHosts) {
    const LV1Endpoint one{"LV1", "10.0.0.1", 5000, "aa:bb"};
    LV1Endpoint other = one;
    EXPECT_EQ(one, other);
    other.mac = "aa:bc";
    EXPECT_NE(one, other);
}

} // namespace
} // namespace corvane

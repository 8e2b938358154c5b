#include "patch/RecordedInputs.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(RecordedInputs, AStereoChannelRecordsTwoInputs) {
    EXPECT_EQ(0U, recordedInputs({}));
    EXPECT_EQ(3U, recordedInputs({{"Kick", false, "SoundGrid", 0, "Mixer_Ch", 1},
                                  {"OH", true, "SoundGrid", 6, "Mixer_Ch", 2}}));
}

} // namespace
} // namespace corvane

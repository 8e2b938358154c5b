#include "patch/RecordingTime.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(RecordingTime, AStereoChannelRecordsTwoInputs) {
    EXPECT_EQ(0U, recordedInputs({}));
    EXPECT_EQ(3U, recordedInputs({{"Kick", false, "SoundGrid", 0, "Mixer_Ch", 1},
                                  {"OH", true, "SoundGrid", 6, "Mixer_Ch", 2}}));
}

TEST(RecordingTime, AMinuteOfOneInputTakesElevenMegabytes) {
    constexpr std::uintmax_t minute = 48'000ULL * 4 * 60;
    EXPECT_EQ(1U, recordingMinutes(minute, 1, 48'000));
    EXPECT_EQ(0U, recordingMinutes(minute - 1, 1, 48'000));
    EXPECT_EQ(30U, recordingMinutes(minute * 60, 2, 48'000));
    EXPECT_EQ(60U, recordingMinutes(minute * 120, 1, 96'000));
    EXPECT_EQ(UINTMAX_MAX, recordingMinutes(1, 0, 48'000));
}

TEST(RecordingTime, RatesAreSaidAsEngineersDo) {
    EXPECT_EQ("48 kHz", kilohertz(48'000));
    EXPECT_EQ("44.1 kHz", kilohertz(44'100));
}

} // namespace
} // namespace corvane

#pragma once

#include "lv1/LV1Channel.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace corvane {

/// The inputs that these channels record at once, a stereo channel counting as two.
std::size_t recordedInputs(const std::vector<LV1Channel> &channels);

/// How many minutes of recording a volume has room for; 32-bit samples.
std::uintmax_t recordingMinutes(std::uintmax_t bytes, std::size_t inputs, std::uint32_t rate);

/// Less than this is worth a warning.
inline constexpr std::uintmax_t fewRecordingMinutes = 60;

/// "48 kHz", "44.1 kHz"
std::string kilohertz(std::uint32_t rate);

} // namespace corvane

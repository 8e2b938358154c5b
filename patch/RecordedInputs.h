#pragma once

#include "lv1/LV1Channel.h"

#include <cstddef>
#include <vector>

namespace corvane {

/// The inputs that these channels record at once, a stereo channel counting as two.
std::size_t recordedInputs(const std::vector<LV1Channel> &channels);

} // namespace corvane

#pragma once

#include "lv1/LV1Channel.h"

#include <string>

namespace corvane {

/// A channel's colour as "#4080C0": each part from 0 to 255, cut off as it is in a session.
std::string colourText(const LV1Channel &channel);

} // namespace corvane

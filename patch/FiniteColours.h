#pragma once

#include "lv1/LV1Channel.h"

#include <vector>

namespace corvane {

/// The channels as sessions and patch files can hold them: a colour with a part that is no finite number
/// gives way, as a whole, to the usual one.
std::vector<LV1Channel> withFiniteColours(std::vector<LV1Channel> channels);

} // namespace corvane

#pragma once

#include "lv1/LV1Channel.h"

#include <vector>

namespace corvane {

/// The channels as sessions and patch files can hold them: a colour with a component that is not finite is
/// replaced, as a whole, by the default colour.
std::vector<LV1Channel> withFiniteColours(std::vector<LV1Channel> channels);

} // namespace corvane

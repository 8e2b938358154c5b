#pragma once

#include "lv1/LV1Channel.h"

#include <string>
#include <vector>

namespace corvane {

/// What distinguishes two patches, one change a line in words, in the order of the newer patch with the
/// channels that are gone at the end. Channels are recognised by their source on the console; colours do not
/// count. Empty when nothing differs.
std::vector<std::string> patchDifference(const std::vector<LV1Channel> &from,
                                         const std::vector<LV1Channel> &to);

} // namespace corvane

#pragma once

#include "lv1/LV1Channel.h"

#include <cstddef>
#include <string>
#include <vector>

namespace corvane::sim {

/// What the stand-in for a console has on its desk.
struct ConsoleState {
    std::vector<LV1Channel> channels;
    std::vector<std::string> scenes;
    std::string scene; ///< the one recalled last
};

/// A band of 24 channels, mono and stereo, with a night's list of scenes.
ConsoleState bandOnStage();

} // namespace corvane::sim

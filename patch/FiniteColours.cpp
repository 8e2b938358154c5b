#include "patch/FiniteColours.h"

#include <cmath>

namespace corvane {

std::vector<LV1Channel> withFiniteColours(std::vector<LV1Channel> channels) {
    const LV1Channel usual("", false, "", 0, "", 0);
    for (LV1Channel &channel : channels) {
        if (std::isfinite(channel.red) && std::isfinite(channel.green) && std::isfinite(channel.blue))
            continue;
        channel.red = usual.red;
        channel.green = usual.green;
        channel.blue = usual.blue;
    }
    return channels;
}

} // namespace corvane

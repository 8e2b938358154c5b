#include "patch/ColourText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace corvane {

std::string colourText(const LV1Channel &channel) {
    const auto part = [](float value) {
        constexpr float whole = 255;
        return std::isfinite(value) ? static_cast<unsigned>(std::clamp(value, 0.0F, 1.0F) * whole) : 0U;
    };
    char text[sizeof "#4080C0"] = {};
    std::snprintf(text, sizeof text, "#%02X%02X%02X", part(channel.red), part(channel.green),
                  part(channel.blue));
    return text;
}

} // namespace corvane

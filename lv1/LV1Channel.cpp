#include "lv1/LV1Channel.h"

namespace corvane {

std::string LV1Channel::format() const {
    return isStereo ? "Stereo" : "Mono";
}

std::string LV1Channel::inputText() const {
    // 64 bits: the console sends any 32-bit index.
    const std::int64_t first = std::int64_t{input} + 1;
    return isStereo ? std::to_string(first) + "–" + std::to_string(first + 1) : std::to_string(first);
}

} // namespace corvane

#include "patch/RecordedInputs.h"

namespace corvane {

std::size_t recordedInputs(const std::vector<LV1Channel> &channels) {
    std::size_t inputs = 0;
    for (const LV1Channel &channel : channels)
        inputs += channel.stereo() ? 2 : 1;
    return inputs;
}

} // namespace corvane

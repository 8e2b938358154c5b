#include "patch/RecordingTime.h"

namespace corvane {

namespace {

constexpr std::uintmax_t bytesPerSample = 4;
constexpr std::uintmax_t secondsPerMinute = 60;

} // namespace

std::size_t recordedInputs(const std::vector<LV1Channel> &channels) {
    std::size_t inputs = 0;
    for (const LV1Channel &channel : channels)
        inputs += channel.stereo() ? 2 : 1;
    return inputs;
}

std::uintmax_t recordingMinutes(std::uintmax_t bytes, std::size_t inputs, std::uint32_t rate) {
    const std::uintmax_t perMinute = inputs * rate * bytesPerSample * secondsPerMinute;
    return perMinute == 0 ? UINTMAX_MAX : bytes / perMinute;
}

std::string kilohertz(std::uint32_t rate) {
    const auto tenths = (rate % 1'000) / 100;
    return std::to_string(rate / 1'000) + (tenths == 0 ? "" : "." + std::to_string(tenths)) + " kHz";
}

} // namespace corvane

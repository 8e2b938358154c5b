#include "livetrax/session/RecordingFormat.h"

#include "base/Text.h"

namespace corvane {

namespace {

/// Samples a second of the fastest converters there are, and more.
constexpr std::int64_t highestRate = 1'000'000;
constexpr std::uintmax_t secondsPerMinute = 60;

struct NamedFormat {
    const char *name;
    std::size_t bytesPerSample;
};
/// Besides the usual "FormatFloat".
constexpr NamedFormat formats[] = {{"FormatInt24", 3}, {"FormatInt16", 2}};

} // namespace

RecordingFormat recordingFormat(XMLElement sessionRoot) {
    RecordingFormat found;
    const auto rate = integer(sessionRoot.attribute("sample-rate").value_or(""));
    if (rate && *rate > 0 && *rate <= highestRate)
        found.rate = static_cast<std::uint32_t>(*rate);
    const XMLElement option =
        sessionRoot.firstChild("Config").firstChild("Option", "name", "native-file-data-format");
    for (const auto &[name, bytes] : formats)
        if (option && option.attributeIs("value", name))
            found.bytesPerSample = bytes;
    return found;
}

std::uintmax_t recordingMinutes(std::uintmax_t bytes, std::size_t inputs, const RecordingFormat &format) {
    const std::uintmax_t perMinute = secondsPerMinute * inputs * format.rate * format.bytesPerSample;
    return perMinute == 0 ? UINTMAX_MAX : bytes / perMinute;
}

std::string kilohertz(std::uint32_t rate) {
    const auto tenths = (rate % 1'000) / 100;
    return std::to_string(rate / 1'000) + (tenths == 0 ? "" : "." + std::to_string(tenths)) + " kHz";
}

} // namespace corvane

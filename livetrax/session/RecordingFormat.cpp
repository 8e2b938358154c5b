#include "livetrax/session/RecordingFormat.h"

#include "base/Text.h"

namespace corvane {

namespace {

/// Samples a second of the fastest converters there are, and more.
constexpr std::int64_t highestRate = 1'000'000;

struct NamedFormat {
    const char *name;
    std::size_t bytesPerSample;
};
constexpr NamedFormat formats[] = {{"FormatFloat", 4}, {"FormatInt24", 3}, {"FormatInt16", 2}};

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

} // namespace corvane

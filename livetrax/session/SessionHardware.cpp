#include "livetrax/session/SessionHardware.h"

#include "base/Text.h"
#include "livetrax/session/Track.h"

#include <limits>

namespace corvane {

SessionHardware hardwareOf(XMLElement root) {
    const auto tracks = session::audioTracks(root);
    SessionHardware hardware{session::deviceOf(tracks), std::nullopt, 0};
    const auto rate = integer(root.attribute("sample-rate").value_or(""));
    if (rate && *rate > 0 && *rate <= std::numeric_limits<std::uint32_t>::max())
        hardware.rate = static_cast<std::uint32_t>(*rate);
    for (const session::Track track : tracks)
        hardware.inputs += static_cast<std::size_t>(track.width());
    return hardware;
}

SessionHardware readHardware(const std::filesystem::path &file) {
    return hardwareOf(XMLDocument::load(file).root());
}

} // namespace corvane

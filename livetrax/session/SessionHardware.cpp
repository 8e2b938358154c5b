#include "livetrax/session/SessionHardware.h"

#include "livetrax/session/Track.h"

namespace corvane {

SessionHardware hardwareOf(XMLElement root) {
    const auto tracks = session::audioTracks(root);
    SessionHardware hardware{session::deviceOf(tracks), recordingFormat(root), 0};
    for (const session::Track track : tracks)
        hardware.inputs += static_cast<std::size_t>(track.width());
    return hardware;
}

SessionHardware readHardware(const std::filesystem::path &file) {
    return hardwareOf(XMLDocument::load(file).root());
}

} // namespace corvane

#pragma once

#include "livetrax/session/LiveTraxGenerator.h"

#include <filesystem>
#include <string>
#include <utility>

namespace corvane {

/// LiveTrax records onto a track of a session and saves it.
inline void record(const std::filesystem::path &session, const std::string &track, int take = 1) {
    const auto file = LiveTraxGenerator::sessionFile(session);
    XMLDocument document = XMLDocument::load(file);
    const XMLElement root = document.root();
    const auto playlist =
        root.firstChild("Routes").firstChild("Route", "name", track).attribute("audio-playlist");
    XMLElement region =
        root.firstChild("Playlists").firstChild("Playlist", "id", playlist.value_or("")).append("Region");
    region.setAttribute("id", std::to_string(900'000 + take));
    region.setAttribute("name", track + "-" + std::to_string(take));
    std::move(document).writeAtomically(file);
}

} // namespace corvane

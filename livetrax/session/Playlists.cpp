#include "livetrax/session/Playlists.h"

#include <utility>

namespace corvane::session {

Playlists::Playlists(XMLElement root) {
    for (const char *list : {"Playlists", "UnusedPlaylists"}) {
        const bool used = std::string_view(list) == "Playlists";
        for (const XMLElement playlist : root.firstChild(list).children("Playlist")) {
            if (auto id = playlist.attribute("id"))
                byId.emplace(*std::move(id), entries.size());
            if (auto name = used ? playlist.attribute("name") : std::nullopt)
                byName.emplace(*std::move(name), entries.size());
            entries.push_back({playlist});
        }
    }
}

Playlists::Reference Playlists::of(Track track) const {
    const auto text = track.playlist();
    if (!text)
        return {};
    if (const auto found = byId.find(*text); found != byId.end())
        return {found->second};
    const auto found = byName.find(*text);
    return found == byName.end() ? Reference() : Reference{found->second, true};
}

XMLElement Playlists::named(Reference reference) const {
    return reference.byName ? entries[*reference.entry].playlist : XMLElement();
}

std::int64_t Playlists::takes(Reference reference) const {
    std::int64_t count = 0;
    if (reference.entry)
        for (XMLElement region = entries[*reference.entry].playlist.firstChild("Region"); region;
             region = region.next("Region"))
            ++count;
    return count;
}

void Playlists::keep(Reference reference) {
    if (reference.entry)
        entries[*reference.entry].kept = true;
}

void Playlists::removeNamed(Reference reference) {
    if (!reference.byName || entries[*reference.entry].kept)
        return;
    Entry &entry = entries[*reference.entry];
    entry.playlist.remove();
    entry.playlist = {};
    entry.kept = true; // gone: no other track takes it away again
}

} // namespace corvane::session

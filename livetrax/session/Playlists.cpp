#include "livetrax/session/Playlists.h"

#include <utility>

namespace corvane::session {
namespace {

const std::size_t *find(const std::unordered_map<std::string, std::size_t> &index,
                        const std::optional<std::string> &text) {
    const auto found = text ? index.find(*text) : index.end();
    return found == index.end() ? nullptr : &found->second;
}

} // namespace

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

const std::size_t *Playlists::idOf(Track track) const {
    return find(byId, track.playlist());
}

const std::size_t *Playlists::nameOf(Track track) const {
    return idOf(track) == nullptr ? find(byName, track.playlist()) : nullptr;
}

XMLElement Playlists::named(Track track) const {
    const std::size_t *const entry = nameOf(track);
    return entry == nullptr ? XMLElement() : entries[*entry].playlist;
}

std::int64_t Playlists::takes(Track track) const {
    const std::size_t *const byIdFound = idOf(track);
    const std::size_t *const entry = byIdFound == nullptr ? nameOf(track) : byIdFound;
    std::int64_t count = 0;
    if (entry != nullptr)
        for (XMLElement region = entries[*entry].playlist.firstChild("Region"); region;
             region = region.next("Region"))
            ++count;
    return count;
}

void Playlists::keepFor(Track route) {
    for (const std::size_t *const entry : {idOf(route), nameOf(route)})
        if (entry != nullptr)
            entries[*entry].kept = true;
}

void Playlists::removeNamed(Track track) {
    const std::size_t *const entry = nameOf(track);
    if (entry == nullptr || entries[*entry].kept)
        return;
    entries[*entry].playlist.remove();
    entries[*entry].playlist = {};
    entries[*entry].kept = true; // gone: no other track takes it away again
}

} // namespace corvane::session

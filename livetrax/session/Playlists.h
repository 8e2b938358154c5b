#pragma once

#include "livetrax/session/Track.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace corvane::session {

/// A session's playlists by the ids and names that they had when the session was read. The recorder refers to
/// them by id, sessions that it has not written yet by name; a text that is some playlist's id is never taken
/// for another one's name. Internal to livetrax/session.
class Playlists {
public:
    explicit Playlists(XMLElement root);

    /// The playlist that a track refers to by name; none when it names none or an unknown one.
    XMLElement named(Track track) const;
    /// How many recordings the playlist holds that a track refers to, by id or by name.
    std::int64_t takes(Track track) const;
    /// From now on the playlist that a route refers to, by id or by name, stays.
    void keepFor(Track route);
    /// Removes the playlist that a track names, unless it is kept for another route. Each goes once.
    void removeNamed(Track track);

private:
    struct Entry {
        XMLElement playlist;
        bool kept = false;
    };
    using Index = std::unordered_map<std::string, std::size_t>;

    std::vector<Entry> entries;
    Index byId;
    Index byName; ///< of several of a name the first
    const std::size_t *idOf(Track track) const;
    const std::size_t *nameOf(Track track) const;
};

} // namespace corvane::session

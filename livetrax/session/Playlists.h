#pragma once

#include "livetrax/session/Track.h"

#include <cstddef>
#include <cstdint>
#include <optional>
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

    /// The playlist that a track refers to.
    struct Reference {
        std::optional<std::size_t> entry; ///< none when it names none or an unknown one
        bool byName = false;              ///< else by id
    };
    Reference of(Track track) const;

    /// The playlist where the track refers to it by name, else none.
    XMLElement named(Reference reference) const;
    /// How many recordings it holds.
    std::int64_t takes(Reference reference) const;
    /// From now on it stays.
    void keep(Reference reference);
    /// Removes it where the track refers to it by name, unless it is kept for another route. Each goes once.
    void removeNamed(Reference reference);

private:
    struct Entry {
        XMLElement playlist;
        bool kept = false;
    };
    using Index = std::unordered_map<std::string, std::size_t>;

    std::vector<Entry> entries;
    Index byId;
    Index byName; ///< of several of a name the first
};

} // namespace corvane::session

#pragma once

#include "livetrax/session/XMLTree.h"

#include <cstdint>

namespace corvane::session {

/// The ids that a session gives to its objects. Internal to livetrax/session.
class ObjectIds {
public:
    /// Goes on from the root's "id-counter".
    explicit ObjectIds(XMLElement root);
    /// Gives new ids to a track's copy and its playlist's (which may be none), references between them
    /// included. Throws GeneratorError (idsExhausted), as `store` does.
    void renumber(XMLElement route, XMLElement playlist);
    /// Writes the root's "id-counter", with a gap above the ids given out.
    void store(XMLElement root) const;

private:
    std::uint64_t counted(std::uint64_t more) const;

    std::uint64_t counter;
};

} // namespace corvane::session

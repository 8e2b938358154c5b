#pragma once

#include "livetrax/session/Track.h"
#include "livetrax/session/XMLTree.h"
#include "lv1/LV1Channel.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace corvane::session {

/// A direct out and the run of playback channels that it claims, as they were when it was read.
struct SlotClaim {
    explicit SlotClaim(XMLElement processor);
    void setSlot(std::int64_t to);
    /// Moves the direct out to the run of playback channels that begins there, also one without a slot.
    void moveTo(std::int64_t first);

    DirectOut out;
    std::optional<std::string> text;       ///< its slot as it stands in the file
    std::int64_t slot;                     ///< 0 when it says none
    std::int64_t width;                    ///< how many playback channels it takes, at least 1
    std::optional<std::int64_t> connected; ///< the first one that it is connected to
    bool isPreserved;
};

/// What must be unique in a session: the names of its ports, where they have one, and the slots of its direct
/// outs, each in document order. Internal to livetrax/session.
struct EnginePorts {
    EnginePorts() = default;
    explicit EnginePorts(XMLElement top) { add(top); }
    /// Adds those of an element and of all below it.
    void add(XMLElement top);

    std::vector<std::string> names;
    std::vector<SlotClaim> claims;
};

/// Makes a session's port names and playback channels consistent. First, direct outs of buses whose slot the
/// recorder has written as 0 get their slots back, unless a channel of the console needs them; then every
/// direct out gets a run of playback channels of its own; last, port names and direct-out ids are checked to
/// be unique. The last two are what three operations of LiveTraxGenerator do one by one. Tells whether a
/// direct out was connected anew. Throws GeneratorError. Internal to livetrax/session.
bool settleEnginePorts(EnginePorts all, const std::vector<LV1Channel> &channels);

} // namespace corvane::session

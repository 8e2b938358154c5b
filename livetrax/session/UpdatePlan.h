#pragma once

#include "livetrax/session/UpdateResult.h"
#include "livetrax/session/XMLTree.h"
#include "lv1/LV1Channel.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// What an update does with one track.
struct TrackDecision {
    enum class Action {
        keep,   ///< stays as it is to look at
        change, ///< stays, with another name, order or colour, or armed or connected again
        add,
        remove,
    };
    /// The attributes that a track had before, as they stood in the file; only those that become different.
    struct Was {
        std::optional<std::string> name;
        std::optional<std::string> order; ///< its place from the top, counted from 1
        std::optional<std::string> color; ///< red, green, blue and alpha as one decimal number
        std::optional<bool> armed;        ///< false: the update arms it

        bool operator==(const Was &) const = default;
    };

    Action action;
    std::string name; ///< after the update; the last name of one that is removed
    /// Its first input, counted from 0; none for a removed track that is connected to none.
    std::optional<std::int64_t> inputIndex;
    bool stereo;
    Was was;
    std::int64_t takes = 0; ///< how many recordings (regions) its playlist holds
    /// One that stays: its inputs or direct outs are connected to other ports of the hardware than before.
    bool rewired = false;
    /// The inputs of one that stays, counted from 0, that are connected to nothing on the session's device:
    /// it records silence from them.
    std::vector<std::int64_t> silentInputs = {};

    bool operator==(const TrackDecision &) const = default;
};

/// What an update of a session comes to: the console's channels in their order, then the tracks that go.
struct UpdatePlan {
    std::vector<TrackDecision> tracks;
    UpdateResult result;
    /// LiveTrax was not closed properly while recording: an update is refused until it has recovered that.
    bool recoveryData = false;

    bool operator==(const UpdatePlan &) const = default;
};

/// The names, as people are told of them, of the tracks that go although they hold recordings.
std::vector<std::string> removedWithTakes(const UpdatePlan &plan);

/// Decides what becomes of each track of a session and does it to the session's tree, and to nothing else.
/// New tracks are copied from the base template. Throws GeneratorError; the tree is then of no more use.
UpdatePlan updateSessionTree(XMLElement sessionRoot, XMLElement templateRoot,
                             const std::vector<LV1Channel> &channels);

} // namespace corvane

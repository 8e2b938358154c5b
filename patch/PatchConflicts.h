#pragma once

#include "lv1/LV1Channel.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace corvane {

/// Why some channels cannot be tracks of one session.
struct PatchConflict {
    enum class Kind {
        name,  ///< their direct outs would have one name
        input, ///< they record from the same input
    };

    Kind kind;
    std::vector<std::size_t> channels; ///< their places in the list, from 0 in ascending order; at least two
    std::vector<std::string> names;    ///< their names in the same order
    std::vector<std::int64_t> inputs;  ///< the SoundGrid inputs they share, counted from 1; none for a name
    /// In words, without a full stop: "“Vox” and “Vox FX” share SoundGrid input 25".
    std::string text;

    bool operator==(const PatchConflict &) const = default;
};

/// What keeps these channels from becoming a session: equal names first, then shared inputs in ascending
/// order. Empty exactly when a session can be made of them, as far as that is up to the channels.
std::vector<PatchConflict> patchConflicts(const std::vector<LV1Channel> &channels);

} // namespace corvane

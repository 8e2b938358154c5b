#pragma once

#include "app/ButtonMeaning.h"
#include "livetrax/session/History.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// What an update took out of a session, and the way back.
struct Removal {
    std::filesystem::path session;
    std::vector<std::string> tracks; ///< those with recordings, as they are shown
    std::optional<HistoryCopy> copy; ///< the session before the update; none when it cannot be found
    /// How many recordings the session holds that the copy does not know; none when that cannot be told.
    std::optional<std::int64_t> recordingsSince;
    // What counted as synchronised before the update
    std::optional<std::string> patch;
    std::optional<std::vector<LV1Channel>> channels;
    ButtonFacts::Comparison comparison;
};

} // namespace corvane

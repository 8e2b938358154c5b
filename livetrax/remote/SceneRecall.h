#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace corvane {

/// Why a scene that the console recalls gets no marker.
enum class Unmarked : std::uint8_t {
    blank,      ///< it has no name
    noScene,    ///< "No Scene", in any capitals
    first,      ///< the first after launch is only remembered: it was recalled before anyone recorded
    same,       ///< it is the scene that was recalled last
    noSession,  ///< it is not known which session LiveTrax works on
    noRecorder, ///< LiveTrax does not run
};

/// The same in the words of the list of scenes: "blank", "no scene", "first", "same", "no session",
/// "no recorder".
const char *reasonText(Unmarked reason);

/// What decides whether a scene gets a marker, besides its name.
struct SceneContext {
    std::optional<std::string> lastScene; ///< as received
    bool sessionKnown = false;
    std::function<bool()> recorderRuns; ///< asked only when everything else speaks for a marker
};

/// The one rule: none when a scene of this name gets a marker, else why not.
std::optional<Unmarked> whyUnmarked(const std::string &scene, const SceneContext &context);

/// One recall, for the list that people keep.
struct SceneRecall {
    std::chrono::system_clock::time_point time;
    std::string scene; ///< as received
    bool marked = false;
    std::string reason; ///< why it was not marked; empty when it was

    bool operator==(const SceneRecall &) const = default;
};

/// The recall of a scene at a time, decided by the rule.
SceneRecall recall(const std::string &scene, const SceneContext &context,
                   std::chrono::system_clock::time_point time);

/// The time of day where this program runs, "21:04:59".
std::string timeOfDay(std::chrono::system_clock::time_point time);

} // namespace corvane

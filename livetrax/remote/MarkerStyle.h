#pragma once

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace corvane {

/// How a scene's marker is made.
enum class MarkerStyle : std::uint8_t {
    classic, ///< "/add_marker", then "/marker" with the name: LiveTrax names it only at a standstill
    named,   ///< one "/add_marker" with the name, which LiveTrax takes whatever its transport does
};

/// The words that a user chooses it with.
inline constexpr const char *classicMarkers = "classic";
inline constexpr const char *namedMarkers = "named";
/// The environment variable that holds one of them.
inline constexpr const char *markerStyleVariable = "CORVANE_MARKERS";

/// Any other word than "named" means the classic way.
constexpr MarkerStyle markerStyle(std::string_view word) {
    return word == namedMarkers ? MarkerStyle::named : MarkerStyle::classic;
}

/// The way that the word of an option chooses; of an option that was not given, and so is empty, the word in
/// the environment.
inline MarkerStyle chosenMarkerStyle(std::string_view option) {
    const char *variable = std::getenv(markerStyleVariable); // NOLINT(concurrency-mt-unsafe)
    return markerStyle(option.empty() && variable != nullptr ? variable : option);
}

} // namespace corvane

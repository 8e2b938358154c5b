#pragma once

#include <cstdint>
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

} // namespace corvane

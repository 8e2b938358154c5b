#pragma once

namespace corvane {

/// What the About panel says, on every system.
inline constexpr auto applicationName = "Corvane";
inline constexpr auto aboutCredits = "ONLINE INTEGRATION FOR EMOTION LV1 + LIVETRAX\n\n"
                                     "Designed at the mixing position, for engineers who record every show\n"
                                     "Made by the Corvane project";
/// Edge of the icon, in points.
inline constexpr int aboutIconSize = 128;

} // namespace corvane

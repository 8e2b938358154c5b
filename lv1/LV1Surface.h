#pragma once

#include <cstdint>

/// The console as it is known from outside, and what this computer keeps for it.
namespace corvane::lv1Surface {

inline constexpr std::uint16_t announcementPort = 13'337; ///< consoles announce themselves to it by UDP

/// User default that holds by what consoles know this computer.
inline constexpr const char *deviceIdentifierKey = "CorvaneDeviceID";

} // namespace corvane::lv1Surface

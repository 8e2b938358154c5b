#pragma once

#include <array>
#include <cstdint>

/// LiveTrax's OSC surface as it is known from outside: where it listens, where it answers, what it
/// understands.
namespace corvane::liveTraxSurface {

inline constexpr const char *host = "127.0.0.1";
inline constexpr std::uint16_t port = 3819;      ///< LiveTrax listens here
inline constexpr std::uint16_t replyPort = 8000; ///< LiveTrax answers to this port, whoever asked
/// What a rehearsal needs for itself.
inline constexpr std::array<std::uint16_t, 2> ports{port, replyPort};

inline constexpr const char *transportSpeed =
    "/transport_speed";                                         ///< asked without a value, answered with one
inline constexpr const char *recordEnabled = "/record_enabled"; ///< likewise
inline constexpr const char *isRecording = "/is_recording";     ///< likewise; not every version answers
inline constexpr const char *saveState = "/save_state";
/// Drops a marker at the playhead; with a text, one of that name.
inline constexpr const char *addMarker = "/add_marker";
/// Names the marker that stands exactly under the playhead, but goes to the marker of that name if there is
/// one: the transport then stops, and with some versions a recording ends.
inline constexpr const char *marker = "/marker";

} // namespace corvane::liveTraxSurface

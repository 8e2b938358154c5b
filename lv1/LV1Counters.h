#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace corvane {

/// What a client has heard since it was made, in numbers.
struct LV1Counters {
    /// On all TCP links. Belongs to "Corvane.Network".
    struct Traffic {
        std::uint64_t frames = 0;           ///< complete ones
        std::uint64_t messages = 0;         ///< frames that held an OSC message
        std::uint64_t pings = 0;            ///< of these, those that were answered
        std::uint64_t refusedHeaders = 0;   ///< links that nothing more could be read of
        std::uint64_t malformedPatches = 0; ///< too few values, or no count
        std::uint64_t skippedChannels = 0;  ///< records of a patch with a value of another type
        std::uint64_t malformedColours = 0;
        std::uint64_t malformedScenes = 0;
        std::optional<std::chrono::steady_clock::time_point> lastMessage;

        /// Frames that held no OSC message.
        std::uint64_t unreadableFrames() const { return frames - messages; }
    };
    /// By multicast. Belongs to "Corvane.Discovery".
    struct Announcements {
        std::uint64_t heard = 0;   ///< of consoles
        std::uint64_t refused = 0; ///< datagrams that are no announcement of a console
        std::uint64_t dropped = 0; ///< announcements that the main queue had no room for
    };

    std::uint64_t links = 0;    ///< TCP links that were begun
    std::uint64_t accepted = 0; ///< of these, those that a console has accepted
    Traffic traffic;
    Announcements announcements;
    /// None before the first message.
    std::optional<std::chrono::milliseconds> sinceLastMessage;

    std::uint64_t reconnects() const { return links > 0 ? links - 1 : 0; }
};

} // namespace corvane

#pragma once

#include "livetrax/session/XMLTree.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace corvane {

/// A marker of a LiveTrax session.
struct SessionMarker {
    std::int64_t samples = 0; ///< from the session's start, at its rate
    std::string name;

    bool operator==(const SessionMarker &) const = default;
};

/// The markers of a LiveTrax session, in order of time. Ranges and the marks that the engine keeps for itself
/// (the session's start and end, loop, punch) are not among them.
struct SessionMarkers {
    std::int64_t rate = 0; ///< samples a second
    std::vector<SessionMarker> markers;

    bool operator==(const SessionMarkers &) const = default;
};

// Pure over a session's root element.

/// Throws XMLError when the session has no rate or a mark's place cannot be read.
SessionMarkers markersOf(XMLElement session);
/// The names of everything that LiveTrax takes for a mark, ranges aside, in document order.
std::vector<std::string> markNamesOf(XMLElement session);

// The same of the session file in a folder; on any thread. They throw FileError and XMLError.

SessionMarkers readMarkers(const std::filesystem::path &session);
std::vector<std::string> readMarkNames(const std::filesystem::path &session);

} // namespace corvane

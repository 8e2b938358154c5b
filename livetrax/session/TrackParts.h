#pragma once

#include "livetrax/session/Track.h"
#include "lv1/LV1Channel.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace corvane::session {

/// A track with its parts, found in one look through the route's children; views, valid until one of them is
/// removed. Internal to livetrax/session.
class TrackParts {
public:
    explicit TrackParts(XMLElement route);

    Track track() const { return route; }
    IO input() const { return recorded; }
    const std::vector<DirectOut> &directOuts() const { return outs; }
    /// Whether all direct outs can play what it records.
    bool hasWholeDirectOuts() const;
    /// Its place from the top, counted from 1, and its colour, as they stand in the file.
    std::optional<std::string> order() const { return presentation.attribute("order"); }
    std::optional<std::string> color() const { return presentation.attribute("color"); }
    bool isArmed() const { return armed.attributeIs("value", "1"); }
    /// What its inputs and direct outs are connected to outside of the session, with a blank entry between
    /// ports.
    std::vector<std::string> wiring() const;
    /// Fills the track, and its playlist if there is one: see LiveTraxGenerator::configure.
    void configure(XMLElement playlist, const LV1Channel &channel, std::size_t position,
                   const std::vector<std::string> &given);

private:
    Track route;
    XMLElement presentation;
    XMLElement armed;
    IO recorded;
    std::vector<DirectOut> outs;
};

} // namespace corvane::session

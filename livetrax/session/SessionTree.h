#pragma once

#include "livetrax/session/XMLTree.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// How the session engine finds its way in a session's or a template's tree. Internal to livetrax/session.

namespace corvane::session {

constexpr std::string_view CAPTURE_PREFIX = "system:capture_";
constexpr std::string_view PLAYBACK_PREFIX = "system:playback_";

/// Calls `visit` with an element and all elements below it, depth first in document order. The tree must not
/// change meanwhile, attribute values excepted.
template <class Visit>
void forEachElement(XMLElement top, Visit visit) {
    XMLElement element = top;
    while (element) {
        visit(element);
        XMLElement following = element.firstChild();
        while (!following && element != top) {
            following = element.next();
            element = element.parent();
        }
        element = following;
    }
}

/// Calls `visit` with each "ExtConnection" of a port that names another port, and with that name.
template <class Visit>
void forEachConnection(XMLElement port, Visit visit) {
    std::string buffer;
    for (const XMLElement connection : port.children("ExtConnection"))
        if (const XMLAttribute other = connection.findAttribute("other"))
            visit(other, other.value(buffer));
}

/// The first "IO" of that direction, "Input" or "Output"; no element when there is none.
XMLElement firstIO(XMLElement element, std::string_view direction);
std::int64_t portCount(XMLElement io);
/// The number in the first connection of an IO's ports that begins with `prefix`.
std::optional<std::int64_t> firstConnection(XMLElement io, std::string_view prefix);

bool isAudioTrack(XMLElement route);
/// The audio tracks among the routes of a root's first "Routes", in document order.
std::vector<XMLElement> audioTracks(XMLElement root);
bool isDirectOut(XMLElement element);
/// The text before "/audio_" in the names of a route's own ports.
std::string engineNamespace(XMLElement route);
/// Whether a name marks what belongs to the user.
bool isPreservedName(std::string_view name);

/// Gives every direct out of a session a run of playback channels of its own, then checks that port names and
/// direct-out ids are unique; one walk over the tree for what three operations of LiveTraxGenerator do with
/// one each.
void settleEnginePorts(XMLElement root);

/// The mono and the stereo audio track of the base template that new tracks are copied from.
struct ModelTracks {
    XMLElement mono;
    XMLElement stereo;
};
/// Throws GeneratorError (invalidTemplate) when either is missing.
ModelTracks modelTracks(const std::vector<XMLElement> &tracks);

/// The ids that a session gives to its objects.
class ObjectIds {
public:
    /// Goes on from the root's "id-counter".
    explicit ObjectIds(XMLElement root);
    /// Gives new ids to a track's copy and its playlist's (which may be none), references between them
    /// included.
    void renumber(XMLElement route, XMLElement playlist);
    /// Writes the root's "id-counter", with a gap above the ids given out.
    void store(XMLElement root) const;

private:
    std::uint64_t counter;
};

} // namespace corvane::session

#include "livetrax/session/TrackParts.h"

#include <algorithm>

namespace corvane::session {

TrackParts::TrackParts(XMLElement element) : route(element) {
    for (const XMLElement child : element.children()) {
        if (!presentation && child.hasName("PresentationInfo"))
            presentation = child;
        else if (!recorded && child.hasName("IO") && child.attributeIs("direction", "Input"))
            recorded = IO(child);
        else if (!armed && child.hasName("Controllable") && child.attributeIs("name", "rec-enable"))
            armed = child;
        else if (DirectOut::is(child))
            outs.emplace_back(child);
    }
}

bool TrackParts::hasWholeDirectOuts() const {
    const std::int64_t width = recorded.width();
    return std::all_of(outs.begin(), outs.end(), [&](DirectOut out) { return out.isWhole(width); });
}

std::vector<std::string> TrackParts::wiring() const {
    std::vector<std::string> found;
    const auto read = [&](IO io) {
        for (const XMLElement port : io.ports()) {
            IO::forEachConnection(port,
                                  [&](XMLAttribute, std::string_view other) { found.emplace_back(other); });
            found.emplace_back();
        }
    };
    read(recorded);
    for (const DirectOut out : outs)
        read(IO::outputOf(out.element()));
    return found;
}

} // namespace corvane::session

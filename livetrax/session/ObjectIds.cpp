#include "livetrax/session/ObjectIds.h"

#include "base/Text.h"
#include "livetrax/session/GeneratorError.h"
#include "livetrax/session/Track.h"

#include <limits>
#include <string>
#include <unordered_map>
#include <utility>

namespace corvane::session {

ObjectIds::ObjectIds(XMLElement root) {
    constexpr std::uint64_t usual = 10000;
    const auto text = root.attribute("id-counter");
    counter = text ? unsignedInteger(*text).value_or(usual) : usual;
}

std::uint64_t ObjectIds::counted(std::uint64_t more) const {
    if (counter > std::numeric_limits<std::uint64_t>::max() - more)
        throw GeneratorError::idsExhausted(std::to_string(counter));
    return counter + more;
}

void ObjectIds::renumber(XMLElement route, XMLElement playlist) {
    std::unordered_map<std::string, std::string> newIds;
    const auto giveId = [&](XMLElement element) {
        if (auto old = element.attribute("id")) {
            counter = counted(1);
            newIds[*std::move(old)] = std::to_string(counter);
        }
    };
    forEachElement(route, giveId);
    forEachElement(playlist, giveId);

    // One pass over the old texts, so that a new id that equals some other old one is not replaced again.
    const auto replaceIds = [&](XMLElement element) {
        for (XMLAttribute attribute : element.attributes()) {
            const auto found = newIds.find(attribute.value());
            if (found != newIds.end())
                attribute.setValue(found->second);
        }
    };
    forEachElement(route, replaceIds);
    forEachElement(playlist, replaceIds);
}

void ObjectIds::store(XMLElement root) const {
    constexpr std::uint64_t gap = 100;
    root.setAttribute("id-counter", std::to_string(counted(gap)));
}

} // namespace corvane::session

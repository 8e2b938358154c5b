#include "livetrax/session/SessionTree.h"

#include "base/Preconditions.h"
#include "base/Text.h"
#include "livetrax/session/GeneratorError.h"

#include <algorithm>
#include <unordered_map>

namespace corvane::session {

XMLElement firstIO(XMLElement element, std::string_view direction) {
    return element.firstChild("IO", "direction", direction);
}

std::int64_t portCount(XMLElement io) {
    std::int64_t count = 0;
    for (XMLElement port = io.firstChild("Port"); port; port = port.next("Port"))
        ++count;
    return count;
}

std::optional<std::int64_t> firstConnection(XMLElement io, std::string_view prefix) {
    std::string buffer;
    for (const XMLElement port : io.children("Port")) {
        for (const XMLElement connection : port.children("ExtConnection")) {
            const XMLAttribute other = connection.findAttribute("other");
            const std::string_view value = other ? other.value(buffer) : std::string_view();
            if (value.starts_with(prefix))
                return integer(value.substr(prefix.size()));
        }
    }
    return std::nullopt;
}

bool isAudioTrack(XMLElement route) {
    const XMLAttribute flags = route.firstChild("PresentationInfo").findAttribute("flags");
    std::string buffer;
    return flags && flags.value(buffer).find("AudioTrack") != std::string_view::npos;
}

std::vector<XMLElement> audioTracks(XMLElement root) {
    std::vector<XMLElement> tracks;
    for (const XMLElement route : root.firstChild("Routes").children("Route"))
        if (isAudioTrack(route))
            tracks.push_back(route);
    return tracks;
}

bool isDirectOut(XMLElement element) {
    return element.hasName("Processor") && element.attributeIs("role", "DirectOuts");
}

std::string engineNamespace(XMLElement route) {
    std::string buffer;
    for (const XMLElement io : route.children("IO")) {
        for (const XMLElement port : io.children("Port")) {
            const XMLAttribute name = port.findAttribute("name");
            const std::string_view value = name ? name.value(buffer) : std::string_view();
            const std::size_t end = value.find("/audio_");
            if (end != std::string_view::npos)
                return std::string(value.substr(0, end));
        }
    }
    return route.attribute("name").value_or("Audio");
}

bool isPreservedName(std::string_view name) {
    return name.starts_with("Corvane Preserved");
}

ModelTracks modelTracks(const std::vector<XMLElement> &tracks) {
    const auto firstOfWidth = [&](std::int64_t width) {
        const auto found = std::find_if(tracks.begin(), tracks.end(), [&](XMLElement track) {
            return portCount(firstIO(track, "Input")) == width;
        });
        if (found == tracks.end())
            throw GeneratorError::invalidTemplate();
        return *found;
    };
    return {firstOfWidth(1), firstOfWidth(2)};
}

ObjectIds::ObjectIds(XMLElement root) {
    constexpr std::uint64_t usual = 10000;
    const auto text = root.attribute("id-counter");
    counter = text ? unsignedInteger(*text).value_or(usual) : usual;
}

void ObjectIds::renumber(XMLElement route, XMLElement playlist) {
    std::unordered_map<std::string, std::string> newIds;
    const auto giveId = [&](XMLElement element) {
        if (auto old = element.attribute("id")) {
            counter = addingChecked(counter, std::uint64_t{1});
            newIds[*std::move(old)] = std::to_string(counter);
        }
    };
    forEachElement(route, giveId);
    forEachElement(playlist, giveId);
    if (newIds.empty())
        return;

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
    root.setAttribute("id-counter", std::to_string(addingChecked(counter, gap)));
}

} // namespace corvane::session

#include "base/Preconditions.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/Track.h"
#include "patch/RecorderNames.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace corvane {

using namespace session;

namespace {

/// 0 to 1 as 0 to 255, cut off.
std::uint32_t colorByte(float component) {
    if (!std::isfinite(component))
        preconditionFailure("a colour component is not a finite number");
    return static_cast<std::uint32_t>(std::clamp(component * 255.0F, 0.0F, 255.0F));
}

/// Red, green, blue and an opaque alpha from the highest byte down.
std::uint32_t packedColor(const LV1Channel &channel) {
    return colorByte(channel.red) << 24U | colorByte(channel.green) << 16U | colorByte(channel.blue) << 8U |
           255U;
}

void replaceAll(std::string &text, std::string_view old, std::string_view with) {
    for (std::size_t at = text.find(old); at != std::string::npos; at = text.find(old, at + with.size()))
        text.replace(at, old.size(), with);
}

} // namespace

void LiveTraxGenerator::configure(XMLElement route, XMLElement playlist, const LV1Channel &channel,
                                  std::size_t position) {
    const std::string order = std::to_string(addingChecked(position, std::size_t{1}));
    const std::int64_t firstNumber = addingChecked(std::int64_t{channel.inputIndex()}, std::int64_t{1});

    setEngineNamespace(route, "Audio " + order);
    Track track(route);
    track.setLook(channel.name(), order, std::to_string(packedColor(channel)));
    playlist.setExistingAttribute("name", channel.name());
    for (DirectOut out : track.directOuts())
        out.configure(directOutName(channel.name()), firstNumber);
    track.input().connect(CAPTURE_PREFIX, firstNumber);
    track.arm();
}

void LiveTraxGenerator::setEngineNamespace(XMLElement route, const std::string &engineNamespace) {
    const std::string old = Track(route).engineNamespace();
    // A port called "/audio_in 1" has an empty namespace: there is nothing to be found and replaced.
    if (old == engineNamespace || old.empty())
        return;
    const std::optional<std::string> name = route.attribute("name");
    std::string buffer;
    forEachElement(route, [&](XMLElement element) {
        for (XMLAttribute attribute : element.attributes()) {
            const std::string_view value = attribute.value(buffer);
            if (value.find(old) == std::string_view::npos)
                continue;
            std::string renamed(value);
            replaceAll(renamed, old, engineNamespace);
            attribute.setValue(renamed);
        }
    });
    if (name)
        route.setAttribute("name", *name);
}

} // namespace corvane

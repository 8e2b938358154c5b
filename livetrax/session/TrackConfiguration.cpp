#include "base/Preconditions.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/TrackParts.h"
#include "patch/RecorderNames.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>
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

template <class List>
bool holds(const List &list, std::string_view text) {
    return std::find(std::begin(list), std::end(list), text) != std::end(list);
}

/// "Audio " and a number, as `configure` calls every track's ports.
bool isNumberedNamespace(std::string_view text) {
    constexpr std::string_view prefix = "Audio ";
    return text.starts_with(prefix) && text.size() > prefix.size() &&
           text.find_first_not_of("0123456789", prefix.size()) == std::string_view::npos;
}

std::string_view withoutDigits(std::string_view text) {
    const std::size_t end = text.find_first_not_of("0123456789");
    return end == std::string_view::npos ? std::string_view() : text.substr(end);
}

std::string_view withoutSign(std::string_view text) {
    return text.starts_with('+') || text.starts_with('-') ? text.substr(1) : text;
}

/// Whether a value is a number or a switch as a whole: never a name that somebody gave.
bool isNumberOrSwitch(std::string_view value) {
    constexpr std::string_view switches[] = {"yes", "no", "true", "false"};
    if (holds(switches, value))
        return true;
    const std::string_view digits = withoutSign(value);
    std::string_view rest = withoutDigits(digits);
    std::size_t count = digits.size() - rest.size();
    if (rest.starts_with('.')) {
        const std::string_view fraction = rest.substr(1);
        rest = withoutDigits(fraction);
        count += fraction.size() - rest.size();
    }
    if (count != 0 && (rest.starts_with('e') || rest.starts_with('E'))) {
        const std::string_view exponent = withoutSign(rest.substr(1));
        return !exponent.empty() && withoutDigits(exponent).empty();
    }
    return count != 0 && rest.empty();
}

/// Renames what a route calls by the namespace of its ports: the ports themselves and what is connected to
/// them, and as much of the rest as is safe. A short name ("in", "1") stands by chance in ids, flags and
/// directions as well, and the recorder would refuse the session, or crash on it, were those changed.
class NamespaceChange {
public:
    NamespaceChange(const std::string &old, const std::string &now, bool given)
        : old(old), now(now), given(given) {}

    void apply(XMLElement element) const {
        for (XMLAttribute attribute : element.attributes()) {
            std::string buffer;
            const std::string_view value = attribute.value(buffer);
            if (value.find(old) != std::string_view::npos)
                if (const auto changed = renamed(element, attribute.name(), value))
                    attribute.setValue(*changed);
        }
    }

private:
    std::optional<std::string> renamed(XMLElement element, std::string_view attribute,
                                       std::string_view value) const {
        if (isPortName(element, attribute))
            return renamedPort(value);
        if (meansSomethingElse(element, attribute))
            return std::nullopt;
        // A track may be called "1". The recorder finds an IO's ports by the IO's name: without it the track
        // records silence.
        if (isOwnerName(element, attribute) && value == old)
            return now;
        if (isNumberOrSwitch(value))
            return std::nullopt;
        return given ? renamedEverywhere(value) : renamedOwner(element, attribute, value);
    }

    static bool isPortName(XMLElement element, std::string_view attribute) {
        const bool isConnection = element.hasName("Connection") || element.hasName("ExtConnection");
        return (element.hasName("Port") && attribute == "name") || (isConnection && attribute == "other");
    }

    static bool isOwnerName(XMLElement element, std::string_view attribute) {
        return attribute == "name" && (element.hasName("IO") || element.hasName("Processor"));
    }

    static bool meansSomethingElse(XMLElement element, std::string_view attribute) {
        constexpr std::string_view others[] = {"id",    "flags", "direction",   "type",
                                               "role",  "value", "active",      "bitslot",
                                               "order", "color", "default-type"};
        return holds(others, attribute) || attribute.ends_with("-id") ||
               (element.hasName("ExtConnection") && attribute == "for") ||
               (element.hasName("Controllable") && attribute == "name");
    }

    /// Only where the old namespace owns the port: "Audio 3" is not in "Audio 31/audio_in 1".
    std::optional<std::string> renamedPort(std::string_view port) const {
        const std::size_t slash = port.rfind('/');
        if (slash != old.size() || !port.starts_with(old))
            return std::nullopt;
        return now + std::string(port.substr(slash));
    }

    std::optional<std::string> renamedEverywhere(std::string_view value) const {
        std::string changed(value);
        replaceAll(changed, old, now);
        return changed;
    }

    /// Names of IOs and processors behind a prefix such as "recorder:".
    std::optional<std::string> renamedOwner(XMLElement element, std::string_view attribute,
                                            std::string_view value) const {
        if (!isOwnerName(element, attribute) || !(value.ends_with(":" + old) || value.ends_with("-" + old)))
            return std::nullopt;
        return std::string(value.substr(0, value.size() - old.size())) + now;
    }

    std::string old;
    std::string now;
    bool given;
};

} // namespace

void LiveTraxGenerator::configure(XMLElement route, XMLElement playlist, const LV1Channel &channel,
                                  std::size_t position, const std::vector<std::string> &given) {
    TrackParts(route).configure(playlist, channel, position, given);
}

void TrackParts::configure(XMLElement playlist, const LV1Channel &channel, std::size_t position,
                           const std::vector<std::string> &given) {
    const std::string order = std::to_string(addingChecked(position, std::size_t{1}));
    const std::int64_t firstNumber = addingChecked(std::int64_t{channel.inputIndex()}, std::int64_t{1});

    LiveTraxGenerator::setEngineNamespace(route.element(), "Audio " + order, given);
    route.element().setExistingAttribute("name", channel.name());
    presentation.setExistingAttribute("order", order);
    presentation.setExistingAttribute("color", std::to_string(packedColor(channel)));
    playlist.setExistingAttribute("name", channel.name());
    for (DirectOut &out : outs)
        out.configure(directOutName(channel.name()), firstNumber);
    recorded.connect(CAPTURE_PREFIX, firstNumber);
    armed.setExistingAttribute("value", "1");
}

void LiveTraxGenerator::setEngineNamespace(XMLElement route, const std::string &engineNamespace,
                                           const std::vector<std::string> &given) {
    const std::string old = Track(route).engineNamespace();
    // A port called "/audio_in 1" has an empty namespace: there is nothing to be found and replaced.
    if (old == engineNamespace || old.empty())
        return;
    const std::optional<std::string> name = route.attribute("name");
    const NamespaceChange change(old, engineNamespace, isNumberedNamespace(old) || holds(given, old));
    forEachElement(route, [&](XMLElement element) { change.apply(element); });
    if (name)
        route.setAttribute("name", *name);
}

} // namespace corvane

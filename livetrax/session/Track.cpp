#include "livetrax/session/Track.h"

#include "base/Preconditions.h"
#include "base/Text.h"
#include "livetrax/session/LiveTraxGenerator.h"

#include <algorithm>

namespace corvane {

using namespace session;

namespace session {

std::int64_t IO::width() const {
    std::int64_t count = 0;
    for (XMLElement port = element.firstChild("Port"); port; port = port.next("Port"))
        ++count;
    return count;
}

std::optional<std::string> IO::firstConnectionText(std::string_view prefix) const {
    std::string buffer;
    for (const XMLElement port : ports()) {
        for (const XMLElement connection : port.children("ExtConnection")) {
            const XMLAttribute other = connection.findAttribute("other");
            if (other && other.value(buffer).starts_with(prefix))
                return other.value();
        }
    }
    return std::nullopt;
}

std::optional<std::int64_t> IO::firstConnection(std::string_view prefix) const {
    const auto text = firstConnectionText(prefix);
    return text ? integer(std::string_view(*text).substr(prefix.size())) : std::nullopt;
}

void IO::connect(std::string_view prefix, std::int64_t firstNumber, std::string_view only) {
    std::int64_t number = firstNumber;
    for (const XMLElement port : ports()) {
        const std::string enginePort = std::string(prefix) + std::to_string(number);
        forEachConnection(port, [&](XMLAttribute other, std::string_view value) {
            if (value.starts_with(only))
                other.setValue(enginePort);
        });
        number = addingChecked(number, std::int64_t{1});
    }
}

void IO::nameSends(const std::string &name) {
    element.setExistingAttribute("name", name);
    std::size_t number = 1;
    for (XMLElement port : ports())
        port.setExistingAttribute("name", name + "/audio_send " + std::to_string(number++));
}

bool DirectOut::is(XMLElement element) {
    return element.hasName("Processor") && element.attributeIs("role", "DirectOuts");
}

std::int64_t DirectOut::slot() const {
    const auto text = slotText();
    return text ? integer(*text).value_or(0) : 0;
}

std::optional<std::int64_t> DirectOut::firstPlaybackChannel() const {
    return LiveTraxGenerator::firstPlaybackChannel(processor);
}

std::int64_t DirectOut::width() const {
    return LiveTraxGenerator::playbackWidth(processor);
}

void DirectOut::configure(const std::string &name, std::int64_t firstChannel) {
    processor.setExistingAttribute("bitslot", std::to_string(firstChannel));
    IO output = IO::outputOf(processor);
    if (!output)
        return;
    processor.setExistingAttribute("name", name);
    output.nameSends(name);
    output.connect(PLAYBACK_PREFIX, firstChannel);
}

void DirectOut::moveTo(std::int64_t slot) {
    processor.setAttribute("bitslot", std::to_string(slot));
    for (const XMLElement io : processor.children("IO"))
        if (io.attributeIs("direction", "Output"))
            IO(io).connect(PLAYBACK_PREFIX, slot, PLAYBACK_PREFIX);
}

bool Track::isAudioTrack() const {
    const XMLAttribute flags = presentation().findAttribute("flags");
    std::string buffer;
    return flags && flags.value(buffer).find("AudioTrack") != std::string_view::npos;
}

void Track::setLook(const std::string &name, const std::string &order, const std::string &color) {
    route.setExistingAttribute("name", name);
    XMLElement shown = presentation();
    shown.setExistingAttribute("order", order);
    shown.setExistingAttribute("color", color);
}

std::vector<DirectOut> Track::directOuts() const {
    std::vector<DirectOut> found;
    for (const XMLElement processor : route.children("Processor"))
        if (DirectOut::is(processor))
            found.emplace_back(processor);
    return found;
}

void Track::arm() {
    route.firstChild("Controllable", "name", "rec-enable").setExistingAttribute("value", "1");
}

std::string Track::engineNamespace() const {
    std::string buffer;
    for (const XMLElement io : route.children("IO")) {
        for (const XMLElement port : IO(io).ports()) {
            const XMLAttribute name = port.findAttribute("name");
            const std::string_view value = name ? name.value(buffer) : std::string_view();
            const std::size_t end = value.find("/audio_");
            if (end != std::string_view::npos)
                return std::string(value.substr(0, end));
        }
    }
    return name().value_or("Audio");
}

std::vector<Track> audioTracks(XMLElement root) {
    std::vector<Track> tracks;
    for (const XMLElement route : root.firstChild("Routes").children("Route"))
        if (const Track track(route); track.isAudioTrack())
            tracks.push_back(track);
    return tracks;
}

bool isPreservedName(std::string_view name) {
    return name.starts_with("Corvane Preserved");
}

EnginePorts::EnginePorts(XMLElement root) {
    for (const XMLElement element : root.descendants({"Port", "Processor"})) {
        if (element.hasName("Port"))
            ports.push_back(element);
        else if (DirectOut::is(element))
            directOuts.emplace_back(element);
    }
}

ModelTracks modelTracks(const std::vector<Track> &tracks) {
    const auto firstOfWidth = [&](std::int64_t width) {
        const auto found =
            std::find_if(tracks.begin(), tracks.end(), [&](Track track) { return track.width() == width; });
        if (found == tracks.end())
            throw GeneratorError::invalidTemplate();
        return *found;
    };
    return {firstOfWidth(1), firstOfWidth(2)};
}

} // namespace session

std::optional<std::int64_t> LiveTraxGenerator::captureStart(XMLElement route) {
    return Track(route).firstCapture();
}

std::optional<std::int64_t> LiveTraxGenerator::firstPlaybackChannel(XMLElement element) {
    return IO::outputOf(element).firstConnection(PLAYBACK_PREFIX);
}

std::int64_t LiveTraxGenerator::playbackWidth(XMLElement element) {
    return std::max<std::int64_t>(IO::outputOf(element).width(), 1);
}

bool LiveTraxGenerator::isPreserved(XMLElement element) {
    while (element && !element.hasName("Route"))
        element = element.parent();
    const auto name = Track(element).name();
    return name && isPreservedName(*name);
}

std::vector<XMLElement> LiveTraxGenerator::descendants(XMLElement element) {
    std::vector<XMLElement> all;
    forEachElement(element, [&](XMLElement each) { all.push_back(each); });
    return all;
}

} // namespace corvane

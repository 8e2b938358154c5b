#include "livetrax/session/Track.h"

#include "base/Preconditions.h"
#include "base/Text.h"
#include "livetrax/session/LiveTraxGenerator.h"

#include <algorithm>
#include <utility>

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

bool IO::isConnected() const {
    for (const XMLElement port : ports())
        for (const XMLElement connection : port.children())
            if (connection.hasAttribute("other"))
                return true;
    return false;
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

Captures::Captures(IO input) {
    std::string buffer;
    for (const XMLElement port : input.ports()) {
        for (const XMLElement connection : port.children("ExtConnection")) {
            const XMLAttribute other = connection.findAttribute("other");
            const std::string_view text = other ? other.value(buffer) : std::string_view();
            if (text.starts_with(CAPTURE_PREFIX))
                numbers.emplace_back(connection.attribute("for").value_or(""),
                                     integer(text.substr(CAPTURE_PREFIX.size())));
        }
    }
}

std::optional<std::int64_t> Captures::first(const std::string &device) const {
    if (numbers.empty())
        return std::nullopt;
    const auto own = std::find_if(numbers.begin(), numbers.end(),
                                  [&](const auto &number) { return number.first == device; });
    return !device.empty() && own != numbers.end() && own->second ? own->second : numbers.front().second;
}

bool DirectOut::is(XMLElement element) {
    return element.hasName("Processor") && element.attributeIs("role", "DirectOuts");
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

void DirectOut::connect(std::int64_t firstChannel) {
    for (const XMLElement io : processor.children("IO"))
        if (io.attributeIs("direction", "Output"))
            IO(io).connect(PLAYBACK_PREFIX, firstChannel, PLAYBACK_PREFIX);
}

bool DirectOut::isWhole(std::int64_t width) const {
    const IO output = IO::outputOf(processor);
    return output.width() >= width && output.isConnected();
}

XMLElement DirectOut::takeOutputFrom(DirectOut model) {
    if (XMLElement own = IO::outputOf(processor).toElement())
        own.remove();
    return processor.appendCopy(IO::outputOf(model.processor).toElement());
}

XMLElement DirectOut::route() const {
    XMLElement element = processor;
    while (element && !element.hasName("Route"))
        element = element.parent();
    return element;
}

bool Track::isAudioTrack() const {
    const XMLAttribute flags = presentation().findAttribute("flags");
    std::string buffer;
    return flags && flags.value(buffer).find("AudioTrack") != std::string_view::npos;
}

bool Track::isSurelyNoAudioTrack() const {
    return presentation().hasAttribute("flags") && !isAudioTrack();
}

std::vector<std::string> Track::devices() const {
    std::vector<std::string> found;
    for (const XMLElement port : input().ports()) {
        for (const XMLElement connection : port.children("ExtConnection")) {
            const auto device = connection.attribute("for");
            if (device && connection.hasAttribute("other") &&
                std::find(found.begin(), found.end(), *device) == found.end())
                found.push_back(*device);
        }
    }
    return found;
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

void DeviceCount::add(Track track) {
    for (std::string &device : track.devices()) {
        const auto known = std::find_if(counted.begin(), counted.end(),
                                        [&](const auto &each) { return each.first == device; });
        if (known == counted.end())
            counted.emplace_back(std::move(device), 1);
        else
            ++known->second;
    }
}

std::string DeviceCount::most(const std::string &preferred) const {
    const auto most =
        std::max_element(counted.begin(), counted.end(),
                         [](const auto &left, const auto &right) { return left.second < right.second; });
    if (most == counted.end())
        return "";
    const bool preferredIsEqual =
        std::find(counted.begin(), counted.end(), std::pair(preferred, most->second)) != counted.end();
    return preferredIsEqual ? preferred : most->first;
}

std::string deviceOf(const std::vector<Track> &tracks, const std::string &preferred) {
    DeviceCount devices;
    for (const Track track : tracks)
        devices.add(track);
    return devices.most(preferred);
}

void useDevice(XMLElement copy, const std::string &device) {
    if (device.empty())
        return;
    for (XMLElement connection : copy.descendants({"ExtConnection"}))
        connection.setExistingAttribute("for", device);
}

bool isPreservedName(std::string_view name) {
    return name.starts_with("Corvane Preserved");
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
    return Track(route).captures().first();
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

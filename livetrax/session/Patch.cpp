#include "livetrax/session/LiveTraxGenerator.h"

#include "base/Preconditions.h"
#include "base/Text.h"
#include "livetrax/session/SessionTree.h"

#include <algorithm>
#include <exception>
#include <unordered_set>
#include <utility>

namespace corvane {

using namespace session;

namespace {

using Channels = LiveTraxGenerator::Channels;

std::string signatureLine(const std::string &name, std::int64_t width, std::int64_t inputIndex) {
    return name + "|" + std::to_string(width) + "|" + std::to_string(inputIndex);
}

std::string joined(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines) {
        if (&line != &lines.front())
            text += '\n';
        text += line;
    }
    return text;
}

/// The 0-based input that a recording track's ports are connected to, from the number that ends their first
/// connection; 0 when it ends in none.
std::int64_t connectedInput(XMLElement input) {
    std::string buffer;
    for (const XMLElement port : input.children("Port")) {
        for (const XMLElement connection : port.children("ExtConnection")) {
            const XMLAttribute other = connection.findAttribute("other");
            if (!other)
                continue;
            const std::string_view value = other.value(buffer);
            const std::size_t underscore = value.rfind('_');
            const auto number =
                underscore == std::string_view::npos ? std::nullopt : integer(value.substr(underscore + 1));
            return number && *number > 0 ? *number - 1 : 0;
        }
    }
    return 0;
}

std::int64_t order(XMLElement route) {
    const auto text = route.firstChild("PresentationInfo").attribute("order");
    return text ? integer(*text).value_or(0) : 0;
}

/// The tracks that take part in a patch, as the recorder shows them from top to bottom.
std::vector<XMLElement> patchedTracks(XMLElement root) {
    std::vector<std::pair<std::int64_t, XMLElement>> ordered;
    for (const XMLElement track : audioTracks(root))
        if (!isPreservedName(engineNamespace(track)))
            ordered.emplace_back(order(track), track);
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const auto &left, const auto &right) { return left.first < right.first; });
    std::vector<XMLElement> tracks;
    tracks.reserve(ordered.size());
    for (const auto &[position, track] : ordered)
        tracks.push_back(track);
    return tracks;
}

std::optional<std::string> treePatchSignature(XMLElement root) {
    if (!root.firstChild("Routes").firstChild("Route"))
        return std::nullopt;
    std::vector<std::string> lines;
    for (const XMLElement track : patchedTracks(root)) {
        const auto name = track.attribute("name");
        const XMLElement input = firstIO(track, "Input");
        if (name && input)
            lines.push_back(signatureLine(*name, portCount(input), connectedInput(input)));
    }
    return joined(lines);
}

/// A direct out and the run of playback channels that it claims.
struct DirectOut {
    XMLElement processor;
    std::int64_t slot;
    std::int64_t width;
};

/// The playback channels that direct outs own already.
class TakenChannels {
public:
    bool isFree(std::int64_t first, std::int64_t width) const {
        const std::int64_t end = addingChecked(first, width);
        for (std::int64_t channel = first; channel < end; ++channel)
            if (taken.count(channel) != 0)
                return false;
        return true;
    }

    void take(std::int64_t first, std::int64_t width) {
        const std::int64_t end = addingChecked(first, width);
        for (std::int64_t channel = first; channel < end; ++channel)
            taken.insert(channel);
    }

private:
    std::unordered_set<std::int64_t> taken;
};

/// The direct outs among some elements, in their order.
std::vector<DirectOut> directOuts(const std::vector<XMLElement> &elements) {
    std::vector<DirectOut> found;
    for (const XMLElement element : elements) {
        if (!isDirectOut(element))
            continue;
        const auto slot = element.attribute("bitslot");
        found.push_back(
            {element, slot ? integer(*slot).value_or(0) : 0, LiveTraxGenerator::playbackWidth(element)});
    }
    return found;
}

/// Moves a direct out to the run that begins with `slot`, also one that had no slot so far: its channels are
/// taken from now on.
void moveDirectOut(XMLElement processor, std::int64_t slot) {
    processor.setAttribute("bitslot", std::to_string(slot));
    for (const XMLElement io : processor.children("IO")) {
        if (!io.attributeIs("direction", "Output"))
            continue;
        std::int64_t number = slot;
        for (const XMLElement port : io.children("Port")) {
            const std::string playback = std::string(PLAYBACK_PREFIX) + std::to_string(number);
            forEachConnection(port, [&](XMLAttribute other, std::string_view value) {
                if (value.starts_with(PLAYBACK_PREFIX))
                    other.setValue(playback);
            });
            number = addingChecked(number, std::int64_t{1});
        }
    }
}

/// Lets the generated direct outs whose slot agrees with their patch keep their runs and returns all others,
/// in the order in which they are placed: generated ones first, then preserved ones.
std::vector<DirectOut> withoutSettled(const std::vector<DirectOut> &all, TakenChannels &taken) {
    std::vector<DirectOut> queue;
    std::vector<DirectOut> preserved;
    for (const DirectOut &out : all) {
        if (LiveTraxGenerator::isPreserved(out.processor))
            preserved.push_back(out);
        else if (out.slot >= 1 && LiveTraxGenerator::firstPlaybackChannel(out.processor) == out.slot &&
                 taken.isFree(out.slot, out.width))
            taken.take(out.slot, out.width);
        else
            queue.push_back(out);
    }
    queue.insert(queue.end(), preserved.begin(), preserved.end());
    return queue;
}

void reassign(const std::vector<DirectOut> &all) {
    TakenChannels taken;
    std::int64_t candidate = 1;
    for (const DirectOut &out : withoutSettled(all, taken)) {
        if (out.slot >= 1 && taken.isFree(out.slot, out.width)) {
            taken.take(out.slot, out.width);
            if (out.slot >= candidate)
                candidate = addingChecked(out.slot, out.width);
            continue;
        }
        while (!taken.isFree(candidate, out.width))
            candidate = addingChecked(candidate, std::int64_t{1});
        moveDirectOut(out.processor, candidate);
        taken.take(candidate, out.width);
        candidate = addingChecked(candidate, out.width);
    }
}

void expectUniquePorts(const std::vector<XMLElement> &elements) {
    std::unordered_set<std::string> names;
    for (const XMLElement element : elements) {
        if (!element.hasName("Port"))
            continue;
        const auto name = element.attribute("name");
        if (name && !names.insert(*name).second)
            throw GeneratorError::duplicateEnginePort(*name);
    }
}

void expectUniqueSlots(const std::vector<XMLElement> &elements) {
    std::unordered_set<std::string> slots;
    for (const XMLElement element : elements) {
        if (!isDirectOut(element))
            continue;
        const auto slot = element.attribute("bitslot");
        if (slot && !slots.insert(*slot).second)
            throw GeneratorError::duplicateDirectOutBitSlot(*slot);
    }
}

} // namespace

std::string LiveTraxGenerator::patchSignature(const Channels &channels) {
    std::vector<std::string> lines;
    lines.reserve(channels.size());
    for (const LV1Channel &channel : channels)
        lines.push_back(signatureLine(channel.name(), channel.stereo() ? 2 : 1, channel.inputIndex()));
    return joined(lines);
}

std::optional<std::string> LiveTraxGenerator::sessionPatchSignature(const Path &sessionURL) {
    try {
        const XMLDocument document = XMLDocument::load(sessionFile(sessionURL));
        return treePatchSignature(document.root());
    } catch (const std::exception &) {
        return std::nullopt; // whatever keeps it from being read, it is no patch to compare with
    }
}

void LiveTraxGenerator::validateGeneratedPatch(XMLElement root, const Channels &channels) {
    const std::vector<XMLElement> tracks = audioTracks(root);
    if (tracks.size() != channels.size())
        throw GeneratorError::generatedTrackCount(channels.size(), tracks.size());

    std::unordered_set<std::string> captured;
    for (const XMLElement track : tracks) {
        for (const XMLElement port : firstIO(track, "Input").children("Port")) {
            forEachConnection(port, [&](XMLAttribute, std::string_view other) {
                if (other.starts_with(CAPTURE_PREFIX) && !captured.emplace(other).second)
                    throw GeneratorError::duplicateCapturePort(std::string(other));
            });
        }
    }
    std::size_t needed = 0;
    for (const LV1Channel &channel : channels)
        needed += channel.stereo() ? 2 : 1;
    if (captured.size() != needed)
        throw GeneratorError::invalidTemplate();
}

void LiveTraxGenerator::validateUniqueEnginePorts(XMLElement root) {
    expectUniquePorts(root.descendants({"Port"}));
}

void LiveTraxGenerator::validateUniqueDirectOutSlots(XMLElement root) {
    expectUniqueSlots(root.descendants({"Processor"}));
}

void LiveTraxGenerator::reassignCollidingDirectOutSlots(XMLElement root) {
    reassign(directOuts(root.descendants({"Processor"})));
}

void session::settleEnginePorts(XMLElement root) {
    const std::vector<XMLElement> all = root.descendants({"Port", "Processor"});
    reassign(directOuts(all));
    expectUniquePorts(all);
    expectUniqueSlots(all);
}

std::vector<XMLElement> LiveTraxGenerator::descendants(XMLElement element) {
    std::vector<XMLElement> all;
    forEachElement(element, [&](XMLElement each) { all.push_back(each); });
    return all;
}

bool LiveTraxGenerator::isPreserved(XMLElement element) {
    while (element && !element.hasName("Route"))
        element = element.parent();
    const auto name = element.attribute("name");
    return name && isPreservedName(*name);
}

} // namespace corvane

#include "livetrax/session/LiveTraxGenerator.h"

#include "base/Text.h"
#include "livetrax/session/LiveTraxPaths.h"
#include "livetrax/session/Track.h"
#include "patch/RecorderNames.h"

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
std::int64_t connectedInput(IO input) {
    const std::string connected = input.firstConnectionText("").value_or("");
    const std::size_t underscore = connected.rfind('_');
    const auto number = underscore == std::string::npos
                            ? std::nullopt
                            : integer(std::string_view(connected).substr(underscore + 1));
    return std::max<std::int64_t>(number.value_or(1), 1) - 1;
}

/// The tracks that take part in a patch, all with a name and an input, as the recorder shows them from top to
/// bottom.
std::vector<Track> patchedTracks(XMLElement root) {
    std::vector<std::pair<std::int64_t, Track>> ordered;
    for (const Track track : audioTracks(root))
        if (track.name() && track.input() && !isPreservedName(track.engineNamespace()))
            ordered.emplace_back(integer(track.order().value_or("")).value_or(0), track);
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const auto &left, const auto &right) { return left.first < right.first; });
    std::vector<Track> tracks;
    tracks.reserve(ordered.size());
    for (const auto &[position, track] : ordered)
        tracks.push_back(track);
    return tracks;
}

bool hasRoutes(XMLElement root) {
    return static_cast<bool>(root.firstChild("Routes").firstChild("Route"));
}

/// Whether a track is the channel's to an update: by what it records on the session's device.
bool records(Track track, const LV1Channel &channel, const std::string &device) {
    return track.width() == (channel.stereo() ? 2 : 1) &&
           track.captures().first(device) == std::int64_t{channel.inputIndex()} + 1 &&
           isRecorded(*track.name(), channel.name());
}

} // namespace

std::string LiveTraxGenerator::patchSignature(const Channels &channels) {
    std::vector<std::string> lines;
    for (const LV1Channel &channel : channels)
        lines.push_back(signatureLine(channel.name(), channel.stereo() ? 2 : 1, channel.inputIndex()));
    return joined(lines);
}

std::optional<std::string> LiveTraxGenerator::sessionPatchSignature(const Path &sessionURL) {
    try {
        return treePatchSignature(XMLDocument::load(sessionFile(sessionURL)).root());
    } catch (const std::exception &) {
        return std::nullopt;
    }
}

std::optional<std::string> LiveTraxGenerator::treePatchSignature(XMLElement root) {
    if (!hasRoutes(root))
        return std::nullopt;
    std::vector<std::string> lines;
    for (const Track track : patchedTracks(root))
        lines.push_back(signatureLine(*track.name(), track.width(), connectedInput(track.input())));
    return joined(lines);
}

std::optional<bool> LiveTraxGenerator::sessionRecords(const RecorderSystem &system, const Path &sessionURL,
                                                      const Channels &channels) {
    try {
        const XMLDocument session = XMLDocument::load(sessionFile(sessionURL));
        const XMLDocument base = XMLDocument::load(baseTemplateFile(system.resources));
        if (!hasRoutes(session.root()))
            return std::nullopt;
        const std::string device = deviceOf(audioTracks(session.root()), deviceOf(audioTracks(base.root())));
        const std::vector<Track> tracks = patchedTracks(session.root());
        return std::equal(
            tracks.begin(), tracks.end(), channels.begin(), channels.end(),
            [&](Track track, const LV1Channel &channel) { return records(track, channel, device); });
    } catch (const std::exception &) {
        return std::nullopt;
    }
}

void LiveTraxGenerator::validateGeneratedPatch(XMLElement root, const Channels &channels) {
    const std::vector<Track> tracks = audioTracks(root);
    if (tracks.size() != channels.size())
        throw GeneratorError::generatedTrackCount(channels.size(), tracks.size());

    std::unordered_set<std::string> captured;
    for (const Track track : tracks) {
        track.input().forEachConnection([&](XMLAttribute, std::string_view other) {
            if (other.starts_with(CAPTURE_PREFIX) && !captured.emplace(other).second)
                throw GeneratorError::duplicateCapturePort(std::string(other));
        });
    }
    std::size_t needed = 0;
    for (const LV1Channel &channel : channels)
        needed += channel.stereo() ? 2 : 1;
    if (captured.size() != needed)
        throw GeneratorError::invalidTemplate();
}

} // namespace corvane

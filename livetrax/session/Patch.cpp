#include "livetrax/session/LiveTraxGenerator.h"

#include "base/Text.h"
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
    return number && *number > 0 ? *number - 1 : 0;
}

/// The tracks that take part in a patch, as the recorder shows them from top to bottom.
std::vector<Track> patchedTracks(XMLElement root) {
    std::vector<std::pair<std::int64_t, Track>> ordered;
    for (const Track track : audioTracks(root))
        if (!isPreservedName(track.engineNamespace()))
            ordered.emplace_back(integer(track.order().value_or("")).value_or(0), track);
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const auto &left, const auto &right) { return left.first < right.first; });
    std::vector<Track> tracks;
    tracks.reserve(ordered.size());
    for (const auto &[position, track] : ordered)
        tracks.push_back(track);
    return tracks;
}

/// What a track of a session records: the session's side of a channel.
struct RecordedChannel {
    std::string name;
    std::int64_t width;
    std::int64_t inputIndex;

    bool records(const LV1Channel &channel) const {
        return width == (channel.stereo() ? 2 : 1) && inputIndex == channel.inputIndex() &&
               isRecorded(name, channel.name());
    }
};

/// The patch of a session's tree; none where there are no routes at all.
std::optional<std::vector<RecordedChannel>> treePatch(XMLElement root) {
    if (!root.firstChild("Routes").firstChild("Route"))
        return std::nullopt;
    std::vector<RecordedChannel> patch;
    for (const Track track : patchedTracks(root)) {
        auto name = track.name();
        const IO input = track.input();
        if (name && input)
            patch.push_back({*std::move(name), input.width(), connectedInput(input)});
    }
    return patch;
}

std::optional<std::string> signature(const std::optional<std::vector<RecordedChannel>> &patch) {
    if (!patch)
        return std::nullopt;
    std::vector<std::string> lines;
    for (const RecordedChannel &channel : *patch)
        lines.push_back(signatureLine(channel.name, channel.width, channel.inputIndex));
    return joined(lines);
}

/// The patch of a session on disk; none as well when it cannot be read, whatever keeps it from that.
std::optional<std::vector<RecordedChannel>> sessionPatch(const std::filesystem::path &sessionURL) {
    try {
        return treePatch(XMLDocument::load(LiveTraxGenerator::sessionFile(sessionURL)).root());
    } catch (const std::exception &) {
        return std::nullopt;
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
    return signature(sessionPatch(sessionURL));
}

std::optional<std::string> LiveTraxGenerator::treePatchSignature(XMLElement root) {
    return signature(treePatch(root));
}

std::optional<bool> LiveTraxGenerator::sessionRecords(const Path &sessionURL, const Channels &channels) {
    const auto patch = sessionPatch(sessionURL);
    if (!patch)
        return std::nullopt;
    return std::equal(patch->begin(), patch->end(), channels.begin(), channels.end(),
                      [](const auto &track, const auto &channel) { return track.records(channel); });
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

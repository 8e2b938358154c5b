#include "livetrax/session/UpdatePlan.h"

#include "base/Quotation.h"
#include "livetrax/session/EnginePorts.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/ObjectIds.h"
#include "livetrax/session/Playlists.h"
#include "livetrax/session/PortConnections.h"
#include "livetrax/session/Track.h"
#include "patch/RecorderNames.h"

#include <algorithm>
#include <array>
#include <unordered_map>

namespace corvane {

using namespace session;

namespace {

using Action = TrackDecision::Action;
using Channels = std::vector<LV1Channel>;

/// The audio tracks of a session as it was read, to be claimed by what they record.
class ExistingTracks {
public:
    ExistingTracks(std::vector<Track> all, const std::string &device)
        : tracks(std::move(all)), claimed(tracks.size(), false) {
        for (std::size_t index = tracks.size(); index-- > 0;) {
            const std::int64_t width = tracks[index].width();
            const auto start = tracks[index].firstCapture(device);
            if ((width == 1 || width == 2) && start)
                byStart[width == 2][*start].push_back(index);
        }
    }

    /// The first unclaimed track, in document order, of the channel's width and first input.
    std::optional<Track> claim(const LV1Channel &channel) {
        auto &waiting = byStart[channel.stereo()];
        const auto found = waiting.find(std::int64_t{channel.inputIndex()} + 1);
        if (found == waiting.end() || found->second.empty())
            return {};
        const std::size_t index = found->second.back();
        found->second.pop_back();
        claimed[index] = true;
        return tracks[index];
    }

    std::vector<Track> unclaimed() const {
        std::vector<Track> left;
        for (std::size_t index = 0; index < tracks.size(); ++index)
            if (!claimed[index])
                left.push_back(tracks[index]);
        return left;
    }

private:
    std::vector<Track> tracks;
    std::vector<bool> claimed;
    /// For mono and for stereo tracks: by first capture number, the last in document order first.
    std::array<std::unordered_map<std::int64_t, std::vector<std::size_t>>, 2> byStart;
};

/// Copies tracks, or parts of them, from the base template into a session.
class TrackMaker {
public:
    TrackMaker(XMLElement sessionRoot, XMLElement templateRoot, std::string device)
        : routes(sessionRoot.firstChild("Routes")), playlists(sessionRoot.firstChild("Playlists")),
          modelPlaylists(templateRoot.firstChild("Playlists")),
          models(modelTracks(audioTracks(templateRoot))), namespaces(models.namespaces()), ids(sessionRoot),
          device(std::move(device)) {}

    Track add(const LV1Channel &channel, std::size_t position) {
        const Track model = models.forWidth(channel.stereo() ? 2 : 1);
        const auto played = model.playlist();
        const XMLElement modelPlaylist =
            played ? modelPlaylists.firstChild("Playlist", "name", *played) : XMLElement();
        // The recorder would lose a track that names a playlist which is not there.
        if (!modelPlaylist)
            throw GeneratorError::invalidTemplate();
        const XMLElement route = routes.appendCopy(model.element());
        const XMLElement playlist = playlists.appendCopy(modelPlaylist);
        ids.renumber(route, playlist);
        useDevice(route, device);
        LiveTraxGenerator::configure(route, playlist, channel, position, namespaces);
        return Track(route);
    }

    /// Restores the outputs (ports and connections) of a track's direct outs: the recorder drops them when it
    /// runs on a device with fewer outputs.
    void repairDirectOuts(Track track) {
        const std::int64_t width = track.width();
        const std::vector<DirectOut> modelOuts = models.forWidth(width).directOuts();
        if (modelOuts.empty() || !IO::outputOf(modelOuts.front().element()))
            return;
        for (DirectOut out : track.directOuts()) {
            const IO output = IO::outputOf(out.element());
            if (output.width() >= width && output.isConnected())
                continue;
            const XMLElement made = out.takeOutputFrom(modelOuts.front());
            ids.renumber(made, {});
            useDevice(made, device);
        }
    }

    const std::vector<std::string> &givenNamespaces() const { return namespaces; }
    void storeIds(XMLElement root) const { ids.store(root); }

private:
    XMLElement routes;
    XMLElement playlists;
    XMLElement modelPlaylists;
    ModelTracks models;
    std::vector<std::string> namespaces;
    ObjectIds ids;
    std::string device;
};

struct Look {
    std::optional<std::string> name;
    std::optional<std::string> order;
    std::optional<std::string> color;
    bool armed;

    explicit Look(Track track)
        : name(track.name()), order(track.order()), color(track.color()), armed(track.isArmed()) {}
};

/// What became of a track that stays.
TrackDecision kept(const LV1Channel &channel, const Look &before, const Look &after, std::int64_t takes) {
    TrackDecision made{Action::keep, channel.name(), channel.inputIndex(), channel.stereo(), {}, takes};
    const auto note = [&](const auto &old, const auto &now, auto &was) {
        if (old != now) {
            was = old;
            made.action = Action::change;
        }
    };
    // What the recorder makes of a name when it saves is no difference that could ever be settled.
    if (!before.name || !isRecorded(*before.name, channel.name()))
        note(before.name, after.name, made.was.name);
    note(before.order, after.order, made.was.order);
    note(before.color, after.color, made.was.color);
    note(before.armed, after.armed, made.was.armed);
    return made;
}

/// What a track's inputs and direct outs are connected to outside of the session, with a blank entry between
/// ports.
std::vector<std::string> wiring(Track track) {
    std::vector<std::string> found;
    const auto read = [&](IO io) {
        for (const XMLElement port : io.ports()) {
            IO::forEachConnection(port,
                                  [&](XMLAttribute, std::string_view other) { found.emplace_back(other); });
            found.emplace_back();
        }
    };
    read(track.input());
    for (const DirectOut out : track.directOuts())
        read(IO::outputOf(out.element()));
    return found;
}

/// Whether a port is connected, within the session or on a device; an empty one is any.
bool isConnected(XMLElement port, const std::string &device) {
    for (const XMLElement connection : port.children())
        if (connection.hasAttribute("other") &&
            (device.empty() || connection.hasName("Connection") || connection.attributeIs("for", device)))
            return true;
    return false;
}

UpdateResult counted(const std::vector<TrackDecision> &tracks) {
    UpdateResult result;
    for (const TrackDecision &track : tracks)
        ++(track.action == Action::add      ? result.added
           : track.action == Action::remove ? result.removed
                                            : result.updated);
    return result;
}

/// One update of a session's tree: who is who is settled first, before anything changes.
class TreeUpdate {
public:
    TreeUpdate(XMLElement sessionRoot, XMLElement templateRoot, const Channels &channels)
        : root(sessionRoot), channels(channels),
          device(deviceOf(audioTracks(root), deviceOf(audioTracks(templateRoot)))),
          maker(root, templateRoot, device), playlists(root) {
        ExistingTracks existing(audioTracks(root), device);
        for (const LV1Channel &channel : channels)
            claims.push_back(existing.claim(channel));
        leaving = existing.unclaimed();
        for (const XMLElement route : root.firstChild("Routes").children("Route"))
            if (std::none_of(leaving.begin(), leaving.end(),
                             [&](Track track) { return track.element() == route; }))
                playlists.keepFor(Track(route));
        for (const auto &track : claims) {
            wiringBefore.push_back(track ? wiring(*track) : std::vector<std::string>());
            if (track)
                maker.repairDirectOuts(*track);
        }
    }

    UpdatePlan run() {
        PortConnections connections(root.firstChild("Routes"));
        UpdatePlan plan;
        for (std::size_t position = 0; position < channels.size(); ++position)
            plan.tracks.push_back(claims[position] ? reconfigure(*claims[position], position)
                                                   : add(position, connections));
        for (const Track track : leaving)
            plan.tracks.push_back(remove(track, connections));
        connections.follow();
        maker.storeIds(root);
        settleEnginePorts(root, channels);
        for (std::size_t position = 0; position < channels.size(); ++position)
            if (claims[position])
                noteWiring(*claims[position], position, plan.tracks[position]);
        plan.result = counted(plan.tracks);
        return plan;
    }

private:
    TrackDecision reconfigure(Track track, std::size_t position) {
        const Look before(track);
        const std::int64_t takes = playlists.takes(track);
        LiveTraxGenerator::configure(track.element(), playlists.named(track), channels[position], position,
                                     maker.givenNamespaces());
        return kept(channels[position], before, Look(track), takes);
    }

    /// Once all direct outs have found their places.
    void noteWiring(Track track, std::size_t position, TrackDecision &made) const {
        made.rewired = wiring(track) != wiringBefore[position];
        if (made.rewired)
            made.action = Action::change;
        std::int64_t input = channels[position].inputIndex();
        for (const XMLElement port : track.input().ports()) {
            if (!isConnected(port, device))
                made.silentInputs.push_back(input);
            ++input;
        }
    }

    TrackDecision add(std::size_t position, PortConnections &connections) {
        const LV1Channel &channel = channels[position];
        const Track made = maker.add(channel, position);
        playlists.keepFor(made);
        connections.added(made);
        return {Action::add, channel.name(), channel.inputIndex(), channel.stereo(), {}};
    }

    TrackDecision remove(Track track, PortConnections &connections) {
        const auto start = track.firstCapture(device);
        TrackDecision made{Action::remove,
                           track.name().value_or(""),
                           start ? std::optional(std::max<std::int64_t>(*start, 1) - 1) : std::nullopt,
                           track.width() == 2,
                           {},
                           playlists.takes(track)};
        playlists.removeNamed(track);
        connections.removed(track);
        track.element().remove();
        return made;
    }

    XMLElement root;
    const Channels &channels;
    std::string device;
    TrackMaker maker;
    Playlists playlists;
    std::vector<std::optional<Track>> claims;           ///< for each channel
    std::vector<std::vector<std::string>> wiringBefore; ///< of each of these
    std::vector<Track> leaving;
};

} // namespace

std::vector<std::string> removedWithTakes(const UpdatePlan &plan) {
    std::vector<std::string> names;
    for (const TrackDecision &track : plan.tracks)
        if (track.action == TrackDecision::Action::remove && track.takes > 0)
            names.push_back(quotation(track.name));
    return names;
}

UpdatePlan updateSessionTree(XMLElement sessionRoot, XMLElement templateRoot,
                             const std::vector<LV1Channel> &channels) {
    LiveTraxGenerator::enableOSC(sessionRoot);
    return TreeUpdate(sessionRoot, templateRoot, channels).run();
}

} // namespace corvane

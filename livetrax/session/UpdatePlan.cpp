#include "livetrax/session/UpdatePlan.h"

#include "base/Quotation.h"
#include "livetrax/session/EnginePorts.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/ObjectIds.h"
#include "livetrax/session/Playlists.h"
#include "livetrax/session/SessionPorts.h"
#include "livetrax/session/TrackParts.h"
#include "patch/RecorderNames.h"

#include <algorithm>
#include <array>
#include <unordered_map>

namespace corvane {

using namespace session;

namespace {

using Action = TrackDecision::Action;
using Channels = std::vector<LV1Channel>;

/// An audio track of a session as it was read.
struct ExistingTrack {
    ExistingTrack(XMLElement route, SessionPorts::Number number, Playlists::Reference playlist)
        : parts(route), number(number), playlist(playlist), captures(parts.input()),
          width(parts.input().width()), isWhole(parts.hasWholeDirectOuts()), wiring(parts.wiring()) {}
    TrackParts parts;
    SessionPorts::Number number;
    Playlists::Reference playlist;
    Captures captures;
    std::int64_t width;
    bool isWhole; ///< its direct outs are
    std::vector<std::string> wiring;
    bool claimed = false;
};

/// What an update needs of a session, read route by route: a tree is larger than any cache, so what is asked
/// of a route is asked while it is there.
struct SessionReading {
    SessionReading(XMLElement root, const std::string &preferredDevice) : playlists(root) {
        DeviceCount devices;
        for (const XMLElement route : root.firstChild("Routes").children("Route")) {
            const SessionPorts::Number number = ports.read(route);
            const Track track(route);
            const Playlists::Reference playlist = playlists.of(track);
            if (!track.isAudioTrack()) {
                playlists.keep(playlist);
                continue;
            }
            tracks.emplace_back(route, number, playlist);
            devices.add(track);
        }
        device = devices.most(preferredDevice);
    }

    Playlists playlists;
    SessionPorts ports;
    std::vector<ExistingTrack> tracks;
    std::string device;
};

/// The audio tracks of a session, to be claimed by what they record.
class TrackClaims {
public:
    TrackClaims(std::vector<ExistingTrack> &tracks, const std::string &device) {
        for (auto track = tracks.rbegin(); track != tracks.rend(); ++track) {
            const auto start = track->captures.first(device);
            if ((track->width == 1 || track->width == 2) && start)
                byStart[track->width == 2][*start].push_back(&*track);
        }
    }

    /// The first unclaimed track, in document order, of the channel's width and first input; may be null.
    ExistingTrack *claim(const LV1Channel &channel) {
        auto &waiting = byStart[channel.stereo()];
        const auto found = waiting.find(std::int64_t{channel.inputIndex()} + 1);
        if (found == waiting.end() || found->second.empty())
            return nullptr;
        ExistingTrack *const track = found->second.back();
        found->second.pop_back();
        track->claimed = true;
        return track;
    }

private:
    /// For mono and for stereo tracks: by first capture number, the last in document order first.
    std::array<std::unordered_map<std::int64_t, std::vector<ExistingTrack *>>, 2> byStart;
};

/// Copies tracks, or parts of them, from the base template into a session.
class TrackMaker {
public:
    TrackMaker(XMLElement sessionRoot, XMLElement templateRoot, std::string device)
        : routes(sessionRoot.firstChild("Routes")), playlists(sessionRoot.firstChild("Playlists")),
          modelPlaylists(templateRoot.firstChild("Playlists")),
          models(modelTracks(audioTracks(templateRoot))), modelParts{TrackParts(models.mono.element()),
                                                                     TrackParts(models.stereo.element())},
          namespaces(models.namespaces()), ids(sessionRoot), device(std::move(device)) {}

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
    void repairDirectOuts(const TrackParts &track, std::int64_t width) {
        const TrackParts &model = modelParts[width == 2];
        if (model.directOuts().empty() || !IO::outputOf(model.directOuts().front().element()))
            return;
        for (DirectOut out : track.directOuts()) {
            if (out.isWhole(width))
                continue;
            const XMLElement made = out.takeOutputFrom(model.directOuts().front());
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
    std::array<TrackParts, 2> modelParts; ///< of the mono and the stereo one
    std::vector<std::string> namespaces;
    ObjectIds ids;
    std::string device;
};

struct Look {
    std::optional<std::string> name;
    std::optional<std::string> order;
    std::optional<std::string> color;
    bool armed;

    explicit Look(const TrackParts &track)
        : name(track.track().name()), order(track.order()), color(track.color()), armed(track.isArmed()) {}
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
        : root(sessionRoot), channels(channels), session(root, deviceOf(audioTracks(templateRoot))),
          maker(root, templateRoot, session.device) {
        TrackClaims existing(session.tracks, session.device);
        for (const LV1Channel &channel : channels)
            claims.push_back(existing.claim(channel));
        for (const ExistingTrack *track : claims) {
            if (track == nullptr)
                continue;
            session.playlists.keep(track->playlist);
            if (!track->isWhole) {
                maker.repairDirectOuts(track->parts, track->width);
                session.ports.readAgain(track->number);
            }
        }
    }

    UpdatePlan run() {
        UpdatePlan plan;
        for (std::size_t position = 0; position < channels.size(); ++position)
            plan.tracks.push_back(claims[position] != nullptr ? reconfigure(*claims[position], position)
                                                              : add(position));
        for (const ExistingTrack &track : session.tracks)
            if (!track.claimed)
                plan.tracks.push_back(remove(track));
        session.ports.follow();
        maker.storeIds(root);
        const bool moved = settleEnginePorts(session.ports.all(root), channels);
        for (std::size_t position = 0; position < channels.size(); ++position)
            if (claims[position] != nullptr)
                conclude(*claims[position], moved, plan.tracks[position]);
        plan.result = counted(plan.tracks);
        return plan;
    }

private:
    TrackDecision reconfigure(ExistingTrack &existing, std::size_t position) {
        TrackParts &track = existing.parts;
        const Playlists &playlists = session.playlists;
        const Look before(track);
        const std::int64_t takes = playlists.takes(existing.playlist);
        track.configure(playlists.named(existing.playlist), channels[position], position,
                        maker.givenNamespaces());
        session.ports.changed(existing.number);
        TrackDecision made = kept(channels[position], before, Look(track), takes);
        made.rewired = track.wiring() != existing.wiring;
        return made;
    }

    /// Once all direct outs have found their places, and connections within the session have followed.
    void conclude(const ExistingTrack &track, bool moved, TrackDecision &made) const {
        if (moved)
            made.rewired = track.parts.wiring() != track.wiring;
        if (made.rewired)
            made.action = Action::change;
        std::int64_t input = *made.inputIndex;
        for (const XMLElement port : track.parts.input().ports()) {
            if (!isConnected(port, session.device))
                made.silentInputs.push_back(input);
            ++input;
        }
    }

    TrackDecision add(std::size_t position) {
        const LV1Channel &channel = channels[position];
        const Track made = maker.add(channel, position);
        session.playlists.keep(session.playlists.of(made));
        session.ports.added(made.element());
        return {Action::add, channel.name(), channel.inputIndex(), channel.stereo(), {}};
    }

    TrackDecision remove(const ExistingTrack &leaving) {
        Track track = leaving.parts.track();
        const auto start = leaving.captures.first(session.device);
        TrackDecision made{Action::remove,
                           track.name().value_or(""),
                           start ? std::optional(std::max<std::int64_t>(*start, 1) - 1) : std::nullopt,
                           leaving.width == 2,
                           {},
                           session.playlists.takes(leaving.playlist)};
        session.playlists.removeNamed(leaving.playlist);
        session.ports.removed(leaving.number);
        track.element().remove();
        return made;
    }

    XMLElement root;
    const Channels &channels;
    SessionReading session;
    TrackMaker maker;
    std::vector<ExistingTrack *> claims; ///< for each channel; may be null
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

#include "livetrax/session/UpdatePlan.h"

#include "livetrax/session/EnginePorts.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/ObjectIds.h"
#include "livetrax/session/Track.h"

#include <algorithm>
#include <array>
#include <unordered_map>

namespace corvane {

using namespace session;

namespace {

using Action = TrackDecision::Action;

/// A session's playlists by the names that they had when the session was read; of several the first.
class PlaylistTable {
public:
    explicit PlaylistTable(XMLElement playlists) {
        for (const XMLElement playlist : playlists.children("Playlist"))
            if (auto name = playlist.attribute("name"))
                byName.emplace(*std::move(name), Entry{playlist});
    }

    /// The playlist that a kept track records into; none when it names none or an unknown one.
    XMLElement keep(Track track) {
        Entry *const entry = find(track);
        if (entry == nullptr)
            return {};
        entry->kept = true;
        return entry->playlist;
    }

    /// Removes the playlist of a track that goes, unless a kept track records into the same one. Each goes
    /// once.
    void remove(Track track) {
        Entry *const entry = find(track);
        if (entry != nullptr && !entry->kept && entry->playlist) {
            entry->playlist.remove();
            entry->playlist = {};
        }
    }

private:
    struct Entry {
        XMLElement playlist;
        bool kept = false;
    };

    Entry *find(Track track) {
        const auto name = track.playlist();
        const auto found = name ? byName.find(*name) : byName.end();
        return found == byName.end() ? nullptr : &found->second;
    }

    std::unordered_map<std::string, Entry> byName;
};

/// The audio tracks of a session as it was read, to be claimed by what they record.
class ExistingTracks {
public:
    explicit ExistingTracks(XMLElement root) : tracks(audioTracks(root)), claimed(tracks.size(), false) {
        for (std::size_t index = tracks.size(); index-- > 0;) {
            const std::int64_t width = tracks[index].width();
            const auto start = tracks[index].firstCapture();
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

struct Look {
    std::optional<std::string> name;
    std::optional<std::string> order;
    std::optional<std::string> color;

    explicit Look(Track track) : name(track.name()), order(track.order()), color(track.color()) {}
};

TrackDecision decision(Action action, const LV1Channel &channel) {
    return {action, channel.name(), channel.inputIndex(), channel.stereo(), {}};
}

TrackDecision reconfigure(Track track, XMLElement playlist, const LV1Channel &channel, std::size_t position) {
    const Look before(track);
    LiveTraxGenerator::configure(track.element(), playlist, channel, position);
    const Look after(track);

    TrackDecision made = decision(Action::keep, channel);
    const auto note = [&](const auto &old, const auto &now, auto &was) {
        if (old != now) {
            was = old;
            made.action = Action::change;
        }
    };
    note(before.name, after.name, made.was.name);
    note(before.order, after.order, made.was.order);
    note(before.color, after.color, made.was.color);
    return made;
}

/// Copies new tracks from the base template into a session.
class TrackMaker {
public:
    TrackMaker(XMLElement sessionRoot, XMLElement templateRoot)
        : routes(sessionRoot.firstChild("Routes")), playlists(sessionRoot.firstChild("Playlists")),
          modelPlaylists(templateRoot.firstChild("Playlists")),
          models(modelTracks(audioTracks(templateRoot))) {}

    TrackDecision add(const LV1Channel &channel, std::size_t position, ObjectIds &ids) {
        const Track model = channel.stereo() ? models.stereo : models.mono;
        const auto played = model.playlist();
        const XMLElement modelPlaylist =
            played ? modelPlaylists.firstChild("Playlist", "name", *played) : XMLElement();
        // The recorder would lose a track that names a playlist which is not there.
        if (!modelPlaylist)
            throw GeneratorError::invalidTemplate();
        const XMLElement route = routes.appendCopy(model.element());
        const XMLElement playlist = playlists.appendCopy(modelPlaylist);
        ids.renumber(route, playlist);
        LiveTraxGenerator::configure(route, playlist, channel, position);
        return decision(Action::add, channel);
    }

private:
    XMLElement routes;
    XMLElement playlists;
    XMLElement modelPlaylists;
    ModelTracks models;
};

TrackDecision remove(Track track, PlaylistTable &playlists) {
    const auto start = track.firstCapture();
    TrackDecision made{Action::remove,
                       track.name().value_or(""),
                       start ? std::optional(std::max<std::int64_t>(*start, 1) - 1) : std::nullopt,
                       track.width() == 2,
                       {}};
    playlists.remove(track);
    track.element().remove();
    return made;
}

UpdateResult counted(const std::vector<TrackDecision> &tracks) {
    UpdateResult result;
    for (const TrackDecision &track : tracks)
        ++(track.action == Action::add      ? result.added
           : track.action == Action::remove ? result.removed
                                            : result.updated);
    return result;
}

} // namespace

UpdatePlan updateSessionTree(XMLElement sessionRoot, XMLElement templateRoot,
                             const std::vector<LV1Channel> &channels) {
    LiveTraxGenerator::enableOSC(sessionRoot);
    ExistingTracks existing(sessionRoot);
    PlaylistTable playlists(sessionRoot.firstChild("Playlists"));
    TrackMaker maker(sessionRoot, templateRoot);
    ObjectIds ids(sessionRoot);

    UpdatePlan plan;
    for (std::size_t position = 0; position < channels.size(); ++position) {
        const LV1Channel &channel = channels[position];
        if (const auto track = existing.claim(channel))
            plan.tracks.push_back(reconfigure(*track, playlists.keep(*track), channel, position));
        else
            plan.tracks.push_back(maker.add(channel, position, ids));
    }
    for (const Track track : existing.unclaimed())
        plan.tracks.push_back(remove(track, playlists));
    ids.store(sessionRoot);

    settleEnginePorts(sessionRoot);
    plan.result = counted(plan.tracks);
    return plan;
}

} // namespace corvane

#include "livetrax/session/History.h"

#include "livetrax/session/CalendarTime.h"
#include "livetrax/session/HistoryFolder.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/LiveTraxPaths.h"
#include "livetrax/session/Track.h"
#include "platform/files/Files.h"

#include <algorithm>
#include <exception>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace corvane {

namespace {

using Path = std::filesystem::path;
using Time = std::chrono::system_clock::time_point;
using Ids = std::set<std::string>;

std::string idOf(XMLElement element) {
    return element.attribute("id").value_or("");
}

/// What a session holds of what was recorded. Regions and playlists are known by their ids; a source by its
/// file as well, because ids are given out again after a session was put back.
struct Recorded {
    explicit Recorded(XMLElement root) {
        for (const char *list : {"Playlists", "UnusedPlaylists"}) {
            for (const XMLElement playlist : root.firstChild(list).children("Playlist")) {
                for (const XMLElement region : playlist.children("Region"))
                    played.insert(idOf(region));
                if (playlist.firstChild("Region"))
                    playlists.insert(idOf(playlist)); // an empty one comes with each track
            }
        }
        for (const XMLElement region : root.firstChild("Regions").children("Region"))
            regions.insert(idOf(region));
        for (const XMLElement source : root.firstChild("Sources").children("Source"))
            sources.insert(idOf(source) + " " + source.attribute("name").value_or(""));
    }

    /// How many recordings there are that `then` does not know: regions as a person sees them, and where
    /// there are none of these, whatever else is new.
    std::int64_t since(const Recorded &then) const {
        for (const auto &[now, known] :
             {std::pair(&played, &then.played), std::pair(&regions, &then.regions),
              std::pair(&sources, &then.sources), std::pair(&playlists, &then.playlists)})
            if (const auto count = std::count_if(now->begin(), now->end(), [known = known](const auto &id) {
                    return known->count(id) == 0;
                }))
                return count;
        return 0;
    }

    Ids played;
    Ids regions;
    Ids sources;
    Ids playlists;
};

std::map<std::string, std::string> trackNames(XMLElement root) {
    std::map<std::string, std::string> names;
    for (const session::Track track : session::audioTracks(root))
        names[idOf(track.element())] = track.name().value_or("");
    return names;
}

/// What putting `then` in the place of `now` does. Tracks are the same when their ids are.
HistoryNote restoreNote(XMLElement now, XMLElement then) {
    const auto present = trackNames(now);
    const auto restored = trackNames(then);
    std::vector<std::string> removed;
    for (const auto &[id, name] : present)
        if (restored.count(id) == 0)
            removed.push_back(name);
    const auto count = [](const auto &all) { return static_cast<std::int64_t>(all.size()); };
    const std::int64_t kept = count(present) - count(removed);
    return {HistoryNote::Before::restore,
            count(present),
            {kept, count(restored) - kept, count(removed)},
            removed,
            LiveTraxGenerator::treePatchSignature(now).value_or(""),
            LiveTraxGenerator::treePatchSignature(then).value_or("")};
}

/// The session's tree; none when the file is torn and that is accepted.
std::optional<XMLDocument> loadPresent(const Path &file, bool mayBeTorn) {
    try {
        return XMLDocument::load(file);
    } catch (const XMLError &) {
        if (!mayBeTorn)
            throw;
        return std::nullopt;
    }
}

} // namespace

std::string timeText(Time time) {
    const auto local = session::CalendarTime::local(time);
    return local.text("%Y-%m-%dT%H:%M:%S.") + local.milliseconds() + local.zone();
}

History::History(const RecorderSystem &system)
    : top(supportFolder(system.folders) / "History"), clock(system.clock) {}

std::vector<HistoryCopy> History::copies(const Path &sessionURL) const {
    const auto folder = session::historyFolder(top, sessionURL);
    return folder ? session::copiesIn(*folder) : std::vector<HistoryCopy>();
}

std::int64_t History::recordingsSince(const Path &sessionURL, const HistoryCopy &copy) const {
    const XMLDocument now = XMLDocument::load(LiveTraxGenerator::sessionFile(sessionURL));
    const XMLDocument then = XMLDocument::load(copy.file);
    return Recorded(now.root()).since(Recorded(then.root()));
}

HistoryCopy History::restore(const Path &sessionURL, const HistoryCopy &copy,
                             const RestoreOptions &options) const {
    const Path file = LiveTraxGenerator::sessionFile(sessionURL);
    if (!fileExists(file))
        throw GeneratorError::sessionMissing(file.string());
    if (LiveTraxGenerator::hasRecoveryData(sessionURL))
        throw GeneratorError::recoveryDataPresent();

    const Bytes bytes = readFile(copy.file);
    const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    const XMLDocument then = XMLDocument::parse(text, copy.file.string());
    HistoryNote note;
    note.before = HistoryNote::Before::restore;
    if (const auto now = loadPresent(file, options.discardRecordings)) {
        const std::int64_t recordings = Recorded(now->root()).since(Recorded(then.root()));
        if (recordings > 0 && !options.discardRecordings)
            throw GeneratorError::recordingsMade(recordings);
        note = restoreNote(now->root(), then.root());
    }
    const Path kept = around(sessionURL, note, std::nullopt, [&] { replaceFileAtomically(file, text); });
    return session::copiesIn(kept.parent_path()).front();
}

History::Path History::around(const Path &sessionURL, const HistoryNote &note,
                              const std::optional<std::string> &backup,
                              const std::function<void()> &change) const {
    const Path folder = session::claimHistoryFolder(top, sessionURL, backup.value_or(""));
    Path kept = session::addCopy(folder, LiveTraxGenerator::sessionFile(sessionURL), note, clock());
    try {
        change();
    } catch (...) {
        session::removeCopy(kept);
        throw;
    }
    session::pruneHistory(top, clock());
    return kept;
}

bool History::remember(const Path &sessionURL, const std::string &backup) const {
    try {
        session::rememberBackup(top, sessionURL, backup);
        return true;
    } catch (const std::exception &) {
        return false;
    }
}

void History::begin(const Path &sessionURL) const {
    try {
        session::releasePath(top, sessionURL);
    } catch (const std::exception &) {
        // The copies are still known by the backups of the session that they were made of.
    }
}

} // namespace corvane

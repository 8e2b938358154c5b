#include "livetrax/session/Backups.h"
#include "livetrax/session/History.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/LiveTraxPaths.h"
#include "platform/files/Files.h"

namespace corvane {

namespace {

using Path = std::filesystem::path;

/// The file of a session that is there.
Path existingFile(const Path &sessionURL) {
    Path file = LiveTraxGenerator::sessionFile(sessionURL);
    if (!fileExists(file))
        throw GeneratorError::sessionMissing(file.string());
    return file;
}

XMLDocument loadSession(const Path &file) {
    XMLDocument document = XMLDocument::load(file);
    if (!document.root().firstChild("Routes") || !document.root().firstChild("Playlists"))
        throw GeneratorError::sessionUnreadable(file.parent_path().string());
    return document;
}

/// What the history says of the copy before an update.
HistoryNote syncNote(const UpdatePlan &plan, const std::string &patchBefore, const std::string &patchAfter) {
    HistoryNote note;
    note.tracks = plan.result.updated + plan.result.removed;
    note.result = plan.result;
    for (const TrackDecision &track : plan.tracks)
        if (track.action == TrackDecision::Action::remove)
            note.removed.push_back(track.name);
    note.patchBefore = patchBefore;
    note.patchAfter = patchAfter;
    return note;
}

} // namespace

UpdateResult LiveTraxGenerator::update(const RecorderSystem &system, const Path &sessionURL,
                                       const Channels &channels) {
    return carryOut(system, sessionURL, channels).result;
}

UpdatePlan LiveTraxGenerator::carryOut(const RecorderSystem &system, const Path &sessionURL,
                                       const Channels &channels) {
    const Path file = existingFile(sessionURL);
    if (hasRecoveryData(sessionURL))
        throw GeneratorError::recoveryDataPresent();
    XMLDocument session = loadSession(file);
    const Path backup = session::makeBackup(sessionURL, system.clock());
    const History history(system);
    UpdatePlan plan;
    try {
        const XMLDocument base = XMLDocument::load(baseTemplateFile(system.resources));
        const std::string patchBefore = treePatchSignature(session.root()).value_or("");
        plan = updateSessionTree(session.root(), base.root(), channels);
        history.around(sessionURL, syncNote(plan, patchBefore, patchSignature(channels)),
                       lastPathComponent(backup), [&] { std::move(session).writeAtomically(file); });
    } catch (...) {
        // Attempts that fail again and again leave one backup, not one each. The history may know the session
        // by one of those that go.
        if (history.remember(sessionURL, lastPathComponent(backup)))
            session::removeEqualBackups(backup);
        throw;
    }
    // The session is whole and in place: only now may the older copies go.
    removeOlderBridgeBackups(backup.parent_path(), backup);
    system.defaults.set(lastSessionKey, file.parent_path().string());
    return plan;
}

UpdatePlan LiveTraxGenerator::plan(const RecorderSystem &system, const Path &sessionURL,
                                   const Channels &channels) {
    const XMLDocument session = loadSession(existingFile(sessionURL));
    const XMLDocument base = XMLDocument::load(baseTemplateFile(system.resources));
    UpdatePlan plan = updateSessionTree(session.root(), base.root(), channels);
    plan.recoveryData = hasRecoveryData(sessionURL);
    return plan;
}

} // namespace corvane

#include "livetrax/session/LiveTraxGenerator.h"

#include "livetrax/session/Backups.h"
#include "platform/files/Files.h"

namespace corvane {

namespace {

using Path = std::filesystem::path;

XMLDocument loadSession(const Path &file) {
    if (!fileExists(file))
        throw GeneratorError::sessionMissing(file.string());
    XMLDocument document = XMLDocument::load(file);
    if (!document.root().firstChild("Routes") || !document.root().firstChild("Playlists"))
        throw GeneratorError::invalidTemplate();
    return document;
}

XMLDocument loadBaseTemplate(const BundleResources &resources) {
    const auto file = resources.find("LiveTraxSeed", "template");
    if (!file)
        throw GeneratorError::baseTemplateMissing();
    return XMLDocument::load(*file);
}

} // namespace

UpdateResult LiveTraxGenerator::update(const RecorderSystem &system, const Path &sessionURL,
                                       const Channels &channels) {
    const Path file = sessionFile(sessionURL);
    XMLDocument session = loadSession(file);
    const Path backup = session::makeBackup(sessionURL, system.clock.now());
    const XMLDocument base = loadBaseTemplate(system.resources);
    const UpdatePlan plan = updateSessionTree(session.root(), base.root(), channels);
    std::move(session).writeAtomically(file);
    // The session is whole and in place: only now may the older copies go.
    removeOlderBridgeBackups(backup.parent_path(), backup);
    system.defaults.set(lastSessionKey, file.parent_path().string());
    return plan.result;
}

UpdatePlan LiveTraxGenerator::plan(const RecorderSystem &system, const Path &sessionURL,
                                   const Channels &channels) {
    const XMLDocument session = loadSession(sessionFile(sessionURL));
    const XMLDocument base = loadBaseTemplate(system.resources);
    return updateSessionTree(session.root(), base.root(), channels);
}

} // namespace corvane

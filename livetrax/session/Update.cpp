#include "livetrax/session/LiveTraxGenerator.h"

#include "platform/files/Files.h"

#include <chrono>
#include <cstdio>
#include <ctime>

namespace corvane {

namespace {

using Path = std::filesystem::path;
using Time = std::chrono::system_clock::time_point;

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

/// Local time to the millisecond, as "2024-05-01_20-15-03-250".
std::string timestamp(Time time) {
    using std::chrono::milliseconds;
    const auto whole = std::chrono::floor<std::chrono::seconds>(time);
    const auto fraction = std::chrono::duration_cast<milliseconds>(time - whole).count();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(whole);
    std::tm local{};
    localtime_r(&seconds, &local);
    char date[64];
    std::strftime(date, sizeof date, "%Y-%m-%d_%H-%M-%S", &local);
    char text[80];
    std::snprintf(text, sizeof text, "%s-%03d", date, static_cast<int>(fraction));
    return text;
}

/// Copies the session file as it stands on disk into the session's backup folder and returns the copy's path.
/// A backup that bears that time already (the clock was set back, or summer time has ended) is worth no less:
/// the new one takes the next free millisecond rather than its place.
Path backUp(const Path &sessionURL, const Path &file, Time now) {
    const Path folder = appending(sessionURL, "backup");
    createFolders(folder);
    const auto copyAt = [&](Time time) {
        return folder / ("Corvane pre-sync " + timestamp(time) + ".ardour");
    };
    while (fileExists(copyAt(now)))
        now += std::chrono::milliseconds(1);
    copyFile(file, copyAt(now));
    return copyAt(now);
}

} // namespace

UpdateResult LiveTraxGenerator::update(const Platform &platform, const Path &sessionURL,
                                       const Channels &channels) {
    const Path file = sessionFile(sessionURL);
    XMLDocument session = loadSession(file);
    const Path backup = backUp(sessionURL, file, platform.clock->now());
    const XMLDocument base = loadBaseTemplate(*platform.resources);
    const UpdatePlan plan = updateSessionTree(session.root(), base.root(), channels);
    std::move(session).writeAtomically(file);
    // The session is whole and in place: only now may the older copies go.
    removeOlderBridgeBackups(backup.parent_path(), backup);
    platform.defaults->set(lastSessionKey, file.parent_path().string());
    return plan.result;
}

UpdatePlan LiveTraxGenerator::plan(const Platform &platform, const Path &sessionURL,
                                   const Channels &channels) {
    const XMLDocument session = loadSession(sessionFile(sessionURL));
    const XMLDocument base = loadBaseTemplate(*platform.resources);
    return updateSessionTree(session.root(), base.root(), channels);
}

} // namespace corvane

#include "cli/SessionAdvice.h"

#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/LiveTraxPaths.h"
#include "platform/files/Files.h"

#include <algorithm>
#include <optional>
#include <system_error>
#include <vector>

namespace corvane::cli {

namespace {

using Path = std::filesystem::path;

/// Whether `create` has made a session's template; LiveTrax makes the session itself when it is started on
/// it.
bool wasCreated(const Platform &platform, const Path &session) {
    const auto target = LiveTraxGenerator::target(platform.folders);
    return target &&
           fileExists(LiveTraxGenerator::userTemplate(platform.folders, *target, lastPathComponent(session)));
}

bool isSession(const Path &folder) {
    return fileExists(LiveTraxGenerator::sessionFile(folder));
}

/// Links resolved, as far as it exists.
Path resolved(const Path &path) {
    std::error_code failure;
    Path found = std::filesystem::weakly_canonical(path, failure);
    return failure ? path : found;
}

bool isWithin(const Path &path, const Path &folder) {
    const auto below = std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
    return below.first == folder.end();
}

Path musicOf(const Platform &platform) {
    return platform.folders.music().value_or(platform.folders.home / "Music");
}

/// A session of that name somewhere else, that Corvane or LiveTrax worked on or that is where sessions are.
std::optional<Path> namesake(const Platform &platform, const Path &session) {
    const std::string name = lastPathComponent(session);
    std::vector<Path> places = recentSessions(platform.folders);
    if (const auto known = LiveTraxGenerator::knownSessionURL(*platform.defaults, platform.folders))
        places.insert(places.begin(), *known);
    places.push_back(appending(musicOf(platform), name));
    for (const Path &place : places)
        if (lastPathComponent(place) == name && isSession(place))
            return place;
    return std::nullopt;
}

/// The first session, by its name, that the folder holds.
std::optional<Path> sessionIn(const Path &folder) {
    std::optional<Path> first;
    std::error_code unreadable;
    for (auto each = std::filesystem::directory_iterator(folder, unreadable);
         !unreadable && each != std::filesystem::directory_iterator(); each.increment(unreadable))
        if (isSession(each->path()) && (!first || each->path() < *first))
            first = each->path();
    return first;
}

} // namespace

std::string missingSessionAdvice(const Platform &platform, const Path &session) {
    if (isSession(session))
        return {};
    if (const auto other = namesake(platform, session))
        return "A session of that name is at " + other->string() + ".";
    if (wasCreated(platform, session))
        return "Its template is made, the session is not: LiveTrax makes it when it is started on it, by "
               "create --launch.";
    if (const auto held = sessionIn(session))
        return "That folder holds sessions; name one of them, as " + held->string() + ".";
    if (isWithin(resolved(session), resolved(homeFolder())))
        return outsideAdvice(platform, session);
    return {};
}

std::string missingLiveTraxAdvice(const Platform &platform) {
    return platform.rehearsal ? "In this rehearsal that is " + platform.folders.applications.string() + "."
                              : "";
}

std::string outsideAdvice(const Platform &platform, const Path &folder) {
    if (!platform.rehearsal || isWithin(resolved(folder), platform.rehearsal->root()))
        return {};
    return folder.string() + " is outside of the rehearsal's folder; its own sessions are in " +
           musicOf(platform).string() + ".";
}

std::string beneath(const std::string &advice) {
    return advice.empty() ? "" : "\n  " + advice;
}

} // namespace corvane::cli

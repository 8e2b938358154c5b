#include "base/Text.h"
#include "base/UTF8.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/LiveTraxPaths.h"
#include "platform/files/Files.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <system_error>

namespace corvane {
namespace {

using Path = std::filesystem::path;

/// A generation of LiveTrax that may be installed.
struct Generation {
    const char *displayName;
    const char *name; ///< of its preferences, its program, and (with ".app") its bundle
    const char *bundleIdentifier;
};

constexpr std::array generations = {
    Generation{"LiveTrax 3", "LiveTrax3", "com.harrisonconsoles.LiveTrax3"},
    Generation{"LiveTrax 1", "LiveTrax1", "com.harrisonconsoles.LiveTrax1"},
};

Target candidate(const StandardFolders &folders, const Generation &generation) {
    return {generation.displayName, generation.name, generation.name,
            appending(folders.applications, std::string(generation.name) + ".app")};
}

/// The lines of a list of recent sessions: a name, then a folder, newest first. None when it cannot be read.
std::vector<std::string> recentLines(const Path &file) {
    try {
        const Bytes bytes = readFile(file);
        const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
        if (isValidUTF8(text))
            return nonEmptyLines(text);
    } catch (const FileError &) {
        // The same as an empty list.
    }
    return {};
}

} // namespace

Path preferencesFolder(const StandardFolders &folders, const std::string &name) {
    return appending(folders.home / "Library/Preferences", name);
}

Path baseTemplateFile(const BundleResources &resources) {
    const auto file = resources("LiveTraxSeed", "template");
    if (!file)
        throw GeneratorError::baseTemplateMissing();
    return *file;
}

Path programFile(const Target &target) {
    return appending(target.app / "Contents/MacOS", target.executable);
}

Path supportFolder(const StandardFolders &folders) {
    return folders.home / "Library/Application Support/Corvane";
}

Path sessionPath(const Path &sessionURL) {
    std::error_code error;
    const Path absolute = std::filesystem::absolute(sessionURL, error);
    return withoutTrailingSlashes(error ? sessionURL : absolute);
}

std::vector<Path> recentSessions(const StandardFolders &folders) {
    std::vector<Path> sessions;
    for (const Generation &generation : generations) {
        const auto lines = recentLines(preferencesFolder(folders, generation.name) / "recent");
        for (std::size_t index = 1; index < lines.size(); index += 2)
            sessions.push_back(sessionPath(lines[index]));
    }
    return sessions;
}

std::optional<Target> LiveTraxGenerator::target(const StandardFolders &folders) {
    for (const Generation &generation : generations) {
        Target target = candidate(folders, generation);
        if (fileExists(programFile(target)))
            return target;
    }
    return std::nullopt;
}

std::shared_ptr<RunningApplication> LiveTraxGenerator::runningApplication(const RecorderSystem &system) {
    for (const Generation &generation : generations) {
        const Path program = programFile(candidate(system.folders, generation));
        auto running = system.applications.find(generation.bundleIdentifier, program);
        if (running && !running->isTerminated())
            return running;
    }
    return nullptr;
}

std::optional<Path> LiveTraxGenerator::mostRecentSessionURL(const StandardFolders &folders) {
    for (const Path &folder : recentSessions(folders))
        if (fileExists(sessionFile(folder)))
            return folder;
    return std::nullopt;
}

bool LiveTraxGenerator::hasRecoveryData(const Path &sessionURL) {
    return fileExists(appending(sessionURL, lastPathComponent(sessionURL) + ".pending"));
}

std::optional<Path> LiveTraxGenerator::knownSessionURL(const UserDefaults &defaults,
                                                       const StandardFolders &folders) {
    if (const auto stored = defaults.string(lastSessionKey))
        return Path(*stored);
    return mostRecentSessionURL(folders);
}

Path LiveTraxGenerator::sessionFile(const Path &sessionURL) {
    return appending(sessionURL, lastPathComponent(sessionURL) + ".ardour");
}

} // namespace corvane

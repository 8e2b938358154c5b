#include "livetrax/session/CalendarTime.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/LiveTraxPaths.h"
#include "platform/files/Files.h"

#include <utility>

namespace corvane {
namespace {

using Path = std::filesystem::path;
using Arguments = std::vector<std::string>;

/// The six variables by which LiveTrax finds its own parts.
std::vector<std::pair<std::string, std::string>> environmentFor(const Target &target,
                                                                const Path &preferences) {
    const Path libraries = target.app / "Contents/lib";
    const Path resources = target.app / "Contents/Resources";
    return {
        {"ARDOUR_DLL_PATH", libraries.string()},
        {"ARDOUR_BACKEND_PATH", (libraries / "backends").string()},
        {"ARDOUR_PANNER_PATH", (libraries / "panners").string()},
        {"ARDOUR_DATA_PATH", resources.string()},
        {"ARDOUR_CONFIG_PATH", preferences.string() + ":" + resources.string()},
        {"DYLD_FALLBACK_LIBRARY_PATH", libraries.string()},
    };
}

/// Prepares LiveTrax's own files and starts it; `sessionArguments` say what it is to open.
void start(const RecorderSystem &system, const Arguments &sessionArguments) {
    const auto target = LiveTraxGenerator::target(system.folders);
    if (!target)
        throw GeneratorError::liveTraxMissing();
    LiveTraxGenerator::ensureOSCEnabled(system.folders, *target);
    LiveTraxGenerator::removeUnusedSyncHook(system.folders, *target);
    const Path program = programFile(*target);
    if (!fileExists(program))
        throw GeneratorError::liveTraxMissing();

    const Path keys = target->app / "Contents/Resources/livetrax.keys";
    Arguments arguments = {"-a", "-n", "-k", keys.string()};
    arguments.insert(arguments.end(), sessionArguments.begin(), sessionArguments.end());
    const FileHandle log = LiveTraxGenerator::liveTraxLogHandle(system);
    system.processes.start(
        {program, arguments, environmentFor(*target, preferencesFolder(system.folders, target->preferences))},
        log);
}

} // namespace

FileHandle LiveTraxGenerator::liveTraxLogHandle(const RecorderSystem &system) {
    const Path support = supportFolder(system.folders);
    createFolders(support);
    FileHandle log = FileHandle::openForAppending(support / "livetrax.log");
    log.write("\n--- LiveTrax " + session::CalendarTime::utc(system.clock()).text("%Y-%m-%dT%H:%M:%SZ") +
              " ---\n");
    return log;
}

void LiveTraxGenerator::launch(const RecorderSystem &system, const Path &sessionURL,
                               const std::string &templateName, const Channels & /*channels*/) {
    start(system, {"-T", templateName, "-N", sessionPath(sessionURL).string()});
}

void LiveTraxGenerator::launchExisting(const RecorderSystem &system, const Path &sessionURL,
                                       const Channels & /*channels*/) {
    start(system, {sessionPath(sessionURL).string()});
}

} // namespace corvane

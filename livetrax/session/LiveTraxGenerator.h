#pragma once

#include "livetrax/session/GeneratorError.h"
#include "livetrax/session/RecorderSystem.h"
#include "livetrax/session/Target.h"
#include "livetrax/session/UpdatePlan.h"
#include "livetrax/session/UpdateResult.h"
#include "livetrax/session/XMLTree.h"
#include "lv1/LV1Channel.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// The session engine: stateless operations on LiveTrax's installation, configuration and session files. A
/// session is always given as its folder. The operations that touch the outside take what they need of it
/// first and throw GeneratorError for what the engine itself refuses, FileError or XMLError for the rest.
/// Callable from any thread, one at a time for one session.
class LiveTraxGenerator {
public:
    LiveTraxGenerator() = delete;

    using Channels = std::vector<LV1Channel>;
    using Path = std::filesystem::path;

    /// User default that holds the path of the session that was created or updated last.
    static constexpr auto lastSessionKey = "CorvaneLastSession";

    /// Why neither a session is created nor one rewritten.
    static constexpr auto liveTraxRuns = "LiveTrax is running. Quit it and try again.";

    // The installed and the running LiveTrax, and its sessions (Installation.cpp)

    /// The installed LiveTrax, 3 before 1; none when there is none.
    static std::optional<Target> target(const StandardFolders &folders);
    /// The running LiveTrax, 3 before 1; null when none runs.
    static std::shared_ptr<RunningApplication> runningApplication(const RecorderSystem &system);
    /// The folder of the session that LiveTrax had open last and that still exists (a path, whatever the name
    /// says: see docs/Names.md).
    static std::optional<Path> mostRecentSessionURL(const StandardFolders &folders);
    /// The session that Corvane works on until told otherwise: the one it created or updated last, else the
    /// one that LiveTrax had open last.
    static std::optional<Path> knownSessionURL(const UserDefaults &defaults, const StandardFolders &folders);
    /// The session file of a session folder: "Show/Show.ardour".
    static Path sessionFile(const Path &sessionURL);
    /// Whether LiveTrax ended while it recorded into a session, and was not opened on it since.
    static bool hasRecoveryData(const Path &sessionURL);

    // A new session (Generation.cpp)

    /// Where the user template of that name is kept for an installation of LiveTrax.
    static Path userTemplate(const StandardFolders &folders, const Target &target, const std::string &name);
    /// Writes the user template of a new session and returns the folder that the session is to be created in.
    /// GeneratorError when the name cannot be that of a folder, LiveTrax or the base template is missing, the
    /// folder exists already, or the channels conflict.
    static Path generate(const RecorderSystem &system, const std::string &name, const Path &outputDirectory,
                         const Channels &channels);

    // A session that follows the console (Update.cpp; what becomes of each track: UpdatePlan.cpp)

    /// Brings a session file into line with the console's channels, keeping a backup. LiveTrax must not have
    /// it open. A session that LiveTrax still has to recover recordings for is refused (recoveryDataPresent).
    static UpdateResult update(const RecorderSystem &system, const Path &sessionURL,
                               const Channels &channels);
    /// The same, and tells what became of each track.
    static UpdatePlan carryOut(const RecorderSystem &system, const Path &sessionURL,
                               const Channels &channels);
    /// What `update` would do; writes nothing. Throws the same errors, except that recovery data is reported
    /// in the plan instead.
    static UpdatePlan plan(const RecorderSystem &system, const Path &sessionURL, const Channels &channels);

    // The copies in a session's backup folder (Backups.cpp)

    /// Deletes all pre-sync backups in a folder but one. Never throws.
    static void removeOlderBridgeBackups(const Path &folder, const Path &keeping);

    // A track for a channel (TrackConfiguration.cpp)

    /// Fills a cloned model route, and its playlist if there is one, for the channel at a 0-based position.
    /// `given`: see setEngineNamespace.
    static void configure(XMLElement route, XMLElement playlist, const LV1Channel &channel,
                          std::size_t position, const std::vector<std::string> &given = {});
    /// Renames the ports of a route, and all connections to them. A generated old namespace ("Audio 3", or
    /// one of `given`: the base template's) is also replaced wherever else its text stands in the route,
    /// except where it means something else to the recorder. One that a person chose is also replaced only in
    /// the names of IOs and processors.
    static void setEngineNamespace(XMLElement route, const std::string &engineNamespace,
                                   const std::vector<std::string> &given = {});

    // What stands in a tree (Track.cpp)

    /// The number of the first capture port that the route's input is connected to.
    static std::optional<std::int64_t> captureStart(XMLElement route);
    /// The number of the first playback port that the element's output is connected to.
    static std::optional<std::int64_t> firstPlaybackChannel(XMLElement element);
    /// The number of output ports, at least 1.
    static std::int64_t playbackWidth(XMLElement element);
    /// Whether the element is in a track that belongs to the user ("Corvane Preserved…": see docs/Names.md).
    static bool isPreserved(XMLElement element);
    /// The element and all elements below it, depth first in document order.
    static std::vector<XMLElement> descendants(XMLElement element);

    // The patch (Patch.cpp)

    /// One line per track, "name|width|input"; equal text means an equal patch.
    static std::string patchSignature(const Channels &channels);
    /// The same of a session on disk; none when it cannot be read.
    static std::optional<std::string> sessionPatchSignature(const Path &sessionURL);
    /// The same of a session's tree; none where there are no routes at all.
    static std::optional<std::string> treePatchSignature(XMLElement root);
    /// Whether a session on disk records these channels in their order, on its own device; names may stand
    /// there as the recorder writes them. None when it or the base template cannot be read.
    static std::optional<bool> sessionRecords(const RecorderSystem &system, const Path &sessionURL,
                                              const Channels &channels);
    /// Checks that there is one audio track for each channel and that each of their inputs has a capture port
    /// of its own. Throws GeneratorError (generatedTrackCount, duplicateCapturePort, invalidTemplate).
    static void validateGeneratedPatch(XMLElement root, const Channels &channels);

    // Port names and playback channels, each taken once in a session (EnginePorts.cpp)

    /// Throws GeneratorError (duplicateEnginePort) when two ports have one name.
    static void validateUniqueEnginePorts(XMLElement root);
    /// Throws GeneratorError (duplicateDirectOutBitSlot) when two direct outs have one slot.
    static void validateUniqueDirectOutSlots(XMLElement root);
    /// Gives every direct out a run of playback channels of its own.
    static void reassignCollidingDirectOutSlots(XMLElement root);

    // LiveTrax's own files (Configuration.cpp)

    /// Sets an option of a configuration element, adding it when it is missing.
    static void setConfigOption(const std::string &name, const std::string &value, XMLElement config);
    /// Switches the OSC surface on in a configuration's or a session's root element.
    static void enableOSC(XMLElement root);
    /// Switches OSC on in LiveTrax's own configuration file, which is backed up the first time. Does nothing
    /// when LiveTrax was never started by this user.
    static void ensureOSCEnabled(const StandardFolders &folders, const Target &target);
    /// Removes what earlier versions installed in LiveTrax (the "sync hook": see docs/Names.md). Never
    /// throws.
    static void removeUnusedSyncHook(const StandardFolders &folders, const Target &target);

    // Starting LiveTrax (Launch.cpp)

    /// Corvane's log of LiveTrax's output, with a separator line appended.
    static FileHandle liveTraxLogHandle(const RecorderSystem &system);
    /// Starts LiveTrax on a new session that it makes from a user template. Returns once it is started.
    static void launch(const RecorderSystem &system, const Path &sessionURL, const std::string &templateName,
                       const Channels &channels);
    /// Starts LiveTrax on an existing session.
    static void launchExisting(const RecorderSystem &system, const Path &sessionURL,
                               const Channels &channels);
};

} // namespace corvane

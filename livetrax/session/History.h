#pragma once

#include "livetrax/session/RecorderSystem.h"
#include "livetrax/session/UpdateResult.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// What Corvane was about to do to a session when it kept a copy of its file.
struct HistoryNote {
    enum class Before { sync, restore };

    Before before = Before::sync;
    std::int64_t tracks = 0; ///< recording tracks in the copy
    UpdateResult result;     ///< how many of them were to be adjusted and removed, and how many added
    std::vector<std::string> removed; ///< the names of those to be removed
    std::string patchBefore;          ///< patch signatures
    std::string patchAfter;

    bool operator==(const HistoryNote &) const = default;
};

/// A session's file as it was before Corvane changed it.
struct HistoryCopy {
    std::size_t number; ///< from 1, the newest; a new copy moves the others on
    std::chrono::system_clock::time_point time;
    std::filesystem::path file;
    std::uintmax_t bytes;
    HistoryNote note;

    bool operator==(const HistoryCopy &) const = default;
};

struct RestoreOptions {
    /// Restore although recordings were made since then. Their sound files stay in the session's folder.
    bool discardRecordings = false;
};

/// The copies that Corvane keeps in its support folder, one whole file before each change of a session. Holds
/// no state of its own; what it was made of must outlive it. Callable from any thread, one at a time.
class History {
public:
    using Path = std::filesystem::path;

    explicit History(const RecorderSystem &system);

    /// A session's copies, newest first, even if the session has been moved. Does not throw: copies that
    /// cannot be read are left out.
    std::vector<HistoryCopy> copies(const Path &sessionURL) const;

    /// How many recordings a session holds that a copy does not know. Throws XMLError and FileError when
    /// either cannot be read.
    std::int64_t recordingsSince(const Path &sessionURL, const HistoryCopy &copy) const;

    /// Puts a copy in the place of the session's file, which goes into the history first, and returns the
    /// copy made of it. LiveTrax must not run. Throws GeneratorError (sessionMissing, recoveryDataPresent,
    /// recordingsMade), XMLError and FileError, and then the session is as it was.
    HistoryCopy restore(const Path &sessionURL, const HistoryCopy &copy, const RestoreOptions &options) const;

    /// Keeps a copy of the session's file, then runs `change`, which rewrites it. When that throws, the copy
    /// goes again; else old copies go that need not be kept, and the new one is returned. `backup` is the
    /// name of the copy in the session's own backup folder, by which the session is known again. Throws
    /// FileError when no copy can be made; `change` is not called then.
    Path around(const Path &sessionURL, const HistoryNote &note, const std::optional<std::string> &backup,
                const std::function<void()> &change) const;

    /// Lets a session that has copies be known by the backup of an update that was refused. Whether it is
    /// now, or has no copies; never throws.
    bool remember(const Path &sessionURL, const std::string &backup) const;

    /// Leaves the copies that were kept for a path to the session that was moved away from there, for a new
    /// one begins at it. Never throws.
    void begin(const Path &sessionURL) const;

private:
    Path top;
    const WallClock &clock;
};

/// A time as people and scripts read it: local, to the millisecond, with the zone:
/// "2026-01-31T19:04:05.250+01:00".
std::string timeText(std::chrono::system_clock::time_point time);

} // namespace corvane

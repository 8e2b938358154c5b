#pragma once

#include "livetrax/session/History.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// How the history lies on disk: a folder for each session with a "session.json" that says which session it
// belongs to, and for each copy a session file and a JSON file beside it. Internal to livetrax/session.

namespace corvane::session {

/// The folder of a session's copies; none when it has none yet. `newBackup` is a backup that was made just
/// now: no history folder can know it yet, so it is not used to recognise the session.
std::optional<std::filesystem::path> historyFolder(const std::filesystem::path &top,
                                                   const std::filesystem::path &sessionURL,
                                                   const std::string &newBackup = {});

/// The folder of a session's copies, created when missing and brought up to date with where the session is
/// now. Throws FileError.
std::filesystem::path claimHistoryFolder(const std::filesystem::path &top,
                                         const std::filesystem::path &sessionURL,
                                         const std::string &newBackup);

/// Lets a session that has a folder be recognised by a new backup too. Throws FileError.
void rememberBackup(const std::filesystem::path &top, const std::filesystem::path &sessionURL,
                    const std::string &newBackup);

/// Takes the path from the folder that has it: a new session begins there. Throws FileError.
void releasePath(const std::filesystem::path &top, const std::filesystem::path &sessionURL);

/// The copies in a session's folder, newest first.
std::vector<HistoryCopy> copiesIn(const std::filesystem::path &folder);

/// Copies a session's file into a folder, flushed to disk. Throws FileError, and then leaves nothing there.
std::filesystem::path addCopy(const std::filesystem::path &folder, const std::filesystem::path &sessionFile,
                              const HistoryNote &note, std::chrono::system_clock::time_point now);

/// Takes a copy away. Never throws.
void removeCopy(const std::filesystem::path &file);

/// Takes the copies of all sessions away that need not be kept. Never throws.
void pruneHistory(const std::filesystem::path &top, std::chrono::system_clock::time_point now);

} // namespace corvane::session

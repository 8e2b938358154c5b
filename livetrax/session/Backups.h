#pragma once

#include <chrono>
#include <filesystem>
#include <string_view>

namespace corvane::session {

/// Copies a session's file as it stands on disk into the session's backup folder, under the time of the copy,
/// and returns the copy's path. Throws FileError. Internal to livetrax/session.
std::filesystem::path makeBackup(const std::filesystem::path &sessionURL,
                                 std::chrono::system_clock::time_point now);

/// Deletes the other pre-sync backups in the folder of `backup` that have the same bytes. Never throws.
void removeEqualBackups(const std::filesystem::path &backup);

/// Whether a file is called like such a copy.
bool isBackupName(std::string_view name);

} // namespace corvane::session

namespace corvane {

/// Whether a session holds such a copy, which is to say that it was updated before. Never throws.
bool hasBackups(const std::filesystem::path &sessionURL);

} // namespace corvane

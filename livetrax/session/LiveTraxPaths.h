#pragma once

#include "livetrax/session/Target.h"
#include "platform/files/StandardFolders.h"

#include <filesystem>
#include <string>
#include <vector>

namespace corvane {

/// LiveTrax's folder of that name under the user's preferences.
std::filesystem::path preferencesFolder(const StandardFolders &folders, const std::string &name);

/// The template that new sessions are made from. Throws GeneratorError when it is missing.
std::filesystem::path baseTemplateFile(const BundleResources &resources);

/// The program file of an installation.
std::filesystem::path programFile(const Target &target);

/// Corvane's own folder for what is neither a setting nor a session.
std::filesystem::path supportFolder(const StandardFolders &folders);

/// The folders of all sessions that LiveTrax remembers, the newest first, whether they still exist or not.
std::vector<std::filesystem::path> recentSessions(const StandardFolders &folders);

/// The path of a session's folder as it is handed on: absolute, without a slash at its end.
std::filesystem::path sessionPath(const std::filesystem::path &sessionURL);

} // namespace corvane

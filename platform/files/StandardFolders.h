#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// Where things are on this machine, or in a rehearsal's folder that stands for one.
struct StandardFolders {
    std::filesystem::path home;
    /// Where LiveTrax is installed: "/Applications" outside a rehearsal.
    std::filesystem::path applications;
    /// The user's music folder as it is now; none when the system names none.
    std::function<std::optional<std::filesystem::path>()> music;
};

/// The current user's folders: by the XDG user-dirs convention on Linux, as macOS tells them there.
StandardFolders userFolders();

/// The current user's home: $HOME, else what the user database says. Absolute, without a slash at its end.
std::filesystem::path homeFolder();

/// $XDG_CONFIG_HOME, else ~/.config. Linux alone has it.
std::filesystem::path configurationFolder();

/// The folder "Music" of a home, if it is there.
std::optional<std::filesystem::path> musicFolderIn(const std::filesystem::path &home);

/// Finds the file `name`.`extension` that ships with the program; none when it is missing.
using BundleResources = std::function<std::optional<std::filesystem::path>(const std::string &name,
                                                                           const std::string &extension)>;

/// Resources that are looked for in a few folders; the first that has one wins.
BundleResources resourcesIn(std::vector<std::filesystem::path> folders);

/// Where the resources of a program may be: in its bundle (macOS), installed in ../share/corvane, or in the
/// build tree's resources/.
std::vector<std::filesystem::path> resourceFoldersOf(const std::filesystem::path &program);

/// The file that this process runs, links resolved; empty when the system does not tell.
std::filesystem::path programPath();

} // namespace corvane

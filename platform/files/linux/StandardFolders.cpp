#include "platform/files/StandardFolders.h"

#include "platform/files/Files.h"
#include "platform/files/ShellValue.h"

#include <cstdlib>
#include <string_view>
#include <system_error>

namespace corvane {
namespace {

using Path = std::filesystem::path;

/// The folder that user-dirs.dirs names: `XDG_MUSIC_DIR="$HOME/Music"` or an absolute path. The home itself
/// means that the user has none.
std::optional<Path> musicInUserDirectories(const Path &file, const Path &home) {
    const auto value = shellValue(file, "XDG_MUSIC_DIR");
    if (!value)
        return std::nullopt;
    constexpr std::string_view homeVariable = "$HOME";
    std::optional<Path> music;
    if (value->starts_with(homeVariable))
        music = appending(home, std::string_view(*value).substr(homeVariable.size()));
    else if (value->starts_with('/'))
        music = appending("/", *value);
    return music == home ? std::nullopt : music;
}

} // namespace

StandardFolders userFolders() {
    const Path home = homeFolder();
    return {home, "/Applications", [home]() -> std::optional<Path> {
                const auto named = musicInUserDirectories(configurationFolder() / "user-dirs.dirs", home);
                std::error_code error;
                return named && std::filesystem::is_directory(*named, error) ? named : musicFolderIn(home);
            }};
}

Path configurationFolder() {
    const char *variable = std::getenv("XDG_CONFIG_HOME");
    // A relative path is to be ignored, says the convention.
    if (variable && variable[0] == '/')
        return variable;
    return homeFolder() / ".config";
}

Path programPath() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error);
}

} // namespace corvane

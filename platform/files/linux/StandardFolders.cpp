#include "platform/files/linux/UserFolders.h"

#include "platform/files/Files.h"
#include "platform/files/HomeFolder.h"
#include "platform/files/linux/ShellValue.h"

#include <cstdlib>
#include <string_view>
#include <system_error>

namespace corvane {
namespace {

using Path = std::filesystem::path;

bool isFolder(const Path &path) {
    std::error_code error;
    return std::filesystem::is_directory(path, error);
}

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

Path UserFolders::home() const {
    return homeFolder();
}

Path UserFolders::configuration() const {
    const char *variable = std::getenv("XDG_CONFIG_HOME");
    // A relative path is to be ignored, says the convention.
    if (variable && variable[0] == '/')
        return variable;
    return home() / ".config";
}

std::optional<Path> UserFolders::music() const {
    auto named = musicInUserDirectories(configuration() / "user-dirs.dirs", home());
    if (named && isFolder(*named))
        return named;
    Path usual = home() / "Music";
    if (isFolder(usual))
        return usual;
    return std::nullopt;
}

} // namespace corvane

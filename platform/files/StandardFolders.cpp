#include "platform/files/StandardFolders.h"

#include "platform/files/Files.h"

#include <cstdlib>
#include <system_error>
#include <utility>

#include <pwd.h>
#include <unistd.h>

namespace corvane {
namespace {

using Path = std::filesystem::path;

std::string homeInUserDatabase() {
    constexpr std::size_t enough = 65536;
    std::vector<char> buffer(enough);
    struct passwd entry {};
    struct passwd *found = nullptr;
    ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found);
    return found && found->pw_dir ? found->pw_dir : "";
}

} // namespace

Path homeFolder() {
    const char *variable = std::getenv("HOME");
    std::string home = variable ? variable : "";
    if (home.empty() || home.front() != '/')
        home = homeInUserDatabase();
    return home.empty() ? "/" : withoutTrailingSlashes(home);
}

std::optional<Path> musicFolderIn(const Path &home) {
    Path folder = home / "Music";
    std::error_code error;
    return std::filesystem::is_directory(folder, error) ? std::optional(std::move(folder)) : std::nullopt;
}

BundleResources resourcesIn(std::vector<Path> folders) {
    return [folders = std::move(folders)](const std::string &name,
                                          const std::string &extension) -> std::optional<Path> {
        const std::string fileName = std::string(name).append(".").append(extension);
        for (const Path &folder : folders) {
            Path file = appending(folder, fileName);
            if (fileExists(file))
                return file;
        }
        return std::nullopt;
    };
}

std::vector<Path> resourceFoldersOf(const Path &program) {
    const Path above = program.parent_path().parent_path();
    if (above.filename() == "Contents")
        return {above / "Resources"};
    return {above / "share" / "corvane", above / "resources"};
}

} // namespace corvane

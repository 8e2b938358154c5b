#include "platform/files/StandardFolders.h"

#include "platform/files/Files.h"
#include "platform/files/MacText.h"

#include <cstdint>
#include <system_error>

#include <mach-o/dyld.h>

namespace corvane {

using Path = std::filesystem::path;

StandardFolders userFolders() {
    const auto home = utf8(NSFileManager.defaultManager.homeDirectoryForCurrentUser.path);
    return {withoutTrailingSlashes(home.value_or("/")), "/Applications", []() -> std::optional<Path> {
                NSURL *folder = [NSFileManager.defaultManager URLsForDirectory:NSMusicDirectory
                                                                     inDomains:NSUserDomainMask]
                                    .firstObject;
                const auto path = folder ? utf8(folder.path) : std::nullopt;
                return path ? std::optional(withoutTrailingSlashes(*path)) : std::nullopt;
            }};
}

Path programPath() {
    std::uint32_t size = 0;
    ::_NSGetExecutablePath(nullptr, &size);
    std::string path(size, '\0');
    if (::_NSGetExecutablePath(path.data(), &size) != 0)
        return {};
    std::error_code error;
    return std::filesystem::canonical(path.c_str(), error);
}

} // namespace corvane

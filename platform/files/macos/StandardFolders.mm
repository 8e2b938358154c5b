#include "platform/files/Files.h"
#include "platform/host/macos/MacText.h"
#include "platform/macos/MacSystem.h"

namespace corvane {

std::filesystem::path MacFolders::home() const {
    const auto path = utf8(NSFileManager.defaultManager.homeDirectoryForCurrentUser.path);
    return withoutTrailingSlashes(path.value_or("/"));
}

std::optional<std::filesystem::path> MacFolders::music() const {
    NSURL *folder = [NSFileManager.defaultManager URLsForDirectory:NSMusicDirectory
                                                         inDomains:NSUserDomainMask]
                        .firstObject;
    const auto path = folder ? utf8(folder.path) : std::nullopt;
    if (!path)
        return std::nullopt;
    return withoutTrailingSlashes(*path);
}

} // namespace corvane

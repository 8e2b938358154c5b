#include "platform/rehearsal/RehearsalFolders.h"

#include <system_error>

namespace corvane {

std::optional<std::filesystem::path> RehearsalFolders::music() const {
    std::filesystem::path folder = home() / "Music";
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error))
        return std::nullopt;
    return folder;
}

} // namespace corvane

#include "platform/files/FileState.h"

#include <system_error>

namespace corvane {

FileState stateOf(const std::filesystem::path &file) {
    std::error_code missing;
    const auto date = std::filesystem::last_write_time(file, missing);
    const auto size = missing ? 0 : std::filesystem::file_size(file, missing);
    return missing ? std::nullopt : FileState(std::pair(date, size));
}

} // namespace corvane

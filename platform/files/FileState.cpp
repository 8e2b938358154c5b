#include "platform/files/FileState.h"

#include <system_error>

namespace corvane {

FileState stateOf(const std::filesystem::path &file) {
    std::error_code undated;
    std::error_code unsized;
    const auto date = std::filesystem::last_write_time(file, undated);
    const auto size = std::filesystem::file_size(file, unsized);
    return undated || unsized ? std::nullopt : FileState(std::pair(date, size));
}

} // namespace corvane

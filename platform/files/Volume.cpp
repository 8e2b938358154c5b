#include "platform/files/Volume.h"

#include <sys/stat.h>

#include <system_error>

namespace corvane {

namespace {

using Path = std::filesystem::path;

std::optional<dev_t> deviceOf(const Path &path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? std::optional(status.st_dev) : std::nullopt;
}

} // namespace

std::optional<Volume> volumeOf(const Path &path) {
    std::error_code error;
    Path folder = std::filesystem::absolute(path, error).lexically_normal();
    while (!deviceOf(folder) && folder.has_relative_path())
        folder = folder.parent_path();
    const auto device = deviceOf(folder);
    const auto space = std::filesystem::space(folder, error);
    if (error)
        return std::nullopt;
    while (folder.has_relative_path() && deviceOf(folder.parent_path()) == device)
        folder = folder.parent_path();
    return Volume{folder.filename().string(), space.available};
}

} // namespace corvane

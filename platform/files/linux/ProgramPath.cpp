#include "platform/files/FolderResources.h"

#include <system_error>

namespace corvane {

std::filesystem::path programPath() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error);
}

} // namespace corvane

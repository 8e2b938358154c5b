#include "platform/files/FolderResources.h"

#include <cstdint>
#include <string>
#include <system_error>

#include <mach-o/dyld.h>

namespace corvane {

std::filesystem::path programPath() {
    std::uint32_t size = 0;
    ::_NSGetExecutablePath(nullptr, &size);
    std::string path(size, '\0');
    if (::_NSGetExecutablePath(path.data(), &size) != 0)
        return {};
    std::error_code error;
    return std::filesystem::canonical(path.c_str(), error);
}

} // namespace corvane

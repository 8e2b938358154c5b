#include "platform/files/FileHandle.h"

#include "platform/files/Files.h"

#include <cerrno>
#include <cstddef>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace corvane {

FileHandle FileHandle::openForAppending(const std::filesystem::path &path) {
    int descriptor = -1;
    do {
        descriptor = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY, 0666);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0)
        throw FileError::cannot("written", path, errno);
    return FileHandle(descriptor, path);
}

FileHandle::FileHandle(int descriptor, std::filesystem::path path)
    : descriptor(descriptor), path(std::move(path)) {}

FileHandle::FileHandle(FileHandle &&other) noexcept
    : descriptor(std::exchange(other.descriptor, -1)), path(std::move(other.path)) {}

FileHandle &FileHandle::operator=(FileHandle &&other) noexcept {
    std::swap(descriptor, other.descriptor);
    std::swap(path, other.path);
    return *this;
}

FileHandle::~FileHandle() {
    if (descriptor >= 0)
        ::close(descriptor);
}

void FileHandle::write(std::string_view text) const {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written >= 0)
            text.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            throw FileError::cannot("written", path, errno);
    }
}

void FileHandle::flush() const {
#ifdef F_FULLFSYNC
    // On macOS fsync stops at the drive's own cache.
    if (::fcntl(descriptor, F_FULLFSYNC) == 0)
        return;
#endif
    while (::fsync(descriptor) != 0) {
        if (errno != EINTR)
            throw FileError::cannot("written", path, errno);
    }
}

void FileHandle::close() {
    // After EINTR the descriptor is gone as well: closing it again could close somebody else's.
    if (::close(std::exchange(descriptor, -1)) != 0 && errno != EINTR)
        throw FileError::cannot("written", path, errno);
}

} // namespace corvane

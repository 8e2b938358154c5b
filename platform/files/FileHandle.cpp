#include "platform/files/FileHandle.h"

#include "base/Uninterrupted.h"
#include "platform/files/Files.h"

#include <cerrno>
#include <cstddef>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane {
namespace {

FileError notOrdinary(const char *what, const std::filesystem::path &path) {
    return FileError("The file “" + path.string() + "” could not be " + what +
                     ": It is not an ordinary file.");
}

FileHandle opened(const std::filesystem::path &path, int flags, const char *what) {
    constexpr mode_t mode = 0666;
    const int descriptor =
        uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, mode); });
    if (descriptor >= 0)
        return FileHandle(descriptor, path);
    if (errno == ENXIO) // a named pipe that nobody reads from
        throw notOrdinary(what, path);
    throw FileError::cannot(what, path, errno);
}

template <class Call>
std::size_t countOrError(const char *what, const std::filesystem::path &path, Call call) {
    const ssize_t count = uninterrupted(call);
    if (count < 0)
        throw FileError::cannot(what, path, errno);
    return static_cast<std::size_t>(count);
}

} // namespace

FileHandle FileHandle::openForAppending(const std::filesystem::path &path) {
    // Without waiting for somebody to read from what may be a named pipe.
    FileHandle file = opened(path, O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK, "written");
    struct stat status {};
    if (::fstat(file.descriptor, &status) == 0 && !S_ISREG(status.st_mode) && !S_ISCHR(status.st_mode))
        throw notOrdinary("written", path);
    ::fcntl(file.descriptor, F_SETFL, O_APPEND); // programs inherit it, and what they write may wait
    return file;
}

FileHandle FileHandle::openForReading(const std::filesystem::path &path) {
    // Without waiting for somebody to write into what may be a named pipe.
    FileHandle file = opened(path, O_RDONLY | O_NONBLOCK, "read");
    struct stat status {};
    if (::fstat(file.descriptor, &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode))
        throw notOrdinary("read", path);
    return file;
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
    while (!text.empty())
        text.remove_prefix(
            countOrError("written", path, [&] { return ::write(descriptor, text.data(), text.size()); }));
}

std::size_t FileHandle::read(char *to, std::size_t room) const {
    return countOrError("read", path, [&] { return ::read(descriptor, to, room); });
}

std::size_t FileHandle::readAt(std::uint64_t offset, char *to, std::size_t room) const {
    return countOrError("read", path,
                        [&] { return ::pread(descriptor, to, room, static_cast<off_t>(offset)); });
}

void FileHandle::flush() const {
#ifdef F_FULLFSYNC
    // On macOS fsync stops at the drive's own cache.
    if (::fcntl(descriptor, F_FULLFSYNC) == 0)
        return;
#endif
    countOrError("written", path, [&] { return ::fsync(descriptor); });
}

bool FileHandle::tryLock() const {
    return uninterrupted([&] { return ::flock(descriptor, LOCK_EX | LOCK_NB); }) == 0 || errno != EWOULDBLOCK;
}

void FileHandle::close() {
    // After EINTR the descriptor is gone as well: closing it again could close somebody else's.
    if (::close(std::exchange(descriptor, -1)) != 0 && errno != EINTR)
        throw FileError::cannot("written", path, errno);
}

} // namespace corvane

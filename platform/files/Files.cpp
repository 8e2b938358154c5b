#include "platform/files/Files.h"

#include "base/Uninterrupted.h"
#include "platform/files/FileHandle.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <future>
#include <optional>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane {
namespace {

using Path = std::filesystem::path;

std::string systemText(int errorNumber) {
    return std::generic_category().message(errorNumber);
}

Path folderOf(const Path &path) {
    const Path folder = path.parent_path();
    return folder.empty() ? Path(".") : folder;
}

std::optional<struct stat> statusOf(const Path &path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0)
        return std::nullopt;
    return status;
}

/// Follows the links that the last component may be, to a place where nothing need be yet.
Path followingLinks(Path path) {
    constexpr int mostLinks = 40; // as many as Linux follows
    for (int links = 0; links <= mostLinks; ++links) {
        struct stat status {};
        if (::lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode))
            return path;
        std::error_code error;
        const Path target = std::filesystem::read_symlink(path, error);
        if (error)
            throw FileError::cannot("written", path, error.value());
        path = withoutTrailingSlashes(folderOf(path) / target);
    }
    throw FileError::cannot("written", path, ELOOP);
}

int openUninterrupted(const Path &path, int flags, mode_t mode = 0) {
    return uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, mode); });
}

/// Makes the entries of a folder as lasting as their files. What cannot be flushed is left to the system: the
/// new name is in place by then and there is nothing to go back to.
void flushFolder(const Path &folder) {
    const int descriptor = openUninterrupted(folder, O_RDONLY | O_DIRECTORY);
    if (descriptor < 0)
        return;
    ::fsync(descriptor);
    ::close(descriptor);
}

/// A new file in the folder of the one it is to become, gone again unless it was put in place.
class TemporaryFile {
public:
    TemporaryFile(const Path &destination, mode_t mode) : destination(destination), handle(create(mode)) {}
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;
    ~TemporaryFile() {
        if (!path.empty())
            ::unlink(path.c_str());
    }

    const FileHandle &file() const { return handle; }

    /// Gives it the owner and mode of the file it replaces. Only root may give a file away: where that is
    /// refused the group alone is tried, and the file stays ours. What that group might do, no other group
    /// may.
    void takeAfter(const struct stat &old) const {
        const int descriptor = handle.fileDescriptor();
        mode_t mode = old.st_mode & 07777U;
        if (::fchown(descriptor, old.st_uid, old.st_gid) != 0) {
            const bool groupKept = ::fchown(descriptor, static_cast<uid_t>(-1), old.st_gid) == 0;
            mode &= groupKept ? 0777U : 0707U;
        }
        if (::fchmod(descriptor, mode) != 0)
            throw FileError::cannot("written", destination, errno);
    }

    void close() { handle.close(); }

    void replaceDestination() {
        if (::rename(path.c_str(), destination.c_str()) != 0)
            throw FileError::cannot("written", destination, errno);
        isInPlace();
    }

    /// Puts it in place unless something is there already.
    void becomeDestination() {
        if (::link(path.c_str(), destination.c_str()) != 0) {
            const bool withoutHardLinks =
                errno == EPERM || errno == ENOTSUP || errno == EMLINK || errno == ENOSYS;
            struct stat status {};
            if (!withoutHardLinks)
                throw FileError::cannot("written", destination, errno);
            if (::lstat(destination.c_str(), &status) == 0)
                throw FileError::cannot("written", destination, EEXIST);
            return replaceDestination();
        }
        ::unlink(path.c_str());
        isInPlace();
    }

private:
    FileHandle create(mode_t mode) {
        static std::atomic<unsigned> counter{0};
        constexpr int attempts = 1000;
        for (int attempt = 1;; ++attempt) {
            // Short and without the destination's name, which may already be as long as a name can be.
            path = folderOf(destination) /
                   (".corvane-" + std::to_string(::getpid()) + "-" + std::to_string(++counter));
            const int descriptor = openUninterrupted(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
            if (descriptor >= 0)
                return FileHandle(descriptor, destination);
            // One that exists was left over from an earlier process of our number; some shares say so of any
            // name.
            if (errno != EEXIST || attempt == attempts)
                throw FileError::cannot("written", destination, errno);
        }
    }

    /// Its own name is gone.
    void isInPlace() { flushFolder(folderOf(std::exchange(path, {}))); }

    Path destination;
    Path path;
    FileHandle handle;
};

/// Reads on from a descriptor, piece by piece, to the end of the file.
template <class Take>
void readAll(const FileHandle &file, Take take) {
    std::array<char, 65536> buffer;
    for (;;) {
        const std::size_t count = file.read(buffer.data(), buffer.size());
        if (count == 0)
            return;
        take(std::string_view(buffer.data(), count));
    }
}

} // namespace

FileError FileError::cannot(const std::string &what, const Path &path, int errorNumber) {
    return FileError("The file “" + path.string() + "” could not be " + what + ": " +
                     systemText(errorNumber) + ".");
}

Bytes readFile(const Path &path) {
    const FileHandle file = FileHandle::openForReading(path);
    Bytes bytes;
    struct stat status {};
    // A folder's size is that of everything in it on some shares.
    if (::fstat(file.fileDescriptor(), &status) == 0 && S_ISREG(status.st_mode))
        bytes.reserve(static_cast<std::size_t>(status.st_size));
    readAll(file, [&](std::string_view piece) { bytes.insert(bytes.end(), piece.begin(), piece.end()); });
    return bytes;
}

void replaceFileAtomically(const Path &path, std::string_view bytes) {
    replaceFileAtomically(path, [&](const FileHandle &file) { file.write(bytes); }, {});
}

void replaceFileAtomically(const Path &path, const std::function<void(const FileHandle &file)> &write,
                           const std::function<void(const FileHandle &file)> &check) {
    const Path destination = followingLinks(path);
    const auto old = statusOf(destination);
    if (old && S_ISDIR(old->st_mode))
        throw FileError::cannot("written", path, EISDIR);
    if (old && !S_ISREG(old->st_mode))
        throw FileError("The file “" + path.string() + "” could not be written: It is not an ordinary file.");
    TemporaryFile temporary(destination, old ? 0600 : 0666);
    if (old)
        temporary.takeAfter(*old);
    write(temporary.file());
    // Where no thread can be had it is done when its end is waited for.
    std::future<void> checked;
    if (check)
        checked = std::async([&] { check(temporary.file()); });
    temporary.file().flush();
    if (checked.valid())
        checked.get();
    temporary.close();
    temporary.replaceDestination();
}

void copyFile(const Path &from, const Path &to) {
    const FileHandle source = FileHandle::openForReading(from);
    struct stat status {};
    if (::fstat(source.fileDescriptor(), &status) != 0)
        throw FileError::cannot("read", from, errno);
    if (S_ISDIR(status.st_mode))
        throw FileError::cannot("read", from, EISDIR);
    // Complete before it bears its name: a copy that was cut short must not pass for the file.
    TemporaryFile temporary(to, 0600);
    readAll(source, [&](std::string_view piece) { temporary.file().write(piece); });
    if (::fchmod(temporary.file().fileDescriptor(), status.st_mode & 0777U) != 0)
        throw FileError::cannot("written", to, errno);
    temporary.file().flush();
    temporary.close();
    temporary.becomeDestination();
}

void createFolders(const Path &path) {
    const Path wanted = withoutTrailingSlashes(path);
    Path present = wanted;
    while (!present.empty() && !fileExists(present))
        present = present.parent_path();
    std::error_code error;
    std::filesystem::create_directories(wanted, error);
    if (error)
        throw FileError("The folder “" + path.string() + "” could not be created: " + error.message() + ".");
    // As lasting as the files that will be flushed into it.
    for (Path made = wanted; made != present; made = made.parent_path())
        flushFolder(folderOf(made));
}

bool fileExists(const Path &path) {
    // The system would look for what stands before a NUL, and no file's name has one.
    return path.native().find('\0') == Path::string_type::npos && statusOf(path).has_value();
}

Path appending(const Path &folder, std::string_view component) {
    while (!component.empty() && component.front() == '/')
        component.remove_prefix(1);
    while (!component.empty() && component.back() == '/')
        component.remove_suffix(1);
    return component.empty() ? folder : folder / Path(component);
}

Path withoutTrailingSlashes(const Path &path) {
    std::string text = path.string();
    while (text.size() > 1 && text.back() == '/')
        text.pop_back();
    return text;
}

std::string lastPathComponent(const Path &path) {
    const Path trimmed = withoutTrailingSlashes(path);
    return trimmed == "/" ? "/" : trimmed.filename().string();
}

} // namespace corvane

// A library to be preloaded into a program: counts the system calls that it makes on files below one folder,
// and lets the n-th of them fail or be the program's last. Environment:
//   FAULT_FOLDER  only calls on paths below this folder, and on descriptors opened there, count
//   FAULT_LOG     a file outside that folder that gets a line for each call: its name and path
//   FAULT_AT      which call, counted from 1; none fails when it is 0 or missing
//   FAULT_KIND    the error number that the call fails with, or "kill" (SIGKILL in place of the call),
//                 or "torn" (SIGKILL when half of the bytes are written)

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int MOST_DESCRIPTORS = 4096;
std::array<bool, MOST_DESCRIPTORS> watched{};
long calls = 0;

template <class Function>
Function real(const char *name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

bool isWatched(const char *path) {
    const char *folder = std::getenv("FAULT_FOLDER");
    return folder != nullptr && path != nullptr && std::strncmp(path, folder, std::strlen(folder)) == 0;
}

bool isWatched(int descriptor) {
    return descriptor >= 0 && descriptor < MOST_DESCRIPTORS && watched[static_cast<std::size_t>(descriptor)];
}

void watch(int descriptor, bool on) {
    if (descriptor >= 0 && descriptor < MOST_DESCRIPTORS)
        watched[static_cast<std::size_t>(descriptor)] = on;
}

void log(const char *call, const char *path) {
    const char *file = std::getenv("FAULT_LOG");
    if (file == nullptr)
        return;
    static const int descriptor = static_cast<int>(
        ::syscall(SYS_openat, AT_FDCWD, file, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    for (const char *part : {call, " ", path, "\n"})
        static_cast<void>(::syscall(SYS_write, descriptor, part, std::strlen(part)));
}

enum class Fate { proceed, fail, tear };

/// Counts a call and decides what becomes of it; errno is set when it is to fail.
Fate fate(const char *call, const char *path = "") {
    ++calls;
    log(call, path);
    const char *at = std::getenv("FAULT_AT");
    const char *kind = std::getenv("FAULT_KIND");
    if (at == nullptr || kind == nullptr || std::atol(at) != calls)
        return Fate::proceed;
    if (std::strcmp(kind, "kill") == 0)
        ::kill(::getpid(), SIGKILL);
    if (std::strcmp(kind, "torn") == 0)
        return Fate::tear;
    errno = std::atoi(kind);
    return Fate::fail;
}

bool fails(const char *call, const char *path = "") {
    const Fate decided = fate(call, path);
    if (decided == Fate::tear)
        ::kill(::getpid(), SIGKILL);
    return decided == Fate::fail;
}

int opened(int descriptor) {
    watch(descriptor, descriptor >= 0);
    return descriptor;
}

} // namespace

extern "C" {

int open(const char *path, int flags, ...) {
    va_list list;
    va_start(list, flags);
    const auto mode = (flags & O_CREAT) != 0 ? va_arg(list, mode_t) : 0;
    va_end(list);
    const auto proceed = [&] { return real<int (*)(const char *, int, ...)>("open")(path, flags, mode); };
    if (!isWatched(path))
        return proceed();
    return fails("open", path) ? -1 : opened(proceed());
}

int open64(const char *path, int flags, ...) {
    va_list list;
    va_start(list, flags);
    const auto mode = (flags & O_CREAT) != 0 ? va_arg(list, mode_t) : 0;
    va_end(list);
    return open(path, flags, mode);
}

int openat(int folder, const char *path, int flags, ...) {
    va_list list;
    va_start(list, flags);
    const auto mode = (flags & O_CREAT) != 0 ? va_arg(list, mode_t) : 0;
    va_end(list);
    const auto proceed = [&] {
        return real<int (*)(int, const char *, int, ...)>("openat")(folder, path, flags, mode);
    };
    if (!isWatched(path) && !isWatched(folder))
        return proceed();
    return fails("openat", path) ? -1 : opened(proceed());
}

ssize_t read(int descriptor, void *bytes, std::size_t count) {
    if (isWatched(descriptor) && fails("read"))
        return -1;
    return real<ssize_t (*)(int, void *, std::size_t)>("read")(descriptor, bytes, count);
}

ssize_t write(int descriptor, const void *bytes, std::size_t count) {
    const auto proceed = real<ssize_t (*)(int, const void *, std::size_t)>("write");
    if (isWatched(descriptor)) {
        const Fate decided = fate("write");
        if (decided == Fate::fail)
            return -1;
        if (decided == Fate::tear) {
            proceed(descriptor, bytes, count / 2);
            ::kill(::getpid(), SIGKILL);
        }
    }
    return proceed(descriptor, bytes, count);
}

int close(int descriptor) {
    const bool mine = isWatched(descriptor);
    const bool failing = mine && fails("close");
    const int error = errno;
    if (mine)
        watch(descriptor, false);
    // A descriptor is gone even when closing it reports an error.
    const int result = real<int (*)(int)>("close")(descriptor);
    if (failing)
        errno = error;
    return failing ? -1 : result;
}

// What a killed program has written stays with the system: nothing need wait for the disk here.
int fsync(int descriptor) {
    if (isWatched(descriptor))
        return fails("fsync") ? -1 : 0;
    return real<int (*)(int)>("fsync")(descriptor);
}

int fdatasync(int descriptor) {
    if (isWatched(descriptor))
        return fails("fdatasync") ? -1 : 0;
    return real<int (*)(int)>("fdatasync")(descriptor);
}

int ftruncate(int descriptor, off_t size) {
    return isWatched(descriptor) && fails("ftruncate")
               ? -1
               : real<int (*)(int, off_t)>("ftruncate")(descriptor, size);
}

int fchmod(int descriptor, mode_t mode) {
    return isWatched(descriptor) && fails("fchmod") ? -1
                                                    : real<int (*)(int, mode_t)>("fchmod")(descriptor, mode);
}

int fchown(int descriptor, uid_t owner, gid_t group) {
    return isWatched(descriptor) && fails("fchown")
               ? -1
               : real<int (*)(int, uid_t, gid_t)>("fchown")(descriptor, owner, group);
}

int flock(int descriptor, int operation) {
    return isWatched(descriptor) && fails("flock") ? -1
                                                   : real<int (*)(int, int)>("flock")(descriptor, operation);
}

int fstat(int descriptor, struct stat *status) {
    return isWatched(descriptor) && fails("fstat")
               ? -1
               : real<int (*)(int, struct stat *)>("fstat")(descriptor, status);
}

int stat(const char *path, struct stat *status) {
    return isWatched(path) && fails("stat", path)
               ? -1
               : real<int (*)(const char *, struct stat *)>("stat")(path, status);
}

int lstat(const char *path, struct stat *status) {
    return isWatched(path) && fails("lstat", path)
               ? -1
               : real<int (*)(const char *, struct stat *)>("lstat")(path, status);
}

int rename(const char *from, const char *to) {
    return isWatched(from) && fails("rename", to)
               ? -1
               : real<int (*)(const char *, const char *)>("rename")(from, to);
}

int link(const char *from, const char *to) {
    return isWatched(from) && fails("link", to) ? -1
                                                : real<int (*)(const char *, const char *)>("link")(from, to);
}

int unlink(const char *path) {
    return isWatched(path) && fails("unlink", path) ? -1 : real<int (*)(const char *)>("unlink")(path);
}

int remove(const char *path) {
    return isWatched(path) && fails("remove", path) ? -1 : real<int (*)(const char *)>("remove")(path);
}

int mkdir(const char *path, mode_t mode) {
    return isWatched(path) && fails("mkdir", path) ? -1
                                                   : real<int (*)(const char *, mode_t)>("mkdir")(path, mode);
}

ssize_t readlink(const char *path, char *target, std::size_t size) {
    return isWatched(path) && fails("readlink", path)
               ? -1
               : real<ssize_t (*)(const char *, char *, std::size_t)>("readlink")(path, target, size);
}

DIR *opendir(const char *path) {
    return isWatched(path) && fails("opendir", path) ? nullptr
                                                     : real<DIR *(*)(const char *)>("opendir")(path);
}

struct dirent *readdir(DIR *folder) {
    return isWatched(::dirfd(folder)) && fails("readdir")
               ? nullptr
               : real<struct dirent *(*)(DIR *)>("readdir")(folder);
}

} // extern "C"

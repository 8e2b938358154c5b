#include "platform/net/Sockets.h"

#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace corvane {

int openSocket(int family, int type) {
#ifdef SOCK_CLOEXEC
    return ::socket(family, type | SOCK_CLOEXEC, 0);
#else
    const int descriptor = ::socket(family, type, 0);
    if (descriptor >= 0) {
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
        const int on = 1;
        ::setsockopt(descriptor, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
    }
    return descriptor;
#endif
}

void closeEverythingOnExec() {
    DIR *const listing = ::opendir("/dev/fd");
    if (listing == nullptr)
        return;
    while (const dirent *entry = ::readdir(listing)) {
        const int descriptor = std::atoi(entry->d_name);
        const int flags = descriptor > STDERR_FILENO ? ::fcntl(descriptor, F_GETFD) : -1;
        if (flags >= 0 && (flags & FD_CLOEXEC) == 0)
            ::fcntl(descriptor, F_SETFD, flags | FD_CLOEXEC);
    }
    ::closedir(listing);
}

} // namespace corvane

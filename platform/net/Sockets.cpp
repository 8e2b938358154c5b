#include "platform/net/Sockets.h"

#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
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

void noticeSilentPeer(int descriptor) {
    constexpr int secondsOfSilence = 5;
    constexpr int secondsBetweenQuestions = 2;
    constexpr int questions = 3;
    constexpr int secondsInAll = secondsOfSilence + questions * secondsBetweenQuestions;
    const auto set = [descriptor](int level, int option, int value) {
        ::setsockopt(descriptor, level, option, &value, sizeof value);
    };
    set(SOL_SOCKET, SO_KEEPALIVE, 1);
#ifdef TCP_KEEPIDLE
    set(IPPROTO_TCP, TCP_KEEPIDLE, secondsOfSilence);
#elif defined(TCP_KEEPALIVE)
    set(IPPROTO_TCP, TCP_KEEPALIVE, secondsOfSilence);
#endif
    set(IPPROTO_TCP, TCP_KEEPINTVL, secondsBetweenQuestions);
    set(IPPROTO_TCP, TCP_KEEPCNT, questions);
#ifdef TCP_USER_TIMEOUT
    set(IPPROTO_TCP, TCP_USER_TIMEOUT, secondsInAll * 1'000);
#elif defined(TCP_RXT_CONNDROPTIME)
    set(IPPROTO_TCP, TCP_RXT_CONNDROPTIME, secondsInAll);
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

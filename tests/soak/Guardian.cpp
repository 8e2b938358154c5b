#include "tests/soak/Guardian.h"

#include "platform/processes/ProcessTable.h"

#include <cerrno>
#include <csignal>
#include <exception>
#include <fcntl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace corvane::soak {

namespace {

[[noreturn]] void waitForTheEnd(int lifeLine, const std::filesystem::path &folder) {
    ::setsid(); // out of reach of the terminal's signals
    char byte = 0;
    while (::read(lifeLine, &byte, 1) < 0 && errno == EINTR) {
    }
    try {
        for (const ProcessIdentity &each : processesRunningBelow(folder))
            ::kill(each.pid, SIGKILL);
    } catch (const std::exception &) {
        ::_exit(1);
    }
    ::_exit(0);
}

} // namespace

Guardian::Guardian(const std::filesystem::path &folder) {
    int ends[2];
    if (::pipe(ends) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe");
    for (const int end : ends)
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    process = ::fork();
    if (process == 0) {
        ::close(ends[1]);
        waitForTheEnd(ends[0], folder);
    }
    ::close(ends[0]);
    lifeLine = ends[1];
}

Guardian::~Guardian() {
    ::close(lifeLine);
    ::waitpid(process, nullptr, 0);
}

} // namespace corvane::soak

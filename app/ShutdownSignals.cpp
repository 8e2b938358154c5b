#include "app/ShutdownSignals.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace corvane {

namespace {

constexpr std::array endSignals{SIGTERM, SIGINT, SIGHUP};

/// A pipe from the signal handler, which may do next to nothing, to the event loop.
std::array<int, 2> signalPipe{-1, -1};

void tellPipe(int) {
    const int before = errno;
    const char token = 1;
    [[maybe_unused]] const ssize_t written = write(signalPipe[1], &token, 1);
    errno = before;
}

void handleEndSignals(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int signal : endSignals)
        sigaction(signal, &action, nullptr);
}

} // namespace

ShutdownSignals::ShutdownSignals(std::function<void()> asked) {
    if (pipe(signalPipe.data()) != 0)
        return; // no descriptors left: signals then end the program as usual
    for (const int end : signalPipe) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    auto *notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [asked = std::move(asked)] {
        char token = 0;
        while (read(signalPipe[0], &token, 1) == 1)
            continue;
        asked();
    });
    handleEndSignals(tellPipe);
}

ShutdownSignals::~ShutdownSignals() {
    if (signalPipe[0] < 0)
        return;
    handleEndSignals(SIG_DFL);
    qDeleteAll(findChildren<QSocketNotifier *>());
    for (int &end : signalPipe) {
        close(end);
        end = -1;
    }
}

} // namespace corvane

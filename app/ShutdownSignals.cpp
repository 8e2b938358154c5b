#include "app/ShutdownSignals.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <map>
#include <unistd.h>
#include <utility>

namespace corvane {

namespace {

constexpr std::array endSignals{SIGTERM, SIGINT, SIGHUP};

/// A pipe from the signal handler, which may do next to nothing, to the event loop.
std::array signalPipe{-1, -1};

void tellPipe(int) {
    const int errnoBefore = errno;
    [[maybe_unused]] const ssize_t written = write(signalPipe[1], "!", 1);
    errno = errnoBefore;
}

std::map<int, struct sigaction> before;

/// A signal that this program was started to ignore, as behind nohup, stays ignored.
void handleEndSignals() {
    struct sigaction action = {};
    action.sa_handler = tellPipe;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int signal : endSignals) {
        sigaction(signal, nullptr, &before[signal]);
        if (before[signal].sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
}

void restoreEndSignals() {
    for (const auto &[signal, action] : before)
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
        for (char token; read(signalPipe[0], &token, 1) == 1;) {
        }
        asked();
    });
    handleEndSignals();
}

ShutdownSignals::~ShutdownSignals() {
    const auto *notifier = findChild<QSocketNotifier *>();
    if (notifier == nullptr)
        return; // there was no pipe
    restoreEndSignals();
    delete notifier;
    for (int &end : signalPipe) // a handler that is still at work on another thread then finds none
        close(std::exchange(end, -1));
}

} // namespace corvane

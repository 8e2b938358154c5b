#pragma once

#include <QObject>

#include <functional>

namespace corvane {

/// Turns the signals that ask a program to end (SIGTERM, SIGINT, SIGHUP) into a call on the main thread, so
/// that a session closed by the system or Ctrl-C in a terminal ends the program as cleanly as Quit. A signal
/// that is ignored stays ignored. At most one exists at a time; its destructor restores the previous
/// handlers.
class ShutdownSignals : public QObject {
public:
    explicit ShutdownSignals(std::function<void()> asked);
    ~ShutdownSignals() override;
};

} // namespace corvane

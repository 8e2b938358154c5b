#pragma once

#include "platform/Platform.h"

#include <QProcess>

#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>

class QSocketNotifier;

namespace corvane {

/// The rehearsal takes place in another window: ending this one would end the stand-ins of that.
class RehearsalIsOpen : public std::runtime_error {
public:
    explicit RehearsalIsOpen(const std::filesystem::path &folder)
        : std::runtime_error("The rehearsal in “" + folder.string() +
                             "” is open in another window. Close that one first.") {}
};

/// What a rehearsal needs around the window: a console's stand-in that runs as long as this, and LiveTrax's
/// stand-in, installed where the rehearsal's LiveTrax is looked for. Main thread only.
class RehearsalStage : public QObject {
public:
    using Path = std::filesystem::path;

    /// The rehearsal that takes place when no folder is named.
    static Path defaultFolder();
    /// Makes a music folder below `folder` and puts LiveTrax's stand-in, which lies beside this program (in
    /// `programs`), in LiveTrax's place. Throws FileError.
    static void furnish(const Path &folder, const Path &programs);

    /// Furnishes the rehearsal's folder and starts the console, which announces itself on loopback. Throws
    /// RehearsalIsOpen, with nothing touched, when another window has the same rehearsal, and FileError when
    /// the stand-ins are not there or cannot be started.
    RehearsalStage(const Platform &platform, const Path &programs);
    /// Ends the console and every LiveTrax of the rehearsal that runs.
    ~RehearsalStage() override;

    /// Calls `told` when the console has ended by itself, at once if it has already; as long as `context`
    /// exists.
    void whenConsoleEnds(const QObject *context, const std::function<void()> &told);
    /// Has the console do something: one of the commands that it reads on its standard input.
    void tellConsole(const QByteArray &command);
    /// The LiveTrax of the rehearsal; null when none runs.
    std::shared_ptr<RunningApplication> recorder() const;
    /// Hands what is typed in the terminal on to the console.
    void listenToTerminal();

private:
    static void endRecorder(RunningApplication &recorder);
    void readTerminal(QSocketNotifier *notifier);

    const Platform &platform;
    QProcess console;
};

class MainWindow;

/// A menu of what can happen on the console during a rehearsal, which says so when the console is no more,
/// and of how to quit LiveTrax, which has no window there. Made before the window is built.
void buildRehearsalMenu(MainWindow &window, RehearsalStage &stage);

} // namespace corvane

#include "app/RehearsalStage.h"

#include "app/MainWindow.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "platform/files/Files.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QMenu>
#include <QMenuBar>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTimer>

#include <array>
#include <csignal>
#include <memory>
#ifdef __linux__
#include <sys/prctl.h>
#endif
#include <unistd.h>

namespace corvane {

namespace {

constexpr auto consoleProgram = "lv1-console-sim";
constexpr auto recorderProgram = "livetrax-sim";
constexpr int startTime = 5000; // milliseconds
constexpr int endTime = 2000;
constexpr int recordersEndTime = 10000;

QString text(const std::filesystem::path &path) {
    return QString::fromStdString(path.string());
}

/// Whether `file` is a copy of `original`: as large and not older.
bool isCurrent(const std::filesystem::path &file, const std::filesystem::path &original) {
    std::error_code error;
    if (std::filesystem::file_size(file, error) != std::filesystem::file_size(original, error) || error)
        return false;
    const auto made = std::filesystem::last_write_time(file, error);
    return !error && made >= std::filesystem::last_write_time(original, error) && !error;
}

/// A terminal that this process may read: a program in the background would be stopped for it.
bool mayRead(int descriptor) {
    return !isatty(descriptor) || tcgetpgrp(descriptor) == getpgrp();
}

} // namespace

RehearsalStage::Path RehearsalStage::defaultFolder() {
    return Path(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation).toStdString()) /
           "corvane" / "rehearsal";
}

void RehearsalStage::furnish(const Path &folder, const Path &programs) {
    createFolders(folder / "home/Music"); // where sessions are saved unless another folder is chosen
    const Path original = programs / recorderProgram;
    if (!fileExists(original))
        throw FileError("A rehearsal needs the stand-ins, which are in a package of their own on Debian "
                        "(corvane-rehearsal): " +
                        original.string() + " is not there.");
    const Path place = folder / "Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3";
    createFolders(place.parent_path());
    if (isCurrent(place, original))
        return;
    // A new file: the old one may be running.
    std::error_code ignored;
    std::filesystem::remove(place, ignored);
    copyFile(original, place);
    std::filesystem::permissions(place, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add);
}

RehearsalStage::RehearsalStage(const Platform &platform, const Path &programs) : platform(platform) {
    if (platform.rehearsal && !platform.rehearsal->lead())
        throw RehearsalIsOpen(platform.rehearsal->root());
    furnish(platform.folders.applications.parent_path(), programs);
    console.setProgram(text(programs / consoleProgram));
    console.setArguments({QStringLiteral("--announce"), QStringLiteral("127.0.0.1"), QStringLiteral("--name"),
                          QStringLiteral("Rehearsal Console")});
    console.setProcessChannelMode(QProcess::ForwardedErrorChannel);
#ifdef __linux__
    // It must not stay behind even when this program is killed.
    console.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
#endif
    console.start();
    if (!console.waitForStarted(startTime))
        throw FileError("The console's stand-in could not be started: " +
                        console.errorString().toStdString());
    // What it says is of no use here, and must not fill up.
    connect(&console, &QProcess::readyReadStandardOutput, &console,
            [this] { console.readAllStandardOutput(); });
}

void RehearsalStage::endRecorder(RunningApplication &recorder) {
    const auto waitForEnd = [&recorder] {
        const QDeadlineTimer end(endTime);
        while (!recorder.isTerminated() && !end.hasExpired()) {
            QEventLoop wait;
            QTimer::singleShot(50, &wait, &QEventLoop::quit);
            wait.exec();
        }
        return recorder.isTerminated();
    };
    recorder.terminate();
    if (waitForEnd())
        return;
    recorder.forceTerminate();
    waitForEnd();
}

RehearsalStage::~RehearsalStage() {
    disconnect(&console, &QProcess::finished, nullptr, nullptr); // from here on its end is expected
    const QDeadlineTimer end(recordersEndTime);
    for (auto running = recorder(); running && !end.hasExpired(); running = recorder())
        endRecorder(*running);
    console.terminate();
    if (!console.waitForFinished(endTime)) {
        console.kill();
        console.waitForFinished(endTime);
    }
}

void RehearsalStage::whenConsoleEnds(const QObject *context, const std::function<void()> &told) {
    connect(&console, &QProcess::finished, context, told);
    if (console.state() == QProcess::NotRunning)
        told();
}

void RehearsalStage::tellConsole(const QByteArray &command) {
    if (console.state() == QProcess::Running)
        console.write(command + '\n');
}

std::shared_ptr<RunningApplication> RehearsalStage::recorder() const {
    auto running = LiveTraxGenerator::runningApplication(platform);
    return running && !running->isTerminated() ? running : nullptr;
}

void RehearsalStage::listenToTerminal() {
    if (!mayRead(STDIN_FILENO))
        return;
    auto *notifier = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier] { readTerminal(notifier); });
}

void RehearsalStage::readTerminal(QSocketNotifier *notifier) {
    std::array<char, 4096> typed{};
    const ssize_t count = mayRead(STDIN_FILENO) ? read(STDIN_FILENO, typed.data(), typed.size()) : 0;
    if (count > 0 && console.state() == QProcess::Running)
        console.write(typed.data(), count);
    else
        notifier->setEnabled(false); // end of the input or of the console
}

namespace {

/// Something that happens on the console: one of these commands in turn.
struct Happening {
    const char *title;
    std::vector<QByteArray> commands;
};

void addQuitLiveTrax(QMenu &menu, RehearsalStage &stage) {
    menu.addSeparator()->setMenuRole(QAction::NoRole);
    QAction *quit = menu.addAction(QStringLiteral("Quit LiveTrax"));
    quit->setMenuRole(QAction::NoRole); // else macOS takes it for the program's own
    QObject::connect(quit, &QAction::triggered, &stage, [&stage] {
        if (const auto running = stage.recorder())
            running->terminate();
    });
    QObject::connect(&menu, &QMenu::aboutToShow, &stage,
                     [&stage, quit] { quit->setEnabled(stage.recorder() != nullptr); });
}

} // namespace

void buildRehearsalMenu(MainWindow &window, RehearsalStage &stage) {
    static const std::vector<Happening> happenings{
        {"Recall the Next Scene", {"next"}},
        {"Rename a Channel", {"rename 1 Kick In", "rename 1 Bombo In"}},
        {"Move a Channel to Another Input", {"move 20 41", "move 20 25"}},
        {"Change a Channel's Width", {"stereo 24 off", "stereo 24 on"}},
        {"Change a Channel's Colour", {"color 3 0.1 0.7 0.9", "color 3 0.9 0.8 0.1", "color 3 0.8 0.2 0.2"}},
        {"Drop the Connection", {"drop"}},
    };
    window.menuBar()->setNativeMenuBar(false); // the screen's menu bar is the application's
    QMenu *menu = window.menuBar()->addMenu(QStringLiteral("Rehearsal"));
    for (const Happening &happening : happenings) {
        QAction *item = menu->addAction(QString::fromUtf8(happening.title));
        item->setMenuRole(QAction::NoRole);
        auto next = std::make_shared<std::size_t>(0);
        QObject::connect(item, &QAction::triggered, &stage, [&stage, &happening, next] {
            stage.tellConsole(happening.commands[*next]);
            *next = (*next + 1) % happening.commands.size();
        });
    }
    const QList<QAction *> ofTheConsole = menu->actions();
    addQuitLiveTrax(*menu, stage);
    stage.whenConsoleEnds(menu, [menu, ofTheConsole] {
        for (QAction *item : ofTheConsole)
            item->setEnabled(false);
        auto *first =
            new QAction(QStringLiteral("The Console's Stand-in Has Ended: Start the Rehearsal Again"), menu);
        first->setMenuRole(QAction::NoRole);
        first->setEnabled(false);
        menu->insertAction(menu->actions().front(), first);
    });
}

} // namespace corvane

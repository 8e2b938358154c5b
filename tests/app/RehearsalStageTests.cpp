#include "app/RehearsalStage.h"

#include "app/MainWindow.h"
#include "platform/files/Files.h"
#include "tests/fakes/FakeSystem.h"
#include "tests/support/BuiltFiles.h"
#include "tests/support/Peers.h"

#include <QMenu>
#include <QMenuBar>
#include <QProcess>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

namespace corvane {

namespace {

class RehearsalStageTest : public testing::Test {
protected:
    void furnish() const { RehearsalStage::furnish(fakes.folder.path(), fakes.folder.path() / "programs"); }
    /// In place of the console's stand-in, which leaves what it was told beside itself.
    std::filesystem::path consoleThat(const std::string &does) const {
        const auto console = fakes.folder.write("programs/lv1-console-sim", "#!/bin/sh\n" + does);
        std::filesystem::permissions(console, std::filesystem::perms::owner_all);
        fakes.folder.write("programs/livetrax-sim", "");
        return console;
    }
    /// Standard input, which is as it was in the end.
    class Input {
    public:
        ~Input() { dup2(usual.get(), STDIN_FILENO); }
        void become(const Descriptor &other) const { dup2(other.get(), STDIN_FILENO); }

    private:
        const Descriptor usual{fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)};
    };
    /// A pipe that the console does not have open as well.
    static std::pair<Descriptor, Descriptor> closedOnStart() {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe(ends.data()), 0);
        for (const int end : ends)
            fcntl(end, F_SETFD, FD_CLOEXEC);
        return {Descriptor(ends[0]), Descriptor(ends[1])};
    }
    /// A terminal that other programs are in the foreground of.
    struct Terminal {
        Terminal() {
            if (grantpt(screen.get()) != 0 || unlockpt(screen.get()) != 0)
                return;
            const char *name = ptsname(screen.get());
            line = Descriptor(name ? open(name, O_RDWR | O_NOCTTY | O_CLOEXEC) : -1);
        }
        Descriptor screen{posix_openpt(O_RDWR | O_NOCTTY)};
        Descriptor line;
    };
    static bool becomes(const std::filesystem::path &file, const std::string &text) {
        return QTest::qWaitFor([&] { return fileExists(file) && textOf(file) == text; }, 30'000);
    }
    std::string installed() const {
        return fakes.folder.read("Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3");
    }

    FakePlatform fakes;
};

TEST_F(RehearsalStageTest, PutsTheStandInWhereLiveTraxIsLookedFor) {
    fakes.folder.write("programs/livetrax-sim", "one");
    std::filesystem::remove_all(fakes.folder / "home");
    furnish();
    EXPECT_EQ(installed(), "one");
    const auto place = fakes.folder.path() / "Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3";
    EXPECT_NE(std::filesystem::status(place).permissions() & std::filesystem::perms::owner_exec,
              std::filesystem::perms::none);
    EXPECT_TRUE(std::filesystem::is_directory(fakes.folder.path() / "home/Music"));
}

TEST_F(RehearsalStageTest, ReplacesTheStandInByANewerOneAlone) {
    const auto original = fakes.folder.write("programs/livetrax-sim", "one");
    furnish();
    fakes.folder.write("Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3", "two"); // as large, and newer
    furnish();
    EXPECT_EQ(installed(), "two");
    const auto place = fakes.folder / "Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3";
    std::filesystem::last_write_time(place, std::filesystem::last_write_time(original));
    furnish();
    EXPECT_EQ(installed(), "two") << "of the same moment";
    std::filesystem::last_write_time(place,
                                     std::filesystem::last_write_time(original) - std::chrono::hours(1));
    furnish();
    EXPECT_EQ(installed(), "one") << "older";
    const auto running = fakes.folder / "running";
    std::filesystem::create_hard_link(place, running);
    fakes.folder.write("programs/livetrax-sim", "three");
    furnish();
    EXPECT_EQ(installed(), "three");
    EXPECT_EQ(textOf(running), "one") << "it is another file";
    fakes.folder.write("Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3", "fourth"); // newer, another
    furnish();
    EXPECT_EQ(installed(), "three");
}

TEST_F(RehearsalStageTest, TakesPlaceInTheCacheUnlessAFolderIsNamed) {
    EXPECT_EQ(RehearsalStage::defaultFolder().string(),
              QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation).toStdString() +
                  "/corvane/rehearsal");
}

TEST_F(RehearsalStageTest, WithoutTheStandInsItSaysWhatIsMissing) {
    EXPECT_THAT([this] { furnish(); },
                testing::ThrowsMessage<FileError>(
                    "A rehearsal needs the stand-ins, which are in a package of their own on Debian "
                    "(corvane-rehearsal): " +
                    (fakes.folder / "programs/livetrax-sim").string() + " is not there."));
    EXPECT_TRUE(std::filesystem::is_directory(fakes.folder / "home/Music"));
    EXPECT_THROW(RehearsalStage(fakes.platform, fakes.folder.path() / "programs"), FileError);
}

TEST_F(RehearsalStageTest, AConsoleThatCannotBeStartedIsSaidWithTheReason) {
    fakes.folder.write("programs/livetrax-sim", "one");
    const auto programs = fakes.folder / "programs";
    QProcess failing;
    failing.start(QString::fromStdString((programs / "lv1-console-sim").string()), {});
    EXPECT_FALSE(failing.waitForStarted());
    EXPECT_THAT([&] { RehearsalStage(fakes.platform, programs); },
                testing::ThrowsMessage<FileError>("The console's stand-in could not be started: " +
                                                  failing.errorString().toStdString()));
    EXPECT_EQ(installed(), "one");
}

TEST_F(RehearsalStageTest, EndsTheConsoleAndTheRecorderWithIt) {
    const auto recorder = std::make_shared<FakeRunningApplication>();
    fakes.applications->running["com.harrisonconsoles.LiveTrax3"] = recorder;
    { const RehearsalStage stage(fakes.platform, builtPrograms()); }
    EXPECT_EQ(recorder->terminateRequests, 1);
    EXPECT_EQ(recorder->forceRequests, 0);
}

TEST_F(RehearsalStageTest, EndsEveryRecorder) {
    const auto first = std::make_shared<FakeRunningApplication>();
    const auto second = std::make_shared<FakeRunningApplication>();
    auto &running = fakes.applications->running["com.harrisonconsoles.LiveTrax3"];
    running = first;
    first->onTerminate = [&] { running = second; };
    { const RehearsalStage stage(fakes.platform, builtPrograms()); }
    EXPECT_EQ(first->terminateRequests, 1);
    EXPECT_EQ(second->terminateRequests, 1);
}

TEST_F(RehearsalStageTest, ARecorderThatDoesNotEndIsForcedAndWaitedFor) {
    const auto recorder = std::make_shared<FakeRunningApplication>();
    recorder->obeysTerminate = recorder->obeysForce = false;
    fakes.applications->running["com.harrisonconsoles.LiveTrax3"] = recorder;
    QTimer itsEnd;
    QObject::connect(&itsEnd, &QTimer::timeout, [&] { recorder->terminated = recorder->forceRequests > 0; });
    itsEnd.start(10);
    { const RehearsalStage stage(fakes.platform, builtPrograms()); }
    EXPECT_EQ(recorder->terminateRequests, 1);
    EXPECT_EQ(recorder->forceRequests, 1);
}

TEST_F(RehearsalStageTest, ARecorderMayTakeItsTimeToEnd) {
    const auto recorder = std::make_shared<FakeRunningApplication>();
    recorder->obeysTerminate = false;
    recorder->onTerminate = [&] { QTimer::singleShot(1, [recorder] { recorder->terminated = true; }); };
    fakes.applications->running["com.harrisonconsoles.LiveTrax3"] = recorder;
    bool toldOfAnEnd = false;
    {
        RehearsalStage stage(fakes.platform, builtPrograms());
        stage.whenConsoleEnds(qApp, [&] { toldOfAnEnd = true; });
    }
    EXPECT_EQ(recorder->terminateRequests, 1);
    EXPECT_EQ(recorder->forceRequests, 0);
    EXPECT_FALSE(toldOfAnEnd) << "that was expected";
}

TEST_F(RehearsalStageTest, ASecondOneOfTheSameFolderIsRefusedAndLeavesTheFirstAlone) {
    const auto takePart = [this](FakePlatform &whose) {
        whose.platform.rehearsal = std::make_unique<Rehearsal>(
            fakes.folder / "rehearsal", std::vector<std::uint16_t>(), Rehearsal::HeldByParticipants());
    };
    FakePlatform others;
    const auto recorder = std::make_shared<FakeRunningApplication>();
    others.applications->running["com.harrisonconsoles.LiveTrax3"] = recorder;
    takePart(fakes);
    takePart(others);
    {
        const RehearsalStage first(fakes.platform, builtPrograms());
        EXPECT_THAT([&] { const RehearsalStage second(others.platform, builtPrograms()); },
                    testing::ThrowsMessage<RehearsalIsOpen>(
                        "The rehearsal in “" + (fakes.folder / "rehearsal").string() +
                        "” is open in another window. Close that one first."));
        EXPECT_EQ(recorder->terminateRequests, 0);
        EXPECT_FALSE(std::filesystem::exists(others.folder / "Applications/LiveTrax3.app")) << "furnished";
    }
    fakes.platform.rehearsal.reset(); // with the program
    const RehearsalStage second(others.platform, builtPrograms());
}

TEST_F(RehearsalStageTest, AMenuOfItsOwnMakesThingsHappenOnTheConsole) {
    MainWindow window(fakes.platform.resources, QStringLiteral("/tmp/rehearsal"));
    RehearsalStage stage(fakes.platform, builtPrograms());
    buildRehearsalMenu(window, stage);
    ASSERT_EQ(window.menuBar()->actions().size(), 1);
    EXPECT_EQ(window.menuBar()->actions().front()->text(), "Rehearsal");
    std::vector<std::string> items;
    for (const QAction *item : window.menuBar()->actions().front()->menu()->actions())
        items.push_back(item->text().toStdString());
    EXPECT_THAT(items, testing::ElementsAre("Recall the Next Scene", "Rename a Channel",
                                            "Move a Channel to Another Input", "Change a Channel's Width",
                                            "Change a Channel's Colour", "Drop the Connection", "",
                                            "Quit LiveTrax"));
}

TEST_F(RehearsalStageTest, TheMenuQuitsLiveTraxWhileItRuns) {
    MainWindow window(fakes.platform.resources, QStringLiteral("/tmp/rehearsal"));
    RehearsalStage stage(fakes.platform, builtPrograms());
    buildRehearsalMenu(window, stage);
    QMenu *menu = window.menuBar()->actions().front()->menu();
    QAction *quit = menu->actions().back();
    quit->trigger(); // nobody to quit
    emit menu->aboutToShow();
    EXPECT_FALSE(quit->isEnabled());
    const auto recorder = std::make_shared<FakeRunningApplication>();
    fakes.applications->running["com.harrisonconsoles.LiveTrax3"] = recorder;
    emit menu->aboutToShow();
    ASSERT_TRUE(quit->isEnabled());
    quit->trigger();
    EXPECT_EQ(recorder->terminateRequests, 1);
    EXPECT_EQ(recorder->forceRequests, 0);
}

TEST_F(RehearsalStageTest, EachItemOfTheMenuTellsTheConsoleItsCommandsInTurn) {
    const auto console = consoleThat("printf '%s\\n' \"$@\" >\"$0.arguments\"\nexec cat >\"$0.told\"\n");
    MainWindow window(fakes.platform.resources, QStringLiteral("/tmp/rehearsal"));
    RehearsalStage stage(fakes.platform, console.parent_path());
    buildRehearsalMenu(window, stage);
    for (int times = 0; times < 4; ++times) {
        for (QAction *item : window.menuBar()->actions().front()->menu()->actions()) {
            EXPECT_EQ(item->menuRole(), QAction::NoRole) << item->text().toStdString();
            item->trigger();
        }
    }
    const std::string expected =
        "next\nrename 1 Kick In\nmove 20 41\nstereo 24 off\ncolor 3 0.1 0.7 0.9\ndrop\n"
        "next\nrename 1 Bombo In\nmove 20 25\nstereo 24 on\ncolor 3 0.9 0.8 0.1\ndrop\n"
        "next\nrename 1 Kick In\nmove 20 41\nstereo 24 off\ncolor 3 0.8 0.2 0.2\ndrop\n"
        "next\nrename 1 Bombo In\nmove 20 25\nstereo 24 on\ncolor 3 0.1 0.7 0.9\ndrop\n";
    const std::filesystem::path told = console.string() + ".told";
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return fileExists(told) && textOf(told).size() >= expected.size(); }, 30000));
    EXPECT_EQ(textOf(told), expected);
    EXPECT_EQ(textOf(console.string() + ".arguments"), "--announce\n127.0.0.1\n--name\nRehearsal Console\n");
}

TEST_F(RehearsalStageTest, TheConsoleIsAskedToEnd) {
    const auto console = consoleThat("trap 'echo asked >\"$0.ended\"; exit' TERM\n"
                                     "echo begun >\"$0.begun\"\n"
                                     "while sleep 0.02; do :; done\n");
    {
        const RehearsalStage stage(fakes.platform, console.parent_path());
        ASSERT_TRUE(becomes(console.string() + ".begun", "begun\n"));
    }
    EXPECT_EQ(textOf(console.string() + ".ended"), "asked\n");
}

TEST_F(RehearsalStageTest, AConsoleThatDoesNotEndIsKilledWithoutAWord) {
    const auto console = consoleThat("trap '' TERM\necho \"$$\" >\"$0.number\"\nexec sleep 60\n");
    const std::filesystem::path number = console.string() + ".number";
    static std::vector<std::string> complaints;
    complaints.clear();
    const auto usual = qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) {
        complaints.push_back(text.toStdString());
    });
    {
        const RehearsalStage stage(fakes.platform, console.parent_path());
        EXPECT_TRUE(QTest::qWaitFor([&] { return fileExists(number) && !textOf(number).empty(); }, 30'000));
    }
    qInstallMessageHandler(usual);
    EXPECT_THAT(complaints, testing::IsEmpty());
    EXPECT_NE(kill(std::stoi(textOf(number)), 0), 0) << "it is gone";
}

TEST_F(RehearsalStageTest, WhatIsTypedInTheTerminalReachesTheConsoleUntilTheInputEnds) {
    const auto console = consoleThat("exec cat >\"$0.told\"\n");
    const Input input;
    auto [from, to] = closedOnStart();
    input.become(from);
    RehearsalStage stage(fakes.platform, console.parent_path());
    stage.listenToTerminal();
    const auto *notifier = stage.findChild<QSocketNotifier *>();
    ASSERT_NE(notifier, nullptr);
    ASSERT_EQ(write(to.get(), "n", 1), 1);
    EXPECT_TRUE(becomes(console.string() + ".told", "n"));
    ASSERT_EQ(write(to.get(), "ext\n", 4), 4);
    EXPECT_TRUE(becomes(console.string() + ".told", "next\n"));
    EXPECT_TRUE(notifier->isEnabled());
    to.close();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !notifier->isEnabled(); }, 30'000));
}

TEST_F(RehearsalStageTest, ATerminalThatBelongsToOthersIsNotRead) {
    const Terminal terminal;
    if (terminal.line.get() < 0)
        GTEST_SKIP() << "no terminal to be had";
    const auto console = consoleThat("echo begun >\"$0.told\"\nexec cat >>\"$0.told\"\n");
    const Input input;
    const auto [from, to] = closedOnStart();
    input.become(from);
    {
        RehearsalStage stage(fakes.platform, console.parent_path());
        ASSERT_TRUE(becomes(console.string() + ".told", "begun\n"));
        stage.listenToTerminal();
        const auto *notifier = stage.findChild<QSocketNotifier *>();
        ASSERT_NE(notifier, nullptr);
        input.become(terminal.line); // as when the shell takes it back
        ASSERT_EQ(write(terminal.screen.get(), "next\n", 5), 5);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !notifier->isEnabled(); }, 30'000));
        RehearsalStage late(fakes.platform, console.parent_path());
        late.listenToTerminal();
        EXPECT_EQ(late.findChild<QSocketNotifier *>(), nullptr);
    }
    EXPECT_EQ(textOf(console.string() + ".told"), "begun\n");
}

TEST_F(RehearsalStageTest, WhatTheConsoleComplainsOfIsShown) {
    const auto console = consoleThat("echo trouble >&2\nexec cat\n");
    const auto shown = fakes.folder.write("shown", "");
    const Descriptor file(open(shown.c_str(), O_WRONLY | O_CLOEXEC));
    const Descriptor before(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0));
    dup2(file.get(), STDERR_FILENO);
    {
        const RehearsalStage stage(fakes.platform, console.parent_path());
        EXPECT_TRUE(
            QTest::qWaitFor([&] { return textOf(shown).find("trouble\n") != std::string::npos; }, 30'000));
    }
    dup2(before.get(), STDERR_FILENO);
}

TEST_F(RehearsalStageTest, TheMenuSaysWhenTheConsoleIsNoMore) {
    MainWindow window(fakes.platform.resources, QStringLiteral("/tmp/rehearsal"));
    RehearsalStage stage(fakes.platform, builtPrograms());
    buildRehearsalMenu(window, stage);
    const QMenu *menu = window.menuBar()->actions().front()->menu();
    EXPECT_TRUE(menu->actions().front()->isEnabled());
    stage.tellConsole("quit");
    ASSERT_TRUE(QTest::qWaitFor([&] { return menu->actions().size() == 9; }, 5000));
    EXPECT_EQ(menu->actions().front()->text(), "The Console's Stand-in Has Ended: Start the Rehearsal Again");
    EXPECT_EQ(menu->actions().front()->menuRole(), QAction::NoRole);
    for (const QAction *item : menu->actions())
        EXPECT_TRUE(!item->isEnabled() || item->isSeparator() || item->text() == "Quit LiveTrax")
            << item->text().toStdString();
    stage.tellConsole("next"); // to nobody

    MainWindow late(fakes.platform.resources, QStringLiteral("/tmp/rehearsal"));
    buildRehearsalMenu(late, stage);
    EXPECT_EQ(late.menuBar()->actions().front()->menu()->actions().size(), 9);
}

} // namespace

} // namespace corvane

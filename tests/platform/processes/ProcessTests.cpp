#include "platform/processes/PosixProcessLauncher.h"
#include "platform/processes/ProcessTable.h"
#include "platform/processes/ProgramRunningApplications.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/Eventually.h"
#include "tests/support/RefusedCalls.h"
#include "tests/support/TemporaryFolder.h"

#include "base/Text.h"
#include "tests/support/BuiltFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

namespace corvane {
namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const fs::path probe = builtPrograms() / "process_probe";

/// Programs of a test's own: copies of the probe, ended when the test ends.
class ProcessTest : public testing::Test {
protected:
    TemporaryFolder folder;
    PosixProcessLauncher launcher;
    ProgramRunningApplications applications;
    fs::path log = folder / "log";

    void TearDown() override {
        for (const ProcessIdentity &process : processesRunningBelow(folder.path()))
            ::kill(process.pid, SIGKILL);
        eventually([&] { return processesRunningBelow(folder.path()).empty(); });
    }

    fs::path install(const std::string &name) const {
        fs::path program = folder / name;
        fs::create_directories(program.parent_path());
        fs::copy_file(probe, program);
        return program;
    }

    void start(const ProcessDescription &process) {
        launcher.start(process, FileHandle::openForAppending(log));
    }

    /// What the program printed under a key, once it has printed everything.
    std::vector<std::string> printed(const std::string &key) const {
        EXPECT_TRUE(eventually([&] { return textOf(log).find("\nend\n") != std::string::npos; }));
        std::vector<std::string> values;
        for (const std::string &line : nonEmptyLines(textOf(log)))
            if (line.starts_with(key + "="))
                values.push_back(line.substr(key.size() + 1));
        return values;
    }

    pid_t printedNumber(const std::string &key) const {
        const auto values = printed(key);
        return values.empty() ? -1 : static_cast<pid_t>(integer(values.front()).value_or(-1));
    }

    std::shared_ptr<RunningApplication> find(const fs::path &program) const {
        return applications.find("any.identifier", program);
    }
};

TEST_F(ProcessTest, AProgramGetsItsArgumentsAsTheyStand) {
    const fs::path program = install("Live Trax/Año");
    start({program, {"-a", "", "with blank", "\"quoted\" $HOME *", "Año"}, {}});
    EXPECT_THAT(printed("argument"),
                ElementsAre(program.string(), "-a", "", "with blank", "\"quoted\" $HOME *", "Año"));
}

TEST_F(ProcessTest, AProgramGetsOurEnvironmentWithItsOwnVariablesSet) {
    const EnvironmentVariable kept("CORVANE_TEST_KEPT", "kept");
    const EnvironmentVariable changed("CORVANE_TEST_CHANGED", "old");
    const EnvironmentVariable similar("CORVANE_TEST_CHANGED_NOT", "similar");
    start({probe, {}, {{"CORVANE_TEST_CHANGED", "new"}, {"CORVANE_TEST_ADDED", "a=b c"}}});
    const auto environment = printed("environment");
    EXPECT_THAT(environment, Contains("CORVANE_TEST_KEPT=kept"));
    EXPECT_THAT(environment, Contains("CORVANE_TEST_CHANGED=new"));
    EXPECT_THAT(environment, Contains("CORVANE_TEST_CHANGED_NOT=similar"));
    EXPECT_THAT(environment, Contains("CORVANE_TEST_ADDED=a=b c"));
    EXPECT_THAT(environment, testing::Not(Contains("CORVANE_TEST_CHANGED=old")));
    EXPECT_STREQ(std::getenv("CORVANE_TEST_CHANGED"), "old");
}

TEST_F(ProcessTest, ARehearsalsVariablesAreSetForEveryProgram) {
    PosixProcessLauncher rehearsing(
        std::vector{std::pair<std::string, std::string>("HOME", "/rehearsal/home")});
    rehearsing.start({probe, {}, {{"ARDOUR_DLL_PATH", "/x"}}}, FileHandle::openForAppending(log));
    const auto environment = printed("environment");
    EXPECT_THAT(environment, Contains("HOME=/rehearsal/home"));
    EXPECT_THAT(environment, Contains("ARDOUR_DLL_PATH=/x"));
}

/// Descriptors of which not one is marked as to be closed, as a careless library would leave them.
class CarelessDescriptors {
public:
    CarelessDescriptors() { EXPECT_GE(high.fileDescriptor(), 900); }

private:
    FileHandle socket{::socket(AF_INET, SOCK_DGRAM, 0)};
    FileHandle low{::open("/dev/zero", O_RDONLY)};
    FileHandle high{::fcntl(low.fileDescriptor(), F_DUPFD, 900)};
};

TEST_F(ProcessTest, AProgramInheritsNoneOfOurDescriptors) {
    const CarelessDescriptors careless;
    start({probe, {}, {}});
    EXPECT_THAT(printed("descriptor"), ElementsAre("0 /dev/null", "1 " + log.string(), "2 " + log.string()));
}

TEST_F(ProcessTest, AProgramInheritsNoneOfThemWhereTheyAreClosedOneByOneEither) {
    const CarelessDescriptors careless;
    if (!withoutClosingRanges([&] { start({probe, {}, {}}); }))
        GTEST_SKIP() << "this system refuses no calls";
    EXPECT_THAT(printed("descriptor"), ElementsAre("0 /dev/null", "1 " + log.string(), "2 " + log.string()));
}

TEST_F(ProcessTest, AProgramIsStartedWhateverSignalsInterruptThat) {
    struct sigaction noticed {};
    noticed.sa_handler = [](int) {};
    struct sigaction previous {};
    ::sigaction(SIGALRM, &noticed, &previous);
    constexpr itimerval often{{0, 500}, {0, 500}};
    ::setitimer(ITIMER_REAL, &often, nullptr);
    std::string problem;
    try {
        start({folder / "none", {}, {}});
    } catch (const FileError &error) {
        problem = error.what();
    }
    start({probe, {}, {}});
    constexpr itimerval never{};
    ::setitimer(ITIMER_REAL, &never, nullptr);
    ::sigaction(SIGALRM, &previous, nullptr);
    EXPECT_THAT(problem, HasSubstr("could not be started: No such file or directory."));
    EXPECT_FALSE(printed("pid").empty());
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1); // no child, no zombie
}

TEST_F(ProcessTest, AProgramIsStartedAlsoWhenOurStandardDescriptorsAreClosed) {
    const pid_t child = ::fork();
    if (child == 0) {
        for (const int descriptor : {0, 1, 2})
            ::close(descriptor);
        start({probe, {}, {}});
        ::_exit(0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_THAT(printed("descriptor"), ElementsAre("0 /dev/null", "1 " + log.string(), "2 " + log.string()));
}

/// Leaves this program so many descriptors and no more.
class FewDescriptors {
public:
    explicit FewDescriptors(std::size_t left) {
        // Where types are checked at run time, an object is looked at through a pipe the first time that one
        // of its type is used.
        static_cast<void>(FileError("").what());
        ::getrlimit(RLIMIT_NOFILE, &previous);
        constexpr rlim_t few = 64;
        const rlimit limit{few, previous.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &limit);
        for (int taken = 0; (taken = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) >= 0;)
            held.push_back(taken);
        EXPECT_GE(held.size(), left);
        for (; left > 0; --left, held.pop_back())
            ::close(held.back());
    }
    ~FewDescriptors() {
        for (const int descriptor : held)
            ::close(descriptor);
        ::setrlimit(RLIMIT_NOFILE, &previous);
    }

private:
    rlimit previous{};
    std::vector<int> held;
};

TEST_F(ProcessTest, AProgramThatCannotGetItsDescriptorsIsNotStartedAndThatIsSaid) {
    const auto output = FileHandle::openForAppending(log);
    const auto problemOf = [&](const std::string &program) -> std::string {
        try {
            launcher.start({program, {}, {}}, output);
            return {};
        } catch (const FileError &error) {
            return error.what();
        }
    };
    EXPECT_THAT(problemOf(folder / "none"), HasSubstr("could not be started: "));
    std::size_t left = 0;
    for (bool isStarted = false; !isStarted; ++left) {
        ASSERT_LT(left, 20U);
        std::string problem;
        {
            const FewDescriptors few(left);
            problem = problemOf(probe);
        }
        isStarted = problem.empty();
        EXPECT_THAT(problem, AnyOf(IsEmpty(), HasSubstr("could not be started: Too many open files.")));
    }
    EXPECT_GT(left, 3U); // a pipe, and then some for the program itself
    EXPECT_THAT(printed("descriptor"), ElementsAre("0 /dev/null", "1 " + log.string(), "2 " + log.string()));
}

TEST_F(ProcessTest, BothOutputsAreAppendedToTheLog) {
    folder.write("log", "earlier\n");
    start({probe, {}, {}});
    EXPECT_TRUE(eventually([&] { return textOf(log).find("error output\n") != std::string::npos; }));
    EXPECT_TRUE(textOf(log).starts_with("earlier\nargument="));
    EXPECT_FALSE(printed("pid").empty());
}

TEST_F(ProcessTest, SignalsAreAsANewProgramExpectsThem) {
    sigset_t blocked;
    sigset_t previous;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigaddset(&blocked, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &blocked, &previous);
    const auto pipeHandler = std::signal(SIGPIPE, SIG_IGN);
    const auto childHandler = std::signal(SIGHUP, SIG_IGN);
    start({probe, {}, {}});
    EXPECT_THAT(printed("blocked"), IsEmpty());
    EXPECT_THAT(printed("ignored"), IsEmpty());
    // Our own are as they were.
    sigset_t now;
    pthread_sigmask(SIG_SETMASK, &previous, &now);
    EXPECT_EQ(sigismember(&now, SIGTERM), 1);
    EXPECT_EQ(sigismember(&now, SIGINT), 0);
    std::signal(SIGPIPE, pipeHandler);
    std::signal(SIGHUP, childHandler);
}

TEST_F(ProcessTest, AProgramHasASessionOfItsOwnAndIsNotOurChild) {
    start({probe, {"--stay"}, {}});
    const pid_t pid = printedNumber("pid");
    ASSERT_GT(pid, 0); // -1 would end everybody
    EXPECT_EQ(printedNumber("session"), pid);
    EXPECT_NE(::getsid(0), pid);
    int status = 0;
    EXPECT_EQ(::waitpid(-1, &status, WNOHANG), -1); // no child, no zombie
    EXPECT_EQ(errno, ECHILD);
    ::kill(pid, SIGKILL);
}

TEST_F(ProcessTest, AProgramSurvivesTheOneThatStartedIt) {
    const fs::path program = install("LiveTrax3");
    const pid_t child = ::fork();
    if (child == 0) {
        ::setsid();
        start({program, {"--stay"}, {}});
        ::kill(0, SIGKILL); // the starter and all of its process group
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_FALSE(printed("pid").empty());
    EXPECT_NE(find(program), nullptr);
}

TEST_F(ProcessTest, WhatCannotBeStartedIsToldInASentence) {
    const auto refused = [&](const fs::path &program) { return errorOf([&] { start({program, {}, {}}); }); };
    EXPECT_EQ(refused(folder / "none"), "The program “" + (folder / "none").string() +
                                            "” could not be started: No such file or directory.");
    const fs::path plain = folder.write("plain", "no program");
    EXPECT_THAT(refused(plain), HasSubstr("could not be started: Permission denied."));
    fs::permissions(plain, fs::perms::owner_all);
    EXPECT_THAT(refused(plain), HasSubstr("could not be started: Exec format error."));
    EXPECT_THAT(refused(folder.path()), HasSubstr("could not be started: Permission denied."));
    int status = 0;
    EXPECT_EQ(::waitpid(-1, &status, WNOHANG), -1);
}

TEST_F(ProcessTest, StartingWorksWhereEndedChildrenAreNotWaitedFor) {
    const auto previous = std::signal(SIGCHLD, SIG_IGN);
    start({probe, {}, {}});
    EXPECT_FALSE(printed("pid").empty());
    std::signal(SIGCHLD, previous);
}

TEST_F(ProcessTest, ARunningProgramIsFoundByItsExactPath) {
    const fs::path program = install("LiveTrax3.app/Contents/MacOS/LiveTrax3");
    install("LiveTrax3.app/Contents/MacOS/LiveTrax33");
    EXPECT_EQ(find(program), nullptr);
    start({folder / "LiveTrax3.app/Contents/MacOS/LiveTrax33", {"--stay"}, {}});
    EXPECT_FALSE(printed("pid").empty());
    EXPECT_EQ(find(program), nullptr);
    start({program, {"--stay"}, {}});
    EXPECT_NE(find(program), nullptr);
    EXPECT_EQ(find(folder / "LiveTrax3.app/Contents/MacOS/LiveTrax"), nullptr);
    EXPECT_EQ(find(folder / "LiveTrax3"), nullptr);
}

TEST_F(ProcessTest, LinksOnTheWayToAProgramAreFollowed) {
    const fs::path program = install("real/LiveTrax3");
    fs::create_directory_symlink("real", folder / "Applications");
    fs::create_symlink("real/LiveTrax3", folder / "LiveTrax3");
    start({folder / "Applications/LiveTrax3", {"--stay"}, {}});
    EXPECT_NE(find(program), nullptr);
    EXPECT_NE(find(folder / "Applications/LiveTrax3"), nullptr);
    EXPECT_NE(find(folder / "LiveTrax3"), nullptr);
}

TEST_F(ProcessTest, AProgramIsFoundAfterItsFileWasDeletedOrReplaced) {
    const fs::path program = install("LiveTrax3");
    start({program, {"--stay"}, {}});
    fs::remove(program);
    EXPECT_NE(find(program), nullptr);
    install("LiveTrax3");
    EXPECT_NE(find(program), nullptr);
}

TEST_F(ProcessTest, AFileThatIsReallyCalledDeletedIsAnotherProgram) {
    const fs::path program = install("LiveTrax3");
    start({install("LiveTrax3 (deleted)"), {"--stay"}, {}});
    EXPECT_EQ(find(program), nullptr);
    EXPECT_NE(find(folder / "LiveTrax3 (deleted)"), nullptr);
}

TEST_F(ProcessTest, TheOneThatRunsLongestIsFoundFirst) {
    const fs::path program = install("LiveTrax3");
    start({program, {"--stay"}, {}});
    start({program, {"--stay"}, {}});
    const auto processes = processesRunning(program);
    ASSERT_EQ(processes.size(), 2U);
    EXPECT_LE(processes[0].startTime, processes[1].startTime);
}

TEST_F(ProcessTest, ARehearsalFindsNoProgramOutsideItsFolder) {
    const fs::path outside = install("outside/LiveTrax3");
    fs::create_directories(folder / "rehearsal");
    fs::create_symlink(outside, folder / "rehearsal/LiveTrax3");
    start({folder / "rehearsal/LiveTrax3", {"--stay"}, {}});
    const ProgramRunningApplications rehearsal(folder / "rehearsal");
    EXPECT_NE(find(folder / "rehearsal/LiveTrax3"), nullptr);
    EXPECT_EQ(rehearsal.find("", folder / "rehearsal/LiveTrax3"), nullptr);
    EXPECT_EQ(rehearsal.find("", outside), nullptr);
    const fs::path inside = install("rehearsal/LiveTrax1");
    start({inside, {"--stay"}, {}});
    EXPECT_NE(rehearsal.find("", inside), nullptr);
}

TEST_F(ProcessTest, AProgramThatIsAskedToQuitTerminates) {
    const fs::path program = install("LiveTrax3");
    start({program, {"--stay"}, {}});
    const auto running = find(program);
    ASSERT_NE(running, nullptr);
    EXPECT_FALSE(running->isTerminated());
    {
        const FewDescriptors none(0);
        EXPECT_FALSE(running->isTerminated()) << "what cannot be told is not taken for granted";
        EXPECT_EQ(find(program), nullptr);
    }
    running->terminate();
    EXPECT_TRUE(eventually([&] { return running->isTerminated(); }));
    EXPECT_EQ(find(program), nullptr);
    running->terminate(); // nobody there any more
    running->forceTerminate();
    EXPECT_TRUE(running->isTerminated());
}

TEST_F(ProcessTest, AProgramThatDoesNotListenIsForced) {
    const fs::path program = install("LiveTrax3");
    start({program, {"--deaf"}, {}});
    EXPECT_FALSE(printed("pid").empty());
    const auto running = find(program);
    ASSERT_NE(running, nullptr);
    running->terminate();
    EXPECT_FALSE(running->isTerminated());
    running->forceTerminate();
    EXPECT_TRUE(eventually([&] { return running->isTerminated(); }));
}

TEST_F(ProcessTest, AZombieHasTerminated) {
    const fs::path program = install("LiveTrax3");
    const pid_t child = ::fork();
    if (child == 0) {
        const int nowhere = ::open("/dev/null", O_WRONLY);
        ::dup2(nowhere, STDOUT_FILENO);
        ::dup2(nowhere, STDERR_FILENO);
        ::execl(program.c_str(), program.c_str(), "--stay", nullptr);
        ::_exit(127);
    }
    EXPECT_TRUE(eventually([&] { return find(program) != nullptr; }));
    const auto running = find(program);
    ::kill(child, SIGKILL);
    // Nobody waits for the child yet: its number is still taken.
    EXPECT_TRUE(eventually([&] { return running->isTerminated(); }));
    EXPECT_EQ(::kill(child, 0), 0);
    EXPECT_EQ(find(program), nullptr);
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
}

TEST(ProcessTable, AProcessIsMoreThanItsNumber) {
    const auto self = livingProcess(::getpid());
    ASSERT_TRUE(self);
    EXPECT_EQ(livingProcess(::getpid()), self);
    const auto parent = livingProcess(::getppid());
    ASSERT_TRUE(parent);
    EXPECT_LE(parent->startTime, self->startTime);
    EXPECT_NE(*self, (ProcessIdentity{self->pid, self->startTime + 1}));
    EXPECT_EQ(livingProcess(0x3FFFFFFF), std::nullopt);
}

TEST(ProcessTable, ANameWithBracketsDoesNotConfuseIt) {
    const pid_t child = ::fork();
    if (child == 0) {
        const FileHandle name = FileHandle::openForAppending("/proc/self/comm");
        name.write("x) Z 1 (y");
        ::alarm(30);
        ::pause();
        ::_exit(0);
    }
    EXPECT_TRUE(
        eventually([&] { return textOf("/proc/" + std::to_string(child) + "/comm") == "x) Z 1 (y\n"; }));
    EXPECT_TRUE(livingProcess(child));
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
}

} // namespace
} // namespace corvane

#include "platform/Platform.h"
#include "tests/fakes/ManualQueue.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/Eventually.h"
#include "tests/support/PrivateNetwork.h"
#include "tests/support/TemporaryFolder.h"

#include "platform/files/FileHandle.h"
#include "tests/support/BuiltFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <future>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace corvane {
namespace {

namespace fs = std::filesystem;

class PlatformTest : public testing::Test {
protected:
    TemporaryFolder folder;
    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    ManualQueue main{clock, "main"};

    std::unique_ptr<Platform> rehearse(const std::string &name = "rehearsal") {
        return makePlatform(main, {folder / name, {3819, 8000}});
    }
};

TEST_F(PlatformTest, ItsThreadsHaveEndedBeforeAnythingThatTheyUseGoes) {
    class Probe : public Network {
    public:
        explicit Probe(std::atomic<bool> &gone) : gone(gone) {}
        ~Probe() override { gone = true; }
        std::shared_ptr<StreamConnection> makeStream(std::string, std::uint16_t,
                                                     std::shared_ptr<SerialQueue>) override {
            return nullptr;
        }
        std::shared_ptr<DatagramConnection> makeDatagram(std::string, std::uint16_t, std::string,
                                                         std::uint16_t,
                                                         std::shared_ptr<SerialQueue>) override {
            return nullptr;
        }
        std::atomic<bool> &gone;
    };
    auto platform = makePlatform(main, {});
    std::atomic<bool> gone = false;
    std::atomic<bool> seenGone = false;
    std::promise<void> begun;
    platform->network = std::make_unique<Probe>(gone);
    const auto queue = platform->queues->make("Corvane.LiveTraxOSC");
    queue->post([&] { // as LiveTraxOSC::Surface::open does, it uses the network on its queue
        begun.set_value();
        for (int i = 0; i < 50 && !gone; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        seenGone = gone.load();
    });
    begun.get_future().wait();
    platform.reset();
    EXPECT_FALSE(seenGone);
}

TEST_F(PlatformTest, InTheRealWorldFoldersAndSettingsAreTheUsers) {
    const EnvironmentVariable home("HOME", folder.path().c_str());
    const EnvironmentVariable configuration("XDG_CONFIG_HOME", (folder / "conf").c_str());
    const auto platform = makePlatform(main, {});
    EXPECT_EQ(platform->folders.home, folder.path());
    EXPECT_EQ(platform->folders.applications, "/Applications");
    platform->defaults->set("CorvaneLastSession", "/a");
    EXPECT_TRUE(fileExists(folder / "conf/corvane/defaults.json"));
    EXPECT_EQ(platform->rehearsal, nullptr);
}

TEST_F(PlatformTest, NothingIsMissing) {
    const auto real = makePlatform(main, {});
    const auto rehearsed = makePlatform(main, {folder / "rehearsal", {}});
    for (const auto &platform : {real.get(), rehearsed.get()}) {
        EXPECT_TRUE(platform->network && platform->multicast && platform->queues &&
                    platform->makeServiceBrowser());
        EXPECT_TRUE(platform->applications && platform->activity && platform->processes);
        EXPECT_EQ(platform->host().newUUID.size(), 36U);
        EXPECT_TRUE(platform->resources("LiveTraxSeed", "template"));
    }
    EXPECT_TRUE(rehearsed->rehearsal);
}

/// Rehearsals claim fixed ports, so that they need a network of their own.
class RehearsalPlatformTest : public PlatformTest {
protected:
    void SetUp() override { CORVANE_ENTER_PRIVATE_NETWORK(); }

    /// A UDP socket on every address, as another program would hold it.
    static FileHandle hold(std::uint16_t port) {
        FileHandle socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        EXPECT_EQ(
            ::bind(socket.fileDescriptor(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
        return socket;
    }

    std::string refusal() {
        try {
            rehearse();
        } catch (const PortInUse &error) {
            return error.what();
        }
        return "none";
    }

    /// Runs `action` in a child that then stays until it is ended; returns once the action is done.
    template <class Action>
    pid_t fork(Action action) {
        int ready[2];
        EXPECT_EQ(::pipe2(ready, O_CLOEXEC), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            [[maybe_unused]] const auto held = action();
            [[maybe_unused]] const auto told = ::write(ready[1], "x", 1);
            ::alarm(30);
            ::pause();
            ::_exit(0);
        }
        char told = 0;
        EXPECT_EQ(::read(ready[0], &told, 1), 1);
        ::close(ready[0]);
        ::close(ready[1]);
        return child;
    }

    static void end(pid_t child) {
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    }
};

TEST_F(RehearsalPlatformTest, ARehearsalStandsForAWholeMachine) {
    const EnvironmentVariable configuration("XDG_CONFIG_HOME", (folder / "conf").c_str());
    const auto platform = rehearse("a/rehearsal/");
    const fs::path root = folder / "a/rehearsal";
    EXPECT_EQ(platform->folders.home, root / "home");
    EXPECT_EQ(platform->folders.applications, root / "Applications");
    EXPECT_TRUE(fs::is_directory(root / "Applications"));
    platform->defaults->set("CorvaneLastSession", "/a");
    EXPECT_TRUE(fileExists(root / "home/.config/corvane/defaults.json"));
    EXPECT_FALSE(fileExists(folder / "conf"));
}

TEST_F(RehearsalPlatformTest, AStartedProgramHasTheRehearsalsHome) {
    const auto platform = rehearse();
    const fs::path log = folder / "log";
    platform->processes->start({"/bin/sh", {"-c", "echo \"$HOME\""}, {}}, FileHandle::openForAppending(log));
    EXPECT_TRUE(eventually([&] { return textOf(log) == (folder / "rehearsal/home").string() + "\n"; }));
}

TEST_F(RehearsalPlatformTest, APortHeldByAnotherProgramIsRefused) {
    for (const std::uint16_t port : {std::uint16_t{8000}, std::uint16_t{3819}}) {
        const pid_t child = fork([port] { return hold(port); });
        EXPECT_EQ(refusal(), "UDP port " + std::to_string(port) + " is in use by another program.");
        end(child);
        EXPECT_EQ(refusal(), "none");
    }
}

TEST_F(RehearsalPlatformTest, AnotherProgramOfTheSameRehearsalMayHoldThePorts) {
    const pid_t child = fork([this] { return std::pair(rehearse(), hold(8000)); });
    EXPECT_EQ(refusal(), "none");
    EXPECT_THROW(rehearse("another"), PortInUse);
    end(child);
}

TEST_F(RehearsalPlatformTest, ALiveTraxThatRunsFromTheRehearsalsFolderMayHoldItsPort) {
    const fs::path program = folder / "rehearsal/Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3";
    fs::create_directories(program.parent_path());
    fs::copy_file(builtPrograms() / "process_probe", program);
    const auto platform = rehearse();
    platform->processes->start({program, {"--hold", "3819", "--stay"}, {}},
                               FileHandle::openForAppending(folder / "log"));
    EXPECT_TRUE(eventually([&] { return textOf(folder / "log").find("\nend\n") != std::string::npos; }));
    EXPECT_EQ(refusal(), "none");
    EXPECT_THROW(rehearse("another"), PortInUse);
    platform->applications->find("", program)->forceTerminate();
}

TEST_F(RehearsalPlatformTest, OnlyProgramsOfItsOwnFolderAreFound) {
    const auto platform = rehearse();
    EXPECT_EQ(platform->applications->find("", fs::read_symlink("/proc/self/exe")), nullptr);
}

TEST_F(RehearsalPlatformTest, BonjourIsOff) {
    const auto platform = rehearse();
    const auto browser = platform->makeServiceBrowser();
    browser->search("_waveslv113._tcp.", "local.");
    EXPECT_EQ(browser->error(), std::nullopt);
}

} // namespace
} // namespace corvane

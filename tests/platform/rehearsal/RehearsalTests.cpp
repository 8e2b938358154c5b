#include "platform/rehearsal/Rehearsal.h"

#include "platform/files/StandardFolders.h"
#include "platform/processes/UDPPortHolders.h"
#include "tests/support/ClosedStandardInput.h"
#include "tests/support/RefusedCalls.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <csignal>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace corvane {
namespace {

namespace fs = std::filesystem;

const std::vector<std::uint16_t> needed{3819, 8000};

bool participantsHoldEverything(std::uint16_t /*port*/, const Rehearsal & /*rehearsal*/) {
    return true;
}

/// A UDP socket on a loopback port that the system chose.
class BoundSocket {
public:
    explicit BoundSocket(int family = AF_INET) : socket(::socket(family, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in6 six{};
        sockaddr_in four{};
        six.sin6_family = AF_INET6;
        four.sin_family = AF_INET;
        four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const bool isFour = family == AF_INET;
        socklen_t length = isFour ? sizeof four : sizeof six;
        auto *address = isFour ? reinterpret_cast<sockaddr *>(&four) : reinterpret_cast<sockaddr *>(&six);
        good = ::bind(socket.fileDescriptor(), address, length) == 0 &&
               ::getsockname(socket.fileDescriptor(), address, &length) == 0;
        port = ntohs(isFour ? four.sin_port : six.sin6_port);
    }

    FileHandle socket;
    bool good = false;
    std::uint16_t port = 0;
};

TEST(Rehearsal, MakesTheFoldersThatAreMissing) {
    const TemporaryFolder folder;
    const Rehearsal rehearsal(folder / "a/rehearsal/", needed, participantsHoldEverything);
    EXPECT_EQ(rehearsal.root(), folder / "a/rehearsal");
    EXPECT_TRUE(fs::is_directory(folder / "a/rehearsal/home"));
    EXPECT_TRUE(fs::is_directory(folder / "a/rehearsal/Applications"));
    EXPECT_EQ(rehearsal.folders().home, folder / "a/rehearsal/home");
    const Rehearsal again(folder / "a/rehearsal", needed, participantsHoldEverything);
    EXPECT_EQ(again.root(), rehearsal.root());
}

TEST(Rehearsal, ItsFolderIsKnownWithoutLinks) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "real");
    fs::create_directory_symlink("real", folder / "link");
    EXPECT_EQ(Rehearsal(folder / "link", needed, participantsHoldEverything).root(), folder / "real");
}

TEST(Rehearsal, AFolderThatCannotBeMadeIsAnError) {
    const TemporaryFolder folder;
    folder.write("file", "");
    EXPECT_THROW(Rehearsal(folder / "file", needed, participantsHoldEverything), FileError);
    EXPECT_THROW(Rehearsal(folder / "file/x", needed, participantsHoldEverything), FileError);
}

TEST(Rehearsal, OneProgramLeadsAtATime) {
    const TemporaryFolder folder;
    const Rehearsal other(folder / "other", needed, participantsHoldEverything);
    const Rehearsal second(folder / "one", needed, participantsHoldEverything);
    {
        const Rehearsal first(folder / "one", needed, participantsHoldEverything);
        EXPECT_TRUE(first.lead());
        EXPECT_FALSE(second.lead());
        EXPECT_TRUE(other.lead());
    }
    EXPECT_TRUE(second.lead());
}

TEST(Rehearsal, AProgramThatWasKilledLeadsNoMore) {
    const TemporaryFolder folder;
    int ready[2];
    ASSERT_EQ(::pipe2(ready, O_CLOEXEC), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        try {
            const Rehearsal first(folder / "one", needed, participantsHoldEverything);
            const char leads = first.lead() ? 'y' : 'n';
            [[maybe_unused]] const auto told = ::write(ready[1], &leads, 1);
            ::alarm(30);
            ::pause();
        } catch (const std::exception &) {
            // The other end sees that nothing was written.
        }
        ::_exit(0);
    }
    ::close(ready[1]);
    char leads = 0;
    ASSERT_EQ(::read(ready[0], &leads, 1), 1);
    EXPECT_EQ(leads, 'y');
    const Rehearsal second(folder / "one", needed, participantsHoldEverything);
    EXPECT_FALSE(second.lead());
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_TRUE(second.lead());
    ::close(ready[0]);
}

TEST(Rehearsal, SaysWhichPortIsInTheWay) {
    EXPECT_STREQ(PortInUse(8000).what(), "UDP port 8000 is in use by another program.");
}

TEST(UDPPortHolders, APortIsInUseWhileASocketIsBoundToIt) {
    std::uint16_t port = 0;
    {
        const BoundSocket holder;
        ASSERT_TRUE(holder.good);
        port = holder.port;
        EXPECT_TRUE(isUDPPortInUse(port));
    }
    errno = EADDRINUSE; // from an earlier call
    EXPECT_FALSE(isUDPPortInUse(port));
}

TEST(UDPPortHolders, APortThatIsOfferedForSharingIsInUseAsWell) {
    const BoundSocket holder;
    const int on = 1;
    ASSERT_EQ(::setsockopt(holder.socket.fileDescriptor(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on), 0);
    EXPECT_TRUE(isUDPPortInUse(holder.port));
}

TEST(UDPPortHolders, TheProgramThatHoldsAPortIsNamed) {
    std::uint16_t port = 0;
    {
        const BoundSocket holder;
        port = holder.port;
        EXPECT_EQ(udpPortHolders(port), (std::vector<UDPPortHolder>{{::getpid(), programPath()}}));
    }
    EXPECT_TRUE(udpPortHolders(port).empty());
}

TEST(UDPPortHolders, AProgramOfAnotherUserIsNotNamed) {
    constexpr int mayNot = 77;
    const TemporaryFolder folder;
    const Rehearsal rehearsal(folder.path(), needed, participantsHoldEverything);
    const BoundSocket holder;
    const pid_t self = ::getpid();
    const pid_t other = ::fork();
    if (other == 0) {
        if (::setgid(1111) != 0 || ::setuid(1234) != 0)
            ::_exit(mayNot);
        ::close(holder.socket.fileDescriptor()); // its own copy
        const bool isUnknown = udpPortHolders(holder.port) == std::vector<UDPPortHolder>(1) &&
                               !hasOpen(self, rehearsal.participantsFile());
        ::_exit(isUnknown ? 0 : 1);
    }
    int ended = 0;
    ASSERT_EQ(::waitpid(other, &ended, 0), other);
    if (WIFEXITED(ended) && WEXITSTATUS(ended) == mayNot)
        GTEST_SKIP() << "only root may become somebody else";
    EXPECT_EQ(ended, 0);
}

TEST(UDPPortHolders, OfPortsThatNobodyCanHoldThereAreNone) {
    const BoundSocket any; // so that there is something to be looked through
    EXPECT_TRUE(udpPortHolders(0).empty());
}

TEST(UDPPortHolders, WithoutASocketItCannotBeToldWhetherAPortIsInUse) {
    std::string problem;
    const bool isRun = withoutSockets([&] {
        try {
            isUDPPortInUse(8000);
        } catch (const FileError &error) {
            problem = error.what();
        }
    });
    if (!isRun)
        GTEST_SKIP() << "this system refuses no calls";
    EXPECT_EQ(problem, "A socket could not be opened: Too many open files.");
}

TEST(UDPPortHolders, ASocketOfNumber0LooksAsWellAsAnyOther) {
    const BoundSocket holder;
    const ClosedStandardInput closed;
    EXPECT_TRUE(isUDPPortInUse(holder.port));
}

TEST(UDPPortHolders, PeopleAreToldOfThemByNameAndNumber) {
    EXPECT_EQ(described({4711, "/usr/bin/corvane"}), "corvane (process 4711)");
    EXPECT_EQ(described({4711, ""}), "process 4711");
    EXPECT_EQ(described({}), "a program of another user");
}

TEST(UDPPortHolders, AProgramWithTheRehearsalsFileOpenTakesPart) {
    const TemporaryFolder folder;
    const BoundSocket holder;
    const Rehearsal rehearsal(folder / "one", needed, participantsHoldEverything);
    EXPECT_TRUE(isUDPPortHeldByParticipants(holder.port, rehearsal)); // this very program
}

TEST(UDPPortHolders, AProgramOfAnotherRehearsalDoesNot) {
    const TemporaryFolder folder;
    // The holder is a process that takes part in the first rehearsal only.
    int ready[2];
    ASSERT_EQ(::pipe2(ready, O_CLOEXEC), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const Rehearsal first(folder / "first", needed, participantsHoldEverything);
        const BoundSocket holder;
        [[maybe_unused]] const auto told = ::write(ready[1], &holder.port, sizeof holder.port);
        ::alarm(30);
        ::pause();
        ::_exit(0);
    }
    std::uint16_t port = 0;
    ASSERT_EQ(::read(ready[0], &port, sizeof port), static_cast<ssize_t>(sizeof port));
    {
        const Rehearsal first(folder / "first", needed, participantsHoldEverything);
        EXPECT_TRUE(isUDPPortHeldByParticipants(port, first));
    }
    const Rehearsal second(folder / "second", needed, participantsHoldEverything);
    EXPECT_FALSE(isUDPPortHeldByParticipants(port, second));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(ready[0]);
    ::close(ready[1]);
}

TEST(UDPPortHolders, APortOfBothFamiliesIsSeen) {
    const TemporaryFolder folder;
    const BoundSocket holder(AF_INET6);
    if (!holder.good)
        GTEST_SKIP() << "no IPv6 here";
    EXPECT_TRUE(isUDPPortInUse(holder.port));
    const Rehearsal rehearsal(folder.path(), needed, participantsHoldEverything);
    EXPECT_TRUE(isUDPPortHeldByParticipants(holder.port, rehearsal));
}

TEST(UDPPortHolders, NobodysPortIsNotHeldByParticipants) {
    const TemporaryFolder folder;
    const Rehearsal rehearsal(folder.path(), needed, participantsHoldEverything);
    std::uint16_t port = 0;
    {
        const BoundSocket holder;
        port = holder.port;
    }
    EXPECT_FALSE(isUDPPortHeldByParticipants(port, rehearsal));
}

} // namespace
} // namespace corvane

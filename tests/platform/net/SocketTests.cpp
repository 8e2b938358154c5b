#include "platform/net/Sockets.h"
#include "tests/support/Peers.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace corvane {
namespace {

bool isInherited(int descriptor) {
    const int flags = ::fcntl(descriptor, F_GETFD);
    EXPECT_GE(flags, 0);
    return (flags & FD_CLOEXEC) == 0;
}

TEST(Sockets, APeerThatFallsSilentIsGivenUpAfterElevenSeconds) {
    const Descriptor socket(openSocket(AF_INET, SOCK_STREAM));
    noticeSilentPeer(socket.get());
    const auto option = [&](int level, int name) {
        int value = -1;
        socklen_t size = sizeof value;
        EXPECT_EQ(::getsockopt(socket.get(), level, name, &value, &size), 0);
        return value;
    };
    EXPECT_NE(option(SOL_SOCKET, SO_KEEPALIVE), 0);
#ifdef TCP_KEEPIDLE
    EXPECT_EQ(option(IPPROTO_TCP, TCP_KEEPIDLE), 5);
#endif
    EXPECT_EQ(option(IPPROTO_TCP, TCP_KEEPINTVL), 2);
    EXPECT_EQ(option(IPPROTO_TCP, TCP_KEEPCNT), 3);
#ifdef TCP_USER_TIMEOUT
    EXPECT_EQ(option(IPPROTO_TCP, TCP_USER_TIMEOUT), 11'000);
#endif
}

TEST(Sockets, NoProgramInheritsThemNorWhatALibraryOpened) {
    const Descriptor socket(openSocket(AF_INET, SOCK_DGRAM));
    EXPECT_FALSE(isInherited(socket.get()));
    const Descriptor careless(::open("/dev/null", O_RDONLY));
    EXPECT_TRUE(isInherited(careless.get()));
    const auto before = openDescriptors();
    for (int round = 0; round < 20; ++round)
        closeEverythingOnExec();
    EXPECT_LT(openDescriptors(), before + 10) << "what lists them is closed as well";
    EXPECT_FALSE(isInherited(careless.get()));
    EXPECT_FALSE(isInherited(socket.get()));
    for (const int standard : {STDOUT_FILENO, STDERR_FILENO})
        EXPECT_TRUE(isInherited(standard));
}

} // namespace
} // namespace corvane

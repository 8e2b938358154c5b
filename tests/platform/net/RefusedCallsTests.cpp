// A system that refuses what is asked of it beside the essential: links and listeners do without.

#include "platform/host/HostInformation.h"
#include "platform/net/AsioNetwork.h"
#include "platform/net/PosixMulticast.h"
#include "platform/queues/AsioRuntime.h"
#include "tests/support/Peers.h"
#include "tests/support/PrivateNetwork.h"
#include "tests/support/Recorders.h"
#include "tests/support/RefusedCalls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <sys/socket.h>

namespace corvane {
namespace {

constexpr std::uint16_t announcementPort = 13337;

bool isSettable() {
    const Descriptor socket = newSocket(SOCK_DGRAM);
    const int on = 1;
    return ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0;
}

/// What a listener says when it is opened; and it hears what is sent to this machine directly.
std::string opensAndHears(AsioRuntime &runtime) {
    PosixMulticast multicast(runtime);
    const auto heard = std::make_shared<Journal<Bytes>>();
    const auto opened = multicast.open("225.1.1.1", announcementPort, 4096, runtime.make("Corvane.Discovery"),
                                       [heard](const Bytes &datagram) { heard->add(datagram); });
    DatagramPeer().send(bytes("directly"), announcementPort);
    EXPECT_TRUE(heard->awaitCount(1));
    return opened.error;
}

TEST(RefusedSocketOptions, LeaveConnectionsAndListenersAtWork) {
    CORVANE_ENTER_PRIVATE_NETWORK({.loopbackMulticast = true});
    const StreamListener listener;
    const DatagramPeer recorder;
    const bool isRun = withoutSocketOptions([&] {
        ASSERT_FALSE(isSettable());
        AsioRuntime runtime;
        AsioNetwork network(runtime);
        EXPECT_EQ(opensAndHears(runtime), "Announcements cannot be heard on lo: Operation not permitted.");

        const auto journal = std::make_shared<ConnectionJournal>();
        const auto queue = runtime.make("Corvane.Network");
        const auto stream = network.makeStream("127.0.0.1", listener.port(), queue);
        stream->start(journal->states());
        const auto console = listener.accept();
        ASSERT_TRUE(journal->await("ready"));
        stream->receive(1, 100, journal->received());
        stream->send(bytes("hello"));
        EXPECT_EQ(console.read(5), bytes("hello"));
        console.write(bytes("patch"));
        EXPECT_TRUE(journal->await("data: patch"));

        const auto replies = unusedPort();
        const auto datagrams =
            network.makeDatagram("127.0.0.1", recorder.port(), "127.0.0.1", replies, queue);
        datagrams->start(journal->states());
        datagrams->send(bytes("/marker"));
        EXPECT_EQ(recorder.receive(), bytes("/marker"));
        datagrams->receiveMessage(journal->datagrams());
        recorder.send(bytes("stopped"), replies);
        EXPECT_TRUE(journal->await("data: stopped"));
    });
    if (!isRun)
        GTEST_SKIP() << "this system refuses no calls";
}

TEST(RefusedSockets, AreToldInTheSystemsWords) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    const bool isRun = withoutSockets([] {
        AsioRuntime runtime;
        AsioNetwork network(runtime);
        PosixMulticast multicast(runtime);
        const auto queue = runtime.make("Corvane.Test");
        const auto opened = multicast.open("225.1.1.1", announcementPort, 4096, queue, [](const Bytes &) {});
        EXPECT_EQ(opened.error, "No UDP socket can be opened: Too many open files.");
        EXPECT_FALSE(opened.socket);
        const auto journal = std::make_shared<ConnectionJournal>();
        const auto stream = network.makeStream("127.0.0.1", 5000, queue);
        stream->start(journal->states());
        EXPECT_TRUE(journal->await("failed: Too many open files"));
        const auto others = std::make_shared<ConnectionJournal>();
        const auto datagrams = network.makeDatagram("127.0.0.1", 5000, "127.0.0.1", 0, queue);
        datagrams->start(others->states());
        EXPECT_TRUE(others->await("failed: Too many open files"));
    });
    if (!isRun)
        GTEST_SKIP() << "this system refuses no calls";
}

TEST(RefusedPorts, AreToldInTheSystemsWords) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    const bool isRun = withoutPorts([] {
        AsioRuntime runtime;
        PosixMulticast multicast(runtime);
        const auto opened = multicast.open("225.1.1.1", announcementPort, 4096, runtime.make("Corvane.Test"),
                                           [](const Bytes &) {});
        EXPECT_EQ(opened.error, "UDP port 13337 cannot be used: Permission denied.");
        EXPECT_FALSE(opened.socket);
    });
    if (!isRun)
        GTEST_SKIP() << "this system refuses no calls";
}

TEST(RefusedInterfaceLists, LeaveTheListenerAtWorkAndTheComputerWithoutAddresses) {
    CORVANE_ENTER_PRIVATE_NETWORK({.loopbackMulticast = true});
    const bool isRun = withoutInterfaceLists([] {
        AsioRuntime runtime;
        EXPECT_EQ(opensAndHears(runtime),
                  "The network interfaces cannot be listed: Operation not permitted.");
        EXPECT_TRUE(hostInformation().ethernetAddresses.empty());
    });
    if (!isRun)
        GTEST_SKIP() << "this system refuses no calls";
}

} // namespace
} // namespace corvane

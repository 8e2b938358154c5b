#include "platform/net/PosixMulticast.h"
#include "platform/queues/AsioRuntime.h"
#include "tests/support/ClosedStandardInput.h"
#include "tests/support/Eventually.h"
#include "tests/support/Peers.h"
#include "tests/support/PrivateNetwork.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <future>
#include <random>
#include <sys/resource.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace corvane {
namespace {

constexpr const char *group = "225.1.1.1";
constexpr std::uint16_t port = 13337;
constexpr std::size_t capacity = 4096;

sockaddr_in address(const char *host) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    ::inet_pton(AF_INET, host, &result.sin_addr);
    return result;
}

/// Sends one datagram to the listeners' port, out of the interface that has the address `from`.
void sendTo(const char *host, const Bytes &datagram, const char *from = nullptr) {
    const Descriptor socket(::socket(AF_INET, SOCK_DGRAM, 0));
    if (from) {
        const auto interface = address(from).sin_addr;
        ASSERT_EQ(::setsockopt(socket.get(), IPPROTO_IP, IP_MULTICAST_IF, &interface, sizeof interface), 0);
    }
    const auto to = address(host);
    ASSERT_EQ(::sendto(socket.get(), datagram.data(), datagram.size(), 0,
                       reinterpret_cast<const sockaddr *>(&to), sizeof to),
              static_cast<ssize_t>(datagram.size()))
        << std::generic_category().message(errno);
}

/// A listener with what it has heard.
class Listener {
public:
    explicit Listener(PosixMulticast::Reach reach = PosixMulticast::Reach::network)
        : multicast(runtime, reach) {}

    const std::string &open() {
        opened = multicast.open(group, port, capacity, queue, [heard = heard](const Bytes &datagram) {
            heard->add(std::string(datagram.begin(), datagram.end()));
        });
        return opened.error;
    }

    void settle() {
        std::promise<void> done;
        queue->post([&] { done.set_value(); });
        ASSERT_EQ(done.get_future().wait_for(testTimeout), std::future_status::ready);
    }

    std::shared_ptr<Journal<std::string>> heard = std::make_shared<Journal<std::string>>();
    AsioRuntime runtime;
    PosixMulticast multicast;
    std::shared_ptr<SerialQueue> queue = runtime.make("Corvane.Discovery");
    MulticastListening::Opened opened;
};

std::size_t residentPages() {
    std::ifstream statistics("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    statistics >> total >> resident;
    return resident;
}

TEST(PosixMulticast, HearsWhatIsSentToTheMachineDirectly) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    Listener listener;
    listener.open();
    ASSERT_TRUE(listener.opened.socket);
    sendTo("127.0.0.1", bytes("one"));
    sendTo("127.0.0.1", bytes("two"));
    ASSERT_TRUE(listener.heard->awaitCount(2));
    EXPECT_EQ(listener.heard->all(), (std::vector<std::string>{"one", "two"}));
}

TEST(PosixMulticast, HearsTheGroupOnTheLoopbackWhereThatSupportsMulticast) {
    CORVANE_ENTER_PRIVATE_NETWORK({.loopbackMulticast = true});
    Listener listener;
    EXPECT_EQ(listener.open(), "");
    sendTo(group, bytes("announcement"), "127.0.0.1");
    EXPECT_TRUE(listener.heard->awaitCount(1));
}

TEST(PosixMulticast, HearsTheGroupFromAnotherNetworkOverACable) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    std::string reason;
    const auto neighbour = PrivateNetwork::Neighbour::join(reason);
    if (!neighbour)
        GTEST_SKIP() << reason;
    Listener listener;
    EXPECT_EQ(listener.open(), "");
    neighbour->inside([] {
        for (int i = 0; i < 3; ++i)
            sendTo(group, bytes("announcement"), "10.77.0.2");
    });
    ASSERT_TRUE(listener.heard->awaitCount(3));
    EXPECT_EQ(listener.heard->all().front(), "announcement");
}

TEST(PosixMulticast, TwoListenersOfOneMachineBothHearTheGroup) {
    CORVANE_ENTER_PRIVATE_NETWORK({.loopbackMulticast = true});
    Listener first;
    Listener second;
    EXPECT_EQ(first.open(), "");
    EXPECT_EQ(second.open(), "");
    sendTo(group, bytes("announcement"), "127.0.0.1");
    EXPECT_TRUE(first.heard->awaitCount(1));
    EXPECT_TRUE(second.heard->awaitCount(1));
}

TEST(PosixMulticast, SharesThePortWithWhoeverSharesItInEitherWay) {
    CORVANE_ENTER_PRIVATE_NETWORK({.loopbackMulticast = true});
    for (const int way : {SO_REUSEADDR, SO_REUSEPORT}) {
        const Descriptor holder = newSocket(SOCK_DGRAM);
        const int on = 1;
        ASSERT_EQ(::setsockopt(holder.get(), SOL_SOCKET, way, &on, sizeof on), 0);
        const auto everywhere = address("0.0.0.0");
        ASSERT_EQ(::bind(holder.get(), reinterpret_cast<const sockaddr *>(&everywhere), sizeof everywhere),
                  0);
        Listener listener;
        EXPECT_EQ(listener.open(), "") << way;
    }
}

TEST(PosixMulticast, SaysWhatItCannotListenTo) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    Listener listener;
    const auto before = openDescriptors();
    const auto opened =
        listener.multicast.open("group", port, capacity, listener.queue, [](const Bytes &) {});
    EXPECT_EQ(opened.error, "group is not an address.");
    EXPECT_FALSE(opened.socket);
    EXPECT_EQ(openDescriptors(), before);
}

TEST(PosixMulticast, ASocketOfNumber0HearsAsWellAsAnyOther) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    const ClosedStandardInput closed;
    Listener listener;
    listener.open();
    sendTo("127.0.0.1", bytes("one"));
    EXPECT_TRUE(listener.heard->awaitCount(1));
    listener.opened.socket->cancel(); // the number is free again
}

TEST(PosixMulticast, SaysThatAnotherProgramHoldsThePort) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    const DatagramPeer holder(port);
    Listener listener;
    const auto before = openDescriptors();
    EXPECT_EQ(listener.open(), "UDP port 13337 is in use by another program.");
    EXPECT_FALSE(listener.opened.socket);
    EXPECT_EQ(openDescriptors(), before);
}

TEST(PosixMulticast, SaysThatNoInterfaceSupportsMulticastAndListensAllTheSame) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    Listener listener;
    EXPECT_EQ(listener.open(), "No network interface supports multicast.");
    EXPECT_TRUE(listener.opened.socket);
}

TEST(PosixMulticast, SeveralAddressesOfOneInterfaceAreNoError) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    std::string reason;
    const auto neighbour = PrivateNetwork::Neighbour::join(reason);
    if (!neighbour)
        GTEST_SKIP() << reason;
    ASSERT_EQ(std::system("ip address add 10.78.0.1/24 dev corvane0"), 0);
    Listener listener;
    EXPECT_EQ(listener.open(), "");
}

TEST(PosixMulticast, AnInterfaceThatComesLaterIsHeardHoweverOftenItWentBefore) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    Listener listener;
    EXPECT_EQ(listener.open(), "No network interface supports multicast.");
    // More often than the system allows memberships: those of interfaces that are gone count as well.
    std::ofstream("/proc/sys/net/ipv4/igmp_max_memberships") << 3;
    for (int round = 0; round < 6; ++round) {
        std::string reason;
        const auto neighbour = PrivateNetwork::Neighbour::join(reason);
        if (!neighbour)
            GTEST_SKIP() << reason;
        const auto word = "round " + std::to_string(round);
        // Sent again until it is heard: when the interface is looked at is the listener's to say.
        EXPECT_TRUE(eventually([&] {
            neighbour->inside([&] { sendTo(group, bytes(word), "10.77.0.2"); });
            const auto heard = listener.heard->all();
            return std::find(heard.begin(), heard.end(), word) != heard.end();
        })) << round;
        EXPECT_EQ(listener.opened.socket->error(), "");
        ASSERT_EQ(std::system("ip link delete corvane0"), 0);
    }
}

TEST(PosixMulticast, WhereTheSystemRefusesMembershipsWhatIsSentDirectlyIsHeard) {
    CORVANE_ENTER_PRIVATE_NETWORK({.loopbackMulticast = true});
    std::ofstream("/proc/sys/net/ipv4/igmp_max_memberships") << 0;
    Listener listener;
    std::string reason;
    const auto neighbour = PrivateNetwork::Neighbour::join(reason);
    if (!neighbour)
        GTEST_SKIP() << reason;
    EXPECT_EQ(listener.open(), "Announcements cannot be heard on lo: No buffer space available. "
                               "Announcements cannot be heard on corvane0: No buffer space available.");
    sendTo("127.0.0.1", bytes("directly"));
    EXPECT_TRUE(listener.heard->awaitCount(1));
}

TEST(PosixMulticast, WhereInterfacesCannotBeListedWhatIsSentDirectlyIsHeard) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer takes a descriptor of its own to look at memory, and here there is none";
#endif
    CORVANE_ENTER_PRIVATE_NETWORK({.loopbackMulticast = true});
    Listener listener;
    listener.open(); // the event loop opens what it needs with its first socket
    listener.opened = {};
    // One descriptor is left, for the socket.
    const int next = ::dup(0);
    ::close(next);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit tight = before;
    tight.rlim_cur = static_cast<rlim_t>(next) + 1;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &tight), 0);
    const auto error = listener.open();
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(error, "The network interfaces cannot be listed: Too many open files.");
    sendTo("127.0.0.1", bytes("directly"));
    EXPECT_TRUE(listener.heard->awaitCount(1));
}

TEST(PosixMulticast, InARehearsalHearsTheLoopbackAddressAlone) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    std::string reason;
    const auto neighbour = PrivateNetwork::Neighbour::join(reason);
    if (!neighbour)
        GTEST_SKIP() << reason;
    Listener everywhere;
    Listener rehearsal(PosixMulticast::Reach::loopbackOnly);
    EXPECT_EQ(everywhere.open(), "");
    EXPECT_EQ(rehearsal.open(), "");
    neighbour->inside([] {
        sendTo(group, bytes("from the network"), "10.77.0.2");
        sendTo("10.77.0.1", bytes("from the network, directly"));
    });
    ASSERT_TRUE(everywhere.heard->awaitCount(2));
    sendTo("127.0.0.1", bytes("from here"));
    ASSERT_TRUE(rehearsal.heard->awaitCount(1));
    EXPECT_EQ(rehearsal.heard->all(), (std::vector<std::string>{"from here"}));
    EXPECT_EQ(everywhere.heard->all().size(), 2u);
}

TEST(PosixMulticast, CutsLongDatagramsAndSkipsEmptyOnes) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    Listener listener;
    listener.open();
    sendTo("127.0.0.1", Bytes(9000, 'x'));
    sendTo("127.0.0.1", {});
    sendTo("127.0.0.1", Bytes(capacity, 'y'));
    sendTo("127.0.0.1", bytes("last"));
    ASSERT_TRUE(listener.heard->awaitCount(3));
    EXPECT_EQ(listener.heard->all(),
              (std::vector<std::string>{std::string(capacity, 'x'), std::string(capacity, 'y'), "last"}));
}

TEST(PosixMulticast, HearsNothingMoreOnceCancelledOrLetGoOf) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    Listener listener;
    for (int round = 0; round < 20; ++round) {
        listener.open();
        const auto before = listener.heard->all().size();
        sendTo("127.0.0.1", bytes("heard"));
        ASSERT_TRUE(listener.heard->awaitCount(before + 1));
        if (round % 2 == 0)
            listener.opened.socket->cancel();
        else
            listener.opened.socket.reset();
        sendTo("127.0.0.1", bytes("not heard"));
        listener.settle();
        EXPECT_EQ(listener.heard->all().back(), "heard");
        EXPECT_NO_THROW(DatagramPeer{port}); // the port is free at once
    }
}

TEST(PosixMulticast, MayBeLetGoOfInsideItsHandlerAndAfterTheRuntime) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    MulticastListening::Opened survivor;
    {
        AsioRuntime runtime;
        PosixMulticast multicast(runtime);
        const auto queue = runtime.make("Corvane.Discovery");
        survivor = multicast.open(group, port, capacity, queue, [](const Bytes &) {});
        MulticastListening::Opened opened;
        std::promise<void> gone;
        queue->post([&] {
            survivor.socket->cancel();
            opened = multicast.open(group, port, capacity, queue, [&](const Bytes &) {
                opened.socket.reset();
                gone.set_value();
            });
            sendTo("127.0.0.1", bytes("now"));
        });
        ASSERT_EQ(gone.get_future().wait_for(testTimeout), std::future_status::ready);
        survivor = multicast.open(group, port, capacity, queue, [](const Bytes &) {});
    }
    sendTo("127.0.0.1", bytes("late"));
    survivor.socket.reset();
    EXPECT_NO_THROW(DatagramPeer{port});
}

TEST(PosixMulticast, RestartedAtAnyMomentLeaksNoDescriptorAndLetsNoneBeInherited) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    Listener listener;
    listener.open();
    sendTo("127.0.0.1", bytes("warm"));
    ASSERT_TRUE(listener.heard->awaitCount(1));
    const auto before = openDescriptors();
    const auto inherited = inheritableDescriptors();
    for (int round = 0; round < 300; ++round) {
        listener.open();
        sendTo("127.0.0.1", bytes("x"));
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(inheritableDescriptors(), inherited);
}

TEST(PosixMulticast, TenThousandDatagramsLeaveMemoryFlat) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizers keep what is freed, and shadows of it: memory says nothing";
#endif
    CORVANE_ENTER_PRIVATE_NETWORK();
    AsioRuntime runtime;
    PosixMulticast multicast(runtime);
    // The handler's own: marks that were repeated are still being read when the test ends.
    const auto heard = std::make_shared<Journal<std::size_t>>();
    const auto opened = multicast.open(group, port, capacity, runtime.make("Corvane.Discovery"),
                                       [heard, count = std::size_t{0}](const Bytes &datagram) mutable {
                                           ++count;
                                           if (datagram.size() == 1)
                                               heard->add(count);
                                       });
    std::mt19937 random(7); // NOLINT(bugprone-random-generator-seed): the same datagrams every time
    const auto flood = [&](std::size_t rounds) {
        for (std::size_t round = 0; round < rounds; ++round) {
            for (int i = 0; i < 100; ++i) {
                Bytes datagram(i % 3 == 0 ? 64 : 2 + random() % 8000);
                for (auto &byte : datagram)
                    byte = i % 3 == 0 ? std::uint8_t(7) : static_cast<std::uint8_t>(random());
                sendTo("127.0.0.1", datagram);
            }
            // The socket's buffer may have dropped some; the mark is repeated until it comes through.
            const auto marks = heard->all().size();
            ASSERT_TRUE(eventually([&] {
                sendTo("127.0.0.1", Bytes(1));
                return heard->all().size() > marks;
            }));
        }
    };
    flood(10);
    const auto before = residentPages();
    flood(100);
    const auto grown = static_cast<double>(residentPages()) - static_cast<double>(before);
    EXPECT_LT(grown * static_cast<double>(::sysconf(_SC_PAGESIZE)), 2e6);
}

} // namespace
} // namespace corvane

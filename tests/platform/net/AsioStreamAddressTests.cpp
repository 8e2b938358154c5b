// Which address of a host a connection is made to, and by what socket.

#include "tests/platform/net/AsioStreamTest.h"
#include "tests/support/ClosedStandardInput.h"
#include "tests/support/Eventually.h"

#include <asio/ip/address.hpp>
#include <fstream>
#include <future>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sstream>
#include <string>
#include <sys/socket.h>

namespace corvane {
namespace {

using namespace std::chrono_literals;

/// A look-up of hosts that takes as long as the test wants it to.
class SlowLookUp {
public:
    /// What a network is given: once it is released, the host has this address.
    auto lookUp() {
        return [this](const std::string &) {
            released.wait();
            ended.add(1);
            return HostAddresses{{asio::ip::make_address("127.0.0.1")}, {}};
        };
    }
    /// Whether the look-up has ended then.
    bool release() {
        gate.set_value();
        return ended.awaitCount(1);
    }

private:
    std::promise<void> gate;
    std::shared_future<void> released = gate.get_future().share();
    Journal<int> ended;
};

TEST_F(AsioStream, ANameThatIsFoundAfterItWasCancelledIsNotConnectedTo) {
    settleSockets(); // the event loop opens what it needs with its first socket
    const auto before = openDescriptors();
    SlowLookUp host;
    AsioNetwork slow(runtime, host.lookUp());
    const auto connection = slow.makeStream("slow.example", listener.port(), queue);
    connection->start(journal->states());
    connection->cancel();
    ASSERT_TRUE(journal->await("cancelled"));
    ASSERT_TRUE(host.release());
    settleSockets();
    EXPECT_TRUE(eventually([&] { return openDescriptors() == before; }));
    EXPECT_EQ(journal->all().back(), "cancelled");
}

TEST_F(AsioStream, TriesTheAddressesOfAHostInTurn) {
    AsioNetwork named(runtime, [](const std::string &host) {
        EXPECT_EQ(host, "console.local.");
        return HostAddresses{{asio::ip::make_address("::1"), asio::ip::make_address("127.0.0.2"),
                              asio::ip::make_address("127.0.0.1")},
                             {}};
    });
    const auto connection = named.makeStream("console.local.", listener.port(), queue);
    connection->start(journal->states());
    EXPECT_TRUE(listener.accept().isOpen());
    ASSERT_TRUE(journal->await("ready"));
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready"}));
}

#ifdef __linux__
TEST_F(AsioStream, AnAddressThatKeepsSilentIsNotWaitedForWhileThereIsAnother) {
    const SilentListener silent(listener.port());
    AsioNetwork named(runtime, [](const std::string &) {
        return HostAddresses{{asio::ip::make_address("127.0.0.2"), asio::ip::make_address("127.0.0.1")}, {}};
    });
    const auto elapsing = std::make_shared<ElapsingQueue>(queue);
    const auto connection = named.makeStream("console.local.", listener.port(), elapsing);
    connection->start(journal->states());
    connection->receive(1, 100, journal->received());
    ASSERT_TRUE(elapsing->delays.awaitCount(1));
    EXPECT_EQ(elapsing->delays.all().front().first, 2s);
    elapsing->elapse();
    const auto peer = listener.accept();
    EXPECT_TRUE(peer.isOpen());
    ASSERT_TRUE(journal->await("ready"));
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready"}));
    EXPECT_EQ(elapsing->delays.all().size(), 1U) << "the last address has all the time there is";
}

TEST_F(AsioStream, AnAddressThatAnswersInTimeIsNotLeftWhenItsTimeIsOver) {
    AsioNetwork named(runtime, [](const std::string &) {
        return HostAddresses{{asio::ip::make_address("127.0.0.1"), asio::ip::make_address("127.0.0.2")}, {}};
    });
    const auto elapsing = std::make_shared<ElapsingQueue>(queue);
    const auto connection = named.makeStream("console.local.", listener.port(), elapsing);
    connection->start(journal->states());
    connection->receive(1, 100, journal->received());
    const auto peer = listener.accept();
    ASSERT_TRUE(journal->await("ready"));
    elapsing->elapse();
    settleSockets();
    peer.write(bytes("patch"));
    ASSERT_TRUE(journal->await("data: patch"));
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready", "data: patch"}));
}

/// The number of the socket that is connected to the port; -1 when none is.
int socketTo(std::uint16_t port) {
    for (int descriptor = 0; descriptor < 1'000; ++descriptor) {
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        if (::getpeername(descriptor, reinterpret_cast<sockaddr *>(&peer), &size) == 0 &&
            peer.sin_port == htons(port))
            return descriptor;
    }
    return -1;
}

TEST_F(AsioStream, NoticesAPeerThatFallsSilentAndKeepsNothingBack) {
    auto [connection, peer] = linked();
    ASSERT_TRUE(journal->await("ready"));
    const int socket = socketTo(listener.port());
    ASSERT_GE(socket, 0);
    for (const auto &[name, wanted] : {std::pair(TCP_USER_TIMEOUT, 11'000), {TCP_NODELAY, 1}}) {
        int value = -1;
        socklen_t size = sizeof value;
        EXPECT_EQ(::getsockopt(socket, IPPROTO_TCP, name, &value, &size), 0);
        EXPECT_EQ(value, wanted);
    }
}

TEST_F(AsioStream, ASocketOfNumber0IsOneAsAnyOther) {
    settleSockets(); // the event loop opens what it needs with its first socket
    const ClosedStandardInput closed;
    auto [connection, peer] = linked();
    ASSERT_TRUE(journal->await("ready"));
    EXPECT_EQ(socketTo(listener.port()), 0);
    connection->cancel();
    settle(); // the number is free again
}

TEST_F(AsioStream, ASilentAddressMayBeLeftAtAnyMoment) {
    const SilentListener silent(listener.port());
    AsioNetwork named(runtime, [](const std::string &) {
        return HostAddresses{{asio::ip::make_address("127.0.0.2"), asio::ip::make_address("127.0.0.1")}, {}};
    });
    const auto left = named.makeStream("console.local.", listener.port(), queue);
    left->start(journal->states());
    left->cancel();
    EXPECT_TRUE(journal->await("cancelled"));
    named.makeStream("console.local.", listener.port(), queue)->start(journal->states());
    settle();
}
#endif

TEST_F(AsioStream, AnUnknownHostFailsWithTheSystemsWords) {
    AsioNetwork named(runtime, [](const std::string &) {
        return HostAddresses{{}, "Name or service not known"};
    });
    const auto connection = named.makeStream("nobody", 5000, queue);
    connection->start(journal->states());
    EXPECT_TRUE(journal->await("failed: Name or service not known"));
}

TEST(HostResolver, AddressesOfBothFamiliesAreTakenFromTheSystem) {
    for (const char *address : {"127.0.0.1", "::1"})
        EXPECT_EQ(lookUpHost(address).addresses, (std::vector{asio::ip::make_address(address)}));
}

TEST_F(AsioStream, TheSystemFindsLocalhost) {
    std::ifstream hosts("/etc/hosts");
    bool isNamed = false;
    for (std::string line; std::getline(hosts, line);) {
        std::istringstream words(line.substr(0, line.find('#')));
        for (std::string word; words >> word;)
            isNamed = isNamed || word == "localhost";
    }
    if (!isNamed)
        GTEST_SKIP() << "/etc/hosts does not name it, and asking elsewhere is no test's business";
    const auto found = lookUpHost("localhost");
    EXPECT_FALSE(found.addresses.empty()) << found.error;
    const auto connection = make(listener.port(), "localhost");
    connection->start(journal->states());
    EXPECT_TRUE(journal->await("ready"));
}

TEST_F(AsioStream, ASlowLookUpDelaysNeitherCancelNorOtherConnections) {
    SlowLookUp host;
    {
        AsioNetwork slow(runtime, host.lookUp());
        const auto stuck = slow.makeStream("slow.example", listener.port(), queue);
        stuck->start(journal->states());
        const auto words = std::make_shared<ConnectionJournal>();
        const auto quick = make(listener.port());
        quick->start(words->states());
        EXPECT_TRUE(words->await("ready"));
        stuck->cancel();
        EXPECT_TRUE(journal->await("cancelled"));
    }
    ASSERT_TRUE(host.release());
    settle();
    EXPECT_EQ(journal->all(), (Words{"preparing", "cancelled"}));
}

TEST(AsioStreamShutdown, ALookUpThatTakesItsTimeDoesNotHoldUpTheEnd) {
    SlowLookUp host;
    std::shared_ptr<StreamConnection> connection;
    const auto journal = std::make_shared<ConnectionJournal>();
    {
        AsioRuntime runtime;
        AsioNetwork network(runtime, host.lookUp());
        connection = network.makeStream("slow.example", 5000, runtime.make("Corvane.Test"));
        connection->start(journal->states());
        ASSERT_TRUE(journal->await("preparing"));
    }
    ASSERT_TRUE(host.release());
    connection.reset();
    EXPECT_EQ(journal->all(), (Words{"preparing"}));
}

} // namespace
} // namespace corvane

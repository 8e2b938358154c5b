#include "tests/platform/net/AsioStreamTest.h"
#include "tests/support/Eventually.h"

#include <algorithm>
#include <future>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <system_error>
#include <vector>

namespace corvane {
namespace {

using namespace std::chrono_literals;

TEST_F(AsioStream, KnowsItsPeersAddressOnceItIsReady) {
    auto [connection, peer] = linked();
    std::promise<std::string> address;
    ASSERT_TRUE(journal->await("ready"));
    queue->post([&, &connection = connection] { address.set_value(connection->peerAddress()); });
    EXPECT_EQ(address.get_future().get(), "127.0.0.1");
    EXPECT_EQ(make(listener.port())->peerAddress(), "");
}

TEST_F(AsioStream, WhatWasCancelledBeforeItWasStartedSaysSoAndDoesNothing) {
    settleSockets(); // the event loop opens what it needs with its first socket
    const auto before = openDescriptors();
    const auto connection = make(listener.port());
    connection->cancel();
    connection->start(journal->states());
    settle();
    EXPECT_EQ(journal->all(), (Words{"cancelled"}));
    EXPECT_TRUE(eventually([&] { return openDescriptors() == before; }));
}

TEST_F(AsioStream, AReceiveOnAFailedConnectionSaysWhy) {
    const auto connection = make(unusedPort());
    connection->start(journal->states());
    ASSERT_TRUE(journal->awaitBeginning("failed: "));
    connection->receive(1, 100, journal->received());
    EXPECT_TRUE(journal->await("error: " + systemText(std::errc::connection_refused)));
}

TEST_F(AsioStream, ASecondReceiveStopsTheProgram) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            const auto connection = make(listener.port());
            connection->receive(1, 100, journal->received());
            connection->receive(1, 100, journal->received());
            std::promise<void>().get_future().wait();
        },
        "a second receive on a stream connection\n");
}

constexpr std::size_t mostThatWaits = 16'777'216;

TEST_F(AsioStream, SixteenMegabytesMayWaitForAPeerThatDoesNotReadAndNoByteMore) {
    auto [connection, peer] = linked();
    ASSERT_TRUE(journal->await("ready"));
    connection->send(Bytes(mostThatWaits - 1));
    connection->send(Bytes(1));
    settle();
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready"}));
    connection->send(Bytes(1));
    ASSERT_TRUE(journal->await("failed: " + systemText(std::errc::no_buffer_space)));
}

TEST_F(AsioStream, WhatHasBeenTakenWaitsNoMore) {
    auto [connection, peer] = linked();
    ASSERT_TRUE(journal->await("ready"));
    connection->send(Bytes(mostThatWaits));
    EXPECT_EQ(peer.read(mostThatWaits).size(), mostThatWaits);
    connection->send(bytes("x")); // which leaves when all before it has been counted off
    EXPECT_EQ(peer.read(1), bytes("x"));
    connection->send(Bytes(mostThatWaits - 1));
    settle();
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready"}));
}

TEST_F(AsioStream, DoesNothingBeforeItIsStarted) {
    const auto connection = make(listener.port());
    settle();
    EXPECT_EQ(journal->all(), Words{});
}

TEST_F(AsioStream, ReportsPreparingAndReadyOnItsQueue) {
    auto [connection, peer] = linked();
    ASSERT_TRUE(journal->await("ready"));
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready"}));
}

TEST_F(AsioStream, SendsWholeMessagesInOrderThoseFromBeforeItIsReadyToo) {
    const auto connection = make(listener.port());
    connection->send(bytes("never: not started"));
    connection->start(journal->states());
    std::string expected;
    for (int i = 0; i < 500; ++i) {
        const std::string message = std::to_string(i) + std::string(static_cast<std::size_t>(i) * 20, '.');
        expected += message;
        connection->send(bytes(message));
    }
    const auto peer = listener.accept();
    EXPECT_EQ(peer.read(expected.size()), bytes(expected));
}

TEST_F(AsioStream, DeliversBetweenMinimumAndMaximumBytes) {
    auto [connection, peer] = linked();
    connection->receive(4, 6, journal->received());
    peer.write(bytes("abc"));
    peer.write(bytes("defghijk"));
    ASSERT_TRUE(journal->awaitBeginning("data: "));
    const auto first = journal->all().back().substr(6);
    EXPECT_GE(first.size(), 4u);
    EXPECT_LE(first.size(), 6u);
    connection->receive(11 - first.size(), 100, journal->received());
    EXPECT_TRUE(journal->await("data: " + std::string("abcdefghijk").substr(first.size())));
}

TEST_F(AsioStream, DeliversOnlyWhatWasAskedFor) {
    auto [connection, peer] = linked();
    ASSERT_TRUE(journal->await("ready"));
    peer.write(bytes("abc"));
    settle();
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready"}));
    connection->receive(1, 2, journal->received());
    EXPECT_TRUE(journal->await("data: ab"));
}

TEST_F(AsioStream, AReceiveFromBeforeItIsReadyWaits) {
    const auto connection = make(listener.port());
    connection->receive(1, 100, journal->received());
    connection->start(journal->states());
    const auto peer = listener.accept();
    peer.write(bytes("hello"));
    EXPECT_TRUE(journal->await("data: hello"));
}

TEST_F(AsioStream, CarriesLongMessagesWholeInBothDirections) {
    auto [connection, peer] = linked();
    const std::string text(3000000, 'x');
    connection->send(bytes(text));
    EXPECT_EQ(peer.read(text.size()).size(), text.size());
    connection->receive(text.size(), text.size(), journal->received());
    peer.write(bytes(text));
    EXPECT_TRUE(journal->await("data: " + text));
}

TEST_F(AsioStream, APeersCloseIsDeliveredAndLeavesTheStateAsItIs) {
    auto [connection, peer] = linked();
    connection->receive(1, 100, journal->received());
    peer.close();
    ASSERT_TRUE(journal->await("closed: "));
    settle();
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready", "closed: "}));
}

TEST_F(AsioStream, TheDataThatPrecededACloseComesWithIt) {
    auto [connection, peer] = linked();
    connection->receive(100, 1000, journal->received());
    peer.write(bytes("goodbye"));
    peer.close();
    EXPECT_TRUE(journal->await("closed: goodbye"));
}

TEST_F(AsioStream, EveryReceiveAfterAPeersCloseSaysSoAgain) {
    auto [connection, peer] = linked();
    connection->receive(1, 100, journal->received());
    peer.close();
    ASSERT_TRUE(journal->await("closed: "));
    connection->receive(1, 100, journal->received());
    EXPECT_TRUE(journal->events.awaitCount(4));
    EXPECT_EQ(journal->all().back(), "closed: ");
}

TEST_F(AsioStream, SendingToAPeerThatHasClosedReportsNothing) {
    auto [connection, peer] = linked();
    connection->receive(1, 100, journal->received());
    peer.close();
    ASSERT_TRUE(journal->await("closed: "));
    for (int i = 0; i < 20; ++i)
        connection->send(bytes("late"));
    settle();
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready", "closed: "}));
}

TEST_F(AsioStream, AResetAfterReadyReachesThePendingReceiveAndThenTheState) {
    auto [connection, peer] = linked();
    connection->receive(1, 100, journal->received());
    ASSERT_TRUE(journal->await("ready"));
    peer.reset();
    const auto reason = systemText(std::errc::connection_reset);
    ASSERT_TRUE(journal->await("failed: " + reason));
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready", "error: " + reason, "failed: " + reason}));
}

TEST_F(AsioStream, AResetThatOnlySendingNoticesReachesReceiveAndStateAsWell) {
    for (int round = 0; round < 20; ++round) {
        const auto words = std::make_shared<ConnectionJournal>();
        const auto connection = make(listener.port());
        connection->start(words->states());
        auto peer = listener.accept();
        connection->receive(1, 100, words->received());
        ASSERT_TRUE(words->await("ready"));
        peer.reset();
        for (int i = 0; i < 50; ++i)
            connection->send(bytes("anybody there?"));
        ASSERT_TRUE(words->awaitBeginning("failed: "));
        const auto all = words->all();
        ASSERT_EQ(all.size(), 4u);
        EXPECT_EQ(all[2].rfind("error: ", 0), 0u) << all[2];
        EXPECT_EQ(all[2].substr(7), all[3].substr(8));
    }
}

TEST_F(AsioStream, CancelledInTheReceiveThatReportsAResetItIsNotFailedAnyMore) {
    auto [connection, peer] = linked();
    connection->receive(
        1, 100, [&connection = connection](const StreamConnection::Received &) { connection->cancel(); });
    ASSERT_TRUE(journal->await("ready"));
    peer.reset();
    ASSERT_TRUE(journal->await("cancelled"));
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready", "cancelled"}));
}

TEST_F(AsioStream, ARefusedConnectionFailsWithTheSystemsWords) {
    const auto connection = make(unusedPort());
    connection->start(journal->states());
    const auto failure = "failed: " + systemText(std::errc::connection_refused);
    ASSERT_TRUE(journal->await(failure));
    EXPECT_EQ(journal->all(), (Words{"preparing", failure}));
}

TEST_F(AsioStream, APendingReceiveOfAConnectionThatNeverCameUpIsNotCalled) {
    const auto connection = make(unusedPort());
    connection->receive(1, 100, journal->received());
    connection->start(journal->states());
    ASSERT_TRUE(journal->awaitBeginning("failed: "));
    settle();
    EXPECT_EQ(journal->all().size(), 2u);
}

TEST_F(AsioStream, CancelIsTheLastWordWheneverItComes) {
    for (int moment = 0; moment < 120; ++moment) {
        const auto words = std::make_shared<ConnectionJournal>();
        const auto connection = make(moment % 2 == 0 ? listener.port() : unusedPort());
        std::size_t before = 0;
        const auto begin = [&] {
            connection->start(words->states());
            connection->receive(1, 100, words->received());
            connection->send(bytes("hello"));
        };
        const auto cancel = [&] {
            connection->cancel();
            before = words->all().size();
        };
        const bool isOnQueue = moment % 4 < 2; // where no report can be under way
        if (moment % 8 < 2) {
            queue->post([&] {
                begin();
                cancel();
            });
        } else {
            begin();
            if (moment % 3 == 0)
                settle();
            if (moment % 5 == 0)
                words->events.awaitCount(2);
            isOnQueue ? queue->post(cancel) : cancel();
        }
        settle();
        connection->cancel();
        ASSERT_TRUE(words->await("cancelled"));
        settle();
        const auto all = words->all();
        EXPECT_EQ(std::count(all.begin(), all.end(), "cancelled"), 1);
        EXPECT_EQ(all.back(), "cancelled");
        EXPECT_LE(all.size(), before + (isOnQueue ? 1 : 2));
    }
}

TEST_F(AsioStream, AFailedConnectionCanStillBeCancelled) {
    const auto connection = make(unusedPort());
    connection->start(journal->states());
    ASSERT_TRUE(journal->awaitBeginning("failed: "));
    connection->cancel();
    ASSERT_TRUE(journal->await("cancelled"));
    EXPECT_EQ(journal->all().size(), 3u);
}

TEST_F(AsioStream, TheCancellationIsReportedEvenWhenTheConnectionIsLetGoOfAtOnce) {
    auto connection = make(listener.port());
    connection->start(journal->states());
    ASSERT_TRUE(journal->await("ready"));
    connection->cancel();
    connection.reset();
    EXPECT_TRUE(journal->await("cancelled"));
}

TEST_F(AsioStream, NothingIsReceivedAfterCancel) {
    auto [connection, peer] = linked();
    connection->receive(1, 100, journal->received());
    connection->cancel();
    peer.write(bytes("too late"));
    connection->receive(1, 100, journal->received());
    ASSERT_TRUE(journal->await("cancelled"));
    connection->receive(1, 100, journal->received());
    settle();
    EXPECT_EQ(journal->all().back(), "cancelled");
}

TEST_F(AsioStream, LettingGoWithoutCancelClosesAndReportsNothingMore) {
    auto connection = make(listener.port());
    connection->start(journal->states());
    const auto peer = listener.accept();
    ASSERT_TRUE(journal->await("ready"));
    connection->receive(1, 100, journal->received());
    connection.reset();
    EXPECT_TRUE(peer.awaitEnd());
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready"}));
}

TEST_F(AsioStream, ItMayBeLetGoOfInsideItsOwnHandlers) {
    auto connection = make(listener.port());
    std::promise<void> gone;
    connection->start([&](ConnectionState state, const std::string &) {
        if (state != ConnectionState::ready)
            return;
        connection.reset();
        gone.set_value();
    });
    ASSERT_EQ(gone.get_future().wait_for(testTimeout), std::future_status::ready);
    EXPECT_TRUE(listener.accept().awaitEnd());
}

TEST_F(AsioStream, AHandlerThatHoldsItsOwnConnectionIsFreedByCancel) {
    auto token = std::make_shared<int>(0);
    const std::weak_ptr<int> remains = token;
    auto connection = make(listener.port());
    connection->start([connection, token, words = journal](ConnectionState state, const std::string &error) {
        words->events.add(ConnectionJournal::word(state, error));
    });
    connection->receive(1, 100, [connection, token](const StreamConnection::Received &) {});
    token.reset();
    ASSERT_TRUE(journal->await("ready"));
    connection->cancel();
    ASSERT_TRUE(journal->await("cancelled"));
    settle();
    EXPECT_TRUE(remains.expired());
}

TEST(AsioStreamShutdown, ConnectionsOutliveTheRuntimeInWhateverState) {
    StreamListener listener;
    const auto journal = std::make_shared<ConnectionJournal>();
    std::vector<std::shared_ptr<StreamConnection>> connections;
    std::vector<StreamPeer> peers;
    {
        AsioRuntime runtime;
        AsioNetwork network(runtime);
        const auto queue = runtime.make("Corvane.Test");
        for (int i = 0; i < 4; ++i)
            connections.push_back(network.makeStream("127.0.0.1", listener.port(), queue));
        for (int i = 1; i < 4; ++i)
            connections[static_cast<std::size_t>(i)]->start(journal->states());
        for (int i = 1; i < 4; ++i)
            peers.push_back(listener.accept());
        ASSERT_TRUE(journal->events.awaitCount(6));
        connections[2]->receive(1, 100, journal->received());
    }
    const auto before = journal->all();
    for (const auto &connection : connections) {
        connection->send(bytes("late"));
        connection->cancel();
    }
    connections.clear();
    for (const auto &peer : peers)
        EXPECT_TRUE(peer.awaitEnd());
    EXPECT_EQ(journal->all(), before);
}

TEST(AsioStreamShutdown, NothingRemainsOfConnectionsThatWereNeverCancelled) {
    StreamListener listener;
    auto token = std::make_shared<int>(0);
    const std::weak_ptr<int> remains = token;
    const auto before = openDescriptors();
    {
        AsioRuntime runtime;
        AsioNetwork network(runtime);
        const auto journal = std::make_shared<ConnectionJournal>();
        const auto connection =
            network.makeStream("127.0.0.1", listener.port(), runtime.make("Corvane.Test"));
        connection->start([connection, token, journal](ConnectionState state, const std::string &error) {
            journal->events.add(ConnectionJournal::word(state, error));
        });
        connection->receive(1, 100, [connection, token](const StreamConnection::Received &) {});
        token.reset();
        ASSERT_TRUE(journal->await("ready"));
        connection->cancel();
        ASSERT_TRUE(journal->await("cancelled"));
    }
    EXPECT_TRUE(remains.expired());
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(AsioStream, DescriptorsAreClosedOnExecAndNotLeaked) {
    const auto first = make(listener.port());
    first->start(journal->states());
    listener.accept();
    ASSERT_TRUE(journal->await("ready")); // the loop has opened its own descriptors by now
    const auto inherited = inheritableDescriptors();
    const auto before = openDescriptors();
    for (int round = 0; round < 50; ++round) {
        const auto words = std::make_shared<ConnectionJournal>();
        const auto connection = make(round % 5 == 0 ? unusedPort() : listener.port());
        connection->start(words->states());
        connection->receive(1, 100, words->received());
        ASSERT_TRUE(words->events.awaitCount(2));
        EXPECT_EQ(inheritableDescriptors(), inherited);
        if (round % 5 != 0)
            listener.accept();
        if (round % 3 != 0)
            connection->cancel();
    }
    settle();
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(AsioStream, MemoryStaysBoundedWhenThePeerNeverReads) {
    auto [connection, peer] = linked();
    connection->receive(1, 100, journal->received());
    ASSERT_TRUE(journal->await("ready"));
    for (int i = 0; i < 100; ++i)
        connection->send(Bytes(1000000));
    const auto reason = systemText(std::errc::no_buffer_space);
    ASSERT_TRUE(journal->await("failed: " + reason));
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready", "error: " + reason, "failed: " + reason}));
}

TEST_F(AsioStream, SmallMessagesLeaveWithoutWaitingForCompany) {
    auto [connection, peer] = linked();
    ASSERT_TRUE(journal->await("ready"));
    int connections = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        sockaddr_in to{};
        socklen_t size = sizeof to;
        if (::getpeername(descriptor, reinterpret_cast<sockaddr *>(&to), &size) != 0 ||
            to.sin_family != AF_INET || ntohs(to.sin_port) != listener.port())
            continue;
        int leavesAtOnce = 0;
        size = sizeof leavesAtOnce;
        ASSERT_EQ(::getsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &leavesAtOnce, &size), 0);
        EXPECT_NE(leavesAtOnce, 0);
        ++connections;
    }
    EXPECT_EQ(connections, 1);
}

} // namespace
} // namespace corvane

#include "tests/platform/net/AsioConnectionTest.h"
#include "tests/support/ClosedStandardInput.h"

#include <asio/ip/address.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <set>
#include <string>
#include <system_error>

namespace corvane {
namespace {

using namespace std::chrono_literals;

class AsioDatagram : public AsioConnectionTest {
protected:
    std::shared_ptr<DatagramConnection> make(std::uint16_t remotePort, std::uint16_t localPort = 0) {
        return network.makeDatagram("127.0.0.1", remotePort, "127.0.0.1", localPort, queue);
    }

    ConnectionState stateOf(const DatagramConnection &connection) {
        std::promise<ConnectionState> state;
        queue->post([&] { state.set_value(connection.state()); });
        return state.get_future().get();
    }

    /// A port of UDP that is free just now.
    static std::uint16_t unusedDatagramPort() { return DatagramPeer().port(); }

    DatagramPeer peer;
};

TEST_F(AsioDatagram, BecomesReadyAndSaysSo) {
    const auto connection = make(peer.port());
    EXPECT_EQ(stateOf(*connection), ConnectionState::setup);
    connection->start(journal->states());
    ASSERT_TRUE(journal->await("ready"));
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready"}));
    EXPECT_EQ(stateOf(*connection), ConnectionState::ready);
}

TEST_F(AsioDatagram, SendsFromItsLocalPortAndHearsTheAnswer) {
    const auto port = unusedDatagramPort();
    const auto connection = make(peer.port(), port);
    connection->start(journal->states());
    connection->receiveMessage(journal->datagrams());
    connection->send(bytes("question"));
    std::uint16_t sender = 0;
    EXPECT_EQ(peer.receive(&sender), bytes("question"));
    EXPECT_EQ(sender, port);
    peer.send(bytes("answer"), port);
    EXPECT_TRUE(journal->await("data: answer"));
}

TEST_F(AsioDatagram, KeepsDatagramsApartAndInOrder) {
    const auto connection = make(peer.port());
    connection->start(journal->states());
    for (int i = 0; i < 100; ++i)
        connection->send(bytes("message " + std::to_string(i)));
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(peer.receive(), bytes("message " + std::to_string(i)));
}

TEST_F(AsioDatagram, DeliversOneDatagramForEachReceive) {
    const auto port = unusedDatagramPort();
    const auto connection = make(peer.port(), port);
    connection->start(journal->states());
    ASSERT_TRUE(journal->await("ready"));
    peer.send(bytes("one"), port);
    peer.send(bytes("two"), port);
    connection->receiveMessage(journal->datagrams());
    ASSERT_TRUE(journal->await("data: one"));
    settle();
    EXPECT_EQ(journal->all().back(), "data: one");
    connection->receiveMessage(journal->datagrams());
    EXPECT_TRUE(journal->await("data: two"));
}

TEST_F(AsioDatagram, AnEmptyDatagramIsADatagram) {
    const auto port = unusedDatagramPort();
    const auto connection = make(peer.port(), port);
    connection->start(journal->states());
    ASSERT_TRUE(journal->await("ready"));
    connection->receiveMessage(journal->datagrams());
    peer.send({}, port);
    EXPECT_TRUE(journal->await("data: "));
}

TEST_F(AsioDatagram, HearsNobodyButItsPeer) {
    const auto port = unusedDatagramPort();
    const auto connection = make(peer.port(), port);
    connection->start(journal->states());
    ASSERT_TRUE(journal->await("ready"));
    connection->receiveMessage(journal->datagrams());
    const DatagramPeer stranger;
    stranger.send(bytes("wrong port"), port);
    peer.send(bytes("right port"), port);
    ASSERT_TRUE(journal->awaitBeginning("data: "));
    EXPECT_EQ(journal->all().back(), "data: right port");
}

/// What comes between the moment in which a socket has its port and the one in which it has its peer waits in
/// it like any other datagram.
TEST_F(AsioDatagram, HearsNobodyButItsPeerFromTheMomentItsPortIsOpen) {
    const auto port = unusedDatagramPort();
    std::atomic<bool> isOver = false;
    auto flood = std::async(std::launch::async, [&] {
        const DatagramPeer stranger;
        while (!isOver)
            stranger.send(bytes("wrong port"), port);
    });
    std::set<std::string> heard;
    for (int i = 0; i < 300; ++i) {
        const auto words = std::make_shared<ConnectionJournal>();
        const auto connection = make(peer.port(), port);
        connection->start(words->states());
        connection->receiveMessage(words->datagrams());
        const bool isReady = words->await("ready");
        peer.send(bytes("right port"), port);
        if (!isReady || !words->awaitBeginning("data: "))
            break;
        heard.insert(words->all().back());
        connection->cancel();
        settle();
    }
    isOver = true;
    flood.get();
    EXPECT_EQ(heard, (std::set<std::string>{"data: right port"}));
}

TEST_F(AsioDatagram, AnEndThatIsTakenFailsWithTheSystemsWords) {
    const DatagramPeer holder;
    const auto connection = make(peer.port(), holder.port());
    connection->start(journal->states());
    const auto failure = "failed: " + systemText(std::errc::address_in_use);
    ASSERT_TRUE(journal->await(failure));
    EXPECT_EQ(journal->all(), (Words{"preparing", failure}));
    EXPECT_EQ(stateOf(*connection), ConnectionState::failed);
}

TEST_F(AsioDatagram, ItsPortIsNotSharedWithLaterOnes) {
    const auto port = unusedDatagramPort();
    const auto connection = make(peer.port(), port);
    connection->start(journal->states());
    ASSERT_TRUE(journal->await("ready"));
    const auto words = std::make_shared<ConnectionJournal>();
    const auto second = make(peer.port(), port);
    second->start(words->states());
    EXPECT_TRUE(words->await("failed: " + systemText(std::errc::address_in_use)));
}

TEST_F(AsioDatagram, ARefusalReachesThePendingReceiveAndThenTheState) {
    const auto connection = make(peer.port());
    connection->start(journal->states());
    connection->receiveMessage(journal->datagrams());
    ASSERT_TRUE(journal->await("ready"));
    peer.close();
    connection->send(bytes("anybody there?"));
    const auto reason = systemText(std::errc::connection_refused);
    ASSERT_TRUE(journal->await("failed: " + reason));
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready", "error: " + reason, "failed: " + reason}));
}

TEST_F(AsioDatagram, ARefusalLeftOverDoesNotLoseTheNextDatagram) {
    const auto connection = make(peer.port());
    connection->start(journal->states());
    ASSERT_TRUE(journal->await("ready"));
    const auto port = peer.port();
    peer.close();
    for (int round = 0; round < 10; ++round) {
        Journal<int> sent;
        connection->send(bytes("into the void"), [&](SendResult) { sent.add(1); });
        ASSERT_TRUE(sent.awaitCount(1)); // on loopback the refusal is there by now
        const DatagramPeer reborn(port);
        connection->send(bytes("hello"));
        ASSERT_EQ(reborn.receive(), bytes("hello"));
    }
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready"}));
}

TEST_F(AsioDatagram, TheNextSendTellsOfARefusalThatNobodyHasRead) {
    const auto connection = make(peer.port());
    connection->start(journal->states());
    ASSERT_TRUE(journal->await("ready"));
    peer.close();
    Journal<int> sent;
    const auto note = [&](SendResult result) { sent.add(static_cast<int>(result)); };
    connection->send(bytes("into the void"), note);
    ASSERT_TRUE(sent.awaitCount(1)); // on loopback the refusal is there by now
    connection->send(bytes("again"), note);
    ASSERT_TRUE(sent.awaitCount(2));
    EXPECT_EQ(sent.all(), (std::vector<int>{static_cast<int>(SendResult::left),
                                            static_cast<int>(SendResult::leftAfterRefusal)}));
}

TEST_F(AsioDatagram, AFailureHasItsErrorAsACode) {
    const DatagramPeer holder;
    const auto taken = make(peer.port(), holder.port());
    taken->start(journal->states());
    ASSERT_TRUE(journal->awaitBeginning("failed: "));
    EXPECT_EQ(taken->failure(), std::errc::address_in_use);

    const auto words = std::make_shared<ConnectionJournal>();
    const auto connection = make(peer.port());
    connection->start(words->states());
    connection->receiveMessage(words->datagrams());
    ASSERT_TRUE(words->await("ready"));
    EXPECT_FALSE(connection->failure());
    peer.close();
    connection->send(bytes("anybody there?"));
    ASSERT_TRUE(words->awaitBeginning("failed: "));
    EXPECT_EQ(connection->failure(), std::errc::connection_refused);
}

TEST_F(AsioDatagram, AfterAFailureItsPortIsFreeBeforeAnybodyIsTold) {
    const auto port = unusedDatagramPort();
    const auto peerPort = peer.port();
    const auto words = std::make_shared<ConnectionJournal>();
    std::shared_ptr<DatagramConnection> second;
    const auto connection = make(peerPort, port);
    connection->start([&](ConnectionState state, const std::string &error) {
        journal->events.add(ConnectionJournal::word(state, error));
        if (state != ConnectionState::failed)
            return;
        second = make(peerPort, port);
        second->start(words->states());
    });
    connection->receiveMessage(journal->datagrams());
    ASSERT_TRUE(journal->await("ready"));
    peer.close();
    connection->send(bytes("anybody there?"));
    EXPECT_TRUE(words->await("ready"));
}

TEST_F(AsioDatagram, AfterCancelItsPortIsFreeForTheNextOneOnTheQueue) {
    const auto port = unusedDatagramPort();
    for (int round = 0; round < 50; ++round) {
        const auto words = std::make_shared<ConnectionJournal>();
        const auto connection = make(peer.port(), port);
        connection->start(words->states());
        ASSERT_TRUE(words->awaitBeginning("ready"));
        connection->cancel();
    }
}

TEST_F(AsioDatagram, TellsWhenADatagramHasLeft) {
    const auto connection = make(peer.port());
    connection->start(journal->states());
    Journal<int> sent;
    connection->send(bytes("save"), [&](SendResult result) { sent.add(result == SendResult::left ? 1 : 0); });
    ASSERT_TRUE(sent.awaitCount(1));
    EXPECT_EQ(sent.all(), std::vector<int>{1});
    EXPECT_TRUE(peer.hasDatagram());
}

TEST_F(AsioDatagram, ADatagramThatIsTooLongIsLostAndTheNextOneLeaves) {
    const auto connection = make(peer.port());
    connection->start(journal->states());
    Journal<int> sent;
    connection->send(Bytes(70000), [&](SendResult result) { sent.add(result == SendResult::left ? 1 : 0); });
    connection->send(bytes("short"),
                     [&](SendResult result) { sent.add(result == SendResult::left ? 2 : 0); });
    EXPECT_EQ(peer.receive(), bytes("short"));
    ASSERT_TRUE(sent.awaitCount(2));
    EXPECT_EQ(sent.all(), (std::vector<int>{0, 2})) << "only the short one has left";
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready"}));
}

TEST_F(AsioDatagram, WhatIsLostByCancelOrFailureIsToldAsWell) {
    Journal<int> sent;
    const auto cancelled = make(peer.port());
    cancelled->cancel();
    cancelled->send(bytes("late"), [&](SendResult result) { sent.add(result == SendResult::left ? 1 : 0); });
    ASSERT_TRUE(sent.awaitCount(1));

    const DatagramPeer holder;
    const auto failed = make(peer.port(), holder.port());
    failed->start(journal->states());
    failed->send(bytes("lost"), [&](SendResult result) { sent.add(result == SendResult::left ? 2 : 0); });
    EXPECT_TRUE(sent.awaitCount(2));
    EXPECT_EQ(sent.all(), (std::vector<int>{0, 0}));
}

TEST_F(AsioDatagram, WhatIsLostIsToldAfterTheFailureAndBeforeTheCancellation) {
    const auto note = [words = journal](SendResult result) {
        words->events.add(result == SendResult::lost ? "lost" : "left");
    };
    const DatagramPeer holder;
    const auto failed = make(peer.port(), holder.port());
    failed->start(journal->states());
    failed->send(bytes("lost"), note);
    ASSERT_TRUE(journal->events.awaitCount(3));
    EXPECT_EQ(journal->all(),
              (Words{"preparing", "failed: " + systemText(std::errc::address_in_use), "lost"}));

    journal = std::make_shared<ConnectionJournal>();
    std::promise<void> release;
    AsioNetwork slow(runtime, [gate = release.get_future().share()](const std::string &) {
        gate.wait();
        return HostAddresses{{}, "too late"};
    });
    const auto cancelled = slow.makeDatagram("slow.example", peer.port(), "127.0.0.1", 0, queue);
    cancelled->start(journal->states());
    cancelled->send(bytes("lost"), [words = journal](SendResult) { words->events.add("lost"); });
    settle();
    cancelled->cancel();
    ASSERT_TRUE(journal->events.awaitCount(3));
    release.set_value();
    settle();
    EXPECT_EQ(journal->all(), (Words{"preparing", "lost", "cancelled"}));
}

TEST_F(AsioDatagram, WhatIsSentBeforeTheStartIsLostAndNotSentLater) {
    const auto connection = make(peer.port());
    Journal<SendResult> sent;
    connection->send(bytes("nobody asks"));
    connection->send(bytes("early"), [&](SendResult result) { sent.add(result); });
    ASSERT_TRUE(sent.awaitCount(1));
    EXPECT_EQ(sent.all().front(), SendResult::lost);
    connection->start(journal->states());
    connection->send(bytes("in time"));
    EXPECT_EQ(peer.receive(), bytes("in time"));
}

TEST_F(AsioDatagram, WhatWasCancelledBeforeItWasStartedSaysSoAndDoesNothing) {
    const auto connection = make(peer.port());
    connection->cancel();
    connection->start(journal->states());
    connection->receiveMessage(journal->datagrams());
    connection->receiveMessage(journal->datagrams());
    settle();
    EXPECT_EQ(journal->all(), (Words{"cancelled"}));
}

TEST_F(AsioDatagram, ASecondReceiveStopsTheProgram) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            const auto connection = make(peer.port());
            connection->start(journal->states());
            connection->receiveMessage(journal->datagrams());
            connection->receiveMessage(journal->datagrams());
            std::promise<void>().get_future().wait();
        },
        "a second receive on a datagram connection\n");
}

TEST_F(AsioDatagram, AnUnknownHostAtEitherEndFailsWithTheSystemsWords) {
    AsioNetwork named(runtime, [](const std::string &) {
        return HostAddresses{{}, "Name or service not known"};
    });
    for (const auto &[remote, local] : {std::pair("nobody", "127.0.0.1"), {"127.0.0.1", "nobody"}}) {
        const auto words = std::make_shared<ConnectionJournal>();
        const auto connection = named.makeDatagram(remote, peer.port(), local, 0, queue);
        connection->start(words->states());
        ASSERT_TRUE(words->await("failed: Name or service not known")) << remote;
        EXPECT_EQ(connection->failure(), std::errc::address_not_available);
    }
}

TEST_F(AsioDatagram, EveryPairOfAddressesIsTriedAndTheLastErrorIsTold) {
    AsioNetwork named(runtime, [](const std::string &host) {
        const auto address = [](const char *text) { return asio::ip::make_address(text); };
        if (host == "here") // the first is nobody's
            return HostAddresses{{address("192.0.2.1"), address("127.0.0.1")}, {}};
        return HostAddresses{{address("255.255.255.255"), address("127.0.0.1")}, {}}; // nor connected to
    });
    const auto connection = named.makeDatagram("there", peer.port(), "here", 0, queue);
    connection->start(journal->states());
    connection->send(bytes("hello"));
    EXPECT_EQ(peer.receive(), bytes("hello"));
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready"}));

    const auto words = std::make_shared<ConnectionJournal>();
    const auto unfitting = network.makeDatagram("::1", peer.port(), "127.0.0.1", 0, queue);
    unfitting->start(words->states());
    EXPECT_TRUE(words->await("failed: " + systemText(std::errc::address_family_not_supported)));
}

TEST_F(AsioDatagram, ASocketOfNumber0IsOneAsAnyOther) {
    settleSockets(); // the event loop opens what it needs with its first socket
    const ClosedStandardInput closed;
    const auto connection = make(peer.port());
    connection->start(journal->states());
    connection->send(bytes("hello"));
    EXPECT_EQ(peer.receive(), bytes("hello"));
    connection->cancel();
    settle(); // the number is free again
}

TEST_F(AsioDatagram, AReceiveOnAFailedConnectionSaysWhy) {
    const DatagramPeer holder;
    const auto connection = make(peer.port(), holder.port());
    connection->start(journal->states());
    ASSERT_TRUE(journal->awaitBeginning("failed: "));
    connection->receiveMessage(journal->datagrams());
    EXPECT_TRUE(journal->await("error: " + systemText(std::errc::address_in_use)));
}

TEST_F(AsioDatagram, CancelIsTheLastWordWheneverItComes) {
    const DatagramPeer holder;
    for (int moment = 0; moment < 60; ++moment) {
        const auto words = std::make_shared<ConnectionJournal>();
        const auto connection = make(peer.port(), moment % 2 == 0 ? 0 : holder.port());
        connection->start(words->states());
        connection->receiveMessage(words->datagrams());
        if (moment % 3 == 0)
            settle();
        connection->cancel();
        connection->cancel();
        ASSERT_TRUE(words->await("cancelled"));
        settle();
        const auto all = words->all();
        EXPECT_EQ(std::count(all.begin(), all.end(), "cancelled"), 1);
        EXPECT_EQ(all.back(), "cancelled");
    }
}

TEST_F(AsioDatagram, LettingGoWithoutCancelFreesItsPortAndReportsNothingMore) {
    const auto port = unusedDatagramPort();
    auto connection = make(peer.port(), port);
    connection->start(journal->states());
    connection->receiveMessage(journal->datagrams());
    ASSERT_TRUE(journal->await("ready"));
    connection.reset();
    settle();
    EXPECT_NO_THROW(DatagramPeer{port});
    EXPECT_EQ(journal->all(), (Words{"preparing", "ready"}));
}

TEST_F(AsioDatagram, DescriptorsAreClosedOnExecAndNotLeaked) {
    const auto first = make(peer.port());
    first->start(journal->states());
    ASSERT_TRUE(journal->await("ready"));
    const auto inherited = inheritableDescriptors();
    const auto before = openDescriptors();
    for (int round = 0; round < 100; ++round) {
        const auto words = std::make_shared<ConnectionJournal>();
        const auto connection = make(peer.port(), round % 5 == 0 ? peer.port() : 0);
        connection->start(words->states());
        connection->receiveMessage(words->datagrams());
        ASSERT_TRUE(words->events.awaitCount(2));
        EXPECT_EQ(inheritableDescriptors(), inherited);
        if (round % 3 != 0)
            connection->cancel();
    }
    settle();
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(AsioDatagram, ResolvesNamesAndTakesAddressesThatFitTogether) {
    AsioNetwork named(runtime, [](const std::string &host) {
        EXPECT_EQ(host, "recorder");
        return HostAddresses{{asio::ip::make_address("::1"), asio::ip::make_address("127.0.0.1")}, {}};
    });
    const auto connection = named.makeDatagram("recorder", peer.port(), "127.0.0.1", 0, queue);
    connection->start(journal->states());
    connection->send(bytes("hello"));
    EXPECT_EQ(peer.receive(), bytes("hello"));
}

TEST(AsioDatagramShutdown, ConnectionsOutliveTheRuntimeInWhateverState) {
    const DatagramPeer peer;
    const auto journal = std::make_shared<ConnectionJournal>();
    const auto before = openDescriptors();
    std::vector<std::shared_ptr<DatagramConnection>> connections;
    {
        AsioRuntime runtime;
        AsioNetwork network(runtime);
        const auto queue = runtime.make("Corvane.Test");
        for (int i = 0; i < 3; ++i)
            connections.push_back(network.makeDatagram("127.0.0.1", peer.port(), "127.0.0.1", 0, queue));
        connections[1]->start(journal->states());
        connections[2]->start(journal->states());
        ASSERT_TRUE(journal->events.awaitCount(4));
        connections[2]->receiveMessage(journal->datagrams());
    }
    for (const auto &connection : connections) {
        connection->send(bytes("late"));
        connection->cancel();
    }
    connections.clear();
    EXPECT_EQ(journal->all().size(), 4u);
    EXPECT_EQ(openDescriptors(), before);
}

} // namespace
} // namespace corvane

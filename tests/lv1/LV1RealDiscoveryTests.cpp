#include "platform/net/PosixMulticast.h"
#include "sim/ConsoleState.h"
#include "tests/lv1/SocketTest.h"
#include "tests/support/Peers.h"
#include "tests/support/PrivateNetwork.h"

#include <chrono>
#include <random>
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace corvane {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint16_t announcementPort = 13337;

/// Entered before the threads of the network are started: they live in the network they were started in.
struct EnteredNetwork {
    EnteredNetwork() { entered = PrivateNetwork::enter(reason, {.loopbackMulticast = true}); }
    bool entered = false;
    std::string reason;
};

/// Clients and consoles that find each other on a loopback interface of their own.
class LV1RealDiscovery : EnteredNetwork, public SocketTest {
protected:
    void SetUp() override {
        if (!entered)
            GTEST_SKIP() << "no network namespace of its own: " << reason;
        const auto &runtime = static_cast<const AsioRuntime &>(*platform.queues);
        client.reset(); // it knows the listening that is replaced here
        platform.multicast = std::make_unique<PosixMulticast>(runtime);
        client = makeClient();
    }

    ConsoleSim &announcedConsole(const std::string &name, const std::string &destination) {
        ConsoleSimOptions options;
        options.name = name;
        options.announce = destination;
        options.announceInterval = 10ms;
        return console(options);
    }
};

TEST_F(LV1RealDiscovery, AConsoleThatAnnouncesItselfToThisMachineIsConnectedWithoutAClick) {
    const auto &desk = announcedConsole("FOH", "127.0.0.1");
    client->startDiscovery();
    ASSERT_TRUE(comes([&] { return !scenes.empty(); }));
    EXPECT_EQ(channels, sim::bandOnStage().channels);
    runFor(100ms);
    EXPECT_EQ(desk.clients(), 1U);
    EXPECT_THAT(client->endpoints,
                ElementsAre(LV1Endpoint{"FOH", "127.0.0.1", desk.port(), "02:00:00:00:00:01"}));
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(LV1RealDiscovery, AConsoleThatAnnouncesItselfToTheGroupIsConnectedToo) {
    announcedConsole("FOH", "multicast");
    client->startDiscovery();
    EXPECT_TRUE(comes([&] { return !scenes.empty(); }));
    EXPECT_EQ(client->multicast->error(), "");
}

TEST_F(LV1RealDiscovery, OfTwoConsolesTheFirstIsKept) {
    const auto &first = announcedConsole("One", "127.0.0.1");
    client->startDiscovery();
    ASSERT_TRUE(comes([&] { return first.acceptedClients() == 1; }));
    const auto &second = announcedConsole("Two", "127.0.0.1");
    ASSERT_TRUE(says("Several LV1 hosts found. Choose one and press SYNC LV1."));
    runFor(50ms);
    EXPECT_EQ(first.clients(), 1U);
    EXPECT_EQ(second.clients(), 0U);
}

TEST_F(LV1RealDiscovery, AConsoleThatBreaksTheConnectionIsConnectedAgainByItsNextAnnouncement) {
    auto &desk = announcedConsole("FOH", "127.0.0.1");
    client->startDiscovery();
    ASSERT_TRUE(comes([&] { return scenes.size() == 1; }));
    desk.reset();
    EXPECT_TRUE(comes([&] { return scenes.size() == 2; }));
}

TEST_F(LV1RealDiscovery, AConsoleThatClosesTheConnectionIsLeftAloneUntilItIsAskedFor) {
    auto &desk = announcedConsole("FOH", "127.0.0.1");
    client->startDiscovery();
    ASSERT_TRUE(comes([&] { return scenes.size() == 1; }));
    desk.command("drop");
    ASSERT_TRUE(says("LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1."));
    runFor(200ms); // of announcements
    EXPECT_EQ(std::count(diary.begin(), diary.end(), "<connected>"), 1);
    client->connect(client->endpoints.front());
    EXPECT_TRUE(comes([&] { return scenes.size() == 2; }));
}

TEST_F(LV1RealDiscovery, SearchingMayBeStartedAndStoppedAtAnyMoment) {
    announcedConsole("FOH", "127.0.0.1");
    client->startDiscovery();
    ASSERT_TRUE(comes([&] { return !scenes.empty(); }));
    client->stop();
    runFor(20ms);
    const auto open = openDescriptors();
    for (int round = 0; round < 60; ++round) {
        client->startDiscovery();
        runFor(std::chrono::milliseconds(round % 13));
        if (round % 3 == 0)
            client->startDiscovery();
        client->stop();
        runFor(1ms);
        diary.clear();
        runFor(std::chrono::milliseconds(round % 7));
        EXPECT_THAT(diary, testing::Each("Disconnected"));
    }
    EXPECT_TRUE(comes([&] { return openDescriptors() <= open; }));
    client.reset();
    EXPECT_TRUE(comes([&] { return openDescriptors() <= open; }));
}

TEST_F(LV1RealDiscovery, TenThousandDatagramsOfAllKindsLeaveMemoryAsItWas) {
    client->startDiscovery();
    const LV1Endpoint host{"FOH", "127.0.0.1", unusedPort(), "aa"};
    const DatagramPeer sender;
    std::minstd_rand random(11);
    const auto sendSome = [&](int count) {
        for (int i = 0; i < count; ++i) {
            Bytes datagram = announcement(host);
            if (i % 3 == 1) {
                for (auto &byte : datagram)
                    byte = static_cast<std::uint8_t>(random());
            } else if (i % 3 == 2) {
                datagram.assign(4'096 + random() % 10'000, 0x2F);
            }
            sender.send(datagram, announcementPort);
            if (i % 20 == 19)
                runFor(1ms); // or the socket's own buffer drops most
        }
        runFor(5ms);
    };
    sendSome(1'000);
    ASSERT_TRUE(comes([&] { return client->endpoints.size() == 1; }));
#ifdef __GLIBC__
    const auto inUse = [] {
        const auto use = ::mallinfo2();
        return use.uordblks + use.hblkhd;
    };
    diary.clear();
    diary.shrink_to_fit();
    const auto before = inUse();
    sendSome(10'000);
    diary.clear();
    diary.shrink_to_fit();
    EXPECT_LT(inUse(), before + 256 * 1'024);
#endif
    EXPECT_THAT(client->endpoints, ElementsAre(host));
}

} // namespace
} // namespace corvane

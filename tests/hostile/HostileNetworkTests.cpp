// What stands in the way of discovery, and what floods it.

#include "platform/net/PosixMulticast.h"
#include "tests/hostile/HostileTest.h"
#include "tests/support/PrivateNetwork.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>

namespace corvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

constexpr std::uint16_t announcementPort = 13337;

/// Entered before the threads of the network are started.
struct EnteredNetwork {
    EnteredNetwork() { entered = PrivateNetwork::enter(reason, {.loopbackMulticast = true}); }
    bool entered = false;
    std::string reason;
};

class HostileNetwork : EnteredNetwork, public HostileTest {
protected:
    void SetUp() override {
        if (!entered)
            GTEST_SKIP() << "no network namespace of its own: " << reason;
        client.reset(); // it knows the listening that is replaced here
        platform.multicast =
            std::make_unique<PosixMulticast>(static_cast<const AsioRuntime &>(*platform.queues));
        client = makeClient();
    }
};

TEST_F(HostileNetwork, AnAnnouncementPortThatIsTakenLeavesTheRestAtWork) {
    const Descriptor taken = newSocket(SOCK_DGRAM);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(announcementPort);
    ASSERT_EQ(::bind(taken.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    client->startDiscovery();
    EXPECT_EQ(client->multicast->error(), "UDP port 13337 is in use by another program.");
    runFor(50ms);
    EXPECT_THAT(diary, ElementsAre("Buscando LV1 V17…"));
    EXPECT_TRUE(stillWorks());
}

TEST_F(HostileNetwork, AFloodOfHostsThatAreNoneFillsNeitherMemoryNorTheMainQueue) {
    client->startDiscovery();
    std::size_t shown = 0;
    client->onEndpoints = [&](const std::vector<LV1Endpoint> &list) { shown = list.size(); };
    const DatagramPeer sender;
    const auto watch = Watch::over(main);
    for (int i = 0; i < 6'000; ++i) {
        const std::string number = std::to_string(i);
        sender.send(announcement({number + std::string(3'000, 'n'), "127.0.0.1", unusedPort(), number}),
                    announcementPort);
        if (i % 10 == 9) {
            runFor(1ms);
            diary.clear();
        }
    }
    runFor(20ms);
    EXPECT_LE(client->endpoints.size(), 1'000U);
    EXPECT_EQ(shown, client->endpoints.size());
    EXPECT_GT(shown, 100U);
    EXPECT_LT(watch->memoryGain(), 48 * megabyte);
    EXPECT_LT(watch->longestGap, 5s);
    sender.send(announcement({"Another", "127.0.0.1", 5'000, ""}), announcementPort);
    EXPECT_TRUE(says("Several LV1 hosts found. Choose one and press SYNC LV1."));
    EXPECT_TRUE(stillWorks());
}

TEST_F(HostileNetwork, AFloodOfHostsWhileTheMainQueueIsHeldUpIsDropped) {
    client->startDiscovery();
    const DatagramPeer sender;
    const auto before = usageNow().memory();
    std::size_t most = before;
    int number = 0;
    const auto flood = [&](int count) {
        for (int i = 0; i < count; ++i)
            sender.send(
                announcement({std::to_string(number++) + std::string(3'500, 'n'), "127.0.0.1", 9, ""}),
                announcementPort);
    };
    // The main thread does something else meanwhile; in pauses, so that the socket loses few of them.
    for (int i = 0; i < 1'000; ++i) {
        flood(20);
        std::this_thread::sleep_for(500us);
        most = std::max(most, usageNow().memory());
    }
    EXPECT_LT(most, before + 16 * megabyte); // of 70
    runFor(20ms);
    const auto heard = client->endpoints.size();
    EXPECT_GE(heard, 256U);
    EXPECT_LT(heard, 512U); // what still stood in the socket may have come after
    EXPECT_TRUE(comes([&] {
        flood(1);
        return client->endpoints.size() > heard;
    }));
    EXPECT_TRUE(stillWorks());
}

} // namespace
} // namespace corvane

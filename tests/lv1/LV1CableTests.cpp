#include "platform/net/PosixMulticast.h"
#include "tests/lv1/DistantConsole.h"
#include "tests/lv1/SocketTest.h"
#include "tests/support/PrivateNetwork.h"

#include <chrono>
#include <cstdlib>

namespace corvane {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::StartsWith;

/// Entered before the threads of the network are started: they live in the network they were started in.
struct EnteredCable {
    EnteredCable() {
        if (PrivateNetwork::enter(reason))
            neighbour = PrivateNetwork::Neighbour::join(reason);
    }
    std::string reason;
    std::unique_ptr<PrivateNetwork::Neighbour> neighbour;
};

class LV1Cable : protected EnteredCable, public SocketTest {
protected:
    void SetUp() override {
        if (!neighbour)
            GTEST_SKIP() << "no cable of its own: " << reason;
        const auto &runtime = static_cast<const AsioRuntime &>(*platform.queues);
        client.reset(); // it knows the listening that is replaced here
        platform.multicast = std::make_unique<PosixMulticast>(runtime);
        client = makeClient();
    }
    void setCable(const char *state) const {
        neighbour->inside(
            [&] { EXPECT_EQ(std::system((std::string("ip link set corvane1 ") + state).c_str()), 0); });
    }
};

TEST_F(LV1Cable, ACableThatIsPulledIsNoticedWithin15SecondsAndTheConsoleConnectedAgainWhenItIsBack) {
    ConsoleSimOptions options;
    options.port = 5000;
    options.announce = "10.77.0.1";
    options.announceInterval = 200ms;
    const DistantConsole desk(*neighbour, options);
    client->startDiscovery();
    ASSERT_TRUE(comes([&] { return !scenes.empty(); })) << testing::PrintToString(diary);
    diary.clear();
    setCable("down");
    const auto pulled = std::chrono::steady_clock::now();
    ASSERT_TRUE(comes([&] { return !diary.empty() && diary.back().rfind("Connection error: ", 0) == 0; }));
    EXPECT_LT(std::chrono::steady_clock::now() - pulled, 15s);
    EXPECT_THAT(diary, testing::ElementsAre(StartsWith("Connection interrupted: "), "<not connected>",
                                            StartsWith("Connection error: ")));
    setCable("up");
    ASSERT_TRUE(comes([&] { return scenes.size() == 2; })) << testing::PrintToString(diary);
    EXPECT_THAT(diary, Contains("<connected>"));
    desk.command("scene Encore");
    EXPECT_TRUE(comes([&] { return scenes.back() == "Encore"; }));
}

} // namespace
} // namespace corvane

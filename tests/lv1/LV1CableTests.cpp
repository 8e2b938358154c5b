#include "platform/net/PosixMulticast.h"
#include "tests/lv1/DistantConsole.h"
#include "tests/lv1/SocketTest.h"
#include "tests/support/PrivateNetwork.h"

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>

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
        neighbour->inside([&] { setLink("corvane1", state); });
    }
    /// This computer's own end, which is down while it sleeps.
    static void setOwnEnd(const char *state) { setLink("corvane0", state); }
    static ConsoleSimOptions announced() {
        ConsoleSimOptions options;
        options.port = 5000;
        options.announce = "10.77.0.1";
        options.announceInterval = 200ms;
        return options;
    }
    bool isLinked() {
        client->startDiscovery();
        return comes([&] { return !scenes.empty(); });
    }
    bool isDropped() {
        return comes([&] {
            return std::any_of(diary.begin(), diary.end(),
                               [](const auto &said) { return said.rfind("Connection error: ", 0) == 0; });
        });
    }

private:
    static void setLink(const char *interface, const char *state) {
        EXPECT_EQ(std::system((std::string("ip link set ") + interface + " " + state).c_str()), 0);
    }
};

TEST_F(LV1Cable, ACableThatIsPulledIsNoticedWithin15SecondsAndTheConsoleConnectedAgainWhenItIsBack) {
    const DistantConsole desk(*neighbour, announced());
    ASSERT_TRUE(isLinked()) << testing::PrintToString(diary);
    diary.clear();
    setCable("down");
    const auto pulled = std::chrono::steady_clock::now();
    ASSERT_TRUE(isDropped());
    EXPECT_LT(std::chrono::steady_clock::now() - pulled, 15s);
    EXPECT_THAT(diary, testing::ElementsAre(StartsWith("Connection interrupted: "), "<not connected>",
                                            StartsWith("Connection error: ")));
    setCable("up");
    ASSERT_TRUE(comes([&] { return scenes.size() == 2; })) << testing::PrintToString(diary);
    EXPECT_THAT(diary, Contains("<connected>"));
    desk.command("scene Encore");
    EXPECT_TRUE(comes([&] { return scenes.back() == "Encore"; }));
}

TEST_F(LV1Cable, ALinkThatOutlastsASleepMissesNothing) {
    const DistantConsole desk(*neighbour, announced());
    ASSERT_TRUE(isLinked()) << testing::PrintToString(diary);
    diary.clear();
    setOwnEnd("down");
    desk.command("scene Encore");
    runFor(2s);
    EXPECT_EQ(scenes.size(), 1U);
    setOwnEnd("up");
    ASSERT_TRUE(comes([&] { return scenes.back() == "Encore"; })) << testing::PrintToString(diary);
    desk.command("scene Bows");
    EXPECT_TRUE(comes([&] { return scenes.back() == "Bows"; }));
    EXPECT_THAT(diary, testing::IsEmpty());
}

TEST_F(LV1Cable, AConsoleThatWasRestartedDuringASleepIsDroppedOnWakingAndConnectedAnew) {
    auto options = announced();
    options.pingInterval = 1h; // nothing is under way that its answer would tell of
    auto desk = std::make_unique<DistantConsole>(*neighbour, options);
    ASSERT_TRUE(isLinked()) << testing::PrintToString(diary);
    diary.clear();
    setOwnEnd("down");
    setCable("down");
    desk->command("reset"); // without a word: as when its power goes
    desk.reset();
    setCable("up");
    desk = std::make_unique<DistantConsole>(*neighbour, options);
    runFor(2s);
    EXPECT_THAT(diary, testing::IsEmpty());
    setOwnEnd("up");
    const auto woken = std::chrono::steady_clock::now();
    ASSERT_TRUE(isDropped()) << testing::PrintToString(diary);
    EXPECT_LT(std::chrono::steady_clock::now() - woken, 15s);
    ASSERT_TRUE(comes([&] { return scenes.size() == 2; })) << testing::PrintToString(diary);
    EXPECT_THAT(diary, Contains("<connected>"));
}

} // namespace
} // namespace corvane

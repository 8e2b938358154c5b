#include "platform/net/PosixMulticast.h"
#include "tests/lv1/SocketTest.h"
#include "tests/support/PrivateNetwork.h"

#include <chrono>
#include <cstdlib>
#include <thread>
#include <unistd.h>

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

/// A console in a network of its own at the other end of a cable, on a thread of its own.
class DistantConsole {
public:
    explicit DistantConsole(const PrivateNetwork::Neighbour &neighbour) {
        [[maybe_unused]] const int made = ::pipe(commands);
        thread = std::thread([this, &neighbour] {
            neighbour.inside([this] {
                ConsoleSimOptions options;
                options.port = 5000;
                options.announce = "10.77.0.1";
                options.announceInterval = 200ms;
                ConsoleSim console(options);
                console.readCommands(commands[0]);
                console.run();
            });
        });
    }
    ~DistantConsole() {
        command("quit");
        thread.join();
        ::close(commands[0]);
        ::close(commands[1]);
    }
    DistantConsole(const DistantConsole &) = delete;
    DistantConsole &operator=(const DistantConsole &) = delete;

    void command(const std::string &line) const {
        const auto text = line + "\n";
        [[maybe_unused]] const auto written = ::write(commands[1], text.data(), text.size());
    }

private:
    int commands[2] = {-1, -1};
    std::thread thread;
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
    const DistantConsole desk(*neighbour);
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

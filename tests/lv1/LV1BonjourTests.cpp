#include "sim/ConsoleState.h"
#include "tests/lv1/BonjourTest.h"
#include "tests/lv1/DistantConsole.h"
#include "tests/support/MulticastDNS.h"

#include <ctime>

namespace corvane {
namespace {

using namespace std::chrono_literals;
using testing::Contains;

using LV1Bonjour = BonjourTest;

TEST_F(LV1Bonjour, ASoleConsoleIsResolvedAndConnectedWithoutAClick) {
    const auto &desk = console();
    ASSERT_TRUE(bonjour.publish("FOH", desk.port()));
    client->startDiscovery();
    ASSERT_TRUE(comes([&] { return !scenes.empty(); })) << testing::PrintToString(diary);
    EXPECT_EQ(channels, sim::bandOnStage().channels);
    EXPECT_THAT(diary, Contains("LV1 found: FOH"));
    runFor(std::chrono::milliseconds(500)); // whatever the daemon repeats
    EXPECT_EQ(desk.clients(), 1U);
    EXPECT_THAT(diary, testing::Not(Contains("Disconnected")));
    EXPECT_TRUE(reports.empty());
}

TEST_F(LV1Bonjour, AConsoleThatClosesAndComesBackIsConnectedAgainWhereverItIs) {
    auto &desk = console();
    auto &elsewhere = console();
    ASSERT_TRUE(bonjour.publish("FOH", desk.port()));
    client->startDiscovery();
    ASSERT_TRUE(comes([&] { return scenes.size() == 1; })) << testing::PrintToString(diary);
    for (const auto port : {desk.port(), elsewhere.port()}) {
        const auto before = scenes.size();
        desk.command("drop");
        bonjour.withdraw("FOH");
        ASSERT_TRUE(comes([&] { return client->services.empty(); })) << testing::PrintToString(diary);
        EXPECT_EQ(scenes.size(), before);
        ASSERT_TRUE(bonjour.publish("FOH", port));
        ASSERT_TRUE(comes([&] { return scenes.size() > before; })) << testing::PrintToString(diary);
        EXPECT_EQ(client->services.size(), 1U);
    }
}

TEST_F(LV1Bonjour, OfTwoConsolesNoneIsConnectedBeforeTheUserChooses) {
    const auto &one = console();
    const auto &two = console();
    ASSERT_TRUE(bonjour.publish("One", one.port()));
    ASSERT_TRUE(bonjour.publish("Two", two.port()));
    client->startDiscovery();
    ASSERT_TRUE(says("Several LV1 hosts found. Choose one and press SYNC LV1."));
    ASSERT_TRUE(says("LV1 found: One"));
    ASSERT_TRUE(says("LV1 found: Two"));
    EXPECT_EQ(one.clients() + two.clients(), 0U);
    ASSERT_EQ(client->services.size(), 2U);
    const auto chosen = client->services.at(1);
    client->connect(chosen);
    ASSERT_TRUE(comes([&] { return !scenes.empty(); }));
    EXPECT_EQ(chosen->name() == "One" ? one.clients() : two.clients(), 1U);
}

/// A network at the other end of a cable, whose consoles have no daemon that says goodbye for them.
class LV1BonjourCable : public BonjourTest {
protected:
    void SetUp() override {
        BonjourTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        neighbour = PrivateNetwork::Neighbour::join(reason);
        if (!neighbour)
            GTEST_SKIP() << "no cable of its own: " << reason;
    }

    void announce(const std::vector<AnnouncedService> &services) const {
        neighbour->inside([&] { announceByMulticastDNS(services); });
    }
    std::unique_ptr<DistantConsole> desk(std::uint16_t port) const {
        ConsoleSimOptions options;
        options.port = port;
        options.announce = "10.77.0.1"; // so that it listens on all interfaces; nobody listens there
        return std::make_unique<DistantConsole>(*neighbour, options);
    }
    /// A console says who it is again and again until that has an effect: the daemon may still be getting
    /// ready.
    bool announcedUntil(const AnnouncedService &service, const std::function<bool()> &condition) {
        for (int i = 0; i < 60; ++i) {
            announce({service});
            for (int moment = 0; moment < 100; ++moment) {
                runFor(5ms);
                if (condition())
                    return true;
            }
        }
        return false;
    }

    std::unique_ptr<PrivateNetwork::Neighbour> neighbour;
};

TEST_F(LV1BonjourCable, AConsoleThatDiesWithoutAWordAndReturnsAtAnotherPortIsFollowed) {
    client->multicast->stop();
    client->browser->search(LV1Client::serviceType, LV1Client::serviceDomain);
    auto console = desk(5000);
    ASSERT_TRUE(announcedUntil({"FOH", 5000}, [&] { return scenes.size() == 1; }))
        << testing::PrintToString(diary);
    console.reset();
    ASSERT_TRUE(says("LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1."));
    console = desk(5001);
    // Somebody presses SYNC LV1 each time it has failed.
    const auto press = [&] { client->connect(client->services.front()); };
    press();
    ASSERT_TRUE(announcedUntil({"FOH", 5001}, [&] {
        if (diary.back().starts_with("Connection error: ") && scenes.size() == 1)
            press();
        return scenes.size() == 2;
    })) << testing::PrintToString(diary);
    EXPECT_EQ(client->services.size(), 1U);
    EXPECT_EQ(client->services.front()->port(), 5001);
    EXPECT_THAT(diary, Contains("Connection error: Connection refused"));
}

double secondsOfThisThread() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

TEST_F(LV1BonjourCable, TwoThousandServicesLeaveTheMainThreadFree) {
    std::vector<AnnouncedService> services;
    for (std::uint16_t i = 0; i < 2'000; ++i)
        services.push_back({"LV1 " + std::to_string(i), static_cast<std::uint16_t>(10'000 + i)});
    client->browser->search(LV1Client::serviceType, LV1Client::serviceDomain);
    const auto told = [&] {
        return std::count_if(diary.begin(), diary.end(), [](const std::string &text) {
            return text.starts_with("LV1 found: ") || text.starts_with("Could not resolve ");
        });
    };
    const double before = secondsOfThisThread();
    ASSERT_TRUE(announcedUntil({"LV1 0", 10'000}, [&] { return !client->services.empty(); }));
    // Some get lost on a busy machine: so they are all announced again.
    for (int round = 0; round < 10 && client->services.size() < 1'000; ++round) {
        for (std::size_t i = 0; i < services.size(); i += 40) {
            announce({services.begin() + static_cast<std::ptrdiff_t>(i),
                      services.begin() + static_cast<std::ptrdiff_t>(i) + 40});
            runFor(10ms);
        }
        runFor(1s);
    }
    for (int i = 0; i < 60 && told() < 1'000; ++i)
        runFor(500ms);
    const double used = secondsOfThisThread() - before;
    EXPECT_EQ(client->services.size(), 1'000U);
    EXPECT_GE(told(), 1'000);
    EXPECT_LT(used, 5) << "of the main thread";
    EXPECT_LT(serviceReports, 300);
}

} // namespace
} // namespace corvane

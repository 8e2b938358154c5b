#include "tests/hostile/HostileTest.h"

#include <cstdlib>
#include <set>

namespace corvane {
namespace {

using namespace std::chrono_literals;

class Reconnects : public HostileTest {};

/// How many; CORVANE_RECONNECTS says otherwise.
int reconnects() {
    const char *wanted = std::getenv("CORVANE_RECONNECTS");
    return wanted ? std::max(std::atoi(wanted), 100) : 300;
}

TEST_F(Reconnects, HundredsOfThemLeaveNothingBehind) {
    auto &desk = console();
    const std::set<std::string> texts{"<connected>",
                                      "<not connected>",
                                      "Disconnected",
                                      negotiatingText,
                                      acceptedText,
                                      "Synced: 24 tracks / 31 inputs",
                                      closeText,
                                      "Connection interrupted: Connection reset by peer",
                                      "Connection error: Connection reset by peer"};
    const int count = reconnects();
    Usage early;
    const auto watch = Watch::over(main);
    for (int i = 0; i < count; ++i) {
        SCOPED_TRACE(i);
        diary.clear();
        scenes.clear();
        reports.clear();
        client->connect("127.0.0.1", desk.port());
        ASSERT_TRUE(says(negotiatingText));
        ASSERT_TRUE(comes([&] { return desk.clients() == 1; }));
        if (i % 25 == 24) { // up to the band's last colour
            ASSERT_TRUE(comes([&] { return !scenes.empty(); }));
        }
        switch (i % 4) {
        case 0: // left for the next one
            break;
        case 1:
            desk.command("drop");
            ASSERT_TRUE(says(closeText));
            break;
        case 2:
            desk.reset();
            ASSERT_TRUE(says("Connection error: Connection reset by peer"));
            break;
        default:
            client->disconnect();
            ASSERT_TRUE(says("Disconnected"));
        }
        for (const auto &text : diary)
            EXPECT_TRUE(texts.contains(text)) << text;
        if (i == count / 3) {
            client->disconnect();
            ASSERT_TRUE(comes([&] { return desk.clients() == 0; }));
            early = usageNow();
        }
    }
    client->disconnect();
    ASSERT_TRUE(comes([&] { return desk.clients() == 0; }));
    EXPECT_TRUE(comes([&] { return usageNow().descriptors <= early.descriptors; }));
    // Greetings that were not due yet wait 250 ms with their links.
    EXPECT_TRUE(comes([&] { return usageNow().heap <= early.heap + megabyte / 4; }))
        << usageNow().heap << " after " << early.heap;
    EXPECT_LT(usageNow().memory(), early.memory() + 32 * megabyte);
    EXPECT_LT(watch->longestGap, 5s);
}

} // namespace
} // namespace corvane

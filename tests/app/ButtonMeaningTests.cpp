#include "app/ButtonMeaning.h"

#include <gtest/gtest.h>

#include <functional>

namespace corvane {

namespace {

using Link = ButtonFacts::Link;
using Comparison = ButtonFacts::Comparison;

struct Row {
    const char *name;
    std::function<void(ButtonFacts &)> change;
    const char *expected;
};

/// A console is connected and everything is in step.
ButtonFacts well() {
    ButtonFacts facts;
    facts.link = Link::up;
    facts.red = false;
    facts.comparison = Comparison::sync;
    facts.session = "Show";
    facts.hostSelected = true;
    return facts;
}

const Row table[] = {
    {"NothingYet", [](ButtonFacts &facts) { facts = {}; },
     "Red: no console is connected. Press to search again."},
    {"Greeting",
     [](ButtonFacts &facts) {
         facts.red = true;
         facts.link = Link::greeting;
     },
     "Red: the console is being greeted. Press to connect to the chosen host. The session is "
     "“\u2068Show\u2069”."},
    {"AcceptedWithoutAPatch", [](ButtonFacts &facts) { facts.red = true; },
     "Red: the console has not sent its patch yet. Press to connect to the chosen host. The session is "
     "“\u2068Show\u2069”."},
    {"SyncedWhileGreeting", [](ButtonFacts &facts) { facts.link = Link::greeting; },
     "Green: the patch is synced; the console is being greeted. Press to connect to the chosen host. The "
     "session is “\u2068Show\u2069”."},
    {"FirstPatchThatDiffersFromTheDisk", [](ButtonFacts &facts) { facts.comparison = Comparison::differs; },
     "Green: the first patch since the start; “\u2068Show\u2069” differs from it. Press to connect to the "
     "chosen host."},
    {"LostWithChanges",
     [](ButtonFacts &facts) {
         facts.red = true;
         facts.link = Link::lost;
         facts.changesPending = true;
     },
     "Red: no console is connected, and there are changes since the last sync. Press to update "
     "“\u2068Show\u2069”."},
    {"Synced", [](ButtonFacts &) {},
     "Green: no changes since the last sync. Press to connect to the chosen host. The session is "
     "“\u2068Show\u2069”."},
    {"FirstPatch", [](ButtonFacts &facts) { facts.comparison = Comparison::none; },
     "Green: the first patch since the start; no session was compared with it. Press to connect to the "
     "chosen host. The session is “\u2068Show\u2069”."},
    {"ComparedWithTheDisk", [](ButtonFacts &facts) { facts.comparison = Comparison::session; },
     "Green: “\u2068Show\u2069” has the console's patch. Press to connect to the chosen host."},
    {"SyncedWithoutAConsole", [](ButtonFacts &facts) { facts.link = Link::lost; },
     "Green: the patch is synced; no console is connected now. Press to connect to the chosen host. The "
     "session is “\u2068Show\u2069”."},
    {"Overtaken", [](ButtonFacts &facts) { facts.changesPending = facts.justSynced = true; },
     "Green: synced, but the console's patch has changed since. Press to update “\u2068Show\u2069” again."},
    {"Changed", [](ButtonFacts &facts) { facts.changesPending = true; },
     "Amber: the console's patch has changed. Press to update “\u2068Show\u2069”."},
    {"ChangedWithoutASession",
     [](ButtonFacts &facts) {
         facts.changesPending = true;
         facts.session.reset();
     },
     "Amber: the console's patch has changed. Press to accept the patch for the next session."},
    {"UpdateUnderWay", [](ButtonFacts &facts) { facts.changesPending = facts.updateUnderWay = true; },
     "Amber: the console's patch has changed. An update is under way; press to be asked again. The session "
     "is “\u2068Show\u2069”."},
};

class ConnectMeaningTest : public testing::TestWithParam<Row> {};

TEST_P(ConnectMeaningTest, IsTrueInEveryState) {
    ButtonFacts facts = well();
    GetParam().change(facts);
    EXPECT_EQ(connectMeaning(facts), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(States, ConnectMeaningTest, testing::ValuesIn(table),
                         [](const auto &each) { return each.param.name; });

TEST(CreateMeaning, IsTrueWithoutAConsole) {
    ButtonFacts facts = well();
    facts.channelsKnown = true;
    facts.channelsForCreate = 24;
    EXPECT_EQ(
        createMeaning(facts),
        "Makes a LiveTrax session of the console's 24 channels, one armed track for each, and opens it.");
    facts.link = Link::lost;
    EXPECT_EQ(createMeaning(facts),
              "Makes a LiveTrax session of the 24 channels that the console had last, one "
              "armed track for each, and opens it.");
    facts.channelsForCreate = 1;
    EXPECT_EQ(createMeaning(facts),
              "Makes a LiveTrax session of the 1 channel that the console had last, one "
              "armed track for each, and opens it.");
    facts.changesPending = true;
    for (const Link link : {Link::lost, Link::up}) {
        facts.link = link;
        EXPECT_EQ(createMeaning(facts),
                  "Makes a LiveTrax session of the 1 channel of the last sync and opens it. "
                  "The changes since are not in it.");
    }
}

TEST(CreateMeaning, IsTrueWithoutChannelsToTake) {
    ButtonFacts facts = well();
    EXPECT_EQ(
        createMeaning(facts),
        "Makes a LiveTrax session with one armed track for each channel and opens it. Possible once the "
        "console's channels are known.");
    facts.channelsKnown = true;
    EXPECT_EQ(createMeaning(facts),
              "Makes no LiveTrax session now: the synchronised patch has no channels. Press SYNC LV1.");
}

} // namespace

} // namespace corvane

// Colours as only a console out of its mind sends them, on their whole way into sessions.

#include "livetrax/session/XMLTree.h"
#include "tests/app/WorkflowFixture.h"
#include "tests/lv1/ClientTest.h"

#include <gmock/gmock.h>

#include <limits>
#include <map>

namespace corvane {

namespace {

using testing::IsEmpty;

constexpr float none = std::numeric_limits<float>::quiet_NaN();
constexpr float endless = std::numeric_limits<float>::infinity();
constexpr float large = std::numeric_limits<float>::max();

/// As a session keeps it: red, green, blue and an opaque alpha from the highest byte down.
std::string packed(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return std::to_string(red << 24U | green << 16U | blue << 8U | 255U);
}
const std::string usual = packed(63, 140, 216);

class ConsoleColours : public WorkflowTest {
protected:
    void SetUp() override {
        installLiveTrax();
        launch();
        view.nameText = "Show";
        controller->client->connect("10.0.0.1", 5000);
        fakes.clock->run();
        stream().becomeReady();
        fakes.clock->run();
    }
    FakeStreamConnection &stream() { return *fakes.network->streams.back(); }
    void deliver(const Bytes &frame) {
        stream().deliver(frame);
        fakes.clock->run();
    }
    void patch(std::int32_t inputOfTheFirst) {
        deliver(patchFrame({record("None", 0, inputOfTheFirst, 1), record("Endless", 0, 21, 2),
                            record("Below", 0, 22, 3), record("Large", 0, 23, 4), record("Fine", 0, 24, 5)}));
    }
    void colours() {
        deliver(colourFrame(0, 0, 0.5F, none, 0.5F));
        deliver(colourFrame(0, 1, endless, -endless, 0.5F));
        deliver(colourFrame(0, 2, -3.5F, -large, -0.0F));
        deliver(colourFrame(0, 3, large, 1e30F, 256.0F));
        deliver(colourFrame(0, 4, 0.0F, 0.5F, 1.0F));
    }
    static std::map<std::string, std::string> coloursIn(const std::filesystem::path &file) {
        std::map<std::string, std::string> colours;
        const XMLDocument session = XMLDocument::load(file);
        for (const XMLElement route : session.root().firstChild("Routes").children("Route"))
            colours[std::string(route.attribute("name").value_or(""))] =
                route.firstChild("PresentationInfo").attribute("color").value_or("");
        return colours;
    }
    static void expectKept(const std::map<std::string, std::string> &colours) {
        EXPECT_EQ(colours.at("None"), usual);
        EXPECT_EQ(colours.at("Endless"), usual);
        EXPECT_EQ(colours.at("Below"), packed(0, 0, 0));
        EXPECT_EQ(colours.at("Large"), packed(255, 255, 255));
        EXPECT_EQ(colours.at("Fine"), packed(0, 127, 255));
    }
};

TEST_F(ConsoleColours, ReachTheTableAsTheyAreAndASessionAsItCanHoldThem) {
    colours(); // known before there are channels,
    patch(20);
    ASSERT_EQ(view.table.size(), 5U);
    EXPECT_NE(view.table[0].green, view.table[0].green);
    EXPECT_EQ(view.table[1].red, endless);
    EXPECT_EQ(view.table[2].green, -large);
    EXPECT_EQ(view.table[3].red, large);
    controller->createSession();
    expectKept(coloursIn(templateFile("Show")));
    EXPECT_THAT(view.alerts, IsEmpty());
}

TEST_F(ConsoleColours, ReachASessionThatIsUpdatedAsItCanHoldThem) {
    patch(20);
    controller->createSession();
    const auto session = makeSessionFolder("Show");
    colours(); // and changed while a session stands
    patch(30);
    EXPECT_EQ(view.connectButton, amberLook);
    fakes.clock->advance(std::chrono::seconds(1));
    controller->connectSelected();
    fakes.clock->advance(std::chrono::seconds(10));
    EXPECT_EQ(view.connectButton, greenLook) << view.status();
    EXPECT_THAT(view.alerts, IsEmpty());
    expectKept(coloursIn(session / "Show.ardour"));
}

TEST_F(ConsoleColours, WhatElseIsAnotherInAChannelIsNotTakenForAColour) {
    const LV1Channel kick("Kick", false, "A", 1, "Group", 1);
    consoleSendsPatch({kick});
    for (const LV1Channel &other :
         {LV1Channel("Snare", false, "A", 1, "Group", 1), LV1Channel("Kick", true, "A", 1, "Group", 1),
          LV1Channel("Kick", false, "B", 1, "Group", 1), LV1Channel("Kick", false, "A", 2, "Group", 1),
          LV1Channel("Kick", false, "A", 1, "Matrix", 1), LV1Channel("Kick", false, "A", 1, "Group", 2)}) {
        controller->client->onChannels({kick});
        controller->client->onChannels({other});
        EXPECT_EQ(view.table, Channels{other});
        EXPECT_EQ(controller->synchronizedChannels->front().name(), "Kick");
    }
}

} // namespace

} // namespace corvane

// A console that says more than the main queue takes, and what waits for it.

#include "tests/lv1/ClientTest.h"

#include <algorithm>
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace corvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LV1Backlog : public ClientTest {};

/// Of 20 MB, more than waits for the main queue.
Bytes thousandScenes() {
    Bytes bytes;
    for (int i = 0; i < 1'000; ++i) {
        const auto scene = framed("/Notify/Scene/Name", {std::to_string(i) + std::string(20'000, ' ')});
        bytes.insert(bytes.end(), scene.begin(), scene.end());
    }
    return bytes;
}

TEST_F(LV1Backlog, ReadingPausesWhileTheMainQueueIsFarBehind) {
    link();
    stream().deliver(thousandScenes());
    ASSERT_TRUE(fake.clock->runOne()); // read on the network queue; the main queue has not had its turn
    EXPECT_FALSE(stream().receiving());
    run();
    EXPECT_EQ(takeDiary().size(), 1'000U);
    EXPECT_TRUE(stream().receiving());
    deliver(framed("/Notify/Scene/Name", {std::string("Next")}));
    EXPECT_THAT(takeDiary(), ElementsAre("<scene> Next"));
}

constexpr std::size_t besidesItsName = 256; // what a scene takes

/// Sixteen scenes that take 16 MB together, or so many bytes less.
Bytes sixteenScenes(std::size_t less) {
    Bytes bytes;
    for (std::size_t i = 0; i < 16; ++i) {
        const std::string name(1'048'576 - besidesItsName - (i == 0 ? less : 0), ' ');
        const auto scene = framed("/Notify/Scene/Name", {name});
        bytes.insert(bytes.end(), scene.begin(), scene.end());
    }
    return bytes;
}

TEST_F(LV1Backlog, SixteenMegabytesAreTooMuchAndAByteLessIsNot) {
    for (const std::size_t less : {1U, 0U}) {
        link();
        stream().deliver(sixteenScenes(less));
        ASSERT_TRUE(fake.clock->runOne());
        EXPECT_EQ(stream().receiving(), less > 0);
        run();
    }
}

TEST_F(LV1Backlog, ReadingGoesOnWhenLessThanHalfOfItIsLeft) {
    link();
    stream().deliver(sixteenScenes(0));
    while (!stream().receiving() && fake.clock->runOne()) {
    }
    // Nine were taken, each of which is counted off behind the next one.
    EXPECT_GE(diary.size(), 9U);
    run();
    EXPECT_EQ(takeDiary().size(), 16U);
}

TEST_F(LV1Backlog, PingsAreAnsweredInOrderWhileTheMainQueueIsBehind) {
    link();
    for (int i = 0; i < 100; ++i) {
        stream().deliver(framed("/Notify/Scene/Name", {std::to_string(i)}));
        stream().deliver(framed("/ping", {i}));
        ASSERT_TRUE(fake.clock->runOne()); // the network queue's; the main queue waits its turn for ever
        while (stream().receiving() == false && fake.clock->runOne()) {
        }
    }
    run();
    const auto answers = sent(stream());
    ASSERT_EQ(answers.size(), 101U);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(answers.at(static_cast<std::size_t>(i) + 1), (OSCMessage{"/pong", {i}}));
}

TEST_F(LV1Backlog, PingsInOneReadAreAnsweredBeforeTheMainQueueHasItsTurn) {
    link();
    Bytes bytes;
    for (int i = 0; i < 1'000; ++i)
        for (const auto &frame : {framed("/Notify/Scene/Name", {std::to_string(i)}), framed("/ping", {i})})
            bytes.insert(bytes.end(), frame.begin(), frame.end());
    stream().deliver(bytes);
    ASSERT_TRUE(fake.clock->runOne());
    EXPECT_EQ(stream().sent.size(), 1'001U);
    EXPECT_TRUE(stream().receiving());
    EXPECT_THAT(takeDiary(), IsEmpty());
    run();
    EXPECT_EQ(takeDiary().size(), 1'000U);
}

TEST_F(LV1Backlog, PingsWithoutEndCostNoMemoryWhileTheMainQueueIsBehind) {
    link();
    const auto before = fake.clock->pending();
    Bytes bytes;
    for (int i = 0; i < 10'000; ++i) {
        const auto ping = framed("/ping", {i});
        bytes.insert(bytes.end(), ping.begin(), ping.end());
    }
    stream().deliver(bytes);
    ASSERT_TRUE(fake.clock->runOne());
    EXPECT_EQ(stream().sent.size(), 10'001U);
    EXPECT_LE(fake.clock->pending(), before + 1);
}

TEST_F(LV1Backlog, AFailureBehindAnOrderlyCloseIsToldAsWell) {
    link();
    stream().closeByPeer();
    stream().fail("Connection reset by peer");
    run();
    EXPECT_THAT(takeDiary(),
                ElementsAre("<not connected>",
                            "LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1.",
                            "<not connected>", "Connection error: Connection reset by peer"));
}

TEST_F(LV1Backlog, ALinkThatPausesMayBeLeft) {
    link();
    stream().deliver(thousandScenes());
    ASSERT_TRUE(fake.clock->runOne());
    auto &old = stream();
    client->connect("10.0.0.2", 5000);
    run();
    EXPECT_THAT(takeDiary(), ElementsAre("Disconnected"));
    EXPECT_FALSE(old.receiving());
}

TEST_F(LV1Backlog, WhatWaitsForTheMainQueueIsToldBeforeTheEndThatFollowsIt) {
    link();
    stream().deliver(thousandScenes());
    stream().breakOff("Connection reset by peer");
    run();
    auto told = takeDiary();
    ASSERT_EQ(told.size(), 1'003U);
    EXPECT_EQ(told[999].rfind("<scene> ", 0), 0U);
    told.erase(told.begin(), told.begin() + 1'000);
    EXPECT_THAT(told, ElementsAre("Connection interrupted: Connection reset by peer", "<not connected>",
                                  "Connection error: Connection reset by peer"));
}

TEST_F(LV1Backlog, AFailureWhileReadingPausesIsToldAfterWhatTheConsoleSaid) {
    link();
    stream().deliver(thousandScenes());
    ASSERT_TRUE(fake.clock->runOne());
    ASSERT_FALSE(stream().receiving());
    stream().fail("Broken pipe"); // noticed by sending
    run();
    auto told = takeDiary();
    ASSERT_EQ(told.size(), 1'003U);
    told.erase(told.begin(), told.begin() + 1'000);
    EXPECT_THAT(told, ElementsAre("Connection interrupted: Broken pipe", "<not connected>",
                                  "Connection error: Broken pipe"));
}

TEST_F(LV1Backlog, ACloseBehindMoreThanTheMainQueueTakesIsToldLast) {
    link();
    stream().closeByPeer(thousandScenes());
    run();
    const auto told = takeDiary();
    ASSERT_EQ(told.size(), 1'002U);
    EXPECT_EQ(told.back(), "LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1.");
    EXPECT_FALSE(stream().receiving());
}

#ifdef __GLIBC__
std::size_t inUse() {
    const auto use = ::mallinfo2();
    return use.uordblks + use.hblkhd;
}

TEST_F(LV1Backlog, ColoursOfAHugePatchDoNotPileUpOnTheMainQueue) {
    link();
    std::size_t reports = 0;
    client->onPatch = nullptr;
    client->onChannels = [&](const auto &) { ++reports; };
    deliver(patchFrame(std::vector(20'000, record("", 0, 0, 1))));
    Bytes colours;
    for (int i = 0; i < 1'000; ++i) {
        const auto frame = colourFrame(0, 0, 1.0F, 0.0F, static_cast<float>(i) / 1'000.0F);
        colours.insert(colours.end(), frame.begin(), frame.end());
    }
    const auto before = inUse();
    stream().deliver(colours);
    std::size_t most = before;
    while (fake.clock->runOne())
        most = std::max(most, inUse());
    EXPECT_EQ(reports, 1'001U);
    EXPECT_LT(most, before + 32 * 1'048'576); // each report carries 2.5 MB
}

TEST_F(LV1Backlog, ColoursOfChannelsWithoutEndAreNotAllRemembered) {
    link();
    const auto before = inUse();
    for (int block = 0; block < 300; ++block) {
        Bytes colours;
        for (int i = 0; i < 1'000; ++i) {
            const auto frame = colourFrame(block % 7, block * 1'000 + i, 1.0F, 0.0F, 0.0F);
            colours.insert(colours.end(), frame.begin(), frame.end());
        }
        deliver(colours);
    }
    EXPECT_LT(inUse(), before + 16 * 1'048'576);
    deliver(colourFrame(0, 0, 0.0F, 0.0F, 1.0F)); // known, and still changed
    std::vector<LV1Channel> channels;
    client->onChannels = [&](const auto &list) { channels = list; };
    deliver(patchFrame({record("Kick", 0, 0, 1)}));
    ASSERT_EQ(channels.size(), 1U);
    EXPECT_EQ(channels.front().blue, 1.0F);
}

TEST_F(LV1Backlog, WhatIsBehindARefusedHeaderTakesNoMemory) {
    link();
    deliver(Bytes(12));
    const auto before = inUse();
    for (int i = 0; i < 64; ++i)
        deliver(Bytes(1'048'576, 0x2F));
    EXPECT_LT(inUse(), before + 8 * 1'048'576);
    EXPECT_TRUE(stream().receiving());
}
#endif

} // namespace
} // namespace corvane

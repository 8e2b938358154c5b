#include "sim/ConsoleCommands.h"

#include <gtest/gtest.h>

#include <locale>
#include <optional>
#include <string>
#include <utility>

namespace corvane::sim {
namespace {

class ConsoleCommandsTest : public testing::Test {
protected:
    ConsoleCommandsTest() {
        commands.onSceneRecalled = [this] { told += "scene " + state.scene + "\n"; };
        commands.onPatchChanged = [this] { told += "patch\n"; };
        commands.onColourChanged = [this](const LV1Channel &channel) {
            told += "colour of " + channel.name() + "\n";
        };
    }

    /// What is wrong with the rest of the line, if anything.
    std::string fault(const std::string &command, const std::string &rest = "") {
        std::optional<std::string> found;
        EXPECT_TRUE(commands.execute(command, rest, found)) << command;
        return found.value_or("");
    }

    ConsoleState state{
        {LV1Channel("Kick", false, "SG", 0, "Mixer_Ch", 1, 1.0F, 0.5F, 0.25F)}, {"A", "B"}, "A"};
    ConsoleCommands commands{state};
    std::string told;
};

TEST_F(ConsoleCommandsTest, TheNextSceneIsThatOfTheListAndBehindTheLastOrAnyOtherTheFirst) {
    EXPECT_EQ(fault("next"), "");
    EXPECT_EQ(fault("next"), "");
    EXPECT_EQ(fault("scene", "elsewhere"), "");
    EXPECT_EQ(fault("next"), "");
    EXPECT_EQ(told, "scene B\nscene A\nscene elsewhere\nscene A\n");
    state.scenes.clear();
    EXPECT_EQ(fault("next"), "there is no list of scenes");
}

TEST_F(ConsoleCommandsTest, WhatIsChangedKeepsTheRest) {
    EXPECT_EQ(fault("rename", "1  Snare  top "), "");
    EXPECT_EQ(fault("move", "1 2147483647"), "");
    EXPECT_EQ(fault("stereo", "1 on"), "");
    EXPECT_EQ(state.channels.front(),
              LV1Channel("Snare  top ", true, "SG", 2147483646, "Mixer_Ch", 1, 1.0F, 0.5F, 0.25F));
    EXPECT_EQ(fault("color", "1 0  1 0.125"), "");
    EXPECT_EQ(state.channels.front(),
              LV1Channel("Snare  top ", true, "SG", 2147483646, "Mixer_Ch", 1, 0.0F, 1.0F, 0.125F));
    EXPECT_EQ(told, "patch\npatch\npatch\ncolour of Snare  top \n");
}

/// A point that is written as a comma.
struct CommaPoint : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

TEST_F(ConsoleCommandsTest, AColourHasPointsInEveryLocale) {
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new CommaPoint)); // which owns it
    EXPECT_EQ(fault("color", "1 0.5 1 0"), "");
    std::locale::global(before);
    EXPECT_EQ(state.channels.front().red, 0.5F);
}

TEST_F(ConsoleCommandsTest, WhatIsWrongChangesNothingAndIsToldToNobody) {
    const auto before = state.channels;
    for (const auto &[command, rest] : {std::pair("rename", "2 x"),
                                        {"move", "1 0"},
                                        {"move", "1 2147483648"},
                                        {"stereo", "1 yes"},
                                        {"color", "1 0 0 2"},
                                        {"patch", "/nowhere"}})
        EXPECT_NE(fault(command, rest), "") << command;
    EXPECT_EQ(state.channels, before);
    EXPECT_EQ(told, "");
    std::optional<std::string> none;
    EXPECT_FALSE(commands.execute("dance", "", none));
}

} // namespace
} // namespace corvane::sim

#include "livetrax/remote/SceneRecall.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

namespace corvane {
namespace {

/// LiveTrax runs on a known session, and the scene before was "Intro".
SceneContext recording() {
    return {"Intro", true, [] { return true; }};
}

std::string reason(const std::string &scene, const SceneContext &context) {
    const auto unmarked = whyUnmarked(scene, context);
    return unmarked ? reasonText(*unmarked) : "marked";
}

TEST(SceneRecall, AnotherSceneOfARunningRecorderIsMarked) {
    EXPECT_EQ(reason("Verse", recording()), "marked");
    EXPECT_EQ(reason("intro", recording()), "marked");
    EXPECT_EQ(reason(" Intro", recording()), "marked");
    EXPECT_EQ(reason(" No Scene", recording()), "marked");
}

TEST(SceneRecall, EachConditionThatFailsIsTheReason) {
    EXPECT_EQ(reason("", recording()), "blank");
    EXPECT_EQ(reason(" \t\u00a0\n", recording()), "blank");
    EXPECT_EQ(reason("No Scene", recording()), "no scene");
    EXPECT_EQ(reason("nO sCENE", recording()), "no scene");
    EXPECT_EQ(reason("Intro", recording()), "same");
    auto context = recording();
    context.recorderRuns = [] { return false; };
    EXPECT_EQ(reason("Verse", context), "no recorder");
    context.sessionKnown = false;
    EXPECT_EQ(reason("Verse", context), "no session");
    context.lastScene.reset();
    EXPECT_EQ(reason("Verse", context), "first");
    EXPECT_EQ(reason("No Scene", context), "no scene");
}

TEST(SceneRecall, TheRecorderIsLookedForOnlyWhenItMatters) {
    int asked = 0;
    auto context = recording();
    context.recorderRuns = [&] { return ++asked > 0; };
    for (const char *scene : {"", "No Scene", "Intro"})
        whyUnmarked(scene, context);
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(reason("Verse", context), "marked");
    EXPECT_EQ(asked, 1);
}

TEST(SceneRecall, ARecallHasItsTimeItsNameAsReceivedAndTheDecision) {
    const auto time = std::chrono::system_clock::now();
    EXPECT_EQ(recall(" Verse ", recording(), time), (SceneRecall{time, " Verse ", true, ""}));
    EXPECT_EQ(recall("Intro", recording(), time), (SceneRecall{time, "Intro", false, "same"}));
}

TEST(SceneRecall, ItsTimeIsToldAsTheClockOnTheWallTellsIt) {
    std::tm local{};
    local.tm_year = 126;
    local.tm_mday = 5;
    local.tm_hour = 21;
    local.tm_min = 4;
    local.tm_sec = 9;
    local.tm_isdst = -1;
    EXPECT_EQ(timeOfDay(std::chrono::system_clock::from_time_t(std::mktime(&local))), "21:04:09");
}

} // namespace
} // namespace corvane

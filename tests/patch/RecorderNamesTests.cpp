#include "patch/RecorderNames.h"

#include <gmock/gmock.h>

namespace corvane {
namespace {

using testing::ElementsAre;

LV1Channel channel(const std::string &name) {
    return {name, false, "SoundGrid", 0, "Mixer_Ch", 1};
}

TEST(RecorderNames, AreWrittenByTheRecorderInItsOwnWay) {
    EXPECT_EQ("a_b_c_d_e_f_g_h_i_j", recorderName("a:b/c\\d\"e|f<g>h*i?j"));
    EXPECT_EQ("Vox", recorderName("Vox  "));
    EXPECT_EQ("  Vox 2", recorderName("  Vox 2"));
    EXPECT_EQ("", recorderName("   "));
    EXPECT_EQ("Click 1", recorderName("Click"));
    EXPECT_EQ("Click 1", recorderName("Click "));
    EXPECT_EQ("Control 1", recorderName("Control"));
    EXPECT_EQ("click", recorderName("click"));
    EXPECT_EQ("Clicks", recorderName("Clicks"));
    EXPECT_EQ("Bühne – “L”", recorderName("Bühne – “L”"));
}

TEST(RecorderNames, BothFormsOfANameAreTheChannels) {
    EXPECT_TRUE(isRecorded("Kick/In ", "Kick/In "));
    EXPECT_TRUE(isRecorded("Kick_In", "Kick/In "));
    EXPECT_TRUE(isRecorded("A\xEF\xBF\xBD", "A\x01"));
    EXPECT_FALSE(isRecorded("Kick/In ", "Kick_In")) << "only the recorder rewrites";
    EXPECT_FALSE(isRecorded("Click 1", "click"));
}

TEST(RecorderNames, OfDirectOutsHoldNoColon) {
    EXPECT_EQ("A-B-/C", directOutName("A:B:/C"));
}

TEST(RecorderNames, ProblemsAreSentences) {
    const std::string longest(243, 'x');
    EXPECT_EQ(std::nullopt, recorderNameProblem("Kick In"));
    EXPECT_EQ(std::nullopt, recorderNameProblem(longest));
    EXPECT_EQ("“\u2068" + longest.substr(0, 120) +
                  "…\u2069” is too long: LiveTrax would record it without a file.",
              recorderNameProblem("x" + longest));
    EXPECT_EQ("“\u2068Kick/In\u2069” would be called “\u2068Kick_In\u2069” in LiveTrax.",
              recorderNameProblem("Kick/In"));
    EXPECT_EQ("“\u2068Click\u2069” would be called “\u2068Click 1\u2069” in LiveTrax.",
              recorderNameProblem("Click"));
}

TEST(RecorderNames, ProblemsOfAPatchStandInItsOrderEachOnce) {
    EXPECT_THAT(recorderNameProblems({channel("Vox "), channel("Kick"), channel("Control"), channel("Vox ")}),
                ElementsAre("“\u2068Vox \u2069” would be called “\u2068Vox\u2069” in LiveTrax.",
                            "“\u2068Control\u2069” would be called “\u2068Control 1\u2069” in LiveTrax."));
}

} // namespace
} // namespace corvane

#include "patch/PatchDifference.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvane {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

LV1Channel channel(std::string name, std::int32_t number, std::int32_t input, bool stereo = false) {
    return {std::move(name), stereo, "Driver", input, "Mixer_Ch", number};
}

TEST(PatchDifference, NothingBetweenEqualPatches) {
    EXPECT_THAT(patchDifference({channel("Kick", 1, 0)}, {channel("Kick", 1, 0)}), IsEmpty());
    EXPECT_THAT(patchDifference({}, {}), IsEmpty());
}

TEST(PatchDifference, ColoursAreNoDifference) {
    LV1Channel recoloured = channel("Kick", 1, 0);
    recoloured.red = 1;
    EXPECT_THAT(patchDifference({channel("Kick", 1, 0)}, {recoloured}), IsEmpty());
}

TEST(PatchDifference, TellsANewName) {
    EXPECT_THAT(patchDifference({channel("Kick", 1, 0)}, {channel("Kick In", 1, 0)}),
                ElementsAre("“\u2068Kick\u2069” is now “\u2068Kick In\u2069”"));
}

TEST(PatchDifference, TellsANewWidthWithItsOtherChanges) {
    EXPECT_THAT(patchDifference({channel("Keys", 1, 0)}, {channel("Keys", 1, 0, true)}),
                ElementsAre("“\u2068Keys\u2069” is now stereo"));
    EXPECT_THAT(patchDifference({channel("Keys", 1, 0, true)}, {channel("Keys", 1, 0)}),
                ElementsAre("“\u2068Keys\u2069” is now mono"));
    EXPECT_THAT(
        patchDifference({channel("Keys", 1, 0)}, {channel("Synth", 1, 2, true)}),
        ElementsAre("“\u2068Keys\u2069” is now “\u2068Synth\u2069”, stereo, on inputs 3–4 (was input 1)"));
}

TEST(PatchDifference, TellsANewInput) {
    EXPECT_THAT(patchDifference({channel("Kick", 1, 0)}, {channel("Kick", 1, 4)}),
                ElementsAre("“\u2068Kick\u2069” is now on input 5 (was input 1)"));
}

TEST(PatchDifference, TellsWhatIsNewAndWhatIsGone) {
    EXPECT_THAT(patchDifference({channel("Kick", 1, 0), channel("Talkback", 9, 8)},
                                {channel("Kick", 1, 0), channel("OH", 3, 2, true)}),
                ElementsAre("“\u2068OH\u2069” is new, on inputs 3–4", "“\u2068Talkback\u2069” is gone"));
}

TEST(PatchDifference, ASourceThatIsReportedOnceMoreIsNewAndTheRestIsToldAsWell) {
    EXPECT_THAT(
        patchDifference({channel("A", 1, 0), channel("C", 2, 2)},
                        {channel("A", 1, 0), channel("B", 1, 1), channel("C", 2, 3)}),
        ElementsAre("“\u2068B\u2069” is new, on input 2", "“\u2068C\u2069” is now on input 4 (was input 3)"));
}

TEST(PatchDifference, TellsAnotherOrder) {
    EXPECT_THAT(
        patchDifference({channel("A", 1, 0), channel("B", 2, 1)}, {channel("B", 2, 1), channel("A", 1, 0)}),
        ElementsAre("The channels stand in another order"));
}

TEST(PatchDifference, SourcesReportedTwiceAreMatchedInTheirOrder) {
    EXPECT_THAT(
        patchDifference({channel("A", 1, 0), channel("B", 1, 1)}, {channel("A", 1, 0), channel("C", 1, 1)}),
        ElementsAre("“\u2068B\u2069” is now “\u2068C\u2069”"));
}

} // namespace

} // namespace corvane

#include "patch/PatchConflicts.h"

#include <gmock/gmock.h>

namespace corvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Kind = PatchConflict::Kind;

LV1Channel mono(const std::string &name, int input) {
    return {name, false, "SoundGrid", input, "Mixer_Ch", 1};
}

LV1Channel stereo(const std::string &name, int input) {
    return {name, true, "SoundGrid", input, "Mixer_Ch", 1};
}

std::vector<std::string> texts(const std::vector<LV1Channel> &channels) {
    std::vector<std::string> lines;
    for (const PatchConflict &conflict : patchConflicts(channels))
        lines.push_back(conflict.text);
    return lines;
}

TEST(PatchConflicts, ChannelsSideBySideHaveNone) {
    EXPECT_THAT(patchConflicts({}), IsEmpty());
    EXPECT_THAT(patchConflicts({mono("Kick", 0), stereo("OH", 1), mono("kick", 3), stereo("Far", 2147483647),
                                mono("Odd", -1)}),
                IsEmpty());
}

TEST(PatchConflicts, AnInputOfTwoChannelsNamesThemAndIt) {
    EXPECT_THAT(
        patchConflicts({mono("Kick", 0), mono("Vox", 24), mono("Vox FX", 24)}),
        ElementsAre(PatchConflict{Kind::input,
                                  {1, 2},
                                  {"Vox", "Vox FX"},
                                  {25},
                                  "“\u2068Vox\u2069” and “\u2068Vox FX\u2069” share SoundGrid input 25"}));
}

TEST(PatchConflicts, OverlappingStereoChannelsShareTheInputBetweenThem) {
    EXPECT_THAT(texts({stereo("Keys", 2), stereo("Tracks", 3)}),
                ElementsAre("“\u2068Keys\u2069” and “\u2068Tracks\u2069” share SoundGrid input 4"));
    EXPECT_THAT(texts({stereo("Keys", 2), mono("Talkback", 3)}),
                ElementsAre("“\u2068Keys\u2069” and “\u2068Talkback\u2069” share SoundGrid input 4"));
}

TEST(PatchConflicts, AWholePairSharedIsOneConflict) {
    EXPECT_THAT(texts({stereo("Keys", 2), stereo("Tracks", 2)}),
                ElementsAre("“\u2068Keys\u2069” and “\u2068Tracks\u2069” share SoundGrid inputs 3–4"));
}

TEST(PatchConflicts, EachSetOfChannelsIsTold) {
    EXPECT_THAT(texts({stereo("Keys", 2), mono("A", 2), mono("B", 2), mono("C", 3)}),
                ElementsAre("“\u2068Keys\u2069”, “\u2068A\u2069” and “\u2068B\u2069” share SoundGrid input 3",
                            "“\u2068Keys\u2069” and “\u2068C\u2069” share SoundGrid input 4"));
}

TEST(PatchConflicts, EqualNamesComeBeforeInputs) {
    EXPECT_THAT(
        patchConflicts({mono("Vox", 1), mono("Kick", 0), stereo("Vox", 2), mono("Kick", 0)}),
        ElementsAre(
            PatchConflict{Kind::name, {0, 2}, {"Vox", "Vox"}, {}, "2 channels are called “\u2068Vox\u2069”"},
            PatchConflict{
                Kind::name, {1, 3}, {"Kick", "Kick"}, {}, "2 channels are called “\u2068Kick\u2069”"},
            PatchConflict{Kind::input,
                          {1, 3},
                          {"Kick", "Kick"},
                          {1},
                          "“\u2068Kick\u2069” and “\u2068Kick\u2069” share SoundGrid input 1"}));
}

TEST(PatchConflicts, NamesThatBecomeEqualInTheSessionAreEqual) {
    EXPECT_THAT(
        texts({mono("A:B", 0), mono("A-B", 1)}),
        ElementsAre("“\u2068A:B\u2069” and “\u2068A-B\u2069” would have direct outs of the same name"));
    EXPECT_THAT(texts({mono("A\x01", 0), mono("A\x02", 1)}),
                ElementsAre("“\u2068A \u2069” and “\u2068A \u2069” would have direct outs of the same name"));
}

TEST(PatchConflicts, WritingInAnotherNormalFormIsAnotherName) {
    EXPECT_THAT(patchConflicts({mono("Caf\xC3\xA9", 0), mono("Cafe\xCC\x81", 1)}), IsEmpty());
}

} // namespace
} // namespace corvane

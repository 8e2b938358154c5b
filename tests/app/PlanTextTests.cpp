#include "app/PlanText.h"

#include <gmock/gmock.h>

namespace corvane {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Action = TrackDecision::Action;

TEST(PlanText, TellsEachTrackThatComesGoesOrIsRenamedAndCountsTheRest) {
    UpdatePlan plan;
    plan.tracks = {{Action::add, "Vox", 9, false, {}},
                   {Action::add, "OH", 4, true, {}},
                   {Action::keep, "Same", 1, false, {}},
                   {Action::change, "Kick In", 0, false, {"Kick", "2", "1", {}}},
                   {Action::change, "Snare", 1, false, {{}, "3", "1", {}}},
                   {Action::change, "Tom", 2, false, {{}, "4", {}, {}}},
                   {Action::change, "Hat", 3, false, {{}, {}, "1", {}}},
                   {Action::remove, "Talk", std::nullopt, false, {}},
                   {Action::remove, "Keys", 1, true, {}, 1},
                   {Action::remove, "Click", 7, false, {}, 2}};
    EXPECT_THAT(planLines(plan), ElementsAre("“\u2068Vox\u2069” is added, on input 10",
                                             "“\u2068OH\u2069” is added, on inputs 5–6",
                                             "“\u2068Kick\u2069” becomes “\u2068Kick In\u2069”",
                                             "“\u2068Talk\u2069” is removed",
                                             "“\u2068Keys\u2069” is removed, on inputs 2–3, with 1 recording",
                                             "“\u2068Click\u2069” is removed, on input 8, with 2 recordings",
                                             "2 tracks moved", "1 track coloured"));
    EXPECT_THAT(planLines({}), IsEmpty());
}

TEST(PlanText, OneTrackThatIsMovedAndTwoThatAreColoured) {
    UpdatePlan plan;
    plan.tracks = {{Action::change, "A", 0, false, {{}, "2", {}, {}}},
                   {Action::change, "B", 1, false, {{}, {}, "1", {}}},
                   {Action::change, "C", 2, false, {{}, {}, "1", {}}}};
    EXPECT_THAT(planLines(plan), ElementsAre("1 track moved", "2 tracks coloured"));
}

TEST(PlanText, AListingHasTwentyLinesAndCountsTheRest) {
    EXPECT_EQ(listing("All:", {}), "");
    EXPECT_EQ(listing("All:", {"one", "two"}), "All:\none\ntwo");
    std::string twenty = "All:";
    for (int line = 0; line < 20; ++line)
        twenty += "\nx";
    EXPECT_EQ(listing("All:", std::vector<std::string>(20, "x")), twenty);
    EXPECT_EQ(listing("All:", std::vector<std::string>(23, "x")), twenty + "\nand 3 more");
}

} // namespace

} // namespace corvane

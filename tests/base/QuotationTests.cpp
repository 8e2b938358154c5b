#include "base/Quotation.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(Quotation, NoMarkOfIsolationIsTakenOver) {
    for (const char *mark : {"\u2066", "\u2067", "\u2068", "\u2069"})
        EXPECT_EQ(isolated(std::string("a") + mark + mark + "b"), "\u2068ab\u2069");
}

TEST(Quotation, IsolatesWhatItQuotes) {
    EXPECT_EQ(quotation("Kick"), "“\u2068Kick\u2069”");
    EXPECT_EQ(quotation(""), "“\u2068\u2069”");
    EXPECT_EQ(quotation("שירה"), "“\u2068שירה\u2069”");
}

TEST(Quotation, StandsOnOneLine) {
    EXPECT_EQ(quotation("Kick\nIn").find('\n'), std::string::npos);
    EXPECT_EQ(quotation("Kick\tIn").find('\t'), std::string::npos);
}

TEST(Quotation, CutsALongTextAndSaysSo) {
    const std::string longest(120, 'x');
    EXPECT_EQ(quotation(longest), "“\u2068" + longest + "\u2069”");
    EXPECT_EQ(quotation(longest + "y"), "“\u2068" + longest + "…\u2069”");
}

TEST(Quotation, CutsBetweenTwoCharacters) {
    // The 120th byte is the first of a character's two, three or four.
    for (const std::string character : {"é", "界", "🎹"})
        EXPECT_EQ(quotation(std::string(119, 'x') + character + "y"),
                  "“\u2068" + std::string(119, 'x') + "…\u2069”");
}

TEST(Quotation, OfBytesThatContinueNoCharacterNothingIsLeftToCut) {
    EXPECT_EQ(quotation(std::string(130, '\x80')), "“\u2068…\u2069”");
}

TEST(Quotation, AShortenedTextHasNoMarksOfItsOwn) {
    EXPECT_EQ(shortened("Kick\nIn"), "Kick In");
    EXPECT_EQ(shortened(std::string(119, 'x') + "é"), std::string(119, 'x') + "…");
}

TEST(Quotation, OfAVeryLongTextTakesNoTime) {
    EXPECT_LT(quotation(std::string(10'000'000, 'x')).size(), 200U);
}

TEST(Quotation, CountsOneAndMany) {
    EXPECT_EQ(counted(0, "track", "tracks"), "0 tracks");
    EXPECT_EQ(counted(1, "track", "tracks"), "1 track");
    EXPECT_EQ(counted(2, "track", "tracks"), "2 tracks");
}

TEST(Quotation, JoinsAFewAndCountsTheRest) {
    EXPECT_EQ(joined({}), "");
    EXPECT_EQ(joined({"A"}), "A");
    EXPECT_EQ(joined({"A", "B", "C", "D", "E"}), "A, B, C, D, E");
    EXPECT_EQ(joined({"A", "B", "C", "D", "E", "F", "G"}), "A, B, C, D, E and 2 more");
}

} // namespace
} // namespace corvane

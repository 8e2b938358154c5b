#include "base/Text.h"

#include "base/UTF8.h"
#include "base/XMLCharacters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <limits>

namespace corvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Text, ACellIsQuotedOnlyWhereItMustBe) {
    const auto cell = [](const std::string &text) {
        std::string row = "x,";
        appendCell(row, text);
        return row;
    };
    EXPECT_EQ(cell("Kick In"), "x,Kick In");
    EXPECT_EQ(cell("a,b"), "x,\"a,b\"");
    EXPECT_EQ(cell("12\""), "x,\"12\"\"\"");
    EXPECT_EQ(cell("a\nb"), "x,\"a\nb\"");
    EXPECT_EQ(cell("a\rb"), "x,\"a\rb\"");
    EXPECT_EQ(cell("x"), "x,x");
}

TEST(Text, WhiteSpaceOfEveryScriptIsTrimmed) {
    EXPECT_EQ(trimmed("  a b \t\r\n"), "a b");
    EXPECT_EQ(trimmed("\u00A0\u3000\u2028\u2029\u0085\u1680\u2000\u200A\u202F\u205F\v\fx\u3000"), "x");
    EXPECT_EQ(trimmed(" \u00A0 "), "");
    EXPECT_EQ(trimmed(""), "");
    EXPECT_EQ(trimmed("Año nuevo"), "Año nuevo");
}

TEST(Text, WhatOnlyLooksEmptyIsKept) {
    EXPECT_EQ(trimmed("\u200B"), "\u200B"); // zero width space is no white space
    EXPECT_EQ(trimmed("\uFEFFx"), "\uFEFFx");
    EXPECT_EQ(trimmed("\x1F"), "\x1F");
    EXPECT_EQ(trimmed(" \xA0 "), "\xA0"); // a byte that is no character
}

TEST(Text, LinesEndAtEveryLineBreak) {
    EXPECT_THAT(nonEmptyLines("a\nb\rc\r\nd\ve\ff\u0085g\u2028h\u2029i"),
                ElementsAre("a", "b", "c", "d", "e", "f", "g", "h", "i"));
    EXPECT_THAT(nonEmptyLines("\n\na\r\n\r\n \n"), ElementsAre("a", " "));
    EXPECT_THAT(nonEmptyLines(""), IsEmpty());
    EXPECT_THAT(nonEmptyLines("\r\n"), IsEmpty());
}

TEST(Text, OnlyStrictUTF8IsValid) {
    struct Row {
        const char *name;
        std::string text;
        bool valid;
    };
    const Row rows[] = {
        {"nothing", "", true},
        {"a zero byte", std::string("a\0b", 3), true},
        {"a zero byte behind another character", std::string("\xC3\xA9\0", 3), true},
        {"two bytes", "\xC2\x80", true},
        {"three bytes", "\xE0\xA0\x80", true},
        {"the last before the surrogates", "\xED\x9F\xBF", true},
        {"the first after them", "\xEE\x80\x80", true},
        {"the last code point", "\xF4\x8F\xBF\xBF", true},
        {"overlong slash, two bytes", "\xC0\xAF", false},
        {"overlong, two bytes", "\xC1\xBF", false},
        {"overlong, three bytes", "\xE0\x9F\xBF", false},
        {"overlong, four bytes", "\xF0\x8F\xBF\xBF", false},
        {"a surrogate", "\xED\xA0\x80", false},
        {"the last surrogate", "\xED\xBF\xBF", false},
        {"beyond the last code point", "\xF4\x90\x80\x80", false},
        {"five bytes", "\xF8\x88\x80\x80\x80", false},
        {"cut short", "a\xE2\x82", false},
        {"a lone continuation", "\x80", false},
        {"a lead before a letter", "\xC3(", false},
        {"Latin-1", "A\xF1o", false},
    };
    for (const Row &row : rows)
        EXPECT_EQ(isValidUTF8(row.text), row.valid) << row.name;
}

TEST(Text, AnIntegerIsTheWholeText) {
    EXPECT_EQ(integer("0"), 0);
    EXPECT_EQ(integer("+7"), 7);
    EXPECT_EQ(integer("-7"), -7);
    EXPECT_EQ(integer("-0"), 0);
    EXPECT_EQ(integer("007"), 7);
    EXPECT_EQ(integer("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(integer("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
    for (const char *text : {"", "+", "-", " 1", "1 ", "1.0", "1e3", "0x10", "+-1", "--1", "1a", "١",
                             "9223372036854775808", "-9223372036854775809", "99999999999999999999999"})
        EXPECT_EQ(integer(text), std::nullopt) << text;
}

TEST(Text, AnUnsignedIntegerIsTheWholeText) {
    EXPECT_EQ(unsignedInteger("18446744073709551615"), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(unsignedInteger("+4278190335"), 4278190335U);
    EXPECT_EQ(unsignedInteger("-0"), 0U);
    for (const char *text : {"", "-", "+", "-1", " 1", "18446744073709551616", "1 "})
        EXPECT_EQ(unsignedInteger(text), std::nullopt) << text;
}

TEST(Text, APortIsDigitsAlone) {
    EXPECT_EQ(portNumber("0"), 0);
    EXPECT_EQ(portNumber("010"), 10);
    EXPECT_EQ(portNumber("65535"), 65'535);
    for (const char *text : {"", "+5", "-5", "0x10", "65536", "5 ", " 5", "5.0", "99999999999999999999"})
        EXPECT_EQ(portNumber(text), std::nullopt) << text;
}

TEST(Text, ControlCharactersBecomeBlanks) {
    EXPECT_EQ(withoutControls("Kick\x1B[2J\t\x7F\r\n"), "Kick [2J    ");
    EXPECT_EQ(withoutControls("\u0080a\u009Bb\u009F"), " a b ");
    EXPECT_EQ(withoutControls(std::string_view("\0a", 2)), " a");
    EXPECT_EQ(withoutControls("\u00A0Ñandú – 日本 🎤"), "\u00A0Ñandú – 日本 🎤");
    EXPECT_EQ(withoutControls("cut \xC2"), "cut \xC2");
    EXPECT_EQ(withoutControls("lone \x9B"), "lone  ");
    EXPECT_EQ(withoutControls("one\ntwo\r", "\n"), "one\ntwo ");
}

TEST(Text, AWordIsTheSameInEveryCase) {
    EXPECT_TRUE(equalIgnoringCase("No Scene", "NO SCENE"));
    EXPECT_TRUE(equalIgnoringCase("AMZ", "amz"));
    EXPECT_TRUE(equalIgnoringCase("", ""));
    EXPECT_TRUE(equalIgnoringCase("\u212A", "k"));               // the Kelvin sign
    EXPECT_TRUE(equalIgnoringCase("No \u017Fcene", "no scene")); // the long s
    EXPECT_FALSE(equalIgnoringCase("No Scene", "No Scene "));
    EXPECT_FALSE(equalIgnoringCase("No Scene", "No Scen"));
    EXPECT_FALSE(equalIgnoringCase("á", "a"));
    EXPECT_FALSE(equalIgnoringCase("@", "`"));
    EXPECT_FALSE(equalIgnoringCase("[", "{"));
    EXPECT_FALSE(equalIgnoringCase("\xE9", "i"));
}

TEST(Text, ComparisonDoesNotDependOnTheLocale) {
    for (const char *locale : {"C", "tr_TR.UTF-8"}) {
        const std::string previous = std::setlocale(LC_ALL, nullptr);
        std::setlocale(LC_ALL, locale);
        EXPECT_TRUE(equalIgnoringCase("TITLE", "title")) << locale;
        std::setlocale(LC_ALL, previous.c_str());
    }
}

TEST(XMLCharacters, WhatXMLCannotHoldIsReplaced) {
    EXPECT_EQ(holdableByXML("Año\t\n\r 🎤"), "Año\t\n\r 🎤");
    EXPECT_EQ(holdableByXML("a\x01z\x1F"), "a\uFFFDz\uFFFD");
    EXPECT_EQ(holdableByXML("\uFFFE \uFFFF \uFFFD"), "\uFFFD \uFFFD \uFFFD");
    EXPECT_EQ(holdableByXML("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD"); // each byte of a surrogate
    EXPECT_EQ(holdableByXML("cut \xC2"), "cut \uFFFD");
}

} // namespace
} // namespace corvane

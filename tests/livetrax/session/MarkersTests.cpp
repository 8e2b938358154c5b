#include "livetrax/session/Markers.h"

#include "platform/files/Files.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <locale>
#include <string>
#include <vector>

namespace corvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Markers = std::vector<SessionMarker>;

std::string location(const std::string &name, const std::string &start, const std::string &flags = "IsMark") {
    return "<Location id=\"1\" name=\"" + name + "\" start=\"" + start + "\" end=\"" + start + "\" flags=\"" +
           flags + "\"/>";
}

/// A session of 48,000 samples a second with these locations and tempos.
std::string session(const std::string &locations,
                    const std::string &tempos =
                        "<Tempo npm=\"120\" note-type=\"4\" sclock=\"0\" quarters=\"0:0\" omega=\"0\"/>") {
    return "<Session sample-rate=\"48000\"><Locations>" + locations +
           "</Locations><TempoMap superclocks-per-second=\"282240000\"><Tempos>" + tempos +
           "</Tempos></TempoMap></Session>";
}

SessionMarkers markersIn(const std::string &text) {
    return markersOf(XMLDocument::parse(text, "test").root());
}

std::int64_t placeOf(const std::string &start, const std::string &tempos) {
    return markersIn(session(location("here", start), tempos)).markers.at(0).samples;
}

TEST(Markers, AMarkersPlaceIsItsSamplesAtTheSessionsRate) {
    const auto read = markersIn(session(location("Intro", "a0") + location("Verse &lt;2&gt;", "a282240000") +
                                        location("Größe 🎵", "a1016064000000")));
    EXPECT_EQ(read.rate, 48000);
    EXPECT_EQ(read.markers, (Markers{{0, "Intro"}, {48000, "Verse <2>"}, {172800000, "Größe 🎵"}}));
    EXPECT_EQ(markersIn("<Session sample-rate=\"44100\"><Locations>" + location("x", "a141120000") +
                        "</Locations></Session>"),
              (SessionMarkers{44100, {{22050, "x"}}}));
    EXPECT_EQ(markersIn("<Session sample-rate=\"1\"><Locations>" + location("x", "a2822400000000") +
                        "</Locations></Session>"),
              (SessionMarkers{1, {{10000, "x"}}}));
}

/// The place of a mark in a session of 48,000 samples and so many ticks a second.
std::int64_t placeAt(const std::string &ticksPerSecond, const std::string &start,
                     const std::string &tempo = "") {
    return markersIn("<Session sample-rate=\"48000\"><Locations>" + location("x", start) +
                     "</Locations><TempoMap superclocks-per-second=\"" + ticksPerSecond +
                     "\"><Tempos><Tempo " + tempo + "/></Tempos></TempoMap></Session>")
        .markers.at(0)
        .samples;
}

TEST(Markers, TheLastPlaceThatASessionCanSayIsRead) {
    EXPECT_EQ(placeAt("1", "a7"), 7 * 48000);
    EXPECT_EQ(placeAt("1", "a192153584101140"), 9223372036854720000);
    EXPECT_THROW(placeAt("1", "a192153584101141"), XMLError);
    for (const char *none : {"0", "-1", "x", ""})
        EXPECT_EQ(placeAt(none, "a282240000"), 48000) << none << ": the usual number of ticks";
    const std::string tempo = "npm=\"60\" note-type=\"4\" quarters=\"0:0\" sclock=";
    EXPECT_EQ(placeAt("9000000000000000000", "b0", tempo + "\"9000000000000000000\""), 48000);
    EXPECT_THROW(placeAt("9000000000000000000", "b1920", tempo + "\"0\""), XMLError);
    EXPECT_THROW(placeAt("282240000", "b1920", tempo + "\"9000000000000000000\""), XMLError);
    EXPECT_EQ(placeAt("282240000", "b1920", tempo + "\"282240000\""), 96000);
}

/// A point that is written as a comma.
struct CommaPoint : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

TEST(Markers, ATempoIsReadInEveryLocale) {
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new CommaPoint)); // which owns it
    EXPECT_EQ(placeOf("b960", "<Tempo npm=\"60.5\" note-type=\"8\" sclock=\"0\" quarters=\"0:0\"/>"), 47603);
    std::locale::global(before);
}

TEST(Markers, TheyComeInOrderOfTimeAndThoseOfOneTimeInTheOrderOfTheFile) {
    const auto read = markersIn(
        session(location("c", "a564480000") + location("a", "a282240000") + location("b", "a282240000")));
    EXPECT_EQ(read.markers, (Markers{{48000, "a"}, {48000, "b"}, {96000, "c"}}));
}

TEST(Markers, RangesAndTheEnginesOwnAreLeftOut) {
    const auto read = markersIn(session(
        location("session", "a0", "IsSessionRange") + location("Loop", "a0", "IsAutoLoop,IsHidden") +
        location("Punch", "a0", "IsAutoPunch,IsHidden") + location("Encore", "a0", "IsRangeMarker") +
        location("start", "a0", "IsMark,IsStart") + location("end", "a9", "IsMark,IsEnd") +
        location("IsMark", "a0", "NotIsMark") + location("Solo", "a0", "IsHidden,IsMark,IsCDMarker")));
    EXPECT_EQ(read.markers, (Markers{{0, "Solo"}}));
}

TEST(Markers, TheEnginesOwnAreLeftOutEvenWhereTheyAreMarks) {
    for (const char *own : {"IsStart", "IsEnd", "IsSessionRange", "IsAutoLoop", "IsAutoPunch"})
        EXPECT_THAT(markersIn(session(location("own", "a0", std::string("IsMark,") + own))).markers,
                    IsEmpty())
            << own;
}

TEST(Markers, AnOlderEnginesPlacesAreSamplesAlready) {
    EXPECT_EQ(markersIn(session(location("x", "96000"))).markers, (Markers{{96000, "x"}}));
}

TEST(Markers, AMarkInMusicalTimeFollowsTheTempo) {
    const std::string constant =
        "<Tempo npm=\"120\" note-type=\"4\" sclock=\"0\" quarters=\"0:0\" omega=\"0\"/>";
    EXPECT_EQ(placeOf("b0", constant), 0);
    EXPECT_EQ(placeOf("b1920", constant), 24000); // a quarter note at 120 takes half a second
    EXPECT_EQ(placeOf("b960", "<Tempo npm=\"60.5\" note-type=\"8\" sclock=\"0\" quarters=\"0:0\"/>"), 47603);
    // From the fifth quarter on, two seconds in, at half the tempo.
    const std::string slower =
        constant + "<Tempo npm=\"60\" note-type=\"4\" sclock=\"564480000\" quarters=\"4:0\" omega=\"0\"/>";
    EXPECT_EQ(placeOf("b7679", slower), 95988);
    EXPECT_EQ(placeOf("b7680", slower), 96000);
    EXPECT_EQ(placeOf("b9600", slower), 144000);
    EXPECT_EQ(placeOf("b1920", "<Tempo npm=\"1\" note-type=\"1\" sclock=\"0\" quarters=\"0:0\"/>"), 720000);
    EXPECT_EQ(placeOf("b1920", "<Tempo npm=\"0.5\" note-type=\"4\" sclock=\"0\" quarters=\"0:0\"/>"),
              5760000);
    // From the middle of the first quarter on.
    const std::string late =
        constant + "<Tempo npm=\"60\" note-type=\"4\" sclock=\"70560000\" quarters=\"0:960\"/>";
    EXPECT_EQ(placeOf("b1920", late), 36000);
    // A tempo that begins nowhere holds nowhere.
    for (const char *nowhere : {"", "0", ":0", "0:", "x:0", "0:x"})
        EXPECT_EQ(placeOf("b1920", constant + "<Tempo npm=\"7\" note-type=\"4\" sclock=\"0\" quarters=\"" +
                                       nowhere + "\"/>"),
                  24000)
            << nowhere;
    // A ramp that doubles the tempo in four seconds: ln 2 / 4 s, in ticks; 8 / ln 2 quarters long.
    const std::string ramp =
        "<Tempo npm=\"120\" note-type=\"4\" sclock=\"0\" quarters=\"0:0\" omega=\"6.1397e-10\"/>";
    EXPECT_NEAR(static_cast<double>(placeOf("b22159", ramp)), 192000, 20);
}

TEST(Markers, WhatCannotBeReadIsSaidAndNotLeftOut) {
    for (const char *place : {"", "a", "b", "x7", "a-1", "a1.5", "a99999999999999999999"})
        EXPECT_THROW(markersIn(session(location("x", place))), XMLError) << place;
    EXPECT_THROW(markersIn(session(location("x", "b1920"), "")), XMLError);
    for (const char *place : {"-1", "b-1"})
        EXPECT_THROW(markersIn(session(location("x", place))), XMLError) << place;
    for (const char *tempo :
         {"npm=\"120\" note-type=\"4\"", "note-type=\"4\" sclock=\"1000000000\"",
          "npm=\"120\" sclock=\"1000000000\"", "npm=\"0\" note-type=\"4\" sclock=\"1000000000\"",
          "npm=\"-120\" note-type=\"4\" sclock=\"1000000000\"",
          "npm=\"120 bpm\" note-type=\"4\" sclock=\"1000000000\"",
          "npm=\"120\" note-type=\"0\" sclock=\"1000000000\"",
          "npm=\"120\" note-type=\"-4\" sclock=\"1000000000\""})
        EXPECT_THROW(markersIn(session(location("x", "b1920"),
                                       "<Tempo quarters=\"0:0\" " + std::string(tempo) + "/>")),
                     XMLError)
            << tempo;
    EXPECT_THROW(markersIn(session(location("x", "b9223372036854775807"),
                                   "<Tempo npm=\"1e-300\" note-type=\"4\" sclock=\"0\" quarters=\"0:0\"/>")),
                 XMLError);
    EXPECT_THROW(markersIn("<Session><Locations/></Session>"), XMLError);
    EXPECT_THROW(markersIn("<Session sample-rate=\"0\"><Locations/></Session>"), XMLError);
}

TEST(Markers, WhyTheyCannotBeReadIsSaidInWords) {
    const auto problem = [](const std::string &text) -> std::string {
        try {
            markersIn(text);
        } catch (const XMLError &error) {
            return error.what();
        }
        return "none";
    };
    EXPECT_EQ(problem("<Session/>"), "The session does not say its sample rate.");
    EXPECT_EQ(problem(session(location("Solo", "x7"))), "The place of the marker “Solo” cannot be read.");
}

TEST(Markers, ASessionWithoutAnyHasNone) {
    EXPECT_THAT(markersIn(session("")).markers, IsEmpty());
    EXPECT_THAT(markersIn("<Session sample-rate=\"96000\"/>").markers, IsEmpty());
}

TEST(Markers, NamesAreThoseOfEverythingThatIsAMark) {
    const auto document =
        XMLDocument::parse(session(location("Solo", "nowhere") + location("Loop", "a0", "IsAutoLoop") +
                                   location("end", "a9", "IsMark,IsEnd")),
                           "test");
    EXPECT_THAT(markNamesOf(document.root()), ElementsAre("Solo", "end"));
}

TEST(Markers, TheyAreReadFromTheSessionFileOfAFolder) {
    const TemporaryFolder folder;
    folder.write("Show/Show.ardour", session(location("Solo", "a282240000")));
    EXPECT_EQ(readMarkers(folder / "Show").markers, (Markers{{48000, "Solo"}}));
    EXPECT_THAT(readMarkNames(folder / "Show/"), ElementsAre("Solo"));
    EXPECT_THROW(readMarkNames(folder / "Gone"), FileError);
    folder.write("Torn/Torn.ardour", "<Session>");
    EXPECT_THROW(readMarkNames(folder / "Torn"), XMLError);
}

} // namespace
} // namespace corvane

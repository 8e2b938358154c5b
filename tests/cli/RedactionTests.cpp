#include "cli/Redaction.h"

#include <gtest/gtest.h>

namespace corvane::cli {
namespace {

const Redaction redaction("/Users/maria", {"Kick", "Verse 2", "OH", "Friday Night", ""});

TEST(Redaction, NamesGoWhereverTheyStandAsWords) {
    EXPECT_EQ("Recording … on track …, region …-1.1",
              redaction.line("Recording OH on track Kick, region Kick-1.1"));
    EXPECT_EQ("Marker … at 12 s", redaction.line("Marker Verse 2 at 12 s"));
    EXPECT_EQ("Kicker and OHM stay", redaction.line("Kicker and OHM stay"));
    EXPECT_EQ("the user … has no access", redaction.line("the user maria has no access"));
}

TEST(Redaction, AWordGoesOnWithLettersOfAnyScriptAndDigitsAndWithNothingElse) {
    for (const std::string more : {"a", "z", "A", "Z", "0", "9", "é"}) {
        EXPECT_EQ("on " + more + "Kick now", redaction.line("on " + more + "Kick now"));
        EXPECT_EQ("on Kick" + more + " now", redaction.line("on Kick" + more + " now"));
    }
    EXPECT_EQ("aKick", redaction.line("aKick"));
    for (const std::string other : {"@", "[", "{", ":", ".", "_", "-"})
        EXPECT_EQ("on " + other + "…" + other, redaction.line("on " + other + "Kick" + other));
    EXPECT_EQ("Kicker, …, OHM, …", redaction.line("Kicker, Kick, OHM, OH"));
    EXPECT_EQ("……", Redaction("/home/x", {"<Vox>"}).line("<Vox><Vox>"));
}

TEST(Redaction, TheLongerNameGoesFirst) {
    EXPECT_EQ("… …", Redaction("/home/x", {"Vox", "Vox FX"}).line("Vox FX Vox"));
}

TEST(Redaction, WhatStandsInQuotesGoesWithThem) {
    EXPECT_EQ("Cannot open “…” and \"…\"", redaction.line("Cannot open “Gig” and \"The other\""));
    EXPECT_EQ("Cannot open '…'", redaction.line("Cannot open 'Gig'"));
    EXPECT_EQ("\"…\" to \"…\" and '…' to '…'", redaction.line("\"A\" to \"B\" and 'C' to 'D'"));
    EXPECT_EQ("Cannot open `…'", redaction.line("Cannot open `The other'"));
    EXPECT_EQ("“…”, “…” and “half", redaction.line("“Gig”, “The other” and “half"));
    EXPECT_EQ("Don't worry", redaction.line("Don't worry"));
}

TEST(Redaction, APathIsTakenOutUpToTheEndOfTheLine) {
    EXPECT_EQ("Loading …", redaction.line("Loading /Volumes/Shows/Late Set/Late Set.ardour now"));
    EXPECT_EQ("Loading …", redaction.line("Loading /Users/maria/Music/Late Set"));
    EXPECT_EQ("Loading …", redaction.line("Loading /Users/mariana/Late Set"));
    EXPECT_EQ("session=…", redaction.line("session=/tmp/Late Set"));
    EXPECT_EQ("Loading …", redaction.line("Loading /dev/shm/Late Set"));
    EXPECT_EQ("Loading …", redaction.line("Loading ~/Music/Late Set"));
    EXPECT_EQ("…", redaction.line("/Volumes/Shows/Late Set"));
    EXPECT_EQ("Loading …", redaction.line("Loading /a"));
    EXPECT_EQ("Loading …", redaction.line("Loading /a b"));
    EXPECT_EQ("a/b", redaction.line("a/b"));
    EXPECT_EQ("Read ~/Library/x", Redaction("/r", {}).line("Read /r/Library/x"));
    EXPECT_EQ("From /usr/share/x to …", redaction.line("From /usr/share/x to /Volumes/Shows"));
    EXPECT_EQ("a full path: …", Redaction("/", {}).line("a full path: /Volumes/Shows"));
}

TEST(Redaction, TheSystemsPathsAndThoseOfTheLibraryStay) {
    for (const char *line :
         {"Using /Applications/LiveTrax3.app/Contents/lib", "Read /usr/share/x and /dev/null",
          "Read /System/Library/x", "Read /Library/Audio/x", "Read /opt/x", "Read /proc/1/stat",
          "Read /lib/x", "Read ../share/x", "Read ./x", "Read x~/y", "3/4 time, and/or", "12 MB/s",
          "Synced: 24 tracks / 31 inputs", "Either/", "On /"})
        EXPECT_EQ(line, redaction.line(line));
    EXPECT_EQ("Read ~/Library/Preferences/LiveTrax3/config",
              redaction.line("Read /Users/maria/Library/Preferences/LiveTrax3/config"));
}

TEST(Redaction, OurOwnTextsLoseOnlyPaths) {
    EXPECT_EQ("Kick is “here”: …", redaction.path("Kick is “here”: /Users/maria/Music/x"));
}

} // namespace
} // namespace corvane::cli

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

TEST(Redaction, TheLongerNameGoesFirst) {
    EXPECT_EQ("… …", Redaction("/home/x", {"Vox", "Vox FX"}).line("Vox FX Vox"));
}

TEST(Redaction, WhatStandsInQuotesGoesWithThem) {
    EXPECT_EQ("Cannot open “…” and \"…\"", redaction.line("Cannot open “Gig” and \"The other\""));
    EXPECT_EQ("Don't worry", redaction.line("Don't worry"));
}

TEST(Redaction, APathIsTakenOutUpToTheEndOfTheLine) {
    EXPECT_EQ("Loading …", redaction.line("Loading /Volumes/Shows/Late Set/Late Set.ardour now"));
    EXPECT_EQ("Loading …", redaction.line("Loading /Users/maria/Music/Late Set"));
    EXPECT_EQ("Loading …", redaction.line("Loading /Users/mariana/Late Set"));
    EXPECT_EQ("session=…", redaction.line("session=/tmp/Late Set"));
    EXPECT_EQ("Loading …", redaction.line("Loading /dev/shm/Late Set"));
}

TEST(Redaction, TheSystemsPathsAndThoseOfTheLibraryStay) {
    for (const char *line :
         {"Using /Applications/LiveTrax3.app/Contents/lib", "Read /usr/share/x and /dev/null",
          "3/4 time, and/or", "12 MB/s", "Synced: 24 tracks / 31 inputs"})
        EXPECT_EQ(line, redaction.line(line));
    EXPECT_EQ("Read ~/Library/Preferences/LiveTrax3/config",
              redaction.line("Read /Users/maria/Library/Preferences/LiveTrax3/config"));
}

TEST(Redaction, OurOwnTextsLoseOnlyPaths) {
    EXPECT_EQ("Kick is “here”: …", redaction.path("Kick is “here”: /Users/maria/Music/x"));
}

} // namespace
} // namespace corvane::cli

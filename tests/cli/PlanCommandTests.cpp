#include "tests/cli/SessionCommandTest.h"

#include "tests/support/EnvironmentVariable.h"

namespace corvane::cli {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

class PlanCommandTest : public SessionCommandTest {};
class SignatureCommandTest : public SessionCommandTest {};

TEST_F(PlanCommandTest, SaysWhenNothingWouldChange) {
    const auto session = makeSession(band);
    run({"plan", session, "--from", patchFile(band)});
    EXPECT_EQ("Nothing would change.\n", output.printed);
}

TEST_F(PlanCommandTest, SaysWhatElseIsToBeKnown) {
    const auto session = makeSession({mono("Kick/In", 0, 1)});
    fake.folder.write("out/Gig/Gig.pending", "");
    const std::string recovery = "LiveTrax was not closed properly while recording. Open the session in "
                                 "LiveTrax once, then press SYNC LV1 again.";
    run({"plan", session, "--from", patchFile({mono("Kick/In", 0, 1)})});
    EXPECT_EQ("Nothing would change.\n" + recovery +
                  "\n“\u2068Kick/In\u2069” would be called “\u2068Kick_In\u2069” in LiveTrax.\n",
              output.printed);
    output.printed.clear();
    outcome.reset();
    run({"plan", session, "--from", patchFile({}), "--json"});
    EXPECT_EQ((json{"There are no channels: every track would go.", recovery}), printedJson()["warnings"]);
}

TEST_F(PlanCommandTest, ShowsEachDecisionAndTouchesNothing) {
    const auto session = makeSession(band);
    const std::string before = fake.folder.read("out/Gig/Gig.ardour");
    const Outcome outcome = run({"plan", session, "--json", "--from",
                                 patchFile({mono("Kick", 0, 1), mono("Snare", 1, 2), mono("Lead", 3, 3)})});
    EXPECT_EQ(status::done, outcome.status) << outcome.message;
    EXPECT_EQ(json::parse(R"({"tracks":[
        {"action":"keep","name":"Kick","input":0,"stereo":false,"takes":0,"was":{}},
        {"action":"add","name":"Snare","input":1,"stereo":false,"takes":0,"was":{}},
        {"action":"change","name":"Lead","input":3,"stereo":false,"takes":0,"was":{"name":"Voice"}},
        {"action":"remove","name":"OH","input":6,"stereo":true,"takes":0,"was":{}}],
        "adjusted":2,"added":1,"removed":1})"),
              printedJson());
    EXPECT_EQ(before, fake.folder.read("out/Gig/Gig.ardour"));
    EXPECT_EQ(1, TemporaryFolder::entries(session)) << "no backup either";
    EXPECT_THAT(fake.defaults->values, IsEmpty());
}

TEST_F(PlanCommandTest, PeopleGetATable) {
    const auto session = makeSession(band);
    run({"plan", session, "--from", patchFile({mono("Kick in", 0, 1), stereo("OH", 6, 2)})});
    EXPECT_EQ("ACTION  TRACK    INPUT  BEFORE\n"
              "change  Kick in  1      name Kick\n"
              "keep    OH       7–8\n"
              "remove  Voice    4\n"
              "2 adjusted, 0 added, 1 removed\n"
              "1 of the adjusted tracks changes; the others stay as they are.\n",
              output.printed);
}

TEST_F(PlanCommandTest, PeopleReadColoursAsTheyKnowThem) {
    const auto session = makeSession({mono("Kick", 0, 1), mono("Vox", 1, 2)});
    std::string text = fake.folder.read("out/Gig/Gig.ardour");
    for (const char *other : {"3628020735", "-1"}) {
        const std::size_t colour = text.find("color=\"1066195199\"");
        ASSERT_NE(std::string::npos, colour);
        text.replace(colour, 18, std::string("color=\"") + other + "\"");
    }
    fake.folder.write("out/Gig/Gig.ardour", text);
    run({"plan", session, "--from", patchFile({mono("Kick", 0, 1), mono("Vox", 1, 2)})});
    EXPECT_EQ("ACTION  TRACK  INPUT  BEFORE\n"
              "change  Kick   1      colour #D83F33\n"
              "change  Vox    2      colour -1\n"
              "2 adjusted, 0 added, 0 removed\n",
              output.printed);
}

TEST_F(PlanCommandTest, WhatBecomesDifferentOfOneTrackStandsInOneLine) {
    const auto session = makeSession({mono("Kick", 0, 1), mono("Vox", 1, 2)});
    std::string text = fake.folder.read("out/Gig/Gig.ardour");
    const auto replace = [&](const std::string &old, const std::string &by) {
        const std::size_t at = text.find(old);
        ASSERT_NE(std::string::npos, at) << old;
        text.replace(at, old.size(), by);
    };
    replace("color=\"1066195199\"", "color=\"4294967295\"");
    replace("color=\"1066195199\"", "color=\"0\"");
    fake.folder.write("out/Gig/Gig.ardour", text);
    const auto patch = patchFile({mono("Lead", 1, 2), mono("Drum", 0, 1)});
    run({"plan", session, "--from", patch});
    EXPECT_EQ("ACTION  TRACK  INPUT  BEFORE\n"
              "change  Lead   2      name Vox, place 2, colour #000000\n"
              "change  Drum   1      name Kick, place 1, colour #FFFFFF\n"
              "2 adjusted, 0 added, 0 removed\n",
              output.printed);
    output.printed.clear();
    outcome.reset();
    run({"plan", session, "--from", patch, "--json"});
    EXPECT_EQ((json{{"name", "Vox"}, {"order", 2}, {"color", 0}}), printedJson()["tracks"][0]["was"]);
}

TEST_F(PlanCommandTest, ATrackThatGoesSaysItsInputWhateverThatIs) {
    const auto session = makeSession({mono("Kick", 0, 1), stereo("OH", 6, 2), mono("Vox", 3, 3)});
    std::string text = fake.folder.read("out/Gig/Gig.ardour");
    const auto replaceAll = [&](const std::string &old, const std::string &by) {
        for (std::size_t at = text.find(old); at != std::string::npos; at = text.find(old, at + by.size()))
            text.replace(at, old.size(), by);
    };
    replaceAll("system:capture_1\"", "system:capture_9223372036854775807\"");
    replaceAll("system:capture_7\"", "system:capture_9223372036854775807\"");
    replaceAll(" other=\"system:capture_4\"", "");
    fake.folder.write("out/Gig/Gig.ardour", text);
    run({"plan", session, "--from", patchFile({})});
    EXPECT_EQ("ACTION  TRACK  INPUT                  BEFORE\n"
              "remove  Kick   9223372036854775807\n"
              "remove  OH     9223372036854775807–…\n"
              "remove  Vox    none\n"
              "0 adjusted, 0 added, 3 removed\n"
              "There are no channels: every track would go.\n",
              output.printed);
}

TEST_F(PlanCommandTest, MarksRecordingsThatWouldGoAndTracksThatWouldBeArmed) {
    const auto session = makeSession({mono("Kick", 0, 1), mono("Vox", 1, 2)});
    std::string text = fake.folder.read("out/Gig/Gig.ardour");
    const std::size_t playlist = text.rfind("/>", text.find("</Playlists>"));
    text.replace(playlist, 2, "><Region id='901'/><Region id='902'/></Playlist>");
    const std::size_t armed = text.find("value=\"1\"", text.find("name=\"rec-enable\""));
    text.replace(armed, 9, "value=\"0\"");
    fake.folder.write("out/Gig/Gig.ardour", text);
    run({"plan", session, "--from", patchFile({mono("Kick", 0, 1)})});
    EXPECT_EQ("ACTION  TRACK  INPUT  BEFORE\n"
              "change  Kick   1      not armed\n"
              "remove  Vox    2      holds 2 recordings\n"
              "1 adjusted, 0 added, 1 removed\n",
              output.printed);
    output.printed.clear();
    outcome.reset();
    run({"plan", session, "--json", "--from", patchFile({mono("Kick", 0, 1)})});
    EXPECT_EQ((json{{"armed", false}}), printedJson()["tracks"][0]["was"]);
    EXPECT_EQ(2, printedJson()["tracks"][1]["takes"]);
}

TEST_F(PlanCommandTest, TellsWhatIsConnectedAgainAndWhatWouldRecordSilence) {
    const auto session = makeSession(band);
    const std::string made = fake.folder.read("out/Gig/Gig.ardour");
    const auto planWith = [&](const std::string &connection) {
        std::string text = made;
        const std::string old = " other=\"system:capture_8\"";
        fake.folder.write("out/Gig/Gig.ardour", text.replace(text.find(old), old.size(), connection));
        output.printed.clear();
        outcome.reset();
        run({"plan", session, "--from", patchFile(band)});
        return output.printed;
    };
    EXPECT_EQ("ACTION  TRACK  INPUT  BEFORE\n"
              "keep    Kick   1\n"
              "change  OH     7–8    connected again\n"
              "keep    Voice  4\n"
              "3 adjusted, 0 added, 0 removed\n"
              "1 of the adjusted tracks changes; the others stay as they are.\n",
              planWith(" other=\"system:capture_9\""));
    EXPECT_EQ(
        "Nothing would change.\n“\u2068OH\u2069” would record silence from input 8: nothing is connected "
        "to it in the session.\n",
        planWith(""));
}

TEST_F(PlanCommandTest, WorksWhileLiveTraxRuns) {
    const auto session = makeSession(band);
    startLiveTrax();
    EXPECT_EQ(status::done, run({"plan", session, "--from", patchFile(band)}).status);
}

// signature

TEST_F(SignatureCommandTest, OfASessionAndOfItsPatchFileAreAlike) {
    const auto session = makeSession(band);
    const std::string expected = "Kick|1|0\nOH|2|6\nVoice|1|3";
    EXPECT_EQ(status::done, run({"signature", session, "--json"}).status);
    EXPECT_EQ((json{{"signature", expected}}), printedJson());
    output.printed.clear();
    EXPECT_EQ(status::done, run({"signature", "--from", patchFile(band)}).status);
    EXPECT_EQ(expected + "\n", output.printed);
}

TEST_F(SignatureCommandTest, ASessionThatCannotBeReadIsRefused) {
    const Outcome outcome = run({"signature", "nowhere"});
    EXPECT_EQ(status::refused, outcome.status);
    EXPECT_EQ("The session at " + (fake.folder / "nowhere").string() + " cannot be read.", outcome.message);
}

TEST_F(PlanCommandTest, BeforeLiveTraxHasMadeTheSessionItSaysWhatIsMeant) {
    const std::string patch = patchFile({mono("Kick", 0, 1)});
    ASSERT_EQ(status::done, run({"create", "Gig", "--in", "Shows", "--from", patch}).status);
    const Outcome planned = run({"plan", "Shows/Gig", "--from", patch});
    EXPECT_EQ(status::refused, planned.status);
    EXPECT_EQ("The active LiveTrax session was not found at " +
                  (fake.folder / "Shows/Gig/Gig.ardour").string() +
                  ".\n  Its template is made, the session is not: LiveTrax makes it when it is started on "
                  "it, by create "
                  "--launch.",
              planned.message);
    EXPECT_EQ("The active LiveTrax session was not found at " +
                  (fake.folder / "Other/Other.ardour").string() + ".",
              run({"plan", "Other", "--from", patch}).message);
}

TEST_F(PlanCommandTest, TracksThatAllStayAsTheyAreAreSaidTo) {
    const auto session = makeSession(band);
    run({"plan", session, "--from", patchFile({band[0], band[1], band[2], mono("Snare", 1, 4)})});
    EXPECT_THAT(
        output.printed,
        testing::EndsWith("\n3 adjusted, 1 added, 0 removed\nThe adjusted tracks stay as they are.\n"));
}

/// What stands beneath the refusal for a folder without a session.
class WrongFolderTest : public SessionCommandTest {
protected:
    std::string adviceFor(const std::string &folder) {
        outcome.reset();
        const std::string message = run({"plan", folder, "--from", patchFile(band)}).message;
        const auto line = message.find("\n  ");
        return line == std::string::npos ? "" : message.substr(line + 3);
    }
};

TEST_F(WrongFolderTest, ASessionOfThatNameElsewhereIsNamed) {
    const auto session = makeSession(band);
    EXPECT_EQ("", adviceFor("wrong/Other"));
    EXPECT_THAT(adviceFor("wrong/Gig"), HasSubstr("Its template is made")) << "nobody knows of the session";
    fake.folder.write("home/Library/Preferences/LiveTrax3/recent", "Gig\n" + session + "\n");
    EXPECT_EQ("A session of that name is at " + session + ".", adviceFor("wrong/Gig"));
    EXPECT_EQ("A session of that name is at " + session + ".", adviceFor("Gig"));
    EXPECT_EQ("", adviceFor("wrong/Other")) << "of that name alone";
}

TEST_F(WrongFolderTest, WhereSessionsAreIsLookedAtAsWell) {
    fake.folder.write("home/Music/Gig/Gig.ardour", "<Session/>");
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ("A session of that name is at " + (fake.folder / "home/Music/Gig").string() + ".",
                  adviceFor("wrong/Gig"));
        fake.musicFolder.reset(); // then it is the home's
    }
}

TEST_F(WrongFolderTest, AFolderThatHoldsSessionsSaysSo) {
    fake.folder.write("Shows/Sunday/Sunday.ardour", "<Session/>");
    fake.folder.write("Shows/Friday/Friday.ardour", "<Session/>");
    EXPECT_EQ("That folder holds sessions; name one of them, as " + (fake.folder / "Shows/Friday").string() +
                  ".",
              adviceFor("Shows"));
}

TEST_F(WrongFolderTest, InARehearsalTheHomeIsAnother) {
    const TemporaryFolder own;
    const EnvironmentVariable home("HOME", own.path().c_str());
    EXPECT_EQ("", adviceFor((own / "Music/Gig").string()));
    rehearse();
    EXPECT_EQ((own / "Music/Gig").string() +
                  " is outside of the rehearsal's folder; its own sessions are in " +
                  (fake.folder / "home/Music").string() + ".",
              adviceFor((own / "Music/Gig").string()));
}

TEST_F(WrongFolderTest, MarkersAndSignatureSayItToo) {
    const auto session = makeSession(band);
    fake.defaults->values["CorvaneLastSession"] = session;
    for (const char *command : {"markers", "signature"}) {
        outcome.reset();
        EXPECT_EQ("The session at " + (fake.folder / "wrong/Gig").string() +
                      " cannot be read.\n  A session of that name is at " + session + ".",
                  run({command, "wrong/Gig"}).message);
    }
}

} // namespace
} // namespace corvane::cli

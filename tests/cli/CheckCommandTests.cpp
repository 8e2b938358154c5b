#include "cli/Json.h"
#include "livetrax/session/History.h"
#include "tests/cli/SessionCommandTest.h"
#include "tests/support/BuiltFiles.h"

#include <algorithm>

namespace corvane::cli {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::HasSubstr;

class CheckCommandTest : public SessionCommandTest {
protected:
    /// The line of that name.
    json check(const std::string &name) const {
        const json checks = printedJson()["checks"];
        const auto found = std::find_if(checks.begin(), checks.end(),
                                        [&](const json &each) { return each["name"] == name; });
        return found == checks.end() ? json() : *found;
    }

    /// Each line but those of the network and the disk, which differ from one computer to another.
    std::vector<std::string> lines() const {
        std::vector<std::string> lines;
        const json document = printedJson();
        for (const json &each : document["checks"])
            if (each["name"] != "space")
                lines.push_back(each["state"].get<std::string>() + " " + each["name"].get<std::string>() +
                                ": " + each["text"].get<std::string>());
        return lines;
    }

    /// Begins anew, with a console of these channels.
    void check(const std::vector<std::string> &more, const std::vector<LV1Channel> &channels) {
        std::vector<std::string> arguments{"check", "--json"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        outcome.reset();
        output.printed.clear();
        begin(arguments);
        announce("FOH", "10.0.0.1", 5000);
        accept();
        deliverPatch(channels);
        fake.clock->advance(300ms);
    }

    /// A console is heard half a second before the list is drawn up.
    void hearConsole() {
        announce("FOH", "10.0.0.1", 5000);
        accept();
        deliverPatch({mono("Kick", 0, 1), mono("Vox", 1, 2)});
        fake.clock->advance(300ms);
    }
};

TEST_F(CheckCommandTest, HearsTheConsoleAndLooksAtTheRest) {
    begin({"check", "--in", "Shows", "--json"});
    fake.folder.write("home/Library/Preferences/LiveTrax3/config",
                      "<Ardour><Config/><ControlProtocols><Protocol name=\"Open Sound Control (OSC)\" "
                      "active=\"1\"/></ControlProtocols></Ardour>");
    hearConsole();
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::done, outcome->status) << outcome->message;
    EXPECT_EQ("FOH (10.0.0.1:5000) was heard by multicast 0.3 s ago and has accepted the link.",
              check("console")["text"]);
    EXPECT_EQ("2 channels, 2 inputs.", check("patch")["text"]);
    for (const char *name :
         {"LiveTrax", "OSC surface", "port 3819", "port 8000", "device", "folder", "space"})
        EXPECT_EQ("ok", check(name)["state"]) << check(name);
    EXPECT_FALSE(std::filesystem::exists(fake.folder / "Shows")) << "nothing is made";
}

TEST_F(CheckCommandTest, WithoutAConsoleTheRestIsLookedAtAllTheSameAndTheStatusSaysSo) {
    begin({"check", "--for", "2", "--json"});
    fake.clock->advance(2s);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::refused, outcome->status);
    EXPECT_EQ("2 of 7 failed: console, patch.", outcome->message);
    EXPECT_EQ("No LV1 host was heard.", check("console")["text"]);
    EXPECT_EQ("ok", check("LiveTrax")["state"]);
}

TEST_F(CheckCommandTest, PeopleGetOneLineForEach) {
    portHolders[8000] = {{4711, "/usr/bin/thunderbird"}};
    begin({"check"});
    hearConsole();
    EXPECT_EQ(status::refused, outcome->status);
    EXPECT_THAT(
        output.printed,
        HasSubstr("failed   port 8000    It is held by thunderbird (process 4711). Quit that program: "
                  "LiveTrax's answers come to this port.\n"));
    EXPECT_EQ(7, std::count(output.printed.begin(), output.printed.end(), '\n'));
}

TEST_F(CheckCommandTest, ARunningLiveTraxHoldsItsPortAndAnotherUsersProgramIsCalledSo) {
    startLiveTrax();
    portHolders[3819] = {{12, "/Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3"}};
    portHolders[8000] = {{0, ""}};
    begin({"check", "--json"});
    hearConsole();
    EXPECT_EQ("LiveTrax listens there: LiveTrax3 (process 12).", check("port 3819")["text"]);
    EXPECT_EQ("It is held by a program of another user.", check("port 8000")["text"]);
    EXPECT_EQ("LiveTrax 3 is installed and runs.", check("LiveTrax")["text"]);
}

TEST_F(CheckCommandTest, ASessionThatLiveTraxHasNotMadeYetIsSaidToBeSo) {
    fake.folder.write("home/Library/Preferences/LiveTrax3/templates/Gig/Gig.template", "");
    begin({"check", "Gig/", "--json"});
    hearConsole();
    EXPECT_EQ("failed", check("session")["state"]);
    EXPECT_THAT(check("session")["advice"].get<std::string>(), HasSubstr("--launch"));
}

TEST_F(CheckCommandTest, ASessionIsComparedWithTheConsole) {
    fake.resources->files["LiveTraxSeed.template"] = seedTemplate();
    std::filesystem::create_directories(fake.folder / "Gig");
    std::filesystem::copy_file(seedTemplate(), fake.folder / "Gig/Gig.ardour");
    fake.folder.write("Gig/Gig.pending", "");
    begin({"check", "Gig", "--json"});
    hearConsole();
    EXPECT_EQ("A sync would adjust 1, add 1, remove 1 tracks.", check("in step")["text"]);
    EXPECT_EQ("failed", check("recovery data")["state"]);
    EXPECT_EQ("ok", check("history")["state"]);
    EXPECT_EQ("1 of 13 failed: recovery data.", outcome->message);
}

TEST_F(CheckCommandTest, EachLineOfASessionSaysWhatWasFoundAndNothingIsLeftBehind) {
    const auto session = makeSession(band);
    sync(session, band);
    const auto files = TemporaryFolder::entries(session);
    check({session, "--in", "Shows"}, band);
    const std::string device = "New sessions are made for “\u2068CoreAudio;;Waves SoundGrid\u2069”";
    EXPECT_THAT(
        lines(),
        testing::ElementsAre(
            "ok console: FOH (10.0.0.1:5000) was heard by multicast 0.3 s ago and has accepted the link.",
            "ok patch: 3 channels, 4 inputs.", "ok LiveTrax: LiveTrax 3 is installed.",
            "warning OSC surface: LiveTrax has no configuration yet in the preferences "
            "“\u2068LiveTrax3\u2069”.",
            "ok port 3819: It is free for LiveTrax.", "ok port 8000: It is free for Corvane.",
            "ok device: " + device + ", and so was the session.",
            "ok folder: “\u2068" + (fake.folder / "Shows").string() +
                "\u2069” is not there yet and can be made.",
            "ok session: “\u2068" + session + "\u2069” can be read and written.",
            "ok in step: The session has the console's patch.",
            "ok recordings: A sync would take out no recorded track.",
            "ok history: 1 copy is kept, the newest of " + timeText(fake.wallTime) + ".",
            "ok recovery data: There is none."));
    EXPECT_EQ(files, TemporaryFolder::entries(session));
    std::filesystem::remove_all(fake.folder / "home/Library/Application Support/Corvane/History");
    check({session}, {mono("Vox", 0, 1), mono("Vox", 1, 2)});
    EXPECT_EQ("No copy is kept of the session as it was before it was changed.", check("history")["text"]);
    EXPECT_THAT(check("in step")["text"].get<std::string>(), HasSubstr("duplicate audio port"));
}

TEST_F(CheckCommandTest, WhatCannotBeReadOrWrittenIsSaidWhereItMatters) {
    const std::string file = fake.folder.write("file", "").string();
    fake.folder.write("home/Library/Preferences/LiveTrax3/config", "<Ardour>");
    fake.resources->files.clear();
    check({"--in", file}, band);
    EXPECT_EQ("failed", check("folder")["state"]);
    EXPECT_THAT(check("folder")["text"].get<std::string>(), HasSubstr(file + "/.corvane-check"));
    EXPECT_EQ("failed", check("OSC surface")["state"]);
    EXPECT_EQ("failed", check("device")["state"]);
    EXPECT_EQ("3 of 9 failed: OSC surface, device, folder.", outcome->message);
}

TEST_F(CheckCommandTest, AConsoleOfBonjourIsSaidToBeAndOneThatIsAnnouncedAsWellIsNot) {
    begin({"check", "--json"});
    fake.browser->resolve(*fake.browser->find("Stage"), "stage.local.", 5002);
    fake.clock->run();
    accept();
    deliverPatch(band);
    fake.clock->advance(300ms);
    EXPECT_EQ("Stage (stage.local.:5002) was heard by Bonjour 0.3 s ago and has accepted the link.",
              check("console")["text"]);
    outcome.reset();
    output.printed.clear();
    begin({"check", "--json"});
    announce("FOH", "10.0.0.1", 5000);
    fake.browser->find("FOH");
    accept();
    deliverPatch(band);
    fake.clock->advance(300ms);
    EXPECT_EQ("FOH (10.0.0.1:5000) was heard by multicast 0.3 s ago and has accepted the link.",
              check("console")["text"]);
}

TEST_F(CheckCommandTest, SpaceIsCountedInTheSessionsOwnFormat) {
    fake.folder.write("Gig/Gig.ardour",
                      "<Session sample-rate='96000'><Config><Option name='native-file-data-format' "
                      "value='FormatInt24'/></Config></Session>");
    begin({"check", "Gig", "--json"});
    hearConsole();
    EXPECT_THAT(check("space")["text"].get<std::string>(), HasSubstr("2 inputs at 96 kHz, 24 bit."));
}

TEST_F(CheckCommandTest, InARehearsalAStandInThatNeverSavedItsConfigurationIsNoWarning) {
    begin({"check", "--json"});
    hearConsole();
    EXPECT_EQ("warning", check("OSC surface")["state"]);
    rehearse();
    output.printed.clear();
    outcome.reset();
    begin({"check", "--json"});
    hearConsole();
    EXPECT_EQ("ok", check("OSC surface")["state"]);
}

TEST_F(CheckCommandTest, SeveralConsolesAreNamedWithHowToChooseOne) {
    begin({"check", "--json"});
    announce("FOH", "10.0.0.1", 5000);
    announce("Monitors", "10.0.0.2", 5001);
    EXPECT_EQ("failed", check("console")["state"]);
    EXPECT_EQ("Several LV1 hosts found. Choose one and press SYNC LV1.", check("console")["text"]);
    EXPECT_EQ("--host 10.0.0.1 --port 5000 is “\u2068FOH\u2069”. "
              "--host 10.0.0.2 --port 5001 is “\u2068Monitors\u2069”.",
              check("console")["advice"]);
}

TEST_F(CheckCommandTest, WhatIsNoSessionFails) {
    fake.folder.write("Gig/Gig.ardour", "<Session");
    begin({"check", "Gig", "--json"});
    hearConsole();
    EXPECT_EQ("failed", check("session")["state"]);
    EXPECT_EQ(nullptr, check("in step"));
}

TEST_F(CheckCommandTest, StoppedItLeavesTheConsole) {
    begin({"check"});
    announce("FOH", "10.0.0.1", 5000);
    accept();
    command->stop();
    fake.clock->advance(20s);
    EXPECT_TRUE(stream().cancelled);
    EXPECT_FALSE(ended());
}

} // namespace
} // namespace corvane::cli

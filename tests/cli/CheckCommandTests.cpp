#include "cli/Json.h"
#include "tests/cli/CommandTest.h"
#include "tests/support/BuiltFiles.h"

#include <algorithm>

namespace corvane::cli {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::HasSubstr;

class CheckCommandTest : public CommandTest {
protected:
    CheckCommandTest() { installLiveTrax(); }

    /// The line of that name.
    json check(const std::string &name) const {
        const json checks = printedJson()["checks"];
        const auto found = std::find_if(checks.begin(), checks.end(),
                                        [&](const json &each) { return each["name"] == name; });
        return found == checks.end() ? json() : *found;
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

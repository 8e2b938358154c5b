#include "osc/OSCCodec.h"
#include "tests/cli/CommandTest.h"
#include "tests/support/BuiltFiles.h"

#include <fstream>
#include <regex>
#include <sstream>

namespace corvane::cli {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class DiagnoseCommandTest : public CommandTest {
protected:
    DiagnoseCommandTest() { installLiveTrax(); }

    void log(const std::string &text) {
        fake.folder.write("home/Library/Application Support/Corvane/livetrax.log", text);
    }

    /// A session that LiveTrax had open, with a track of a name, and one that is gone.
    void knowSessions() {
        const auto shows = fake.folder / "Secret Shows";
        std::filesystem::create_directories(shows / "Late Set");
        std::ifstream seed(seedTemplate());
        std::stringstream text;
        text << seed.rdbuf();
        fake.folder.write("Secret Shows/Late Set/Late Set.ardour",
                          std::regex_replace(std::regex_replace(text.str(), std::regex("name=\"183\""),
                                                                "name=\"Uncle Joe\""),
                                             std::regex("<Locations/>"),
                                             "<Locations><Location id=\"9001\" name=\"Last Waltz\" "
                                             "start=\"a0\" flags=\"IsMark\"/></Locations>"));
        fake.folder.write("home/Library/Preferences/LiveTrax3/recent",
                          "Late Set\n" + (shows / "Late Set").string() + "\nMatinee\n" +
                              (shows / "Matinee").string() + "\n");
    }

    json diagnose(std::vector<std::string> more = {}) {
        std::vector<std::string> arguments{"diagnose", "--json"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        begin(arguments);
        announce("FOH", "10.0.0.1", 5000);
        accept();
        deliverPatch({mono("Aunt Mary", 0, 1)});
        deliver("/Notify/Scene/Name", {std::string("Encore")});
        fake.clock->advance(3s);
        EXPECT_TRUE(ended());
        EXPECT_EQ(status::done, outcome->status) << outcome->message;
        return json::parse(output.printed);
    }
};

TEST_F(DiagnoseCommandTest, TellsWhatSupportAsksFor) {
    log("one\ntwo\n");
    portHolders[8000] = {{4711, "/usr/bin/thunderbird"}};
    const json found = diagnose();
    EXPECT_FALSE(found["corvane"]["version"].get<std::string>().empty());
    EXPECT_FALSE(found["corvane"]["libraries"]["libxml2"].get<std::string>().empty());
    EXPECT_FALSE(found["system"]["name"].get<std::string>().empty());
    EXPECT_FALSE(found["system"].contains("computer"));
    EXPECT_TRUE(found["interfaces"].is_array());
    EXPECT_EQ("FOH", found["console"]["hosts"][0]["name"]);
    EXPECT_EQ("multicast", found["console"]["hosts"][0]["via"]);
    EXPECT_EQ(1, found["console"]["counters"]["accepted"]);
    EXPECT_EQ(3, found["console"]["counters"]["messages"]);
    EXPECT_EQ(3000, found["console"]["counters"]["millisecondsSinceLastMessage"]);
    EXPECT_EQ("LiveTrax 3", found["liveTrax"]["target"]);
    EXPECT_EQ(nullptr, found["liveTrax"]["configuration"]);
    EXPECT_EQ("thunderbird (process 4711)", found["ports"][1]["holders"][0]);
    EXPECT_EQ((json{"one", "two"}), found["log"]);
}

/// In the order of the alphabet.
std::string namesIn(const json &object) {
    std::string names;
    for (const auto &[name, value] : object.items())
        names += (names.empty() ? "" : " ") + name;
    return names;
}

TEST_F(DiagnoseCommandTest, EachFindingHasItsName) {
    fake.folder.write(
        "home/Library/Preferences/LiveTrax3/config",
        "<Ardour><Config><Option name=\"osc-port\" value=\"3819\"/></Config><ControlProtocols>"
        "<Protocol name=\"Open Sound Control (OSC)\" active=\"1\"/></ControlProtocols></Ardour>");
    const json found = diagnose({"--names"});
    EXPECT_EQ("console corvane defaults interfaces liveTrax log ports system", namesIn(found));
    EXPECT_EQ("compiler libraries version", namesIn(found["corvane"]));
    EXPECT_EQ("Asio CLI11 libxml2 nlohmann-json", namesIn(found["corvane"]["libraries"]));
    EXPECT_EQ("computer name", namesIn(found["system"]));
    for (const json &interface : found["interfaces"])
        EXPECT_EQ("addresses multicast name up", namesIn(interface));
    EXPECT_EQ("counters errors hosts status", namesIn(found["console"]));
    EXPECT_EQ("accepted announcements droppedAnnouncements frames links malformedColours malformedPatches "
              "malformedScenes messages millisecondsSinceLastMessage pings reconnects refusedAnnouncements "
              "refusedHeaders skippedChannels unreadableFrames",
              namesIn(found["console"]["counters"]));
    EXPECT_EQ("configuration preferences program runs sessionsRemembered target", namesIn(found["liveTrax"]));
    EXPECT_EQ("devices options surfaceActive surfaceIsOn", namesIn(found["liveTrax"]["configuration"]));
    EXPECT_EQ(true, found["liveTrax"]["configuration"]["surfaceActive"]);
    EXPECT_EQ(3819, found["ports"][0]["port"]);
    EXPECT_EQ(8000, found["ports"][1]["port"]);
    EXPECT_EQ(13337, found["ports"][2]["port"]);
}

TEST_F(DiagnoseCommandTest, CountsTheLinksThatWereMadeAnewAndTheFramesThatHoldNoMessage) {
    begin({"diagnose", "--json"});
    announce("FOH", "10.0.0.1", 5000);
    accept();
    stream().deliver(OSCCodec::frame(Bytes{'/', 'x'}));
    fake.clock->run();
    stream().fail("reset");
    fake.clock->run();
    announce("FOH", "10.0.0.1", 5000);
    fake.clock->advance(3s);
    ASSERT_TRUE(ended());
    const json counters = json::parse(output.printed)["console"]["counters"];
    EXPECT_EQ(1, counters["reconnects"]);
    EXPECT_EQ(1, counters["unreadableFrames"]);
}

TEST_F(DiagnoseCommandTest, TheLogsLastTwoHundredLinesAreEnough) {
    std::string lines;
    for (int i = 1; i <= 250; ++i)
        lines += "entry" + std::to_string(i) + "\n";
    log(lines);
    const json found = diagnose();
    ASSERT_EQ(200U, found["log"].size());
    EXPECT_EQ("entry51", found["log"].front());
    EXPECT_EQ("entry250", found["log"].back());
}

TEST_F(DiagnoseCommandTest, NoNameIsToldUnlessTheyAreAskedFor) {
    knowSessions();
    fake.defaults->set("CorvaneLastSession", (fake.folder / "Secret Shows/Late Set").string());
    log("Opening Late Set, then Matinee\nTrack Aunt Mary is armed; Uncle Joe too\nScene Encore, Last Waltz\n"
        "Reading " +
        (fake.folder / "home/Music/x").string() + "\nWriting /srv/Shows of Bob/x\n");
    const std::string found = diagnose().dump();
    for (const char *name :
         {"Late Set", "Matinee", "Aunt Mary", "Uncle Joe", "Encore", "Last Waltz", "Secret", "Bob", "Music"})
        EXPECT_THAT(found, Not(HasSubstr(name)));
    EXPECT_THAT(found, Not(HasSubstr(fake.folder.path().string())));
    EXPECT_THAT(found, Not(HasSubstr("Front of House"))) << "the computer's name";
}

TEST_F(DiagnoseCommandTest, TheNamesInTenSessionsAreHiddenTheOneThatCorvaneKnowsFirst) {
    std::string recent;
    std::string lines = "Track Known is armed\n";
    for (int number = 1; number <= 11; ++number) {
        const std::string name = "S" + std::to_string(number);
        const auto file =
            fake.folder.write(name + "/" + name + ".ardour",
                              "<Session><Locations><Location name='mark" + std::to_string(number) +
                                  "' start='a0' flags='IsMark'/></Locations></Session>");
        recent += name + "\n" + file.parent_path().string() + "\n";
        lines += "Marker mark" + std::to_string(number) + " in " + name + "\n";
    }
    fake.folder.write("home/Library/Preferences/LiveTrax3/recent", recent);
    log(lines);
    fake.folder.write("Known/Known.ardour", "<Session/>");
    fake.defaults->set("CorvaneLastSession", (fake.folder / "Known").string());
    const json all = diagnose();
    EXPECT_EQ(11, all["liveTrax"]["sessionsRemembered"]);
    EXPECT_EQ("Track … is armed", all["log"][0]);
    EXPECT_EQ("Marker … in …", all["log"][9]);
    EXPECT_EQ("Marker mark10 in …", all["log"][10]) << "of sessions further back only their own names";
}

TEST_F(DiagnoseCommandTest, WithNamesTheyAreAllThere) {
    knowSessions();
    log("Opening Late Set\nTrack Aunt Mary\n");
    const std::string found = diagnose({"--names"}).dump();
    EXPECT_THAT(found,
                AllOf(HasSubstr("Opening Late Set"), HasSubstr("Aunt Mary"), HasSubstr("Front of House")));
}

TEST_F(DiagnoseCommandTest, WithoutAConsoleAndWithoutLiveTraxThereIsStillAReport) {
    std::filesystem::remove_all(fake.folder / "Applications");
    begin({"diagnose", "--for", "1"});
    fake.clock->advance(1s);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::done, outcome->status);
    EXPECT_THAT(output.printed, AllOf(HasSubstr("corvane\n  version: "), HasSubstr("  hosts\n    none\n"),
                                      HasSubstr("  target: -\n"), HasSubstr("log\n  none\n")));
}

TEST_F(DiagnoseCommandTest, PeopleReadItIndentedSectionBySection) {
    std::filesystem::remove_all(fake.folder / "Applications");
    log("one\ntwo\n");
    portHolders[8000] = {{4711, "/usr/bin/thunderbird"}};
    begin({"diagnose", "--for", "1"});
    fake.clock->advance(1s);
    ASSERT_TRUE(ended());
    const auto console = output.printed.find("console\n");
    ASSERT_NE(std::string::npos, console);
    EXPECT_EQ("console\n"
              "  hosts\n"
              "    none\n"
              "  status: Buscando LV1 V17…\n"
              "  errors\n"
              "    none\n"
              "  counters\n"
              "    links: 0\n"
              "    accepted: 0\n"
              "    reconnects: 0\n"
              "    frames: 0\n"
              "    messages: 0\n"
              "    pings: 0\n"
              "    unreadableFrames: 0\n"
              "    refusedHeaders: 0\n"
              "    malformedPatches: 0\n"
              "    skippedChannels: 0\n"
              "    malformedColours: 0\n"
              "    malformedScenes: 0\n"
              "    announcements: 0\n"
              "    refusedAnnouncements: 0\n"
              "    droppedAnnouncements: 0\n"
              "    millisecondsSinceLastMessage: -\n"
              "liveTrax\n"
              "  runs: false\n"
              "  sessionsRemembered: 0\n"
              "  target: -\n"
              "ports\n"
              "  port 3819, holders []\n"
              "  port 8000, holders [\"thunderbird (process 4711)\"]\n"
              "  port 13337, holders []\n"
              "defaults\n"
              "  none\n"
              "log\n"
              "  one\n"
              "  two\n",
              output.printed.substr(console));
}

TEST_F(DiagnoseCommandTest, SaveWritesItToAFileInstead) {
    begin({"diagnose", "--save", "report.txt"});
    fake.clock->advance(3s);
    EXPECT_EQ("Saved as " + (fake.folder / "report.txt").string() + "\n", output.printed);
    std::ifstream file(fake.folder / "report.txt");
    std::string first;
    std::getline(file, first);
    EXPECT_EQ("corvane", first);
    outcome.reset();
    output.printed.clear();
    begin({"diagnose", "--save", "report.json", "--json"});
    fake.clock->advance(3s);
    EXPECT_EQ((json{{"saved", (fake.folder / "report.json").string()}}), printedJson());
    EXPECT_TRUE(json::parse(fake.folder.read("report.json")).contains("corvane"));
}

TEST_F(DiagnoseCommandTest, TellsOfServicesDefaultsAndWhereLiveTraxIs) {
    fake.defaults->set("CorvaneLastSession", "/Shows/Friday");
    begin({"diagnose", "--names", "--json"});
    fake.browser->resolve(*fake.browser->find("Stage"), "stage.local.", 5002);
    fake.browser->errorText = "no Bonjour daemon";
    fake.clock->advance(3s);
    const json found = printedJson();
    EXPECT_EQ(json::parse(R"([{"name":"Stage","host":"stage.local.","port":5002,"via":"bonjour"}])"),
              found["console"]["hosts"]);
    EXPECT_EQ(json{"Bonjour: no Bonjour daemon"}, found["console"]["errors"]);
    EXPECT_EQ((json{{"CorvaneLastSession", "/Shows/Friday"}}), found["defaults"]);
    EXPECT_EQ(
        (json{{"runs", false},
              {"sessionsRemembered", 0},
              {"target", "LiveTrax 3"},
              {"program", (fake.folder / "Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3").string()},
              {"preferences", (fake.folder / "home/Library/Preferences/LiveTrax3").string()},
              {"configuration", nullptr}}),
        found["liveTrax"]);
    EXPECT_THAT(found["corvane"]["compiler"].get<std::string>(),
                testing::MatchesRegex(".+, lib(std)?c[+][+] [0-9]+"));
}

TEST_F(DiagnoseCommandTest, AConfigurationThatCannotBeReadIsToldOf) {
    fake.folder.write("home/Library/Preferences/LiveTrax3/config", "<Ardour>");
    EXPECT_TRUE(diagnose()["liveTrax"]["configuration"].is_string());
}

} // namespace
} // namespace corvane::cli

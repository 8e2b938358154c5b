#include "tests/cli/ProgramTest.h"

#include "cli/Outcome.h"
#include "tests/support/EnvironmentVariable.h"

#include <algorithm>
#include <csignal>
#include <sstream>

namespace corvane::cli {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::AnyOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// The programs as they are used, console side.
class ConsoleProgramTest : public ProgramTest {
protected:
    /// The events of kind `kind` that a watching program has printed so far.
    static std::vector<json> events(const ChildProcess &watching, const std::string &kind) {
        std::vector<json> found;
        std::istringstream lines(watching.output());
        for (std::string line; std::getline(lines, line);) {
            const json event = json::parse(line, nullptr, false);
            if (event.is_object() && event["event"] == kind)
                found.push_back(event);
        }
        return found;
    }
};

TEST_F(ConsoleProgramTest, HostsListsAConsoleThatAnnouncesItself) {
    const Console console({"--announce", "127.0.0.1", "--name", "FOH"});
    const Ran ran = run({"hosts", "--for", "2.5", "--json"});
    EXPECT_EQ(status::done, ran.status) << ran.errors;
    EXPECT_THAT(ran.errors, IsEmpty());
    ASSERT_EQ(1U, ran.json().size()) << ran.output;
    EXPECT_EQ("FOH", ran.json()[0]["name"]);
    EXPECT_EQ(console.port(), ran.json()[0]["port"]);
    EXPECT_EQ("multicast", ran.json()[0]["via"]);
}

TEST_F(ConsoleProgramTest, HostsWithNothingHeardIsNoAnswer) {
    const Ran ran = run({"hosts", "--for", "0.2"});
    EXPECT_EQ(status::noAnswer, ran.status);
    EXPECT_THAT(ran.output, IsEmpty());
    EXPECT_FALSE(ran.errors.empty());
}

TEST_F(ConsoleProgramTest, HostsSaysWhatKeepsAnnouncementsFromBeingHeard) {
    // Outside a rehearsal, in a network whose only interface knows no multicast.
    const EnvironmentVariable home("HOME", work.path().c_str());
    const Ran ran = shell("exec \"$corvanectl\" hosts --for 0.3");
    EXPECT_EQ(status::noAnswer, ran.status);
    EXPECT_THAT(ran.output, IsEmpty());
    EXPECT_THAT(ran.errors, StartsWith("Multicast: No network interface supports multicast.\n"));
    const std::string others = ran.errors.substr(ran.errors.find('\n') + 1);
    EXPECT_THAT(others, AnyOf(IsEmpty(), StartsWith("Bonjour: "))) << "a daemon may or may not run here";
}

TEST_F(ConsoleProgramTest, HostsSaysThatItsPortIsTaken) {
    const Ran ran = shell(
        "python3 -c \"import socket, subprocess, sys; s = socket.socket(socket.AF_INET, "
        "socket.SOCK_DGRAM); s.bind(('0.0.0.0', 13337)); "
        "sys.exit(subprocess.call(sys.argv[1:]))\" \"$corvanectl\" hosts --for 0.3 --rehearse \"$room\"");
    EXPECT_EQ(status::noAnswer, ran.status);
    EXPECT_THAT(ran.errors, StartsWith("Multicast: UDP port 13337 is in use by another program.\n"));
}

TEST_F(ConsoleProgramTest, PatchPrintsTheConsolesChannelsWithTheirColours) {
    const Console console;
    console.type("color 1 0.5 0.25 1");
    const Ran ran =
        run(Arguments{"patch", "--json", "--save", (work / "kept.json").string()} + console.address());
    EXPECT_EQ(status::done, ran.status) << ran.errors;
    EXPECT_THAT(ran.errors, IsEmpty());
    EXPECT_EQ(24U, ran.json()["channels"].size());
    EXPECT_EQ(0.25, ran.json()["channels"][0]["green"]);
    EXPECT_EQ(ran.output, work.read("kept.json"));
}

TEST_F(ConsoleProgramTest, PatchFormatsAgree) {
    const Console console;
    const Ran table = run(Arguments{"patch"} + console.address());
    const Ran csv = run(Arguments{"patch", "--format", "csv"} + console.address());
    EXPECT_THAT(table.output, AllOf(StartsWith("CHANNEL"), HasSubstr("24 tracks / ")));
    EXPECT_THAT(csv.output, StartsWith("name,stereo,driver,inputIndex,"));
    EXPECT_EQ(25, std::count(csv.output.begin(), csv.output.end(), '\n'));
}

TEST_F(ConsoleProgramTest, ASoleAnnouncedConsoleNeedsNoAddress) {
    const Console console({"--announce", "127.0.0.1", "--name", "FOH"});
    const Ran ran = run({"patch", "--json"});
    EXPECT_EQ(status::done, ran.status) << ran.errors;
    EXPECT_EQ(24U, ran.json()["channels"].size());
}

TEST_F(ConsoleProgramTest, SeveralConsolesAreForAPersonToChooseFrom) {
    const auto watching = start({"watch"});
    const Console foh({"--announce", "127.0.0.1", "--name", "FOH"});
    const Console monitors({"--announce", "127.0.0.1", "--name", "Monitors"});
    ASSERT_TRUE(watching->says("Several LV1 hosts found. Choose one and press SYNC LV1."));
    watching->signal(SIGINT);
    EXPECT_EQ(status::interrupted, watching->exitStatus());
}

TEST_F(ConsoleProgramTest, AnUnreachableConsoleIsTheLastStatus) {
    const Ran ran = run({"patch", "--host", "127.0.0.1", "--port", "9"});
    EXPECT_EQ(status::noAnswer, ran.status);
    EXPECT_EQ("Connection error: Connection refused\n", ran.errors);
    EXPECT_THAT(ran.output, IsEmpty());
}

TEST_F(ConsoleProgramTest, WatchTellsOfEveryChangeUntilInterrupted) {
    const Console console;
    const auto watching = start(Arguments{"watch"} + console.address());
    ASSERT_TRUE(watching->says(R"("event":"patch")"));
    console.type("rename 1 Kick In");
    ASSERT_TRUE(watching->says("Kick In|"));
    console.type("scene Verse 2");
    ASSERT_TRUE(watching->says(R"({"event":"scene","name":"Verse 2"})"));
    console.type("drop");
    ASSERT_TRUE(watching->says("LV1 closed the connection."));
    const std::size_t before = watching->output().size();
    watching->signal(SIGINT);
    EXPECT_EQ(status::interrupted, watching->exitStatus());
    EXPECT_THAT(watching->errors(), IsEmpty());
    EXPECT_EQ(before, watching->output().size()) << "its own ending prints nothing";
    const auto patches = events(*watching, "patch");
    ASSERT_GE(patches.size(), 2U);
    EXPECT_EQ(24U, patches.back()["channels"].size());
}

TEST_F(ConsoleProgramTest, WatchForATimeEndsByItself) {
    const Console console;
    const Ran ran = run(Arguments{"watch", "--for", "0.5"} + console.address());
    EXPECT_EQ(status::done, ran.status);
    EXPECT_THAT(ran.errors, IsEmpty());
    EXPECT_THAT(ran.output, Not(HasSubstr("Disconnected")));
}

TEST_F(ConsoleProgramTest, InterruptedItShutsDownAndSaysSo) {
    for (const int number : {SIGINT, SIGTERM}) {
        // Nobody announces a host: it would wait for ten seconds.
        const auto waiting = start({"patch"});
        ASSERT_TRUE(eventually([&] {
            return shell("grep -q ':3419 ' /proc/net/udp").status == 0; // listens on 13337
        }));
        waiting->signal(number);
        EXPECT_EQ(status::interrupted, waiting->exitStatus());
        EXPECT_EQ("Interrupted.\n", waiting->errors());
        EXPECT_THAT(waiting->output(), IsEmpty());
    }
}

TEST_F(ConsoleProgramTest, AStandardOutputThatIsFullClosedOrGoneIsAFailure) {
    const Console console;
    const std::string patch =
        "patch --rehearse \"$room\" --host 127.0.0.1 --port " + std::to_string(console.port());
    const Ran full = shell("exec \"$corvanectl\" " + patch + " >/dev/full");
    EXPECT_EQ(status::refused, full.status);
    EXPECT_EQ("Standard output cannot be written: No space left on device\n", full.errors);

    const Ran closed = shell("exec \"$corvanectl\" " + patch + " >&-");
    EXPECT_EQ(status::refused, closed.status);
    EXPECT_EQ("Standard output cannot be written: Bad file descriptor\n", closed.errors);

    const Ran gone =
        shell("(\"$corvanectl\" watch" + patch.substr(5) + "; echo $? >\"$work/status\") | head -n 1");
    EXPECT_EQ("1\n", work.read("status"));
    EXPECT_EQ("Standard output cannot be written: Broken pipe\n", gone.errors);
}

TEST_F(ConsoleProgramTest, ClosedStandardDescriptorsDoNotMeetSockets) {
    const Console console;
    const Ran ran = shell("exec \"$corvanectl\" patch --rehearse \"$room\" --host 127.0.0.1 --port " +
                          std::to_string(console.port()) + " --save \"$work/kept.json\" <&- >&- 2>&-");
    EXPECT_EQ(status::refused, ran.status);
    EXPECT_EQ(24U, json::parse(work.read("kept.json"))["channels"].size());
}

} // namespace
} // namespace corvane::cli

#include "tests/cli/ProgramTest.h"

#include "tests/support/EnvironmentVariable.h"

#include <fstream>
#include <map>
#include <sstream>

namespace corvane::cli {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::string textOf(const std::filesystem::path &file) {
    std::ifstream stream(file);
    std::stringstream text;
    text << stream.rdbuf();
    return text.str();
}

/// The examples for scripters, and what they are made of, beside a console and a LiveTrax.
class ExampleTest : public ProgramTest {
protected:
    /// Runs an example; what it is given more stands behind it.
    Ran example(const std::string &line, const std::string &program = "$corvanectl") const {
        const auto folder = seedTemplate().parent_path().parent_path() / "examples";
        return shell("export CORVANECTL=\"" + program + "\"; cd '" + folder.string() + "' && ./" + line);
    }

    static std::string consoleOptions(const Console &console) {
        return " --rehearse \"$room\" --host 127.0.0.1 --port " + std::to_string(console.port());
    }

    void openSession(const Console &console) const {
        installLiveTrax();
        const Ran made =
            run(Arguments{"create", "Friday Night", "--in", work / "shows", "--launch"} + console.address());
        ASSERT_EQ(0, made.status) << made.errors;
        ASSERT_TRUE(liveTraxAnswers());
    }
};

TEST_F(ExampleTest, AKeyDropsAMarkerOnceLiveTraxAnswers) {
    const Console console;
    EXPECT_EQ(3, example("mark-scene Encore --rehearse \"$room\"").status) << "nobody listens yet";
    openSession(console);
    const Ran marked = example("mark-scene 'Encore, again' --rehearse \"$room\"");
    EXPECT_EQ(0, marked.status) << marked.errors;
    EXPECT_EQ("Sent: /add_marker\n", marked.output);
    ASSERT_EQ(0, run({"save"}).status);
    EXPECT_TRUE(eventually([&] {
        return run({"markers", work / "shows/Friday Night"}).output.find("Encore, again") !=
               std::string::npos;
    }));
}

TEST_F(ExampleTest, TheScriptsSayHowTheyAreUsedAndLookWhereTheGuidePutsTheProgram) {
    const auto program = work.write("path", "#!/bin/sh\necho \"$PATH\"\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    const std::map<std::string, std::string> scripts{
        {"mark-scene", "usage: mark-scene NAME [OPTION OF corvanectl marker...]\n"},
        {"nightly-check", "usage: nightly-check SESSION KEEP_IN [OPTION OF corvanectl check...]\n"}};
    for (const auto &[script, usage] : scripts) {
        const Ran wrong = example(script);
        EXPECT_EQ(2, wrong.status);
        EXPECT_EQ(usage, wrong.errors);
        const EnvironmentVariable path("PATH", "/usr/bin:/bin");
        const Ran started =
            example(script + " x \"$work/kept\"; cat \"$work\"/kept/check-* 2>/dev/null", "$work/path");
        EXPECT_EQ("/usr/bin:/bin:/usr/local/bin\n", started.output) << script;
    }
}

TEST_F(ExampleTest, AnInputListOfAFileThatIsNoneSaysSo) {
    const Ran missing = example("input-list \"$work/list\" --from \"$work/nowhere.json\"");
    EXPECT_EQ(2, missing.status);
    EXPECT_THAT(missing.errors, AllOf(HasSubstr("nowhere.json"), testing::Not(HasSubstr("Traceback"))));
    work.write("torn.json", "{\"version\":1");
    const Ran torn = example("input-list \"$work/list\" --from \"$work/torn.json\"");
    EXPECT_EQ(2, torn.status);
    EXPECT_THAT(torn.errors, StartsWith((work / "torn.json").string() + ": "));
    work.write("patch.json", R"({"version":1,"channels":[]})");
    const Ran unwritable = example("input-list /nowhere/list --from \"$work/patch.json\"");
    EXPECT_EQ(1, unwritable.status);
    EXPECT_EQ("input-list: /nowhere/list.csv: No such file or directory\n", unwritable.errors);
}

TEST_F(ExampleTest, TheNightlyCheckKeepsItsListAndSpeaksUpOnlyWhenALineFailed) {
    const Console console;
    openSession(console);
    const std::string line = "nightly-check \"$work/shows/Friday Night\" \"$work/checks\"";
    const Ran fine = example(line + consoleOptions(console));
    EXPECT_EQ(0, fine.status) << fine.errors << shell("cat \"$work\"/checks/*").output;
    EXPECT_THAT(fine.output, IsEmpty());
    EXPECT_THAT(fine.errors, IsEmpty());
    const Ran failed = example(line + " --rehearse \"$room\" --host 127.0.0.1 --port 1");
    EXPECT_EQ(1, failed.status);
    EXPECT_THAT(failed.errors,
                AllOf(HasSubstr(" failed: console, patch."), ContainsRegex("\nfailed +console ")));
    EXPECT_THAT(shell("cat \"$work\"/checks/check-20*.txt").output, HasSubstr("recovery data"));
}

TEST_F(ExampleTest, TheInputListIsForSpreadsheetsAndPaper) {
    const Console console;
    const Ran made = example("input-list \"$work/list\" --title 'Friday & more'" + consoleOptions(console));
    EXPECT_EQ(0, made.status) << made.errors;
    EXPECT_THAT(textOf(work / "list.csv"), StartsWith("Channel,Format,Input,Source,Colour\n"));
    const std::string page = textOf(work / "list.html");
    EXPECT_THAT(page, AllOf(HasSubstr("<h1>Friday &amp; more</h1>"), HasSubstr("<td>Stereo</td>")));
    ASSERT_EQ(0, run(Arguments{"patch", "--save", work / "patch.json"} + console.address()).status);
    EXPECT_EQ(0, example("input-list \"$work/other\" --from \"$work/patch.json\"").status);
    EXPECT_EQ(textOf(work / "list.csv"), textOf(work / "other.csv"));
    EXPECT_EQ(3, example("input-list \"$work/none\" --rehearse \"$room\" --host 127.0.0.1 --port 1").status);
}

TEST_F(ExampleTest, TheListBeforeAShowSeesARunningLiveTraxAndTheSessionInStep) {
    const Console console;
    openSession(console);
    const Ran ran = run(Arguments{"check", work / "shows/Friday Night", "--in", work / "shows", "--json"} +
                        console.address());
    EXPECT_EQ(0, ran.status) << ran.errors << ran.output;
    std::map<std::string, std::string> texts;
    const auto document = ran.json();
    for (const auto &check : document["checks"])
        texts[check["name"]] = check["text"];
    EXPECT_THAT(texts["console"], HasSubstr("has accepted the link."));
    EXPECT_THAT(texts["port 3819"], HasSubstr("LiveTrax3 (process "));
    EXPECT_EQ("The session has the console's patch.", texts["in step"]);
    EXPECT_THAT(texts["space"], HasSubstr("at 48 kHz, 32 bit."));
    EXPECT_EQ("It is on: LiveTrax listens.", texts["OSC surface"]);
    quitLiveTrax();
}

TEST_F(ExampleTest, ADiagnosisOfARunningRehearsalTellsNoNames) {
    const Console console;
    openSession(console);
    const Ran ran = run(Arguments{"diagnose", "--for", "1", "--json"} + console.address());
    ASSERT_EQ(0, ran.status) << ran.errors;
    EXPECT_EQ(1, ran.json()["console"]["counters"]["accepted"]);
    EXPECT_THAT(ran.output, testing::Not(HasSubstr("Friday")));
    EXPECT_THAT(ran.output, testing::Not(HasSubstr(work.path().string())));
}

TEST_F(ExampleTest, AllFourProgramsTellTheirVersionAlikeAndHelpUnderTheirOwnName) {
    for (const std::string name : {"corvane", "corvanectl", "lv1-console-sim", "livetrax-sim"}) {
        const auto file = builtPrograms() / name;
        if (!std::filesystem::exists(file))
            continue; // no window was built
        ChildProcess version(file, {"--version"});
        EXPECT_EQ(0, version.exitStatus());
        EXPECT_THAT(version.output(), testing::MatchesRegex(name + " [0-9.]+\n"));
        ChildProcess help(file, {"--help"});
        EXPECT_EQ(0, help.exitStatus());
        EXPECT_THAT(help.output(), AllOf(HasSubstr("Usage: " + name + " "),
                                         testing::Not(HasSubstr(builtPrograms().string()))));
    }
}

} // namespace
} // namespace corvane::cli

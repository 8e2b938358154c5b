// marker with what the session holds, markers and scenes.

#include "tests/cli/CommandTest.h"

#include "livetrax/remote/SceneRecall.h"
#include "osc/OSCCodec.h"

namespace corvane::cli {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char *show = R"(<Session sample-rate="48000"><Locations>
<Location id="2" name="Solo, &quot;long&quot;" start="a1051202880000" flags="IsMark"/>
<Location id="1" name="Intro" start="a141120000" flags="IsMark"/>
<Location id="3" name="Loop" start="a0" flags="IsAutoLoop,IsHidden"/>
</Locations><TempoMap superclocks-per-second="282240000"/></Session>)";

class MarkerCommandTest : public CommandTest {
protected:
    MarkerCommandTest() { fake.folder.write("Shows/Friday/Friday.ardour", show); }

    const std::string session = (fake.folder / "Shows/Friday").string();
};

TEST_F(MarkerCommandTest, MarkerNeverGoesToAMarkerOfTheLastSession) {
    fake.defaults->values["CorvaneLastSession"] = session;
    begin({"marker", " Intro ", "--json"});
    fake.clock->advance(1s);
    EXPECT_EQ((json{{"sent", {"/add_marker"}}}), printedJson());
    output.printed.clear();
    begin({"marker", "Outro", "--json"});
    fake.clock->advance(1s);
    EXPECT_EQ((json{{"sent", {"/add_marker", "/marker"}}}), printedJson());
}

TEST_F(MarkerCommandTest, ASessionThatCannotBeReadKeepsNoMarkerBackAndMayHaveAnyName) {
    fake.folder.write("Shows/Torn/Torn.ardour", "<Session>");
    fake.defaults->values["CorvaneLastSession"] = (fake.folder / "Shows/Torn").string();
    begin({"marker", "Intro", "--json"});
    fake.clock->advance(1s);
    EXPECT_EQ((json{{"sent", {"/add_marker"}}}), printedJson());
}

TEST_F(MarkerCommandTest, ASessionThatIsGoneKeepsNoMarkerBack) {
    fake.defaults->values["CorvaneLastSession"] = (fake.folder / "Shows/Gone").string();
    begin({"marker", "Intro", "--json"});
    fake.clock->advance(1s);
    EXPECT_EQ((json{{"sent", {"/add_marker", "/marker"}}}), printedJson());
}

TEST_F(MarkerCommandTest, MarkersListsThemInOrderOfTime) {
    EXPECT_EQ(status::done, run({"markers", session}).status);
    EXPECT_EQ("NUMBER  TIME         SAMPLES    NAME\n"
              "1       0:00:00.500  24000      Intro\n"
              "2       1:02:04.500  178776000  Solo, \"long\"\n",
              output.printed);
}

TEST_F(MarkerCommandTest, WithoutMarkersPeopleAreToldThatTheyComeWithASave) {
    const auto empty = fake.folder.write("Shows/New/New.ardour", R"(<Session sample-rate="48000"/>)");
    const std::string quiet = empty.parent_path().string();
    EXPECT_EQ(status::done, run({"markers", quiet}).status);
    EXPECT_EQ("LiveTrax had no markers when it last saved the session; corvanectl save has it save.\n",
              output.printed);
    output.printed.clear();
    run({"markers", quiet, "--format", "labels"});
    EXPECT_EQ("", output.printed);
    run({"markers", quiet, "--format", "csv"});
    EXPECT_EQ("number,time,samples,name\n", output.printed);
}

TEST_F(MarkerCommandTest, MarkersForPrograms) {
    run({"markers", session + "/", "--json"});
    EXPECT_EQ((json{{"rate", 48000},
                    {"markers",
                     {{{"number", 1}, {"samples", 24000}, {"time", "0:00:00.500"}, {"name", "Intro"}},
                      {{"number", 2},
                       {"samples", 178776000},
                       {"time", "1:02:04.500"},
                       {"name", "Solo, \"long\""}}}}}),
              printedJson());
    output.printed.clear();
    run({"markers", session, "--format", "json"});
    EXPECT_EQ(48000, printedJson()["rate"]);
    output.printed.clear();
    run({"markers", session, "--format", "csv"});
    EXPECT_EQ("number,time,samples,name\n1,0:00:00.500,24000,Intro\n"
              "2,1:02:04.500,178776000,\"Solo, \"\"long\"\"\"\n",
              output.printed);
    output.printed.clear();
    run({"markers", session, "--format", "labels"});
    EXPECT_EQ("0.500000\t0.500000\tIntro\n3724.500000\t3724.500000\tSolo, \"long\"\n", output.printed);
}

TEST_F(MarkerCommandTest, TimesAreRoundedAndSecondsAreCutOff) {
    const auto file = fake.folder.write(
        "Shows/Late/Late.ardour",
        "<Session sample-rate='48000'><Locations><Location name='A' start='a141120' flags='IsMark'/>"
        "<Location name='B' start='a282234120' flags='IsMark'/>"
        "<Location name='C' start='a1016064000000' flags='IsMark'/></Locations></Session>");
    run({"markers", file.parent_path().string()});
    EXPECT_EQ("NUMBER  TIME         SAMPLES    NAME\n"
              "1       0:00:00.001  24         A\n"
              "2       0:00:01.000  47999      B\n"
              "3       1:00:00.000  172800000  C\n",
              output.printed);
    output.printed.clear();
    run({"markers", file.parent_path().string(), "--format", "labels"});
    EXPECT_EQ("0.000500\t0.000500\tA\n0.999979\t0.999979\tB\n3600.000000\t3600.000000\tC\n", output.printed);
}

TEST_F(MarkerCommandTest, MarkersOfASessionThatCannotBeRead) {
    const std::string gone = (fake.folder / "Shows/Gone").string();
    const auto outcome = run({"markers", gone});
    EXPECT_EQ(status::refused, outcome.status);
    EXPECT_EQ("The session at " + gone + " cannot be read.", outcome.message);
    fake.folder.write("Shows/Odd/Odd.ardour", "<Session/>");
    EXPECT_THAT(run({"markers", (fake.folder / "Shows/Odd").string()}).message,
                HasSubstr("cannot be read.\n  The session does not say its sample rate."));
    EXPECT_EQ(status::wrongUsage, run({"markers"}).status);
    EXPECT_EQ(status::wrongUsage, run({"markers", session, "--format", "midi"}).status);
    EXPECT_EQ(status::wrongUsage, run({"patch", "--format", "labels"}).status);
}

class ScenesCommandTest : public CommandTest {
protected:
    void beginScenes(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), {"scenes", "--host", "10.0.0.1", "--port", "5000"});
        begin(arguments);
        accept();
    }
    void recall(const std::string &name) { deliver("/Notify/Scene/Name", {name}); }

    const std::string time = timeOfDay(fakeWallTime);
};

TEST_F(ScenesCommandTest, TellsEveryRecallAndWhatTheWindowWouldHaveDone) {
    beginScenes({"--json"});
    recall("Intro");
    recall("Verse");
    fake.defaults->values["CorvaneLastSession"] = "/Shows/Friday";
    recall("Chorus");
    startLiveTrax();
    recall("Solo");
    for (const char *name : {"Solo", "no scene", " ", "Encore"})
        recall(name);
    std::vector<std::string> lines;
    std::istringstream printed(output.printed);
    for (std::string line; std::getline(printed, line);) {
        const json one = json::parse(line);
        EXPECT_EQ(one["time"], time);
        lines.push_back(one["scene"].get<std::string>() + (one["marked"].get<bool>() ? " marked" : ": ") +
                        one["reason"].get<std::string>());
    }
    EXPECT_THAT(lines, ElementsAre("Intro: first", "Verse: no session", "Chorus: no recorder", "Solo marked",
                                   "Solo: same", "no scene: no scene", " : blank", "Encore marked"));
    EXPECT_THAT(fake.network->datagrams, IsEmpty()) << "it marks nothing itself";
}

TEST_F(ScenesCommandTest, IsReadableToo) {
    beginScenes();
    recall("Intro");
    EXPECT_EQ(time + "  Intro  not marked: first\n", output.printed);
    fake.defaults->values["CorvaneLastSession"] = "/Shows/Friday";
    startLiveTrax();
    output.printed.clear();
    recall("Verse");
    EXPECT_EQ(time + "  Verse  would be marked\n", output.printed);
}

TEST_F(ScenesCommandTest, TheFileKeepsWhatItHoldsAndIsWrittenRecallByRecall) {
    const std::string file = (fake.folder / "scenes.csv").string();
    for (const char *name : {"Intro, slow", "Verse"}) {
        beginScenes({"--save", file});
        recall(name);
        const std::string written = textOf(file);
        command->stop();
        EXPECT_THAT(written, HasSubstr(name));
    }
    fake.defaults->values["CorvaneLastSession"] = "/Shows/Friday";
    startLiveTrax();
    beginScenes({"--save", file});
    recall("Verse");
    recall("Chorus");
    EXPECT_EQ("time,scene,marked,reason\n" + time + ",\"Intro, slow\",false,first\n" + time +
                  ",Verse,false,first\n" + time + ",Verse,false,first\n" + time + ",Chorus,true,\n",
              textOf(file));
}

TEST_F(ScenesCommandTest, AFileThatCannotBeWrittenIsSaidAtOnce) {
    begin({"scenes", "--host", "10.0.0.1", "--port", "5000", "--save",
           (fake.folder / "no/such/folder").string()});
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::refused, outcome->status);
}

TEST_F(ScenesCommandTest, EndsInItsTimeAndPrintsNothingThen) {
    beginScenes({"--for", "2"});
    fake.clock->advance(2s);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::done, outcome->status);
    EXPECT_THAT(output.printed, IsEmpty());
}

} // namespace
} // namespace corvane::cli

#include "tests/cli/ConsoleCommandTest.h"

#include "osc/OSCCodec.h"
#include "patch/PatchDocument.h"

#include <algorithm>
#include <limits>

namespace corvane::cli {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class HostsCommandTest : public CommandTest {};
class PatchCommandTest : public CommandTest {};

// hosts

TEST_F(HostsCommandTest, ListsBothWaysInOrderOfArrivalAndConnectsToNobody) {
    begin({"hosts", "--json"});
    announce("FOH", "10.0.0.1", 5000, "aa:bb");
    auto resolved = fake.browser->find("Stage", true);
    announce("FOH", "10.0.0.1", 5000, "aa:bb");
    fake.browser->find("Broadcast", false);
    announce("Monitors", "10.0.0.3", 5001, "");
    fake.browser->resolve(*resolved, "stage.local.", 5002);
    fake.clock->advance(2999ms);
    EXPECT_FALSE(ended());
    fake.clock->advance(1ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::done, outcome->status);
    EXPECT_EQ(json::parse(R"([
        {"name":"FOH","host":"10.0.0.1","port":5000,"mac":"aa:bb","via":"multicast"},
        {"name":"Stage","host":"stage.local.","port":5002,"mac":"","via":"bonjour"},
        {"name":"Broadcast","host":null,"port":null,"mac":"","via":"bonjour"},
        {"name":"Monitors","host":"10.0.0.3","port":5001,"mac":"","via":"multicast"}])"),
              printedJson());
    EXPECT_THAT(fake.network->streams, IsEmpty());
}

TEST_F(HostsCommandTest, ListensAsLongAsItIsTold) {
    begin({"hosts", "--for", "0.5"});
    announce("FOH", "10.0.0.1", 5000, "aa:bb");
    fake.clock->advance(500ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ("HOST  ADDRESS        MAC    HEARD BY\n"
              "FOH   10.0.0.1:5000  aa:bb  multicast\n",
              output.printed);
}

TEST_F(HostsCommandTest, SaysWhichWayIsUnavailableWhenNothingIsHeard) {
    fake.multicast->error = "UDP port 13337 is in use by another program.";
    begin({"hosts"});
    fake.browser->errorText = "no Bonjour daemon";
    fake.clock->advance(3s);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_EQ("Multicast: UDP port 13337 is in use by another program.\nBonjour: no Bonjour daemon",
              outcome->message);
    EXPECT_THAT(output.printed, IsEmpty());
}

TEST_F(HostsCommandTest, NothingHeardAndNothingInTheWayIsNoAnswer) {
    begin({"hosts", "--json"});
    fake.clock->advance(3s);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_EQ("No LV1 host was heard.\n"
              "  Listened for 3 s to Bonjour and to multicast announcements.\n"
              "  See that the console is on, that this computer is in its network, and that the system lets "
              "Corvane "
              "use the local network.\n"
              "  --host and --port name a console that is not heard.",
              outcome->message);
    EXPECT_EQ(json::array(), printedJson());
}

TEST_F(HostsCommandTest, WithoutBonjourMulticastIsListenedToAndThatIsSaid) {
    begin({"hosts"});
    fake.browser->errorText = "The DNS-SD daemon is not running.";
    fake.clock->advance(3s);
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_THAT(outcome->message, testing::StartsWith("No LV1 host was heard.\n"
                                                      "  Bonjour: The DNS-SD daemon is not running.\n"
                                                      "  Listened for 3 s to multicast announcements.\n"));
}

TEST_F(HostsCommandTest, ASystemThatKeepsTheProgramFromTheNetworkComesFirst) {
    begin({"hosts"});
    fake.browser->errorText = "This computer does not let Corvane use the local network.";
    fake.browser->refused = true;
    fake.clock->advance(3s);
    EXPECT_EQ("Bonjour: This computer does not let Corvane use the local network.", outcome->message);
}

TEST_F(HostsCommandTest, PeopleGetNoListOfNothing) {
    begin({"hosts"});
    fake.clock->advance(3s);
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_THAT(output.printed, IsEmpty());
}

TEST_F(HostsCommandTest, AnErrorDoesNotMatterOnceAHostWasHeard) {
    begin({"hosts", "--json"});
    fake.browser->errorText = "no Bonjour daemon";
    announce("FOH", "10.0.0.1", 5000);
    fake.clock->advance(3s);
    EXPECT_EQ(status::done, outcome->status);
}

TEST_F(HostsCommandTest, AServiceWithoutAPortHasNoAddressEitherWay) {
    for (const bool asJson : {false, true}) {
        output.printed.clear();
        begin(asJson ? std::vector<std::string>{"hosts", "--json"} : std::vector<std::string>{"hosts"});
        fake.browser->resolve(*fake.browser->find("Stage"), "stage.local.", 0);
        fake.clock->advance(3s);
        if (asJson)
            EXPECT_TRUE(printedJson()[0]["host"].is_null());
        else
            EXPECT_THAT(output.printed, HasSubstr("not resolved"));
    }
}

TEST_F(HostsCommandTest, PeopleGetATable) {
    begin({"hosts"});
    announce("FOH", "10.0.0.1", 5000, "aa:bb");
    announce("FOH", "10.0.0.1", 5001, "aa:bb");
    fake.browser->resolve(*fake.browser->find("Größe"), "stage.local.", 1);
    fake.browser->find("Broadcast");
    fake.clock->advance(3s);
    EXPECT_EQ("HOST       ADDRESS         MAC    HEARD BY\n"
              "FOH        10.0.0.1:5000   aa:bb  multicast\n"
              "FOH        10.0.0.1:5001   aa:bb  multicast\n"
              "Größe      stage.local.:1         Bonjour\n"
              "Broadcast  not resolved           Bonjour\n",
              output.printed);
}

TEST_F(HostsCommandTest, AnotherProgramGetsTextAsItIs) {
    begin({"hosts", "--json"});
    announce("Größe", "10.0.0.1", 5000, "");
    fake.clock->advance(3s);
    EXPECT_EQ("[\n  {\n    \"name\": \"Größe\",\n    \"host\": \"10.0.0.1\",\n    \"port\": 5000,\n"
              "    \"mac\": \"\",\n    \"via\": \"multicast\"\n  }\n]\n",
              output.printed);
}

TEST_F(HostsCommandTest, ListsAThousandHostsAndNoMore) {
    begin({"hosts", "--json"});
    for (int i = 0; i < 600; ++i) {
        announce(std::to_string(i), "10.0.0.1", 5000);
        fake.browser->find(std::to_string(i));
    }
    EXPECT_TRUE(fake.browser->find("One more")->resolves.empty());
    fake.clock->advance(3s);
    ASSERT_EQ(1'000U, printedJson().size());
    EXPECT_EQ("499", printedJson().back()["name"]);
}

TEST_F(HostsCommandTest, StopsListeningWhenItIsStopped) {
    begin({"hosts"});
    EXPECT_EQ(1U, fake.multicast->openSockets());
    EXPECT_TRUE(fake.browser->searching);
    command->stop();
    EXPECT_EQ(0U, fake.multicast->openSockets());
    EXPECT_FALSE(fake.browser->searching);
}

// patch

TEST_F(PatchCommandTest, PrintsTheFirstPatchOnceTheConsoleHasBeenSilent) {
    begin(std::vector<std::string>{"patch", "--json"} + fromHost);
    EXPECT_EQ("10.0.0.1", stream().host);
    accept();
    deliverPatch(kickAndOverheads);
    fake.clock->advance(200ms);
    deliver("/Notify/TrackColor", {0, 1, 0, 1.0F, 0.5F, 0.0F});
    fake.clock->advance(299ms);
    EXPECT_FALSE(ended()) << "a colour begins the silence anew";
    fake.clock->advance(1ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::done, outcome->status) << outcome->message;
    auto coloured = kickAndOverheads;
    coloured[1].red = 1.0F;
    coloured[1].green = 0.5F;
    coloured[1].blue = 0.0F;
    EXPECT_EQ(patchDocument(coloured), output.printed);
    EXPECT_TRUE(stream().cancelled);
}

TEST_F(PatchCommandTest, AnyMessageBeginsTheSilenceAnew) {
    begin(std::vector<std::string>{"patch"} + fromHost);
    accept();
    deliverPatch(kickAndOverheads);
    const std::vector<std::pair<std::string, std::vector<OSCValue>>> messages{
        {"/ping", {1}},
        {"/Notify/TrackColor", {2, 0, 0, 1.0F, 0.5F, 0.0F}},
        {"/Notify/TrackColor", {0, 40, 0, 1.0F, 0.5F, 0.0F}},
        {"/Notify/Scene/Index", {3}},
        {"/Notify/Scene/Name", {std::string("Intro")}},
        {"/handshake", {1}}};
    for (const auto &[address, values] : messages) {
        fake.clock->advance(299ms);
        EXPECT_FALSE(ended()) << "before " << address;
        deliver(address, values);
    }
    fake.clock->advance(299ms);
    EXPECT_FALSE(ended());
    fake.clock->advance(1ms);
    EXPECT_TRUE(ended());
}

TEST_F(PatchCommandTest, AConsoleThatNeverFallsSilentIsNotWaitedForForEver) {
    begin(std::vector<std::string>{"patch"} + fromHost);
    accept();
    deliverPatch(kickAndOverheads);
    for (int i = 0; i < 49 && !ended(); ++i) {
        fake.clock->advance(100ms);
        deliver("/Notify/TrackColor", {0, 1, 0, 1.0F, 0.5F, static_cast<float>(i)});
    }
    EXPECT_FALSE(ended());
    fake.clock->advance(100ms);
    EXPECT_TRUE(ended());
}

TEST_F(PatchCommandTest, PeopleGetATable) {
    begin(std::vector<std::string>{"patch"} + fromHost);
    accept();
    deliverPatch(kickAndOverheads);
    fake.clock->advance(300ms);
    EXPECT_EQ("CHANNEL  FORMAT  INPUT  DEVICE     SOURCE      COLOUR\n"
              "Kick     Mono    1      SoundGrid  Mixer_Ch 1  #3F8CD8\n"
              "OH       Stereo  7–8    SoundGrid  Mixer_Ch 2  #3F8CD8\n"
              "2 tracks / 3 inputs\n",
              output.printed);
}

TEST_F(PatchCommandTest, NoNameSteersTheTerminal) {
    begin(std::vector<std::string>{"patch"} + fromHost);
    accept();
    deliverPatch({mono("A\x1B[2J\u009B1mB", 0, 1)});
    fake.clock->advance(300ms);
    EXPECT_EQ("CHANNEL    FORMAT  INPUT  DEVICE     SOURCE      COLOUR\n"
              "A [2J 1mB  Mono    1      SoundGrid  Mixer_Ch 1  #3F8CD8\n"
              "1 tracks / 1 inputs\n",
              output.printed);
}

TEST_F(PatchCommandTest, CsvIsTheTableOfThePatchFile) {
    begin(std::vector<std::string>{"patch", "--format", "csv"} + fromHost);
    accept();
    deliverPatch(kickAndOverheads);
    fake.clock->advance(300ms);
    EXPECT_EQ(patchTable(kickAndOverheads), output.printed);
}

TEST_F(PatchCommandTest, AnEmptyPatchIsAPatch) {
    begin(std::vector<std::string>{"patch", "--json"} + fromHost);
    accept();
    deliverPatch({});
    fake.clock->advance(300ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::done, outcome->status);
    EXPECT_EQ(0U, printedJson()["channels"].size());
}

TEST_F(PatchCommandTest, SaveKeepsAPatchFileAndPrintsAllTheSame) {
    begin(std::vector<std::string>{"patch", "--save", "kept.json"} + fromHost);
    accept();
    deliverPatch(kickAndOverheads);
    fake.clock->advance(300ms);
    EXPECT_EQ(patchDocument(kickAndOverheads), fake.folder.read("kept.json"));
    EXPECT_THAT(output.printed, HasSubstr("Kick"));
}

TEST_F(PatchCommandTest, SavesTheUsualColourForOneThatIsNoNumber) {
    begin(std::vector<std::string>{"patch", "--save", "kept.json", "--json"} + fromHost);
    accept();
    deliverPatch(kickAndOverheads);
    deliver("/Notify/TrackColor", {0, 0, 0, 1.0F, std::numeric_limits<float>::infinity(), 0.0F});
    fake.clock->advance(300ms);
    EXPECT_EQ(patchDocument(kickAndOverheads), fake.folder.read("kept.json"));
    EXPECT_TRUE(printedJson()["channels"][0]["green"].is_null()) << "what the console said";
}

TEST_F(PatchCommandTest, AFileThatCannotBeWrittenIsAFailure) {
    begin(std::vector<std::string>{"patch", "--save", "missing/kept.json"} + fromHost);
    accept();
    deliverPatch(kickAndOverheads);
    fake.clock->advance(300ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::refused, outcome->status);
    EXPECT_THAT(outcome->message, HasSubstr("kept.json"));
    EXPECT_THAT(output.printed, IsEmpty());
}

TEST_F(PatchCommandTest, AFullStandardOutputIsAFailure) {
    output.full = true;
    begin(std::vector<std::string>{"patch"} + fromHost);
    accept();
    deliverPatch(kickAndOverheads);
    fake.clock->advance(300ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::refused, outcome->status);
    EXPECT_EQ("Standard output cannot be written: No space left on device", outcome->message);
}

TEST_F(PatchCommandTest, AConsoleThatSendsNoPatchGetsTenSeconds) {
    begin(std::vector<std::string>{"patch"} + fromHost);
    accept();
    fake.clock->advance(9999ms);
    EXPECT_FALSE(ended());
    fake.clock->advance(1ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_EQ("10.0.0.1:5000 has sent no patch.\n  See that channels have inputs on the console.",
              outcome->message);
}

TEST_F(PatchCommandTest, APatchThatComesInTheLastMomentIsWaitedForToSettle) {
    begin(std::vector<std::string>{"patch"} + fromHost);
    accept();
    fake.clock->advance(9900ms);
    deliverPatch(kickAndOverheads);
    fake.clock->advance(299ms);
    EXPECT_FALSE(ended());
    fake.clock->advance(1ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::done, outcome->status) << outcome->message;
}

TEST_F(PatchCommandTest, ForSaysHowLongToWaitForThePatch) {
    begin(std::vector<std::string>{"patch", "--for", "1"} + fromHost);
    accept();
    fake.clock->advance(999ms);
    EXPECT_FALSE(ended());
    fake.clock->advance(1ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::noAnswer, outcome->status);
}

TEST_F(PatchCommandTest, ANamedHostThatDoesNotEvenRefuseIsSaidNotToAnswer) {
    begin(std::vector<std::string>{"patch"} + fromHost);
    fake.clock->advance(10s);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_EQ("10.0.0.1 does not answer on port 5000.", outcome->message);
}

TEST_F(PatchCommandTest, AFailedConnectionEndsItAtOnce) {
    begin(std::vector<std::string>{"patch"} + fromHost);
    stream().fail("Connection refused");
    fake.clock->run();
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_EQ("Connection error: Connection refused", outcome->message);
}

TEST_F(PatchCommandTest, AConsoleThatClosesEndsIt) {
    begin(std::vector<std::string>{"patch"} + fromHost);
    accept();
    stream().closeByPeer();
    fake.clock->run();
    ASSERT_TRUE(ended());
    EXPECT_EQ("LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1.", outcome->message);
}

TEST_F(PatchCommandTest, ABrokenConnectionEndsItWithTheLastStatus) {
    begin(std::vector<std::string>{"patch"} + fromHost);
    accept();
    stream().breakOff("Connection reset by peer");
    fake.clock->run();
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_EQ("Connection error: Connection reset by peer", outcome->message);
}

TEST_F(PatchCommandTest, AConsoleThatClosesAfterItsPatchHasSaidAll) {
    begin(std::vector<std::string>{"patch", "--json"} + fromHost);
    accept();
    deliverPatch(kickAndOverheads);
    fake.clock->advance(100ms);
    stream().closeByPeer(OSCCodec::frame(
        OSCCodec::message("/Notify/TrackColor", {0, 1, 0, 1.0F, 0.5F, 0.0F}))); // comes with the close
    fake.clock->run();
    ASSERT_TRUE(ended()) << "nothing is left to wait for";
    EXPECT_EQ(status::done, outcome->status) << outcome->message;
    EXPECT_EQ(2U, printedJson()["channels"].size());
    EXPECT_EQ(1.0, printedJson()["channels"][1]["red"]);
}

TEST_F(PatchCommandTest, AConnectionThatBreaksAfterThePatchHasFailed) {
    begin(std::vector<std::string>{"patch"} + fromHost);
    accept();
    deliverPatch(kickAndOverheads);
    fake.clock->advance(100ms);
    stream().breakOff("Connection reset by peer");
    fake.clock->advance(10s);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_EQ("Connection error: Connection reset by peer", outcome->message);
    EXPECT_THAT(output.printed, IsEmpty());
}

TEST_F(PatchCommandTest, PortZeroIsNoPort) {
    begin({"patch", "--host", "10.0.0.1", "--port", "0"});
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_EQ("Invalid LV1 port", outcome->message);
}

TEST_F(PatchCommandTest, ASoleHostHeardByMulticastIsConnectedTo) {
    begin({"patch"});
    announce("FOH", "10.0.0.9", 5009);
    ASSERT_EQ(1U, fake.network->streams.size());
    EXPECT_EQ("10.0.0.9", stream().host);
    EXPECT_EQ(5009, stream().port);
    accept();
    deliverPatch(kickAndOverheads);
    fake.clock->advance(300ms);
    EXPECT_EQ(status::done, outcome->status);
}

TEST_F(PatchCommandTest, ASoleHostFoundByBonjourIsConnectedTo) {
    begin({"patch"});
    auto service = fake.browser->find("FOH", false);
    fake.browser->resolve(*service, "foh.local.", 5000);
    fake.clock->run();
    ASSERT_EQ(1U, fake.network->streams.size());
    EXPECT_EQ("foh.local.", stream().host);
}

TEST_F(PatchCommandTest, SeveralHostsAreForAPersonToChooseFrom) {
    begin({"patch"});
    announce("FOH", "10.0.0.9", 5009);
    announce("Moni\ntors", "10.0.0.8", 5010);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_EQ("Several LV1 hosts found. Choose one and press SYNC LV1.\n"
              "  --host 10.0.0.9 --port 5009 is “\u2068FOH\u2069”.\n"
              "  --host 10.0.0.8 --port 5010 is “\u2068Moni tors\u2069”.",
              outcome->message);
    accept();
    deliverPatch(kickAndOverheads);
    fake.clock->advance(300ms);
    EXPECT_THAT(output.printed, IsEmpty()) << "a patch that comes now is not asked for any more";
}

TEST_F(PatchCommandTest, SeveralBonjourHostsAreForAPersonToChooseFrom) {
    begin({"patch"});
    fake.browser->find("FOH", true);
    fake.browser->find("Monitors", false);
    ASSERT_TRUE(ended());
    EXPECT_EQ("Several LV1 hosts found. Choose one and press SYNC LV1.\n"
              "  “\u2068FOH\u2069”: corvanectl hosts tells its address.\n"
              "  “\u2068Monitors\u2069”: corvanectl hosts tells its address.",
              outcome->message);
}

TEST_F(PatchCommandTest, OfVeryManyHostsTheFirstAreNamed) {
    begin({"patch"});
    const auto first = fake.browser->find("Stage", true);
    fake.browser->resolve(*first, "stage.local.", 5002);
    for (int more = 0; more < 9; ++more)
        fake.browser->find(std::to_string(more), more < 8);
    ASSERT_TRUE(ended());
    EXPECT_THAT(outcome->message, HasSubstr("\n  --host stage.local. --port 5002 is “\u2068Stage\u2069”.\n"));
    EXPECT_EQ(9, std::count(outcome->message.begin(), outcome->message.end(), '\n'));
    EXPECT_THAT(outcome->message, testing::EndsWith("\n  corvanectl hosts lists 2 more."));
}

TEST_F(PatchCommandTest, WithoutAnyHostItSaysWhatWasTriedAndWhatToCheck) {
    begin({"patch", "--for", "2.5"});
    fake.clock->advance(2500ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_EQ("No LV1 host was heard.\n"
              "  Listened for 2.5 s to Bonjour and to multicast announcements.\n"
              "  See that the console is on, that this computer is in its network, and that the system lets "
              "Corvane "
              "use the local network.\n"
              "  --host and --port name a console that is not heard.",
              outcome->message);
}

TEST_F(PatchCommandTest, AnAnnouncedHostThatDoesNotAnswerIsNamed) {
    begin({"patch"});
    announce("FOH", "10.0.0.1", 5000);
    fake.clock->advance(10s);
    EXPECT_EQ("10.0.0.1 does not answer on port 5000.", outcome->message);
}

TEST_F(PatchCommandTest, AServiceThatCannotBeResolvedIsSaid) {
    begin({"patch"});
    fake.browser->failToResolve(*fake.browser->find("Stage"));
    fake.clock->advance(10s);
    EXPECT_EQ("Could not resolve Stage", outcome->message);
}

TEST_F(PatchCommandTest, WithoutAnyHostWhatIsInTheWayComesFirst) {
    fake.multicast->error = "UDP port 13337 is in use by another program.";
    begin({"patch"});
    fake.clock->advance(10s);
    ASSERT_TRUE(ended());
    EXPECT_EQ("Multicast: UDP port 13337 is in use by another program.", outcome->message);
}

TEST_F(PatchCommandTest, ShowsPeopleWhatGoesOn) {
    begin(std::vector<std::string>{"patch"} + fromHost);
    accept();
    EXPECT_THAT(output.shown,
                ElementsAre("Conectado. Negociando con LV1…", "LV1 conectado. Esperando el patch…"));
}

TEST_F(PatchCommandTest, StoppedAtAnyMomentItLeavesTheHostAndSaysNothing) {
    begin(std::vector<std::string>{"patch"} + fromHost);
    accept();
    command->stop();
    fake.clock->advance(20s);
    EXPECT_TRUE(stream().cancelled);
    EXPECT_FALSE(ended());
    EXPECT_THAT(output.printed, IsEmpty());
}

} // namespace
} // namespace corvane::cli

#include "tests/cli/ConsoleCommandTest.h"

#include "osc/OSCCodec.h"
#include "patch/PatchDocument.h"

#include <algorithm>
#include <map>
#include <sstream>

namespace corvane::cli {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

class WatchCommandTest : public CommandTest {
protected:
    std::vector<json> events() const {
        std::vector<json> list;
        std::istringstream lines(output.printed);
        for (std::string line; std::getline(lines, line);)
            list.push_back(json::parse(line));
        return list;
    }
};

TEST_F(WatchCommandTest, PrintsEveryCallbackAsALine) {
    begin(std::vector<std::string>{"watch"} + fromHost);
    accept();
    deliverPatch({mono("Kick", 0, 1)});
    deliver("/Notify/Scene/Name", {std::string("Verse \"2\"")});
    const json channel = json::parse(channelObject(mono("Kick", 0, 1)));
    EXPECT_THAT(
        events(),
        ElementsAre(json{{"event", "connection"}, {"connected", false}},
                    json{{"event", "status"}, {"text", "Conectado. Negociando con LV1…"}},
                    json{{"event", "connection"}, {"connected", true}},
                    json{{"event", "status"}, {"text", "LV1 conectado. Esperando el patch…"}},
                    json{{"event", "status"}, {"text", "Synced: 1 tracks / 1 inputs"}},
                    json{{"event", "patch"}, {"signature", "Kick|1|0"}, {"channels", json::array({channel})}},
                    json{{"event", "channels"}, {"channels", json::array({channel})}},
                    json{{"event", "scene"}, {"name", "Verse \"2\""}}));
    EXPECT_THAT(output.printed,
                HasSubstr("{\"event\":\"status\",\"text\":\"LV1 conectado. Esperando el patch…\"}\n"));
}

TEST_F(WatchCommandTest, PrintsOnlyTheEventsThatWereAskedFor) {
    begin(std::vector<std::string>{"watch", "--events", "scene,connection"} + fromHost);
    accept();
    deliverPatch({mono("Kick", 0, 1)});
    deliver("/Notify/Scene/Name", {std::string("Verse")});
    EXPECT_THAT(events(), ElementsAre(json{{"event", "connection"}, {"connected", false}},
                                      json{{"event", "connection"}, {"connected", true}},
                                      json{{"event", "scene"}, {"name", "Verse"}}));
}

TEST_F(WatchCommandTest, EachEventCanBeAskedForByItself) {
    const std::map<std::string, std::size_t> events{{"status", 5},   {"connection", 2}, {"patch", 1},
                                                    {"channels", 1}, {"scene", 1},      {"endpoints", 1},
                                                    {"services", 1}};
    for (const auto &[event, times] : events) {
        output.printed.clear();
        begin({"watch", "--events", event});
        announce("FOH", "10.0.0.1", 5000);
        fake.browser->find("FOH");
        accept();
        deliverPatch(kickAndOverheads);
        deliver("/Notify/Scene/Name", {std::string("Verse")});
        std::size_t found = 0;
        for (const json &each : this->events()) {
            EXPECT_EQ(event, each["event"]);
            ++found;
        }
        EXPECT_EQ(times, found) << event;
        command->stop();
        fake.clock->run();
    }
}

TEST_F(WatchCommandTest, TheHostsCanBeLeftOutAndAreChosenFromAllTheSame) {
    begin({"watch", "--events", "status"});
    fake.browser->resolve(*fake.browser->find("Stage"), "stage.local.", 5000);
    fake.clock->advance(1s);
    EXPECT_EQ(1U, fake.network->streams.size());
    for (const json &event : events())
        EXPECT_EQ("status", event["event"]);
}

TEST_F(WatchCommandTest, TellsOfHostsAndConnectsAsTheWindowDoes) {
    begin({"watch"});
    fake.browser->find("Stage", false);
    fake.clock->run();
    announce("FOH", "10.0.0.1", 5000, "aa:bb");
    EXPECT_THAT(
        events(),
        testing::IsSupersetOf(
            {json{{"event", "status"}, {"text", "Buscando LV1 V17…"}},
             json::parse(R"({"event":"services","services":[{"name":"Stage","host":null,"port":null}]})"),
             json{{"event", "status"}, {"text", "LV1 has not published its address yet"}},
             json::parse(R"({"event":"endpoints","endpoints":
                                   [{"name":"FOH","host":"10.0.0.1","port":5000,"mac":"aa:bb"}]})"),
             json{{"event", "status"}, {"text", "LV1 found: FOH"}}}));
    EXPECT_EQ(1U, fake.network->streams.size());
}

TEST_F(WatchCommandTest, SaysThatAPersonHasToChooseAmongServices) {
    begin({"watch"});
    fake.browser->find("FOH", true);
    fake.browser->find("Monitors", false);
    EXPECT_EQ(
        (json{{"event", "status"}, {"text", "Several LV1 hosts found. Choose one and press SYNC LV1."}}),
        events().back());
    EXPECT_FALSE(ended());
}

TEST_F(WatchCommandTest, GoesOnAfterAFailedConnection) {
    begin(std::vector<std::string>{"watch"} + fromHost);
    stream().fail("Connection refused");
    fake.clock->advance(1h);
    EXPECT_FALSE(ended());
}

TEST_F(WatchCommandTest, ItsOwnEndingPrintsNothing) {
    begin(std::vector<std::string>{"watch", "--for", "2"} + fromHost);
    accept();
    fake.clock->advance(2s);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::done, outcome->status);
    const std::string before = output.printed;
    command->stop();
    fake.clock->run();
    EXPECT_EQ(before, output.printed);
}

TEST_F(WatchCommandTest, AReaderThatWentAwayEndsIt) {
    output.full = true;
    begin(std::vector<std::string>{"watch"} + fromHost);
    accept();
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::refused, outcome->status);
}

} // namespace
} // namespace corvane::cli

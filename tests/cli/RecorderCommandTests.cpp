#include "tests/cli/CommandTest.h"

#include "osc/OSCCodec.h"
#include "tests/support/EnvironmentVariable.h"

#include <system_error>

namespace corvane::cli {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;

class RecorderCommandTest : public CommandTest {
protected:
    FakeDatagramConnection &surface() { return *fake.network->datagrams.back(); }
    std::vector<std::string> sentAddresses() {
        std::vector<std::string> addresses;
        for (const auto &sent : surface().sent)
            addresses.push_back(OSCCodec::parse(sent.datagram).value().address);
        return addresses;
    }
    void answer(const std::string &address, const OSCValue &value) {
        const std::vector<OSCValue> values{value};
        surface().deliver(OSCCodec::message(address, std::span<const OSCValue>(values)));
        fake.clock->run();
    }
};

TEST_F(RecorderCommandTest, TransportPrintsWhatLiveTraxAnswers) {
    begin({"transport", "--json"});
    fake.clock->advance(40ms);
    EXPECT_THAT(sentAddresses(), ElementsAre("/transport_speed", "/record_enabled", "/is_recording"));
    answer("/is_recording", std::int32_t{1});
    answer("/transport_speed", 1.0F);
    answer("/record_enabled", std::int32_t{1});
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::done, outcome->status);
    EXPECT_EQ((json{{"speed", 1.0}, {"recordEnabled", true}, {"isRecording", true}}), printedJson());
}

TEST_F(RecorderCommandTest, TransportIsReadableToo) {
    begin({"transport"});
    fake.clock->advance(40ms);
    answer("/transport_speed", 0.0F);
    answer("/record_enabled", std::int32_t{1});
    EXPECT_EQ("speed          0.0\nrecord enabled yes\nrecording      no\n", output.printed);
}

TEST_F(RecorderCommandTest, NoAnswerInTimeIsNoAnswer) {
    begin({"transport"});
    fake.clock->advance(2499ms);
    EXPECT_FALSE(ended());
    fake.clock->advance(1ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_EQ("LiveTrax does not answer.", outcome->message);
    EXPECT_THAT(output.printed, IsEmpty());
}

TEST_F(RecorderCommandTest, ATakenReplyPortIsSaidAtOnce) {
    fake.network->datagramsBecomeReady = false;
    for (const auto &arguments : {std::vector<std::string>{"transport"}, {"save"}, {"marker", "Verse"}}) {
        outcome.reset();
        begin(arguments);
        surface().fail(std::errc::address_in_use);
        fake.clock->run();
        ASSERT_TRUE(ended()) << arguments.front();
        EXPECT_EQ(status::noAnswer, outcome->status);
        EXPECT_EQ("UDP port 8000 is in use by another program.", outcome->message);
    }
}

TEST_F(RecorderCommandTest, AReplyPortThatCorvaneItselfHoldsIsSaidToBeItsOwn) {
    fake.network->datagramsBecomeReady = false;
    const std::string taken = "UDP port 8000 is in use by another program.";
    const std::map<std::string, std::string> beneath{
        {"/usr/bin/corvane",
         "\n  It is held by corvane (process 4711): as long as it runs, it alone talks to LiveTrax."},
        {"/Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3",
         "\n  It is held by LiveTrax3 (process 4711)."},
        {"/usr/bin/thunderbird", ""}};
    for (const auto &[program, line] : beneath) {
        portHolders[8000] = {{4711, program}};
        outcome.reset();
        begin({"save"});
        surface().fail(std::errc::address_in_use);
        fake.clock->run();
        ASSERT_TRUE(ended()) << program;
        EXPECT_EQ(taken + line, outcome->message);
    }
}

TEST_F(RecorderCommandTest, SaveWaitsUntilItsDatagramHasLeftAndARefusalWouldHaveCome) {
    begin({"save", "--json"});
    fake.clock->advance(139ms);
    EXPECT_FALSE(ended());
    fake.clock->advance(1ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::done, outcome->status);
    EXPECT_THAT(sentAddresses(), ElementsAre("/save_state"));
    EXPECT_EQ((json{{"sent", {"/save_state"}}}), printedJson());
}

TEST_F(RecorderCommandTest, MarkerWaitsForBothOfItsDatagrams) {
    begin({"marker", " Verse 2\n", "--json"});
    fake.clock->advance(229ms);
    EXPECT_FALSE(ended());
    fake.clock->advance(1ms);
    ASSERT_TRUE(ended());
    EXPECT_EQ((json{{"sent", {"/add_marker", "/marker"}}}), printedJson());
    EXPECT_EQ(OSCValue(std::string("Verse 2")),
              OSCCodec::parse(surface().sent.back().datagram).value().values.at(0));
}

TEST_F(RecorderCommandTest, WhatCouldNotBeSentIsAFailure) {
    fake.network->datagramsBecomeReady = false;
    begin({"save"});
    surface().fail(std::errc::network_down);
    fake.clock->advance(1s);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_EQ(std::make_error_code(std::errc::network_down).message(), outcome->message);
}

TEST_F(RecorderCommandTest, ADatagramThatTheSystemRefusesHasNotBeenSent) {
    begin({"marker", std::string(70000, 'x')});
    surface().result = SendResult::lost;
    fake.clock->advance(1s);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::noAnswer, outcome->status);
    EXPECT_EQ("Nothing could be sent to LiveTrax.", outcome->message);
}

TEST_F(RecorderCommandTest, WhatIsRefusedIsNotAnswered) {
    for (const auto &arguments : {std::vector<std::string>{"save"}, {"marker", "Verse"}}) {
        outcome.reset();
        begin(arguments);
        fake.clock->advance(41ms);
        surface().breakOff(std::errc::connection_refused);
        fake.clock->advance(1s);
        ASSERT_TRUE(ended()) << arguments.front();
        EXPECT_EQ(status::noAnswer, outcome->status);
        EXPECT_EQ("LiveTrax does not answer.", outcome->message);
        EXPECT_THAT(output.printed, IsEmpty());
    }
}

TEST_F(RecorderCommandTest, TheNamedWayIsAskedForByOptionOrEnvironment) {
    begin({"marker", "Verse", "--style", "named", "--json"});
    fake.clock->advance(1s);
    EXPECT_EQ((json{{"sent", {"/add_marker"}}}), printedJson());
    EXPECT_EQ(OSCValue(std::string("Verse")),
              OSCCodec::parse(surface().sent.back().datagram).value().values.at(0));

    const EnvironmentVariable named("CORVANE_MARKERS", "named");
    output.printed.clear();
    begin({"marker", "Verse", "--json"});
    fake.clock->advance(1s);
    EXPECT_EQ((json{{"sent", {"/add_marker"}}}), printedJson());
    output.printed.clear();
    begin({"marker", "Verse", "--json", "--style", "classic"});
    fake.clock->advance(1s);
    EXPECT_EQ((json{{"sent", {"/add_marker", "/marker"}}}), printedJson());
    EXPECT_EQ(status::wrongUsage, run({"marker", "Verse", "--style", "loud"}).status);
}

TEST_F(RecorderCommandTest, AWordInTheEnvironmentThatIsNoneMeansTheClassicWayAndStopsNoCommand) {
    const EnvironmentVariable wrong("CORVANE_MARKERS", "loud");
    begin({"hosts", "--for", "1"});
    fake.clock->advance(2s);
    ASSERT_TRUE(ended());
    EXPECT_NE(status::wrongUsage, outcome->status);
    outcome.reset();
    begin({"marker", "Verse", "--json"});
    fake.clock->advance(1s);
    EXPECT_EQ((json{{"sent", {"/add_marker", "/marker"}}}), printedJson());
}

TEST_F(RecorderCommandTest, ConfirmAsksFirstAndSendsOnceAnswered) {
    begin({"marker", "Verse", "--confirm", "--json"});
    fake.clock->advance(40ms);
    EXPECT_THAT(sentAddresses(), ElementsAre("/transport_speed", "/record_enabled", "/is_recording"));
    answer("/transport_speed", 1.0F);
    answer("/record_enabled", std::int32_t{1});
    fake.clock->advance(1s);
    ASSERT_TRUE(ended());
    EXPECT_EQ(status::done, outcome->status);
    EXPECT_EQ((json{{"sent", {"/add_marker", "/marker"}}}), printedJson());
}

TEST_F(RecorderCommandTest, ConfirmSendsNothingWithoutAnAnswer) {
    for (const auto &arguments :
         {std::vector<std::string>{"save", "--confirm"}, {"marker", "Verse", "--confirm"}}) {
        outcome.reset();
        begin(arguments);
        fake.clock->advance(10s);
        ASSERT_TRUE(ended());
        EXPECT_EQ(status::noAnswer, outcome->status);
        EXPECT_EQ("LiveTrax does not answer.", outcome->message);
        EXPECT_THAT(sentAddresses(), ElementsAre("/transport_speed", "/record_enabled", "/is_recording"));
    }
}

TEST_F(RecorderCommandTest, StoppedItClosesItsSocket) {
    begin({"transport"});
    command->stop();
    fake.clock->advance(5s);
    EXPECT_TRUE(surface().cancelled);
    EXPECT_FALSE(ended());
}

} // namespace
} // namespace corvane::cli

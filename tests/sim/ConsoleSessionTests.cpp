#include "osc/OSCCodec.h"
#include "patch/ColourText.h"
#include "sim/ConsoleSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace corvane::sim {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

const OSCMessage first{"/handshake", {-1, -1, 6}};
const OSCMessage second{"/handshake", {1, -1, 6}};
const std::string identifier = "0f8fad5bd9cb469fa16570867728950e";
const OSCMessage introduction{"/device_name", {"FOH", identifier, "02:00:00:00:00:01 02:00:00:00:00:0a"}};

/// A session with a test for its client.
class ConsoleSessionTest : public testing::Test {
protected:
    ConsoleSessionTest() {
        state.channels = {LV1Channel("Kick", false, "SG", 0, "Mixer_Ch", 1, 1.0F, 0.5F, 0.0F),
                          LV1Channel("Aux", true, "SG", 1, "Aux_Ch", 1)};
        state.scene = "Intro";
        session.onSend = [this](Bytes bytes) {
            for (auto &message : OSCCodec::readFrames(bytes))
                answers.push_back(described(message));
        };
        session.onReport = [this](const std::string &text) { reports.push_back(text); };
    }

    void receive(const Bytes &bytes) { session.receive(bytes, now); }
    void receive(const OSCMessage &message) {
        receive(OSCCodec::frame(OSCCodec::message(message.address, message.values)));
    }
    void greet() {
        receive(first);
        now += 250ms;
        receive(second);
        receive(introduction);
        answers.clear();
    }
    void expectReportOf(const OSCMessage &message, const std::string &report) {
        receive(message);
        EXPECT_THAT(reports, ElementsAre(report));
        reports.clear();
    }

    ConsoleState state;
    ConsoleSession session{state};
    ConsoleSession::TimePoint now{};
    std::vector<std::string> answers;
    std::vector<std::string> reports;
};

TEST_F(ConsoleSessionTest, AcceptsTheClientAfterItsSecondHandshakeAndTellsItEverything) {
    receive(first);
    EXPECT_THAT(answers, IsEmpty());
    EXPECT_FALSE(session.isAccepted());
    now += 250ms;
    receive(second);
    EXPECT_TRUE(session.isAccepted());
    EXPECT_THAT(answers, ElementsAre("/handshake 1",
                                     "/Notify/IOConnections 2 \"Kick\" 0 \"SG\" 0 \"Mixer_Ch\" 1 0 "
                                     "\"Aux\" 1 \"SG\" 1 \"Aux_Ch\" 1 0",
                                     "/Notify/TrackColor 0 0 0 1f 0.5f 0f", "/Notify/Scene/Name \"Intro\""));
    receive(introduction);
    session.end();
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(ConsoleSessionTest, ReadsWhatComesInPieces) {
    for (const auto byte : OSCCodec::frame(OSCCodec::message("/handshake", first.values)))
        receive(Bytes{byte});
    now += 250ms;
    receive(second);
    EXPECT_TRUE(session.isAccepted());
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(ConsoleSessionTest, ReportsWrongHandshakes) {
    expectReportOf({"/handshake", {1, -1, 6}},
                   "handshake 1 is /handshake 1 -1 6 instead of /handshake -1 -1 6");
    now += 250ms;
    expectReportOf({"/handshake", {1.0F, -1, 7}},
                   "handshake 2 is /handshake 1f -1 7 instead of /handshake 1 -1 6");
    expectReportOf(second, "a third handshake: /handshake 1 -1 6");
}

TEST_F(ConsoleSessionTest, ReportsAHandshakeAtTheWrongTime) {
    receive(first);
    now += 100ms;
    expectReportOf(second, "the second handshake came 100 ms after the first, instead of 250");
    for (const auto &[pause, reported] : {std::pair(199, 1U), {200, 0U}, {5000, 0U}, {5001, 1U}}) {
        ConsoleSession another(state);
        std::size_t reports = 0;
        another.onReport = [&](const std::string &) { ++reports; };
        for (const OSCMessage &message : {first, second}) {
            another.receive(OSCCodec::frame(OSCCodec::message(message.address, message.values)), now);
            now += std::chrono::milliseconds(pause);
        }
        EXPECT_EQ(reports, reported) << pause;
    }
}

TEST_F(ConsoleSessionTest, TellsAClientNothingBeforeItHasAcceptedIt) {
    receive(first);
    session.sendPatch();
    session.sendColour(state.channels.front());
    session.sendScene();
    EXPECT_THAT(answers, IsEmpty());
}

TEST_F(ConsoleSessionTest, TellsTheColoursOfTheMixersChannelsAlone) {
    greet();
    session.sendColour(LV1Channel("None", false, "SG", 0, "Mixer_Ch", 0));
    session.sendColour(LV1Channel("Aux", false, "SG", 0, "Aux_Ch", 2));
    session.sendColour(LV1Channel("Second", false, "SG", 0, "Mixer_Ch", 2, 1.0F, 0.5F, 0.0F));
    EXPECT_THAT(answers, ElementsAre("/Notify/TrackColor 0 1 0 1f 0.5f 0f"));
}

TEST_F(ConsoleSessionTest, ReportsWrongHeaderConstants) {
    auto frame = OSCCodec::frame(OSCCodec::message("/handshake", first.values));
    frame[7] = 3;
    frame[11] = 1;
    receive(frame);
    EXPECT_THAT(reports, ElementsAre("bytes 4 to 7 of a frame header are 3 instead of 2",
                                     "bytes 8 to 11 of a frame header are 1 instead of 0"));
}

TEST_F(ConsoleSessionTest, ReportsALengthThatLeadsNowhereAndReadsNoFurther) {
    receive(Bytes(12));
    EXPECT_THAT(reports, ElementsAre("a frame header gives the length 0"));
    EXPECT_TRUE(session.isLost());
    receive(first);
    EXPECT_EQ(reports.size(), 1U);
}

TEST_F(ConsoleSessionTest, ReadsFramesOfTwoMillionBytesAndNoLongerOnes) {
    receive(Bytes{0, 0x1E, 0x84, 0x7F, 0, 0, 0, 2, 0, 0, 0, 0});
    EXPECT_THAT(reports, IsEmpty());
    EXPECT_FALSE(session.isLost());
    ConsoleSession another(state);
    another.onReport = session.onReport;
    another.receive(Bytes{0, 0x1E, 0x84, 0x80, 0, 0, 0, 2, 0, 0, 0, 0}, now);
    EXPECT_TRUE(another.isLost());
    another.end();
    EXPECT_THAT(reports, ElementsAre("a frame header gives the length 2000000",
                                     "the client left after 0 of 2 handshakes"));
}

TEST_F(ConsoleSessionTest, ReportsWhatIsNoOSCMessage) {
    receive(OSCCodec::frame(Bytes{1, 2, 3}));
    receive(OSCCodec::frame(Bytes{1}));
    EXPECT_THAT(reports, ElementsAre("a frame of 3 bytes is not an OSC message",
                                     "a frame of 1 bytes is not an OSC message"));
}

TEST_F(ConsoleSessionTest, ReportsAMessageThatIsNotInItsPlainForm) {
    auto payload = OSCCodec::message("/handshake", first.values);
    payload.resize(payload.size() + 4);
    receive(OSCCodec::frame(payload));
    EXPECT_THAT(reports,
                ElementsAre("/handshake is not in its plain form: padding, superfluous bytes or doubles"));
}

TEST_F(ConsoleSessionTest, ReportsAWrongIntroduction) {
    const std::string mac = "02:00:00:00:00:01";
    expectReportOf(introduction, "/device_name came before the second handshake");
    expectReportOf({"/Device", {}}, "unexpected: /Device");
    receive(first);
    now += 250ms;
    receive(second);
    const auto introduce = [&](OSCValues values) {
        reports.clear();
        receive(OSCMessage{"/device_name", std::move(values)});
        EXPECT_EQ(reports.size(), 2U);
        EXPECT_EQ(reports.front(), "a second /device_name");
        return reports.back();
    };
    EXPECT_EQ(introduce({"FOH", identifier}),
              "/device_name does not carry three texts: /device_name \"FOH\" \"" + identifier + "\"");
    EXPECT_EQ(introduce({"", identifier, mac}), "/device_name: the computer's name is empty");
    const std::string notDigits = "/device_name: the identifier is not 32 lower-case hexadecimal digits: ";
    EXPECT_EQ(introduce({"FOH", "0F8FAD5B-D9CB-469F-A165-70867728950E", mac}),
              notDigits + "0F8FAD5B-D9CB-469F-A165-70867728950E");
    EXPECT_EQ(
        introduce({"FOH", identifier, "02:00:00:00:00:01,02:00:00:00:00:02"}),
        "/device_name: the hardware addresses are not six lower-case hexadecimal bytes each, with one blank "
        "between two addresses: 02:00:00:00:00:01,02:00:00:00:00:02");
    EXPECT_EQ(introduce({"FOH", identifier, "02:00:00:00:00:02 02:00:00:00:00:01"}),
              "/device_name: the hardware addresses are not in ascending order: "
              "02:00:00:00:00:02 02:00:00:00:00:01");
    EXPECT_EQ(introduce({"FOH", identifier, mac + " " + mac}),
              "/device_name: the hardware addresses hold a repeat: " + mac + " " + mac);
    reports.clear();
    receive(OSCMessage{"/device_name", {"FOH", identifier, ""}}); // a computer without any is fine
    EXPECT_THAT(reports, ElementsAre("a second /device_name"));
}

TEST_F(ConsoleSessionTest, AnIntroductionIsThreeTextsAnIdentifierAndAddressesInTheirOrder) {
    greet();
    const auto faultOf = [&](OSCValues values) {
        reports.clear();
        receive(OSCMessage{"/device_name", std::move(values)});
        return reports.size() > 1 ? reports.back().substr(0, reports.back().find(": ", 14)) : "";
    };
    const std::string texts = "/device_name does not carry three texts";
    EXPECT_EQ(faultOf({"FOH", identifier, "", "more"}), texts);
    EXPECT_EQ(faultOf({"FOH", 7, ""}), texts);
    const std::string digits = "/device_name: the identifier is not 32 lower-case hexadecimal digits";
    EXPECT_EQ(faultOf({"FOH", identifier.substr(1), ""}), digits);
    EXPECT_EQ(faultOf({"FOH", identifier + "0", ""}), digits);
    EXPECT_EQ(faultOf({"FOH", "x" + identifier.substr(1), ""}), digits);
    EXPECT_EQ(faultOf({"FOH", "g" + identifier.substr(1), ""}), digits);
    EXPECT_EQ(faultOf({"FOH", identifier, ""}), "");

    const std::string addresses = "/device_name: the hardware addresses ";
    const std::string form =
        addresses + "are not six lower-case hexadecimal bytes each, with one blank between two addresses";
    const std::string a = "02:00:00:00:00:01";
    const std::string b = "02:00:00:00:00:0a";
    const std::string c = "fe:dc:ba:98:76:54";
    for (const std::string &wrong :
         {std::string("02-00-00-00-00-01"), std::string("02:00:00:00:00:0"), a + "1", std::string("0a"),
          std::string("02:00:00:00:00:0x"), std::string("x2:00:00:00:00:01"),
          std::string("02:00:00:00:00:0A"), std::string("020:0:00:00:00:01"), " " + a, a + " ", a + "  " + b,
          a + " " + b + "x " + c, a + " x" + b.substr(1) + " " + c})
        EXPECT_EQ(faultOf({"FOH", identifier, wrong}), form) << wrong;
    for (const std::string &right : {a, a + " " + b, a + " " + b + " " + c})
        EXPECT_EQ(faultOf({"FOH", identifier, right}), "") << right;
    EXPECT_EQ(faultOf({"FOH", identifier, a + " " + c + " " + b}), addresses + "are not in ascending order");
    EXPECT_EQ(faultOf({"FOH", identifier, a + " " + b + " " + b}), addresses + "hold a repeat");
}

TEST_F(ConsoleSessionTest, PingsAnAcceptedClientAndChecksThePong) {
    session.ping();
    EXPECT_THAT(answers, IsEmpty());
    greet();
    session.ping();
    EXPECT_THAT(answers, ElementsAre("/ping 1 \"1\" 0.5f 1099511627776h true false"));
    receive(OSCMessage{"/pong", {1, "1", 0.5F, std::int64_t{1} << 40U, true, false}});
    session.ping();
    EXPECT_THAT(reports, IsEmpty());
    expectReportOf({"/pong", {1}}, "a pong with other values than its ping: /pong 1 instead of "
                                   "/pong 2 \"2\" 0.5f 1099511627776h true false");
    expectReportOf({"/pong", {2}}, "a pong without a ping: /pong 2");
    session.ping();
    EXPECT_THAT(reports, IsEmpty());
    session.ping();
    EXPECT_THAT(reports, ElementsAre("no /pong to the last ping"));
    reports.clear();
    receive(OSCMessage{"/pong", {4, "4", 0.5F, std::int64_t{1} << 40U, true, false}});
    EXPECT_THAT(reports, IsEmpty()) << "the one before is not waited for any more";
}

TEST_F(ConsoleSessionTest, ReportsAMissingIntroductionAtTheFirstPing) {
    receive(first);
    now += 250ms;
    receive(second);
    session.ping();
    EXPECT_THAT(reports, ElementsAre("no /device_name after the second handshake"));
    session.ping();
    EXPECT_THAT(reports,
                ElementsAre("no /device_name after the second handshake", "no /pong to the last ping"));
}

TEST_F(ConsoleSessionTest, ReportsWhatAClientThatLeavesStillOwed) {
    receive(first);
    receive(Bytes{0, 0});
    session.end();
    EXPECT_THAT(reports, ElementsAre("the client left after 1 of 2 handshakes",
                                     "the client left in the middle of a frame"));
}

TEST_F(ConsoleSessionTest, ReportsAClientThatLeavesWithoutHavingIntroducedItself) {
    receive(first);
    now += 250ms;
    receive(second);
    session.end();
    EXPECT_THAT(reports, ElementsAre("the client left without a /device_name"));
}

TEST(ConsoleState, TheBandHas24ChannelsMonoAndStereoOnInputsOfTheirOwn) {
    const auto state = bandOnStage();
    ASSERT_EQ(state.channels.size(), 24U);
    std::int32_t input = 0;
    std::int32_t number = 1;
    for (const auto &channel : state.channels) {
        EXPECT_EQ(channel.inputIndex(), input);
        EXPECT_EQ(channel.sourceIndex(), number++);
        EXPECT_EQ(channel.driver() + " " + channel.sourceType(), "SoundGrid Mixer_Ch");
        input += channel.stereo() ? 2 : 1;
    }
    EXPECT_EQ(input, 31);
    EXPECT_EQ(state.scene, "Prueba de sonido");
    EXPECT_THAT(state.scenes, ElementsAre("Prueba de sonido", "Intro", "Corazón de Neón", "Bolero Azul",
                                          "Night Train", "Presentación", "Cumbia del Río", "Encore"));
}

TEST(ConsoleState, TheBandHasItsNamesFormatsAndColours) {
    std::string channels;
    for (const auto &channel : bandOnStage().channels)
        channels += channel.name() + ", " + channel.format() + " " + colourText(channel) + "\n";
    EXPECT_EQ(channels, R"(Bombo In, Mono #D83F33
Bombo Out, Mono #D83F33
Caja Top, Mono #D83F33
Caja Bottom, Mono #D83F33
Hi-Hat, Mono #D83F33
Tom 1, Mono #D83F33
Tom 2, Mono #D83F33
Overheads, Stereo #D83F33
Congas, Stereo #E58C26
Timbal & Cencerro, Mono #E58C26
Bajo DI, Mono #8C4CCC
Bajo Mic, Mono #8C4CCC
Guitarra Acústica, Mono #33A54C
GTR Eléctrica L/R, Stereo #33A54C
Piano, Stereo #2699CC
Synth <Pads>, Stereo #2699CC
Trompeta, Mono #F2CC33
Trombón, Mono #F2CC33
Saxo, Mono #F2CC33
Voz Principal, Mono #E566A5
Coro Ana, Mono #E566A5
Coro Íñigo, Mono #E566A5
FX Return, Stereo #2699CC
Público, Stereo #7F7F7F
)");
}

} // namespace
} // namespace corvane::sim

#include "livetrax/session/RecordingFormat.h"

#include <gtest/gtest.h>

#include <string>

namespace corvane {
namespace {

struct Case {
    const char *name;
    std::string session;
    RecordingFormat expected;
};

std::string withFormat(const std::string &value) {
    return "<Session sample-rate='96000'><Config><Option name='other' value='FormatInt16'/>"
           "<Option name='native-file-data-format' value='" +
           value + "'/></Config></Session>";
}

const Case table[] = {
    {"NothingSaid", "<Session/>", {48'000, 4}},
    {"ARate", "<Session sample-rate='44100'/>", {44'100, 4}},
    {"Float", withFormat("FormatFloat"), {96'000, 4}},
    {"TwentyFourBits", withFormat("FormatInt24"), {96'000, 3}},
    {"SixteenBits", withFormat("FormatInt16"), {96'000, 2}},
    {"AnUnknownFormat", withFormat("FormatInt8"), {96'000, 4}},
    {"TheLowestRate", "<Session sample-rate='1'/>", {1, 4}},
    {"NoRate", "<Session sample-rate='0'/>", {48'000, 4}},
    {"ANegativeRate", "<Session sample-rate='-44100'/>", {48'000, 4}},
    {"TheHighestRate", "<Session sample-rate='1000000'/>", {1'000'000, 4}},
    {"ARateAboveTheHighest", "<Session sample-rate='1000001'/>", {48'000, 4}},
    {"AnAbsurdRate", "<Session sample-rate='4294967297'/>", {48'000, 4}},
    {"ARateInWords", "<Session sample-rate='fast'/>", {48'000, 4}},
};

class RecordingFormatTest : public testing::TestWithParam<Case> {};

TEST_P(RecordingFormatTest, IsWhatTheSessionSays) {
    const XMLDocument session = XMLDocument::parse(GetParam().session, "a test");
    EXPECT_EQ(recordingFormat(session.root()), GetParam().expected);
}

TEST(RecordingFormat, AMinuteOfOneInputTakesElevenMegabytes) {
    constexpr std::uintmax_t minute = 48'000ULL * 4 * 60;
    EXPECT_EQ(1U, recordingMinutes(minute, 1, {48'000, 4}));
    EXPECT_EQ(0U, recordingMinutes(minute - 1, 1, {48'000, 4}));
    EXPECT_EQ(30U, recordingMinutes(minute * 60, 2, {48'000, 4}));
    EXPECT_EQ(60U, recordingMinutes(minute * 120, 1, {96'000, 4}));
    EXPECT_EQ(80U, recordingMinutes(minute * 60, 1, {48'000, 3})) << "24 bits take three quarters";
    EXPECT_EQ(UINTMAX_MAX, recordingMinutes(1, 0, {48'000, 4}));
}

TEST(RecordingFormat, RatesAreSaidAsEngineersDo) {
    EXPECT_EQ("48 kHz", kilohertz(48'000));
    EXPECT_EQ("44.1 kHz", kilohertz(44'100));
}

INSTANTIATE_TEST_SUITE_P(Sessions, RecordingFormatTest, testing::ValuesIn(table),
                         [](const auto &each) { return each.param.name; });

} // namespace
} // namespace corvane

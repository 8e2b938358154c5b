#include "patch/PatchDocument.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace corvane {
namespace {

LV1Channel channel(const std::string &name, float red = 0.25F) {
    return LV1Channel(name, true, "SoundGrid", 4, "Mixer_Ch", 3, red, 0.55F, 1.0F);
}

/// A document of one channel, whose field has this value instead of a good one.
std::string documentWith(const std::string &field, const std::string &value) {
    std::string text;
    for (const auto &[name, good] : {std::pair<std::string, std::string>{"name", "\"Kick\""},
                                     {"stereo", "false"},
                                     {"driver", "\"SG\""},
                                     {"inputIndex", "0"},
                                     {"sourceType", "\"Mixer_Ch\""},
                                     {"sourceIndex", "1"},
                                     {"red", "0.5"},
                                     {"green", "0.5"},
                                     {"blue", "0.5"}}) {
        const auto &chosen = name == field ? value : good;
        if (!chosen.empty())
            text += (text.empty() ? "" : ",") + ("\"" + name + "\":" + chosen);
    }
    return R"({"version":1,"channels":[)" + ("{" + text + "}]}");
}

std::string refusal(const std::string &document) {
    try {
        readPatchDocument(document);
    } catch (const PatchDocumentError &error) {
        return error.what();
    }
    return "read";
}

TEST(PatchDocument, IsWrittenOneLineForEachChannel) {
    EXPECT_EQ(patchDocument({channel("Kick"), channel("Batería \"1\"")}),
              R"({"version":1,"channels":[
{"name":"Kick","stereo":true,"driver":"SoundGrid","inputIndex":4,"sourceType":"Mixer_Ch","sourceIndex":3,"red":0.25,"green":0.55,"blue":1.0},
{"name":"Batería \"1\"","stereo":true,"driver":"SoundGrid","inputIndex":4,"sourceType":"Mixer_Ch","sourceIndex":3,"red":0.25,"green":0.55,"blue":1.0}
]}
)");
}

TEST(PatchDocument, OfNoChannelsIsWrittenAndRead) {
    EXPECT_EQ(patchDocument({}), "{\"version\":1,\"channels\":[\n]}\n");
    EXPECT_TRUE(readPatchDocument(patchDocument({})).empty());
    EXPECT_EQ(channelArray({}), "[]");
}

TEST(PatchDocument, ReadsBackWhatWasWritten) {
    constexpr auto least = std::numeric_limits<std::int32_t>::min();
    constexpr auto most = std::numeric_limits<std::int32_t>::max();
    const std::vector<LV1Channel> channels{
        channel("Kick"), LV1Channel("", false, "a\tb\n\"\\\x01", least, "日本語", most, 0.1F, -0.0F, 1e-40F),
        LV1Channel("\xF0\x9F\x8E\xB8", true, "", 0, "", 0, std::numeric_limits<float>::max(),
                   std::numeric_limits<float>::denorm_min(), -1.5F)};
    EXPECT_EQ(readPatchDocument(patchDocument(channels)), channels);
    EXPECT_EQ(readPatchDocument(R"({"version":1,"channels":)" + channelArray(channels) + "}"), channels);
}

TEST(PatchDocument, EveryColourReadsBackAsTheVerySameNumber) {
    std::minstd_rand random(3);
    std::uniform_int_distribution<std::uint32_t> bits;
    std::vector<LV1Channel> channels;
    for (int i = 0; i < 3'000; ++i) {
        const std::uint32_t pattern = bits(random) * 2 + (bits(random) & 1U);
        float value = 0;
        std::memcpy(&value, &pattern, sizeof value);
        if (std::isfinite(value))
            channels.push_back(channel("x", value));
    }
    const auto back = readPatchDocument(patchDocument(channels));
    ASSERT_EQ(back.size(), channels.size());
    for (std::size_t i = 0; i < back.size(); ++i)
        EXPECT_EQ(std::memcmp(&back[i].red, &channels[i].red, sizeof(float)), 0) << channels[i].red;
}

TEST(PatchDocument, AColourThatIsNotFiniteIsWrittenAsNull) {
    const auto text = channelObject(channel("x", std::numeric_limits<float>::quiet_NaN()));
    EXPECT_NE(text.find("\"red\":null,\"green\":0.55"), std::string::npos) << text;
    EXPECT_NE(patchTable({channel("x", -std::numeric_limits<float>::infinity())})
                  .find(",null,0.55,1.0,5–6,Stereo,#008CFF\n"),
              std::string::npos);
}

TEST(PatchDocument, AColourHasNoMoreDigitsThanTellItFromItsNeighbours) {
    const std::vector<std::pair<float, std::string>> table{{0.0F, "0.0"},
                                                           {-0.0F, "-0.0"},
                                                           {1.0F, "1.0"},
                                                           {0.1F, "0.1"},
                                                           {1.0F / 255, "0.003921569"},
                                                           {0.55F, "0.55"},
                                                           {0.33333334F, "0.33333334"},
                                                           {1e-5F, "1e-05"}};
    for (const auto &[colour, text] : table) {
        const auto object = channelObject(channel("x", colour));
        EXPECT_NE(object.find("\"red\":" + text + ","), std::string::npos) << object;
    }
}

TEST(PatchDocument, EveryCharacterOfANameReadsBack) {
    for (int byte = 0; byte < 0x80; ++byte) {
        const std::string name = "a" + std::string(1, static_cast<char>(byte)) + "z";
        for (const std::string &each : {name, name.substr(1, 1)})
            EXPECT_EQ(readPatchDocument(patchDocument({channel(each)})).front().name(), each) << byte;
    }
}

TEST(PatchDocument, ANameThatIsNotUTF8StillMakesADocument) {
    EXPECT_EQ(readPatchDocument(patchDocument({channel("a\xFFz")})).front().name(), "a\xEF\xBF\xBDz");
}

TEST(PatchDocument, ColoursMayBeLeftOut) {
    const auto read = readPatchDocument(
        R"({"version":1,"channels":[{"name":"K","stereo":false,"driver":"D","inputIndex":0,"sourceType":"S","sourceIndex":1}]})");
    ASSERT_EQ(read.size(), 1U);
    EXPECT_EQ(read.front(), LV1Channel("K", false, "D", 0, "S", 1));
    EXPECT_EQ(readPatchDocument(documentWith("green", "")).front().green, 0.55F);
}

TEST(PatchDocument, AWholeNumberMayBeWrittenInAnyWay) {
    EXPECT_EQ(readPatchDocument(documentWith("inputIndex", "5.0")).front().inputIndex(), 5);
    EXPECT_EQ(readPatchDocument(documentWith("inputIndex", "1e3")).front().inputIndex(), 1000);
    EXPECT_EQ(readPatchDocument(documentWith("inputIndex", "16777217.0")).front().inputIndex(), 16'777'217);
}

TEST(PatchDocument, SaysWhichFieldOfWhichChannelIsWrongAndWhy) {
    constexpr auto whole = " must be a whole number from -2147483648 to 2147483647";
    EXPECT_EQ(refusal(documentWith("name", "")), "channel 1: \"name\" is missing");
    EXPECT_EQ(refusal(documentWith("name", "5")), "channel 1: \"name\" must be a text");
    EXPECT_EQ(refusal(documentWith("driver", "null")), "channel 1: \"driver\" must be a text");
    EXPECT_EQ(refusal(documentWith("sourceType", "[]")), "channel 1: \"sourceType\" must be a text");
    EXPECT_EQ(refusal(documentWith("stereo", "1")), "channel 1: \"stereo\" must be true or false");
    for (const char *bad : {"1.5", "2147483648", "-2147483649", "1e10", "18446744073709551615", "\"1\"",
                            "null", "true", "99999999999999999999999"}) {
        EXPECT_EQ(refusal(documentWith("inputIndex", bad)), std::string("channel 1: \"inputIndex\"") + whole);
        EXPECT_EQ(refusal(documentWith("sourceIndex", bad)),
                  std::string("channel 1: \"sourceIndex\"") + whole);
    }
    EXPECT_EQ(refusal(documentWith("red", "null")), "channel 1: \"red\" must be a number");
    EXPECT_EQ(refusal(documentWith("blue", "1e39")), "channel 1: \"blue\" must be a finite number");
    EXPECT_EQ(refusal(R"({"version":1,"channels":[)" + channelObject(channel("x")) + R"(,{"red":1e999}]})"),
              "channel 2: \"red\" is too large a number");
    EXPECT_EQ(refusal(documentWith("red", "1e999")), "channel 1: \"red\" is too large a number");
    EXPECT_EQ(refusal(documentWith("name", "\"x\",\"colour\":1")),
              "channel 1: \"colour\" is not a field of a channel");
    EXPECT_EQ(refusal(R"({"version":1,"channels":[)" + channelObject(channel("x")) + ",7]}"),
              "channel 2 must be an object");
}

TEST(PatchDocument, OfSeveralWrongFieldsTheFirstIsNamed) {
    std::string text = documentWith("", "");
    for (const char *field :
         {"blue", "green", "red", "sourceIndex", "sourceType", "inputIndex", "driver", "stereo", "name"}) {
        const std::size_t value = text.find(std::string("\"") + field + "\":") + std::strlen(field) + 3;
        text.replace(value, text.find_first_of(",}", value) - value, "[]");
        EXPECT_EQ(refusal(text).find(std::string("channel 1: \"") + field + "\" must be"), 0U) << text;
    }
}

TEST(PatchDocument, SaysWhatIsWrongWithTheDocument) {
    EXPECT_EQ(refusal("[]"), "the document must be an object");
    EXPECT_EQ(refusal(R"({"channels":[]})"), "\"version\" is missing");
    EXPECT_EQ(refusal(R"({"version":2,"channels":[]})"), "\"version\" must be 1");
    EXPECT_EQ(refusal(R"({"version":"1","channels":[]})"), "\"version\" must be 1");
    EXPECT_EQ(refusal(R"({"version":1})"), "\"channels\" is missing");
    EXPECT_EQ(refusal(R"({"version":1,"channels":[],"colour":1})"),
              "\"colour\" is not a field of a patch file");
    EXPECT_EQ(refusal(R"({"version":2,"colour":1})"), "\"version\" must be 1");
    EXPECT_EQ(refusal(R"({"version":1,"channels":{}})"), "\"channels\" must be a list");
    EXPECT_EQ(refusal(""), "not a JSON document: error at byte 1");
    EXPECT_EQ(refusal("{\"version\":1"), "not a JSON document: error at byte 13");
    EXPECT_EQ(refusal("{\"version\":1e999}"), "\"version\" is too large a number");
    EXPECT_EQ(refusal("{\"version\":\"\xFF\"}").substr(0, 19), "not a JSON document");
}

TEST(PatchDocument, DeepNestingIsRefusedAndNoMore) {
    EXPECT_EQ(refusal(std::string(200'000, '[')).substr(0, 19), "not a JSON document");
    EXPECT_EQ(refusal(std::string(200'000, '[') + std::string(200'000, ']')),
              "the document must be an object");
}

TEST(PatchDocument, AsATableQuotesWhatNeedsIt) {
    EXPECT_EQ(patchTable({channel("Vox, \"lead\""), channel("Kick")}),
              "name,stereo,driver,inputIndex,sourceType,sourceIndex,red,green,blue,Input,Format,Colour\n"
              "\"Vox, \"\"lead\"\"\",true,SoundGrid,4,Mixer_Ch,3,0.25,0.55,1.0,5–6,Stereo,#3F8CFF\n"
              "Kick,true,SoundGrid,4,Mixer_Ch,3,0.25,0.55,1.0,5–6,Stereo,#3F8CFF\n");
}

} // namespace
} // namespace corvane

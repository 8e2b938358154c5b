#include "tests/livetrax/session/SessionTexts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace corvane {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Generator = LiveTraxGenerator;

/// The route and the playlist of the small template's mono or stereo model.
struct Model {
    explicit Model(const std::string &name = "Mono Model")
        : tree(smallTemplate()), route(tree.route(name)),
          playlist(tree.playlists().firstChild("Playlist", "name", name)) {}

    Tree tree;
    XMLElement route;
    XMLElement playlist;
};

std::string colorOf(float red, float green, float blue) {
    Model model;
    LV1Channel colored = channel("Kick", 0);
    colored.red = red;
    colored.green = green;
    colored.blue = blue;
    Generator::configure(model.route, model.playlist, colored, 0);
    return *model.route.firstChild("PresentationInfo").attribute("color");
}

TEST(Configure, ATrackIsNamedPlacedColouredConnectedAndArmed) {
    Model model("Stereo Model");
    Generator::configure(model.route, model.playlist, channel("OH", 4, true), 11);

    EXPECT_EQ(model.route.attribute("name"), "OH");
    EXPECT_EQ(model.playlist.attribute("name"), "OH");
    EXPECT_EQ(model.route.firstChild("PresentationInfo").attribute("order"), "12");
    EXPECT_EQ(model.route.firstChild("PresentationInfo").attribute("color"), std::to_string(0x3F8CD8FFU));
    const XMLElement input = model.route.firstChild("IO", "direction", "Input");
    EXPECT_EQ(input.attribute("name"), "Audio 12");
    EXPECT_THAT(names(input, "Port"), ElementsAre("Audio 12/audio_in 1", "Audio 12/audio_in 2"));
    EXPECT_THAT(connections(input), ElementsAre("system:capture_5", "system:capture_6"));
    const XMLElement out = directOut(model.route);
    EXPECT_EQ(out.attribute("name"), "OH");
    EXPECT_EQ(out.attribute("bitslot"), "5");
    const XMLElement output = out.firstChild("IO");
    EXPECT_EQ(output.attribute("name"), "OH");
    EXPECT_THAT(names(output, "Port"), ElementsAre("OH/audio_send 1", "OH/audio_send 2"));
    EXPECT_THAT(connections(output), ElementsAre("system:playback_5", "system:playback_6"));
    EXPECT_EQ(model.route.firstChild("Controllable", "name", "rec-enable").attribute("value"), "1");
    EXPECT_EQ(model.route.firstChild("Controllable", "name", "monitor").attribute("value"), "0");
}

TEST(Configure, ATrackMayHaveNoPlaylist) {
    Model model;
    Generator::configure(model.route, {}, channel("Kick", 0), 0);
    EXPECT_EQ(model.route.attribute("name"), "Kick");
}

TEST(Configure, NothingIsCreatedThatTheTrackLacks) {
    const std::string bare =
        "<Session><Routes><Route><PresentationInfo/><IO direction='Input'><Port><ExtConnection/></Port></IO>"
        "<Processor role='DirectOuts'><IO direction='Output'><Port><ExtConnection/></Port></IO></Processor>"
        "<Processor role='DirectOuts' name='keeps'/><Controllable "
        "name='rec-enable'/></Route><Route/></Routes>"
        "<Playlists><Playlist/></Playlists></Session>";
    const Tree tree(bare);
    const std::string before = tree.text();
    const XMLElement route = tree.routes().firstChild("Route");
    Generator::configure(route, tree.playlists().firstChild(), channel("Kick", 0), 0);
    Generator::configure(route.next(), {}, channel("Kick", 0), 0);
    EXPECT_EQ(tree.text(), before);
}

TEST(Configure, ATrackWithoutPortsIsRenamedByTheNameThatItHad) {
    const Tree tree("<S><Route name='Kick'><Processor name='Kick'/><Processor name='Snare'/></Route></S>");
    Generator::configure(tree.root().firstChild(), {}, channel("Snare", 0), 0);
    EXPECT_THAT(names(tree.root().firstChild(), "Processor"), ElementsAre("Audio 1", "Snare"));
}

TEST(Configure, OnlyTheFirstOfEachNamedElementIsTouched) {
    Model model;
    const auto append = [&](const char *name, const char *attribute, const char *value) {
        XMLElement added = model.route.append(name);
        added.setAttribute(attribute, value);
        return added;
    };
    XMLElement presentation = append("PresentationInfo", "order", "77");
    XMLElement input = append("IO", "direction", "Input");
    XMLElement port = input.append("Port");
    port.append("ExtConnection").setAttribute("other", "system:capture_99");
    XMLElement armed = append("Controllable", "name", "rec-enable");
    armed.setAttribute("value", "0");
    XMLElement plugin = append("Processor", "name", "EQ");
    Generator::configure(model.route, model.playlist, channel("Kick", 0), 0);
    EXPECT_EQ(presentation.attribute("order"), "77");
    EXPECT_THAT(connections(input), ElementsAre("system:capture_99"));
    EXPECT_EQ(armed.attribute("value"), "0");
    EXPECT_EQ(plugin.attribute("name"), "EQ");
}

TEST(Configure, EveryDirectOutIsConfigured) {
    Model model;
    Generator::configure(model.route, model.playlist, channel("Kick", 6), 0);
    XMLElement second = model.route.appendCopy(directOut(model.route));
    second.setAttribute("bitslot", "x");
    Generator::configure(model.route, model.playlist, channel("Snare", 7), 0);
    EXPECT_EQ(second.attribute("bitslot"), "8");
    EXPECT_EQ(second.attribute("name"), "Snare");
    EXPECT_THAT(connections(second.firstChild("IO")), ElementsAre("system:playback_8"));
}

TEST(Configure, TheLargestInputOfTheConsoleStillCounts) {
    Model model("Stereo Model");
    Generator::configure(model.route, model.playlist,
                         channel("Far", std::numeric_limits<std::int32_t>::max(), true), 0);
    EXPECT_THAT(connections(model.route.firstChild("IO", "direction", "Input")),
                ElementsAre("system:capture_2147483648", "system:capture_2147483649"));
    EXPECT_EQ(directOut(model.route).attribute("bitslot"), "2147483648");
}

TEST(Configure, AColourIsPackedWithAnOpaqueAlpha) {
    EXPECT_EQ(colorOf(1.0F, 0.5F, 0.0F), "4286513407");
    EXPECT_EQ(colorOf(0.0F, 0.0F, 0.0F), "255");
    EXPECT_EQ(colorOf(1.0F, 1.0F, 1.0F), "4294967295");
}

TEST(Configure, AColourBeyondItsRangeIsClamped) {
    EXPECT_EQ(colorOf(2.0F, -1.0F, 3.0e38F), std::to_string(0xFF00FFFFU));
    EXPECT_EQ(colorOf(-3.0e38F, 1.0e10F, -0.0F), std::to_string(0x00FF00FFU));
}

TEST(Configure, EveryColourByteComesBackFromItsFraction) {
    for (std::uint32_t byte = 0; byte < 256; ++byte)
        EXPECT_EQ(colorOf(static_cast<float>(byte) / 255.0F, 0, 0), std::to_string(byte << 24U | 255U));
}

TEST(ConfigureDeathTest, AColourThatIsNoNumberStopsTheProgram) {
    const float infinite = std::numeric_limits<float>::infinity();
    EXPECT_DEATH(colorOf(std::nanf(""), 0, 0), "a colour component is not a finite number\n");
    EXPECT_DEATH(colorOf(0, infinite, 0), "colour");
    EXPECT_DEATH(colorOf(0, 0, -infinite), "colour");
}

std::string renamed(const std::string &route, const std::string &engineNamespace) {
    const Tree tree("<S>" + route + "</S>");
    Generator::setEngineNamespace(tree.root().firstChild("Route"), engineNamespace);
    const std::string text = tree.text();
    const std::size_t start = text.find("<S>") + 3;
    std::string inside = text.substr(start, text.find("</S>") - start);
    for (std::size_t at = inside.find('\n'); at != std::string::npos; at = inside.find('\n'))
        inside.erase(at, inside.find_first_not_of(" \n", at) - at);
    return inside;
}

TEST(SetEngineNamespace, EveryOccurrenceInEveryAttributeIsReplacedButTheName) {
    EXPECT_EQ(
        renamed(
            "<Route name='Audio 7' note='Audio 7 Audio 7'><IO name='Audio 7'><Port name='Audio 7/audio_in "
            "1'/></IO><X a='my Audio 7er'><Y b='xAudio 7x'/>Audio 7</X><!-- Audio 7 --></Route>",
            "Audio 1"),
        "<Route name=\"Audio 7\" note=\"Audio 1 Audio 1\"><IO name=\"Audio 1\"><Port name=\"Audio 1/audio_in "
        "1\"/></IO><X a=\"my Audio 1er\"><Y b=\"xAudio 1x\"/>Audio 7</X><!-- Audio 7 --></Route>");
}

TEST(SetEngineNamespace, TheFirstPortWithAnAudioNameDecides) {
    EXPECT_EQ(renamed("<Route name='R'><IO><Port/><Port name='M/midi_in 1'/></IO><IO><Port name='A/audio_out "
                      "1'/>"
                      "<Port name='B/audio_out 2'/></IO></Route>",
                      "N"),
              "<Route name=\"R\"><IO><Port/><Port name=\"M/midi_in 1\"/></IO><IO><Port name=\"N/audio_out "
              "1\"/>"
              "<Port name=\"B/audio_out 2\"/></IO></Route>");
}

TEST(SetEngineNamespace, WithoutSuchAPortItIsTheNameAndWithoutANameAudio) {
    EXPECT_EQ(renamed("<Route name='R'><IO name='R'/></Route>", "N"),
              "<Route name=\"R\"><IO name=\"N\"/></Route>");
    EXPECT_EQ(renamed("<Route><IO name='Audio'/></Route>", "N"), "<Route><IO name=\"N\"/></Route>");
}

TEST(SetEngineNamespace, TheSameNamespaceChangesNothing) {
    const std::string route = "<Route name=\"R\" x=\"N N\"><IO><Port name=\"N/audio_in 1\"/></IO></Route>";
    EXPECT_EQ(renamed(route, "N"), route);
}

TEST(SetEngineNamespace, AnEmptyNamespaceHasNothingToReplace) {
    const std::string route = "<Route name=\"R\"><IO><Port name=\"/audio_in 1\"/></IO></Route>";
    EXPECT_EQ(renamed(route, "N"), route);
    EXPECT_EQ(renamed("<Route name=\"\"/>", "N"), "<Route name=\"\"/>");
}

TEST(SetEngineNamespace, ANewNamespaceThatHoldsTheOldOneIsNotReplacedAgain) {
    EXPECT_EQ(
        renamed("<Route x='Audio 1 Audio 1'><IO><Port name='Audio 1/audio_in 1'/></IO></Route>", "Audio 11"),
        "<Route x=\"Audio 11 Audio 11\"><IO><Port name=\"Audio 11/audio_in 1\"/></IO></Route>");
}

TEST(SetEngineNamespace, TheSpaceStandingBeforeTheLastMatchOnlyEndsAtAudio) {
    EXPECT_EQ(renamed("<Route><IO name='a/b'><Port name='a/b/audio_in 1'/></IO></Route>", "N"),
              "<Route><IO name=\"N\"><Port name=\"N/audio_in 1\"/></IO></Route>");
}

XMLElement element(const Tree &tree) {
    return tree.root();
}

TEST(ReadingATracksPatch, TheFirstCaptureConnectionCounts) {
    const auto start = [](const std::string &ports) {
        return Generator::captureStart(
            element(Tree("<Route><IO direction='Output'><Port><ExtConnection "
                         "other='system:capture_1'/></Port></IO><IO direction='Input'>" +
                         ports + "</IO></Route>")));
    };
    const auto connection = [](const std::string &other) { return "<ExtConnection other='" + other + "'/>"; };
    EXPECT_EQ(start("<Port>" + connection("system:capture_7") + connection("system:capture_8") + "</Port>"),
              7);
    EXPECT_EQ(start("<Port><ExtConnection/>" + connection("other:capture_1") + "</Port><Port>" +
                    connection("system:capture_9") + "</Port>"),
              9);
    EXPECT_EQ(start("<Port>" + connection("system:capture_x") + connection("system:capture_8") + "</Port>"),
              std::nullopt);
    EXPECT_EQ(start("<Port>" + connection("system:capture_") + "</Port>"), std::nullopt);
    EXPECT_EQ(start("<Port>" + connection("system:capture_1 ") + "</Port>"), std::nullopt);
    EXPECT_EQ(start("<Port>" + connection("system:capture_99999999999999999999") + "</Port>"), std::nullopt);
    EXPECT_EQ(start("<Port>" + connection("system:capture_-3") + "</Port>"), -3);
    EXPECT_EQ(start("<Port/>"), std::nullopt);
    EXPECT_EQ(start(""), std::nullopt);
    EXPECT_EQ(Generator::captureStart(element(Tree("<Route/>"))), std::nullopt);
}

TEST(ReadingATracksPatch, PlaybackIsReadFromTheFirstOutput) {
    const Tree tree(
        "<Processor><IO direction='Input'><Port/></IO><IO direction='Output'><Port/><Port>"
        "<ExtConnection other='system:playback_4'/></Port></IO><IO direction='Output'/></Processor>");
    EXPECT_EQ(Generator::firstPlaybackChannel(tree.root()), 4);
    EXPECT_EQ(Generator::playbackWidth(tree.root()), 2);
}

TEST(ReadingATracksPatch, AnOutputIsAtLeastOnePortWide) {
    EXPECT_EQ(Generator::playbackWidth(element(Tree("<Processor/>"))), 1);
    EXPECT_EQ(Generator::playbackWidth(element(Tree("<Processor><IO direction='Output'/></Processor>"))), 1);
    EXPECT_EQ(Generator::firstPlaybackChannel(element(Tree("<Processor/>"))), std::nullopt);
}

} // namespace
} // namespace corvane

#include "tests/livetrax/session/SessionTexts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace corvane {
namespace {

using ::testing::ElementsAre;
using Generator = LiveTraxGenerator;
using Case = GeneratorError::Case;

TrackText track(const std::string &name, std::int64_t capture, int width = 1) {
    TrackText text;
    text.name = name;
    text.capture = capture;
    text.width = width;
    return text;
}

TEST(PatchSignature, EachChannelIsALineOfNameWidthAndInput) {
    EXPECT_EQ(Generator::patchSignature({channel("Kick", 0), channel("OH", 6, true)}), "Kick|1|0\nOH|2|6");
    EXPECT_EQ(Generator::patchSignature({}), "");
    EXPECT_EQ(Generator::patchSignature({channel("a|b\n", -1)}), "a|b\n|1|-1");
    EXPECT_EQ(Generator::patchSignature({channel("", 0), channel("", 1)}), "|1|0\n|1|1");
}

class SessionSignature : public ::testing::Test {
protected:
    std::optional<std::string> signatureOf(const std::string &text) {
        platform.writeSession(text);
        return Generator::sessionPatchSignature(platform.sessionFolder());
    }

    SessionPlatform platform;
};

TEST_F(SessionSignature, AGeneratedSessionReadsBackAsItsChannels) {
    const std::vector<LV1Channel> channels = {channel("Kick", 0), channel("OH", 6, true)};
    Generator::generate(platform.platform, "Gig", platform.folder.path() / "Shows", channels);
    const std::string generated =
        platform.folder.read("home/Library/Preferences/LiveTrax3/templates/Gig/Gig.template");
    EXPECT_EQ(signatureOf(generated), "Kick|1|0\nOH|2|6");
    EXPECT_EQ(signatureOf(generated), Generator::patchSignature(channels));
}

TEST_F(SessionSignature, ANameAsTheRecorderWritesItIsTheChannels) {
    const std::vector<LV1Channel> channels = {channel("Kick/In ", 0), channel("Click", 6, true)};
    const auto holds = [&](const std::vector<TrackText> &tracks) {
        platform.writeSession(sessionText(tracks));
        return Generator::sessionRecords(platform.platform, platform.sessionFolder(), channels);
    };
    EXPECT_EQ(true, holds({track("Kick/In ", 1), track("Click", 7, 2)}));
    EXPECT_EQ(true, holds({track("Kick_In", 1), track("Click 1", 7, 2)}));
    EXPECT_EQ(false, holds({track("Kick In", 1), track("Click 1", 7, 2)})) << "another name";
    EXPECT_EQ(false, holds({track("Kick_In", 2), track("Click 1", 7, 2)})) << "another input";
    EXPECT_EQ(false, holds({track("Kick_In", 1), track("Click 1", 7)})) << "another width";
    EXPECT_EQ(false, holds({track("Click 1", 7, 2), track("Kick_In", 1)})) << "another order";
    EXPECT_EQ(false, holds({track("Kick_In", 1)})) << "one less";
    EXPECT_EQ(std::nullopt,
              Generator::sessionRecords(platform.platform, platform.folder.path() / "nowhere", channels));
}

TEST_F(SessionSignature, ASessionThatWasOpenedOnALaptopRecordsWhatItsOwnDeviceGives) {
    const std::string connection = "<ExtConnection for=\"device\" other=\"system:capture_5\"/>";
    std::string text = sessionText({track("Kick", 5)});
    platform.writeSession(
        text.insert(text.find(connection), "<ExtConnection for=\"Built-in\" other=\"system:capture_1\"/>"));
    const auto records = [&](std::int32_t input) {
        return Generator::sessionRecords(platform.platform, platform.sessionFolder(),
                                         {channel("Kick", input)});
    };
    EXPECT_EQ(true, records(4));
    EXPECT_EQ(false, records(0));
    EXPECT_EQ(Generator::sessionPatchSignature(platform.sessionFolder()), "Kick|1|0");
}

TEST_F(SessionSignature, TheSessionMayBeGivenWithATrailingSlash) {
    platform.writeSession(sessionText({track("Kick", 1)}));
    EXPECT_EQ(Generator::sessionPatchSignature(platform.sessionFolder() / ""), "Kick|1|0");
}

TEST_F(SessionSignature, TracksStandInTheRecordersOrder) {
    TrackText a = track("A", 1);
    a.order = "10";
    TrackText b = track("B", 2);
    b.order = "9";
    TrackText none = track("None", 3);
    none.order = std::nullopt;
    TrackText odd = track("Odd", 4);
    odd.order = "x";
    TrackText negative = track("Negative", 5);
    negative.order = "-1";
    EXPECT_EQ(signatureOf(sessionText({a, b, none, odd, negative})),
              "Negative|1|4\nNone|1|2\nOdd|1|3\nB|1|1\nA|1|0");
    EXPECT_EQ(signatureOf(sessionText({track("One", 6), none, odd})), "None|1|2\nOdd|1|3\nOne|1|5");
}

TEST_F(SessionSignature, AnInputWithoutANumberIsTheFirst) {
    const auto input = [&](const std::string &ports) {
        return signatureOf(
            "<S><Routes><Route name='T'><PresentationInfo flags='AudioTrack'/><IO direction='Input'>" +
            ports + "</IO></Route></Routes></S>");
    };
    const auto port = [](const std::string &other) {
        return "<Port><ExtConnection other='" + other + "'/></Port>";
    };
    EXPECT_EQ(input(port("system:capture_0")), "T|1|0");
    EXPECT_EQ(input(port("system:capture_-5")), "T|1|0");
    EXPECT_EQ(input(port("system:capture_-9223372036854775808")), "T|1|0");
    EXPECT_EQ(input(port("system:capture")), "T|1|0");
    EXPECT_EQ(input(port("system:capture_x")), "T|1|0");
    EXPECT_EQ(input(port("")), "T|1|0");
    EXPECT_EQ(input("<Port/>"), "T|1|0");
    EXPECT_EQ(input(""), "T|0|0");
    EXPECT_EQ(input("<Port><ExtConnection for='x'/></Port>" + port("any_other_12")), "T|2|11");
    EXPECT_EQ(input(port("system:capture_9") + port("system:capture_3")), "T|2|8");
    EXPECT_EQ(input(port("x") + port("system:capture_3")), "T|2|0");
}

TEST_F(SessionSignature, OnlyRecordingTracksTakePart) {
    TrackText bus = track("Bus", 1);
    bus.flags = "AudioBus";
    std::string text = sessionText({bus, track("Kick", 2)});
    text.insert(
        text.find("</Routes>"),
        "<Route><PresentationInfo flags='AudioTrack'/><IO direction='Input'/></Route>"
        "<Route name='no input'><PresentationInfo flags='AudioTrack'/></Route><Route name='no info'/>");
    EXPECT_EQ(signatureOf(text), "Kick|1|1");
}

TEST_F(SessionSignature, WhatBelongsToTheUserIsKnownByItsEngineNamespace) {
    TrackText preserved = track("Talkback", 1);
    preserved.engineNamespace = "Corvane Preserved 1";
    TrackText misleading = track("Corvane Preserved by name", 2);
    misleading.engineNamespace = "Audio 1";
    TrackText later = track("x", 3);
    later.engineNamespace = "My Corvane Preserved";
    EXPECT_EQ(signatureOf(sessionText({preserved, misleading, later})),
              "Corvane Preserved by name|1|1\nx|1|2");
}

TEST_F(SessionSignature, ASessionThatCannotBeReadHasNone) {
    EXPECT_EQ(Generator::sessionPatchSignature(platform.sessionFolder()), std::nullopt);
    EXPECT_EQ(signatureOf("<Session><Routes>"), std::nullopt);
    EXPECT_EQ(signatureOf(""), std::nullopt);
    EXPECT_EQ(signatureOf("<Session/>"), std::nullopt);
    EXPECT_EQ(signatureOf("<Session><Routes/></Session>"), std::nullopt);
    EXPECT_EQ(signatureOf("<Session><Routes><Route name='Master'/></Routes></Session>"), "");
}

std::optional<GeneratorError> patchFault(const std::vector<TrackText> &tracks,
                                         const std::vector<LV1Channel> &channels) {
    const Tree tree(sessionText(tracks));
    const std::string before = tree.text();
    const auto fault = errorOf([&] { Generator::validateGeneratedPatch(tree.root(), channels); });
    EXPECT_EQ(tree.text(), before);
    return fault;
}

TEST(ValidateGeneratedPatch, ASoundPatchPasses) {
    EXPECT_FALSE(patchFault({track("A", 1), track("B", 2, 2)}, {channel("A", 0), channel("B", 1, true)}));
    EXPECT_FALSE(patchFault({}, {}));
}

TEST(ValidateGeneratedPatch, TheNumberOfTracksIsCheckedFirst) {
    const auto fault =
        patchFault({track("A", 1), track("B", 1)}, {channel("A", 0), channel("B", 1), channel("C", 2)});
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->errorDescription(), "The template should contain 3 tracks, but it generated 2.");
}

TEST(ValidateGeneratedPatch, PreservedTracksCount) {
    TrackText preserved = track("Corvane Preserved", 2);
    EXPECT_FALSE(patchFault({track("A", 1), preserved}, {channel("A", 0), channel("B", 1)}));
}

TEST(ValidateGeneratedPatch, OverlappingStereoInputsAreNamed) {
    const auto fault =
        patchFault({track("A", 3, 2), track("B", 4, 2)}, {channel("A", 2, true), channel("B", 3, true)});
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->errorDescription(),
              "The session would create a repeated SoundGrid input (system:capture_4).");
}

TEST(ValidateGeneratedPatch, ANumberOfInputsThatDoesNotFitIsInvalid) {
    EXPECT_EQ(patchFault({track("A", 1)}, {channel("A", 0, true)})->errorCase(), Case::invalidTemplate);
    EXPECT_EQ(patchFault({track("A", 1, 2)}, {channel("A", 0)})->errorCase(), Case::invalidTemplate);
    EXPECT_EQ(patchFault({track("A", 1, 0)}, {channel("A", 0)})->errorCase(), Case::invalidTemplate);
}

TEST(ValidateUniqueEnginePorts, TheFirstNameSeenTwiceIsNamedWhereverItStands) {
    const Tree unique("<S><Port name='a'/><Port/><Port/><A><Port name='b'/><Bort name='a'/></A></S>");
    EXPECT_NO_THROW(Generator::validateUniqueEnginePorts(unique.root()));
    const Tree twice(
        "<S><X><Port name='a'/></X><Port name='b'/><Y><Z><Port name='b'/></Z></Y><Port name='a'/></S>");
    EXPECT_EQ(errorOf([&] { Generator::validateUniqueEnginePorts(twice.root()); })->errorDescription(),
              "The session would create a duplicate audio port (b). Check the LV1 channel names.");
    const Tree unnamed("<S><Port name=''/><Port name=''/></S>");
    EXPECT_TRUE(errorOf([&] { Generator::validateUniqueEnginePorts(unnamed.root()); }));
}

TEST(ValidateUniqueEnginePorts, ComposedAndDecomposedLettersAreDifferentNames) {
    const Tree tree("<S><Port name='\u00E9'/><Port name='e\u0301'/></S>");
    EXPECT_NO_THROW(Generator::validateUniqueEnginePorts(tree.root()));
}

TEST(ValidateUniqueDirectOutSlots, SlotsAreComparedAsText) {
    const Tree unique(
        "<S><Processor role='DirectOuts' bitslot='1'/><Processor role='DirectOuts' bitslot='01'/>"
        "<Processor role='DirectOuts'/><Processor role='DirectOuts'/><Processor role='Aux' bitslot='1'/>"
        "<Other role='DirectOuts' bitslot='1'/></S>");
    EXPECT_NO_THROW(Generator::validateUniqueDirectOutSlots(unique.root()));
    const Tree twice(
        "<S><Processor role='DirectOuts' bitslot='x'/><A><Processor role='DirectOuts' bitslot='x'/></A></S>");
    EXPECT_EQ(errorOf([&] { Generator::validateUniqueDirectOutSlots(twice.root()); })->errorDescription(),
              "The session would create a repeated direct-out id (x).");
}

/// A direct out by slot, first playback channel, width and the track's name.
TrackText out(const std::string &name, const std::string &slot, std::int64_t playback, int width = 1) {
    TrackText text = track(name, 1, width);
    text.bitslot = slot;
    text.playback = playback;
    return text;
}

/// "slot: connections" of each direct out once colliding ones are reassigned.
std::vector<std::string> reassigned(const std::vector<TrackText> &tracks) {
    const Tree tree(sessionText(tracks));
    Generator::reassignCollidingDirectOutSlots(tree.root());
    std::vector<std::string> found;
    for (const XMLElement route : tree.routes().children("Route")) {
        if (!directOut(route))
            continue;
        std::string line = directOut(route).attribute("bitslot").value_or("none") + ":";
        for (const std::string &other : connections(directOut(route).firstChild("IO")))
            line += " " + other.substr(other.find('_') + 1);
        found.push_back(line);
    }
    return found;
}

TEST(ReassignDirectOuts, APreservedOneGivesWay) {
    EXPECT_THAT(reassigned({out("A", "1", 1), out("Corvane Preserved 1", "1", 1, 2)}),
                ElementsAre("1: 1", "2: 2 3"));
    EXPECT_THAT(reassigned({out("Corvane Preserved 1", "1", 1, 2), out("A", "1", 1)}),
                ElementsAre("2: 2 3", "1: 1"));
}

TEST(ReassignDirectOuts, SoundOnesAreLeftAsTheyAre) {
    EXPECT_THAT(reassigned({out("A", "5", 5, 2), out("B", "3", 3, 2), out("C", "7", 7)}),
                ElementsAre("5: 5 6", "3: 3 4", "7: 7"));
    EXPECT_THAT(reassigned({}), ElementsAre());
}

TEST(ReassignDirectOuts, OneWhosePatchDisagreesKeepsAFreeSlotAndItsPatch) {
    EXPECT_THAT(reassigned({out("A", "1", 9)}), ElementsAre("1: 9"));
    EXPECT_THAT(reassigned({out("A", "1", 9), out("B", "1", 1)}), ElementsAre("2: 2", "1: 1"));
    EXPECT_THAT(reassigned({out("A", "4", 9)}), ElementsAre("4: 9"));
    EXPECT_THAT(reassigned({out("A", "4", 9), out("B", "4", 4)}), ElementsAre("1: 1", "4: 4"));
    EXPECT_THAT(reassigned({out("A", "4", 9), out("B", "3", 3, 2)}), ElementsAre("1: 1", "3: 3 4"));
}

TEST(ReassignDirectOuts, ASlotThatIsNoPositiveNumberIsReassigned) {
    EXPECT_THAT(reassigned({out("A", "0", 0), out("B", "-3", -3), out("C", "x", 2), out("D", "", 9)}),
                ElementsAre("1: 1", "2: 2", "3: 3", "4: 4"));
    EXPECT_THAT(reassigned({out("A", "x", 2)}), ElementsAre("1: 1"));
}

TEST(ReassignDirectOuts, OneWithoutASlotIsGivenOne) {
    const Tree tree("<S><Processor role='DirectOuts'><IO direction='Output'><Port>"
                    "<ExtConnection other='system:playback_1'/></Port></IO></Processor>"
                    "<Processor role='DirectOuts' bitslot='1'><IO direction='Output'><Port>"
                    "<ExtConnection other='system:playback_1'/></Port></IO></Processor></S>");
    Generator::reassignCollidingDirectOutSlots(tree.root());
    const XMLElement first = tree.root().firstChild();
    EXPECT_EQ(first.attribute("bitslot"), "2");
    EXPECT_THAT(connections(first.firstChild("IO")), ElementsAre("system:playback_2"));
    EXPECT_EQ(first.next().attribute("bitslot"), "1");
}

TEST(ReassignDirectOuts, TheCandidateNeverGoesDown) {
    // A keeps 10 in the queue walk, so B goes above it although 1 is free.
    EXPECT_THAT(reassigned({out("A", "10", 3), out("B", "0", 0)}), ElementsAre("10: 3", "11: 11"));
    // C keeps the lower slot 2; the candidate stays where it is.
    EXPECT_THAT(reassigned({out("A", "10", 3), out("C", "2", 9), out("B", "0", 0)}),
                ElementsAre("10: 3", "2: 9", "11: 11"));
}

TEST(ReassignDirectOuts, ARunMustBeFreeAsAWhole) {
    EXPECT_THAT(reassigned({out("A", "2", 2), out("B", "1", 1, 2), out("C", "4", 4)}),
                ElementsAre("2: 2", "5: 5 6", "4: 4"));
    EXPECT_THAT(reassigned({out("A", "1", 1, 2), out("B", "2", 2, 2), out("C", "4", 4, 2)}),
                ElementsAre("1: 1 2", "6: 6 7", "4: 4 5"));
}

TEST(ReassignDirectOuts, OnlyPlaybackConnectionsOfEveryOutputAreRewritten) {
    const Tree tree(
        "<S><Processor role='DirectOuts' bitslot='0'>"
        "<IO direction='Output'><Port><ExtConnection other='system:playback_9'/>"
        "<ExtConnection other='elsewhere:playback_9'/><ExtConnection/></Port></IO>"
        "<IO direction='Input'><Port><ExtConnection other='system:playback_9'/></Port></IO>"
        "<IO direction='Output'><Port/><Port><ExtConnection other='system:playback_x'/></Port></IO>"
        "</Processor></S>");
    Generator::reassignCollidingDirectOutSlots(tree.root());
    const XMLElement first = tree.root().firstChild().firstChild("IO");
    EXPECT_THAT(connections(first), ElementsAre("system:playback_1", "elsewhere:playback_9"));
    EXPECT_THAT(connections(first.next()), ElementsAre("system:playback_9"));
    EXPECT_THAT(connections(first.next().next()), ElementsAre("system:playback_2"));
}

TEST(ReassignDirectOuts, ADirectOutWithoutPortsTakesOneChannel) {
    EXPECT_THAT(reassigned({out("A", "1", 1, 0), out("B", "1", 1)}), ElementsAre("2:", "1: 1"));
}

TEST(ReassignDirectOutsDeathTest, ARunThatOverflowsStopsTheProgram) {
    EXPECT_DEATH(reassigned({out("A", "9223372036854775807", 1)}), "overflow");
    // B would go above A, where there is no number any more.
    EXPECT_DEATH(reassigned({out("A", "9223372036854775806", 3), out("B", "0", 0)}), "overflow");
}

TEST(ReassignDirectOuts, ManyCollisionsAreLaidOutInARow) {
    std::vector<TrackText> tracks;
    for (int index = 0; index < 500; ++index)
        tracks.push_back(out("T" + std::to_string(index), "1", 1, 2));
    const std::vector<std::string> slots = reassigned(tracks);
    EXPECT_EQ(slots.front(), "1: 1 2");
    EXPECT_EQ(slots.back(), "999: 999 1000");
}

TEST(Descendants, TheElementAndAllBelowItDepthFirst) {
    const Tree tree("<A>x<B><C/><!-- c --><D><E/></D></B><F/>&amp;<G><H/></G></A>");
    std::string order;
    for (const XMLElement element : Generator::descendants(tree.root()))
        order += element.name();
    EXPECT_EQ(order, "ABCDEFGH");
    order.clear();
    for (const XMLElement element : Generator::descendants(tree.root().firstChild("B")))
        order += element.name();
    EXPECT_EQ(order, "BCDE");
    EXPECT_THAT(Generator::descendants(tree.root().firstChild("F")).size(), 1U);
    EXPECT_TRUE(Generator::descendants({}).empty());
}

TEST(IsPreserved, TheNearestRouteDecides) {
    const Tree tree("<S name='Corvane Preserved'><Route name='Corvane Preserved 2'><A><B/></A>"
                    "<Route name='inner'><C/></Route><Route><D/></Route></Route>"
                    "<Route name='My Corvane Preserved'/></S>");
    const XMLElement outer = tree.root().firstChild();
    EXPECT_TRUE(Generator::isPreserved(outer));
    EXPECT_TRUE(Generator::isPreserved(outer.firstChild("A").firstChild("B")));
    EXPECT_FALSE(Generator::isPreserved(outer.firstChild("Route").firstChild("C")));
    EXPECT_FALSE(Generator::isPreserved(outer.firstChild("Route").next().firstChild("D")));
    EXPECT_FALSE(Generator::isPreserved(outer.next("Route")));
    EXPECT_FALSE(Generator::isPreserved(tree.root()));
}

} // namespace
} // namespace corvane

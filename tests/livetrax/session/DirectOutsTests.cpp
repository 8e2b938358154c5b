#include "tests/livetrax/session/UpdateFixture.h"

#include <gmock/gmock.h>

namespace corvane {
namespace {

using ::testing::ElementsAre;
using Case = GeneratorError::Case;

/// The updates of sessions whose direct outs the recorder had its way with.
class DirectOuts : public Update {
protected:
    /// A bus with a stereo direct out, as the recorder saves it: whatever it said, the slot is 0.
    static TrackText bus(std::int64_t playback, const std::string &flags = "AudioBus") {
        TrackText text = track("Wedges", playback, 2, 8);
        text.engineNamespace = "Wedges";
        text.flags = flags;
        text.bitslot = "0";
        return text;
    }
    /// A kick whose direct out is replaced by another text.
    std::string kickWith(const std::string &directOut) {
        std::string text = sessionText({track("Kick", 1, 2, 0)});
        const std::size_t start = text.find("<Processor");
        return text.replace(start, text.find("</Processor>") + 12 - start, directOut);
    }
    static XMLElement output(const Tree &tree, const std::string &track) {
        return directOut(tree.route(track)).firstChild("IO", "direction", "Output");
    }
};

TEST_F(DirectOuts, AColonInANameIsADashInTheDirectOutAlone) {
    platform.writeSession(sessionText({track("Kick", 1, 1, 0)}));
    update({channel("A:B:C", 0)});
    const Tree tree = updated();
    const XMLElement route = tree.route("A:B:C");
    ASSERT_TRUE(route);
    EXPECT_TRUE(tree.playlists().firstChild("Playlist", "name", "A:B:C"));
    EXPECT_EQ(directOut(route).attribute("name"), "A-B-C");
    EXPECT_EQ(output(tree, "A:B:C").attribute("name"), "A-B-C");
    EXPECT_THAT(names(output(tree, "A:B:C"), "Port"), ElementsAre("A-B-C/audio_send 1"));
}

TEST_F(DirectOuts, NamesThatBecomeEqualAreRefusedBeforeTheRecorderRefusesTheSession) {
    platform.writeSession(sessionText({track("Kick", 1, 1, 0), track("Snare", 2, 1, 1)}));
    EXPECT_EQ(refused({channel("A:B", 0), channel("A-B", 1)}).errorCase(), Case::duplicateEnginePort);
    EXPECT_EQ(errorOf([&] {
                  LiveTraxGenerator::generate(platform.platform, "New", platform.folder.path() / "Shows",
                                              {channel("A:B", 0), channel("A-B", 1)});
              })->errorCase(),
              Case::duplicateEnginePort);
}

TEST_F(DirectOuts, ABusKeepsItsPlaybackChannelsWhateverSlotTheRecorderWrote) {
    platform.writeSession(sessionText({track("Kick", 1, 1, 0), bus(11)}));
    for (int round = 0; round < 3; ++round) {
        update({channel("Kick", 0)});
        const Tree tree = updated();
        EXPECT_EQ(directOut(tree.route("Wedges")).attribute("bitslot"), "11");
        EXPECT_THAT(connections(output(tree, "Wedges")),
                    ElementsAre("system:playback_11", "system:playback_12"));
        // The recorder saves the session.
        directOut(tree.route("Wedges")).setAttribute("bitslot", "0");
        platform.writeSession(tree.text());
    }
}

TEST_F(DirectOuts, ABusInTheWayOfAChannelIsMoved) {
    for (const auto &[input, stereo] : {std::pair{10, false}, {11, false}, {9, true}}) {
        platform.writeSession(sessionText({bus(11)}));
        update({channel("Keys", input, stereo)});
        EXPECT_EQ(directOut(updated().route("Wedges")).attribute("bitslot"), "1") << input;
    }
    for (const auto &[input, stereo] : {std::pair{9, false}, {12, false}, {8, true}, {12, true}}) {
        platform.writeSession(sessionText({bus(11)}));
        update({channel("Keys", input, stereo)});
        EXPECT_EQ(directOut(updated().route("Wedges")).attribute("bitslot"), "11") << input;
    }
}

TEST_F(DirectOuts, TheFirstPlaybackChannelIsABusesOwnAsAnyOther) {
    TrackText odd = bus(9);
    odd.name = odd.engineNamespace.emplace("Odd");
    odd.bitslot = "5"; // it keeps its slot, and what comes behind it gets a higher one
    platform.writeSession(sessionText({odd, bus(1)}));
    update({});
    EXPECT_EQ(directOut(updated().route("Odd")).attribute("bitslot"), "5");
    EXPECT_EQ(directOut(updated().route("Wedges")).attribute("bitslot"), "1");
}

TEST_F(DirectOuts, ATemplateWithoutDirectOutsBringsNoneBack) {
    TrackText mono = track("M", 1, 1, 0);
    TrackText stereo = track("S", 1, 2, 1);
    mono.hasDirectOut = stereo.hasDirectOut = false;
    std::string hollow = smallTemplate();
    for (int model = 0; model < 2; ++model) {
        const std::size_t start =
            hollow.find("<IO direction=\"Output\"",
                        hollow.find("DirectOuts", model == 0 ? 0 : hollow.rfind("DirectOuts")));
        hollow.erase(start, hollow.find("</IO>", start) + 5 - start);
    }
    const std::string lost = "<Processor id=\"9\" role=\"DirectOuts\" name=\"Kick\" bitslot=\"0\"/>";
    for (const std::string &models : {sessionText({mono, stereo}), hollow}) {
        platform.setBaseTemplate(models);
        platform.writeSession(kickWith(lost));
        EXPECT_EQ(update({channel("Kick", 0, true)}), (UpdateResult{1, 0, 0}));
        EXPECT_FALSE(directOut(updated().route("Kick")).firstChild());
    }
}

TEST_F(DirectOuts, OnlyWhatSaysThatItIsNoTrackIsABus) {
    std::string text = sessionText({bus(11)});
    text.replace(text.find(" flags=\"AudioBus\""), 17, "");
    platform.writeSession(text);
    update({});
    EXPECT_EQ(directOut(updated().route("Wedges")).attribute("bitslot"), "1");
}

TEST_F(DirectOuts, ABusThatIsConnectedToNothingIsMovedAsEver) {
    std::string text = sessionText({bus(11)});
    for (std::size_t at = text.find("system:playback_1"); at != std::string::npos;
         at = text.find("system:playback_1"))
        text.replace(at, 17, "elsewhere:");
    platform.writeSession(text);
    update({});
    EXPECT_EQ(directOut(updated().route("Wedges")).attribute("bitslot"), "1");
}

TEST_F(DirectOuts, WhatADeviceWithFewerOutputsTookComesBack) {
    const std::string start = "<Processor id=\"9\" role=\"DirectOuts\" name=\"Kick\" bitslot=\"0\">";
    for (const std::string inside :
         {"", "<IO direction=\"Input\"/>",
          "<IO direction=\"Output\" name=\"Kick\"><Port name=\"Kick/audio_send 1\"><ExtConnection "
          "for=\"device\" other=\"system:playback_1\"/></Port></IO>",
          "<IO direction=\"Output\" name=\"Kick\"><Port name=\"Kick/audio_send 1\"/><Port "
          "name=\"Kick/audio_send 2\"><ExtConnection for=\"device\"/></Port></IO>"}) {
        platform.writeSession(kickWith(start + inside + "</Processor>"));
        EXPECT_EQ(update({channel("Bass Drum", 0, true)}), (UpdateResult{1, 0, 0}));
        const Tree tree = updated();
        EXPECT_THAT(names(output(tree, "Bass Drum"), "Port"),
                    ElementsAre("Bass Drum/audio_send 1", "Bass Drum/audio_send 2"))
            << inside;
        EXPECT_THAT(connections(output(tree, "Bass Drum")),
                    ElementsAre("system:playback_1", "system:playback_2"))
            << inside;
        EXPECT_EQ(directOut(tree.route("Bass Drum")).attribute("id"), "9");
        EXPECT_EQ(output(tree, "Bass Drum").next("IO"), XMLElement());
    }
}

TEST_F(DirectOuts, AnOutputThatComesBackTakesItsIdsFromTheCounterAndTheSessionsDevice) {
    std::string models = smallTemplate();
    for (const std::string name : {"Mono Model", "Stereo Model"}) {
        const std::string io = "<IO direction=\"Output\" name=\"" + name + "\"><Port type=\"audio\" name=\"" +
                               name + "/audio_send 1";
        ASSERT_NE(models.find(io), std::string::npos);
        models.insert(models.find(io) + 3, " id=\"77\"");
    }
    platform.setBaseTemplate(models);
    std::string text = kickWith("<Processor id=\"9\" role=\"DirectOuts\" name=\"Kick\" bitslot=\"0\"/>");
    for (std::size_t at = text.find("\"device\""); at != std::string::npos; at = text.find("\"device\""))
        text.replace(at, 8, "\"JACK\"");
    platform.writeSession(text);
    update({channel("Kick", 0, true)});
    const Tree tree = updated();
    EXPECT_EQ(output(tree, "Kick").attribute("id"), "501");
    EXPECT_EQ(tree.root().attribute("id-counter"), "601");
    for (const XMLElement connection : output(tree, "Kick").descendants({"ExtConnection"}))
        EXPECT_EQ(connection.attribute("for"), "JACK");
}

TEST_F(DirectOuts, ADirectOutThatIsWholeOrLeadsToABusIsTheUsersOwn) {
    const std::string whole =
        "<Processor id=\"9\" role=\"DirectOuts\" name=\"Kick\" bitslot=\"0\"><IO "
        "direction=\"Output\" name=\"Kick\" id=\"8\"><Port name=\"Kick/audio_send 1\"/><Port "
        "name=\"Kick/audio_send 2\"><Connection other=\"Bus/audio_in "
        "1\"/></Port></IO></Processor>";
    platform.writeSession(kickWith(whole));
    update({channel("Kick", 0, true)});
    const Tree tree = updated();
    EXPECT_EQ(output(tree, "Kick").attribute("id"), "8");
    EXPECT_EQ(tree.root().attribute("id-counter"), "600");
}

TEST_F(DirectOuts, OnlyThoseThatStandInTheTrackItselfAreItsOwn) {
    TrackText kick = track("Kick", 1, 1, 0);
    kick.inside = "<Processor name=\"Rack\"><Processor role=\"DirectOuts\" name=\"Inner\" bitslot=\"40\"><IO "
                  "direction=\"Output\" name=\"Inner\"><Port name=\"Inner/audio_send 1\"><ExtConnection "
                  "other=\"system:playback_40\"/></Port></IO></Processor></Processor>";
    platform.writeSession(sessionText({kick}));
    update({channel("Kick", 0)});
    const Tree tree = updated();
    const XMLElement inner = tree.route("Kick").firstChild("Processor", "name", "Rack").firstChild();
    EXPECT_EQ(inner.attribute("name"), "Inner");
    EXPECT_EQ(inner.attribute("bitslot"), "40");
}

TEST_F(DirectOuts, TheNamesOfARestoredOutputCountAsWell) {
    platform.writeSession(kickWith("<Processor id=\"9\" role=\"DirectOuts\" name=\"Kick\" bitslot=\"0\"/>"));
    EXPECT_EQ(refused({channel("Snare", 0, true), channel("Snare", 4)}).errorCase(),
              Case::duplicateEnginePort);
}

TEST_F(DirectOuts, ASecondOneComesBackBehindAWholeOne) {
    TrackText kick = track("Kick", 1, 1, 0);
    kick.inside = "<Processor id=\"9\" role=\"DirectOuts\" name=\"Second\" bitslot=\"0\"/>";
    platform.writeSession(sessionText({kick}));
    // Both bear the channel's name, which the recorder would not take.
    EXPECT_EQ(
        refused({channel("Kick", 0)}).errorDescription(),
        "The session would create a duplicate audio port (Kick/audio_send 1). Check the LV1 channel names.");
}

TEST_F(DirectOuts, APlanTellsOfATrackThatHasToGiveWay) {
    TrackText taken = bus(2);
    taken.bitslot = "2";
    platform.writeSession(sessionText({taken, track("Snare", 2, 1, 1)}));
    const auto plan =
        LiveTraxGenerator::plan(platform.platform, platform.sessionFolder(), {channel("Snare", 1)});
    EXPECT_TRUE(plan.tracks.at(0).rewired);
    EXPECT_EQ(plan.tracks.at(0).action, TrackDecision::Action::change);
}

TEST_F(DirectOuts, WhatStandsInAConnectionGoesWithIt) {
    TrackText snare = track("Snare", 2, 1, 1);
    snare.inside = "<IO direction=\"Output\" name=\"Aux\"><Port name=\"Aux 1\"><Connection "
                   "other=\"Audio 1/audio_out 1\"><Port name=\"Master/audio_in 1\"><Connection "
                   "other=\"Audio 1/audio_out 1\"/></Port><Processor role=\"DirectOuts\" "
                   "bitslot=\"2\"/></Connection></Port></IO>";
    platform.writeSession(sessionText({track("Kick", 1, 1, 0), snare}));
    update({channel("Snare", 1)});
    const Tree tree = updated();
    EXPECT_FALSE(tree.route("Snare").firstChild("IO", "name", "Aux").firstChild("Port").firstChild());
    EXPECT_EQ(directOut(tree.route("Snare")).attribute("bitslot"), "2");
}

} // namespace
} // namespace corvane

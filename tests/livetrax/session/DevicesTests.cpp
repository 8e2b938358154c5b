#include "tests/livetrax/session/UpdateFixture.h"

#include <gmock/gmock.h>

#include <set>

namespace corvane {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

void replaceAll(std::string &text, const std::string &old, const std::string &with) {
    for (std::size_t at = text.find(old); at != std::string::npos; at = text.find(old, at + with.size()))
        text.replace(at, old.size(), with);
}

/// Sessions that ran on several devices. The base template is made for "device".
class Devices : public Update {
protected:
    /// Gives each input that is connected to a capture port of "device" another connection in front of it.
    static std::string openedOn(const std::string &device, std::string text) {
        const std::string start = "<ExtConnection for=\"device\" other=\"system:capture_";
        replaceAll(text, start, "<ExtConnection for=\"" + device + "\" other=\"system:capture_1\"/>" + start);
        return text;
    }
    /// The devices that a track's hardware connections are made for.
    static std::set<std::string> devicesIn(XMLElement track) {
        std::set<std::string> found;
        for (const XMLElement connection : track.descendants({"ExtConnection"}))
            found.insert(connection.attribute("for").value_or("none"));
        return found;
    }
};

TEST_F(Devices, ASessionThatWasOpenedOnALaptopKeepsItsTracks) {
    const std::vector<LV1Channel> console = {channel("Kick", 4), channel("Vox", 5)};
    platform.writeSession(openedOn("Built-in", sessionText({track("Kick", 5, 1, 0), track("Vox", 6, 1, 1)})));
    EXPECT_EQ(update(console), (UpdateResult{2, 0, 0}));
    // Afterwards both devices have the console's inputs, as ever.
    EXPECT_THAT(connections(updated().route("Kick").firstChild("IO")),
                ElementsAre("system:capture_5", "system:capture_5"));
}

TEST_F(Devices, TheSessionsOwnDeviceIsTheOneOfMostOfItsTracks) {
    std::string text = sessionText({track("Kick", 5, 1, 0), track("Vox", 6, 1, 1), track("Keys", 7, 1, 2)});
    replaceAll(text, "\"device\"", "\"Rack\"");
    replaceAll(text, "<ExtConnection for=\"Rack\" other=\"system:capture_5\"/>",
               "<ExtConnection for=\"device\" other=\"system:capture_9\"/><ExtConnection for=\"Rack\" "
               "other=\"system:capture_5\"/>");
    platform.writeSession(text);
    EXPECT_EQ(update({channel("Kick", 4), channel("Vox", 5), channel("Keys", 6)}), (UpdateResult{3, 0, 0}));
}

TEST_F(Devices, ADeviceCountsOnceATrackHoweverManyPortsItHas) {
    std::string text = sessionText({track("Keys", 5, 2, 0), track("Kick", 1, 1, 1), track("Vox", 2, 1, 2)});
    replaceAll(text, "<ExtConnection for=\"device\" other=\"system:capture_5\"/>",
               "<ExtConnection for=\"Wide\" other=\"system:capture_8\"/>");
    replaceAll(text, "<ExtConnection for=\"device\" other=\"system:capture_6\"/>",
               "<ExtConnection for=\"Wide\" other=\"system:capture_9\"/>");
    platform.writeSession(text);
    update({channel("Kick", 0), channel("Vox", 1), channel("New", 20)});
    EXPECT_THAT(devicesIn(updated().route("New")), ElementsAre("device"));
}

TEST_F(Devices, NewTracksAreConnectedOnTheSessionsOwnDevice) {
    std::string text = sessionText({track("Kick", 1, 1, 0)});
    replaceAll(text, "\"device\"", "\"JACK;;\"");
    platform.writeSession(text);
    update({channel("Kick", 0), channel("OH", 6, true)});
    EXPECT_THAT(devicesIn(updated().route("OH")), ElementsAre("JACK;;"));
    EXPECT_THAT(connections(directOut(updated().route("OH")).firstChild("IO")),
                ElementsAre("system:playback_7", "system:playback_8"));
}

TEST_F(Devices, OfSeveralTheFirstInTheDocumentCountsUnlessTheTemplatesIsAmongThem) {
    std::string text = sessionText({track("Kick", 5, 1, 0), track("Vox", 6, 1, 1)});
    replaceAll(text, "\"device\"", "\"B\"");
    replaceAll(text, "for=\"B\" other=\"system:capture_6\"", "for=\"A\" other=\"system:capture_6\"");
    platform.writeSession(text);
    update({channel("Kick", 4), channel("Vox", 5), channel("New", 20)});
    EXPECT_THAT(devicesIn(updated().route("New")), ElementsAre("B"));
}

TEST_F(Devices, ATrackThatIsNotConnectedOnTheSessionsOwnDeviceIsKnownByAnother) {
    std::string text = sessionText({track("Kick", 5, 1, 0), track("Vox", 6, 1, 1), track("Keys", 7, 1, 2)});
    replaceAll(text, "for=\"device\" other=\"system:capture_7\"", "for=\"Other\" other=\"system:capture_7\"");
    platform.writeSession(text);
    EXPECT_EQ(update({channel("Kick", 4), channel("Vox", 5), channel("Keys", 6)}), (UpdateResult{3, 0, 0}));
}

TEST_F(Devices, ASessionThatNamesNoDeviceLeavesTheModelsAsTheyAre) {
    std::string text = sessionText({track("Kick", 1, 1, 0)});
    replaceAll(text, " for=\"device\"", "");
    platform.writeSession(text);
    EXPECT_EQ(update({channel("Kick", 0), channel("New", 3)}), (UpdateResult{1, 1, 0}));
    EXPECT_THAT(devicesIn(updated().route("New")), ElementsAre("device"));
}

TEST_F(Devices, AnEmptyConnectionNamesNoDeviceOfTheSession) {
    std::string text = sessionText({track("Kick", 1, 1, 0)});
    replaceAll(text, "<ExtConnection for=\"device\"/>",
               "<ExtConnection for=\"Gone\"/><ExtConnection for=\"Gone too\"/>");
    platform.writeSession(text);
    update({channel("Kick", 0), channel("New", 3)});
    EXPECT_THAT(devicesIn(updated().route("New")), ElementsAre("device"));
}

/// What an update would do with each channel's track.
class Wiring : public Devices {
protected:
    std::vector<TrackDecision> planned(const std::string &text, const std::vector<LV1Channel> &channels) {
        platform.writeSession(text);
        update(channels); // so that names, places and arming are the console's
        return planned(channels);
    }
    std::vector<TrackDecision> planned(const std::vector<LV1Channel> &channels) const {
        return LiveTraxGenerator::plan(platform.platform, platform.sessionFolder(), channels).tracks;
    }
    /// Replaces something in the session as it stands.
    void replace(const std::string &old, const std::string &with) const {
        std::string text = platform.session();
        ASSERT_NE(text.find(old), std::string::npos);
        replaceAll(text, old, with);
        platform.writeSession(text);
    }
};

TEST_F(Wiring, WhatIsConnectedAgainIsAChange) {
    const std::vector<LV1Channel> console = {channel("Kick", 0), channel("Keys", 4, true)};
    const std::string text = sessionText({track("Kick", 1, 1, 0), track("Keys", 5, 2, 1)});
    for (const auto &[old, with] : {std::pair("other=\"system:capture_6\"", "other=\"system:capture_9\""),
                                    {"other=\"system:playback_5\"", "other=\"system:playback_9\""},
                                    {" other=\"system:playback_6\"", ""}}) {
        EXPECT_EQ(planned(text, console)[1].action, TrackDecision::Action::keep);
        replace(old, with);
        const auto tracks = planned(console);
        EXPECT_EQ(tracks[0].action, TrackDecision::Action::keep);
        EXPECT_FALSE(tracks[0].rewired);
        const bool isWritten = *with != '\0'; // a whole direct out is the user's own
        EXPECT_EQ(tracks[1].rewired, isWritten) << old;
        EXPECT_EQ(tracks[1].action, isWritten ? TrackDecision::Action::change : TrackDecision::Action::keep);
        EXPECT_EQ(tracks[1].was, TrackDecision::Was());
        update(console);
        EXPECT_EQ(planned(console)[1].action, TrackDecision::Action::keep) << old;
    }
}

TEST_F(Wiring, ADirectOutWhoseOutputsComeBackIsConnectedAgain) {
    const std::vector<LV1Channel> console = {channel("Kick", 0)};
    planned(sessionText({track("Kick", 1, 1, 0)}), console);
    replace(" other=\"system:playback_1\"", "");
    EXPECT_TRUE(planned(console).front().rewired);
}

TEST_F(Wiring, WhatOnePortHadAndTwoHaveNowIsConnectedAgain) {
    const std::vector<LV1Channel> console = {channel("Keys", 0, true)};
    planned(sessionText({track("Keys", 1, 2, 0)}), console);
    std::string text = platform.session();
    const std::size_t start = text.find("</Port>", text.find("system:playback_1"));
    const std::size_t end = text.find("<ExtConnection for=\"device\" other=\"system:playback_2\"");
    platform.writeSession(text.erase(start, end - start)); // both connections stand in the first port
    EXPECT_TRUE(planned(console).front().rewired);
}

TEST_F(Wiring, AnInputThatIsConnectedToNothingOnTheSessionsDeviceIsSilent) {
    const std::vector<LV1Channel> console = {channel("Kick", 0), channel("Keys", 4, true), channel("Vox", 8)};
    const std::string text =
        sessionText({track("Kick", 1, 1, 0), track("Keys", 5, 2, 1), track("Vox", 9, 1, 2)});
    for (const TrackDecision &made : planned(text, console))
        EXPECT_THAT(made.silentInputs, ElementsAre());
    replace(" other=\"system:capture_6\"", "");
    replace("for=\"device\" other=\"system:capture_9\"", "for=\"Other\" other=\"system:capture_9\"");
    const auto tracks = planned(console);
    EXPECT_THAT(tracks[0].silentInputs, ElementsAre());
    EXPECT_THAT(tracks[1].silentInputs, ElementsAre(5));
    EXPECT_THAT(tracks[2].silentInputs, ElementsAre(8));
    EXPECT_EQ(tracks[2].action, TrackDecision::Action::keep) << "nothing is changed about it";
}

TEST_F(Wiring, AnInputThatListensToAnotherTrackIsNotSilent) {
    const std::vector<LV1Channel> console = {channel("Keys", 4, true)};
    planned(sessionText({track("Keys", 5, 2, 0)}), console);
    replace("<ExtConnection for=\"device\" other=\"system:capture_6\"/>",
            "<Connection other=\"Master/audio_out 1\"/>");
    EXPECT_THAT(planned(console).front().silentInputs, ElementsAre());
}

TEST_F(Wiring, ANameAsTheRecorderSavedItIsNoChange) {
    const std::vector<LV1Channel> console = {channel("O:H", 0)};
    planned(sessionText({track("O:H", 1, 1, 0)}), console);
    replace("name=\"O:H\"", "name=\"O_H\"");
    EXPECT_EQ(planned(console).front().action, TrackDecision::Action::keep);
    EXPECT_EQ(planned(console).front().was, TrackDecision::Was());
    replace("name=\"O_H\"", "name=\"OH\"");
    EXPECT_EQ(planned(console).front().was.name, "OH");
}

} // namespace
} // namespace corvane

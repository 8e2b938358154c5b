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

} // namespace
} // namespace corvane

#include "tests/livetrax/session/UpdateFixture.h"

#include <gmock/gmock.h>

namespace corvane {
namespace {

using ::testing::ElementsAre;

/// A track as the recorder writes it, with what a short name of its ports might be found in by chance.
std::string recordedTrack(const std::string &io, const std::string &owner, const std::string &processor) {
    return "<Route id=\"12\" name=\"Lead\" default-type=\"audio\" active=\"1\" audio-playlist=\"31\">"
           "<PresentationInfo order=\"1\" flags=\"AudioTrack,OrderSet\" color=\"255\"/>"
           "<IO name=\"" +
           io + "\" id=\"13\" direction=\"Input\" default-type=\"audio\"><Port type=\"audio\" name=\"" +
           owner +
           "/audio_in 1\"><ExtConnection for=\"Audio;Input;rec Meter 1\" other=\"system:capture_1\"/>"
           "<Connection other=\"" +
           owner +
           "/audio_out 1\"/></Port></IO>"
           "<IO name=\"" +
           io + "\" id=\"14\" direction=\"Output\" default-type=\"audio\"><Port type=\"audio\" name=\"" +
           owner +
           "/audio_out 1\"><Connection other=\"Master/audio_in 1\"/></Port></IO>"
           "<Processor id=\"15\" name=\"meter-" +
           processor +
           "\" active=\"yes\" type=\"meter\" meter-type=\"MeterPeak\"/><Processor id=\"16\" "
           "name=\"recorder:" +
           processor +
           "\" record-safe=\"no\" type=\"diskwriter\"/><Processor id=\"17\" name=\"Trim\" type=\"amp\"/>"
           "<Controllable name=\"rec-enable\" id=\"18\" flags=\"Toggle\" value=\"0.000001\"/>"
           "<Controllable name=\"Vox 2 Audio\" id=\"19\" flags=\"RealTime\" value=\"1\"/></Route>";
}

std::string renamed(const std::string &route, const std::string &engineNamespace,
                    const std::vector<std::string> &given = {}) {
    const Tree tree("<S>" + route + "</S>");
    LiveTraxGenerator::setEngineNamespace(tree.root().firstChild(), engineNamespace, given);
    return tree.text();
}

std::string asText(const std::string &route) {
    return Tree("<S>" + route + "</S>").text();
}

TEST(RenamedPorts, AUsersNameChangesOnlyWhatIsNamedAfterThePorts) {
    for (const std::string name :
         {"L", "R", "A", "i", "in", "Input", "Audio", "Meter", "rec", "Track", "Vox 2", "e", "Lead"})
        EXPECT_EQ(renamed(recordedTrack(name, name, name), "Audio 4"),
                  asText(recordedTrack("Audio 4", "Audio 4", "Audio 4")))
            << name;
}

TEST(RenamedPorts, ATrackThatIsCalledByANumberOrASwitchIsRenamedLikeAnyOther) {
    // With the IO's old name the recorder does not find its ports, and the track records silence.
    for (const std::string name : {"1", "0", "-1", "1.5", "1e3", ".5", "yes", "no", "true", "false", "1 2",
                                   "1e", ".", "-", "e5", "1-", "Yes", "1.2.3"})
        EXPECT_EQ(renamed(recordedTrack(name, name, name), "Audio 4"),
                  asText(recordedTrack("Audio 4", "Audio 4", "Audio 4")))
            << name;
}

TEST(RenamedPorts, AValueThatIsANumberOrASwitchAsAWholeStays) {
    const auto route = [](const std::string &own, const std::string &note) {
        std::string text = "<Route name=\"" + own + "\"><IO name=\"" + own + "\"><Port name=\"" + own +
                           "/audio_in 1\"/></IO><Processor name=\"-" + own + "\"><Note text=\"";
        return text + note + "\" gain=\"" + note + "\"/></Processor></Route>";
    };
    for (const std::string name : {"1", "0", "1.5", "1e3", ".5", "yes", "no", "true", "false"}) {
        std::string expected = route("Audio 4", name);
        expected.replace(expected.find("Audio 4"), 7, name); // the route's own name is another matter
        if (name != "yes" && name != "no" && name != "true" && name != "false")
            expected.replace(expected.find("-Audio 4"), 8,
                             "-" + name); // a number as a whole, and not the name
        EXPECT_EQ(renamed(route(name, name), "Audio 4", {name}), asText(expected)) << name;
        EXPECT_EQ(renamed(route(name, name), "Audio 4"), asText(expected)) << name;
    }
}

TEST(RenamedPorts, OnlyWhatIsANumberFromEndToEndIsOne) {
    const auto route = [](const std::string &own, const std::string &note) {
        return "<Route><IO><Port name=\"" + own + "/audio_in 1\"/></IO><Note text=\"" + note + "\"/></Route>";
    };
    for (const std::string number : {"1", "11", "+1", "-1", "1.", ".1", "1.1", "-1.1", "1e1", "1E1", "1e+1",
                                     "1e-11", ".1e1", "1.e1", "11e1"})
        EXPECT_EQ(renamed(route("1", number), "N", {"1"}), asText(route("N", number))) << number;
    for (const std::string text : {"1x", "x1", "1 1", "1.x1", "1.1x", "1..1", ".e1", "e1", "1e1x", "1ex1",
                                   "1e1.", "1e", "1e+", "+", "--1", "+x1", "1-", "1,1"}) {
        std::string changed = text;
        for (std::size_t at = changed.find('1'); at != std::string::npos; at = changed.find('1'))
            changed.replace(at, 1, "N");
        EXPECT_EQ(renamed(route("1", text), "N", {"1"}), asText(route("N", changed))) << text;
    }
}

TEST(RenamedPorts, ANumberedNamespaceIsAudioAndANumberAndNothingElse) {
    const auto route = [](const std::string &own) {
        return "<Route note=\"a " + own + "\"><IO><Port name=\"" + own + "/audio_in 1\"/></IO></Route>";
    };
    EXPECT_EQ(renamed(route("Audio 30"), "Audio 1"), asText(route("Audio 1")));
    for (const std::string own : {"Audio ", "Audio 3x", "Audio x", "Audio 3 ", "audio 3", "My Audio 3", "3"})
        EXPECT_NE(renamed(route(own), "Audio 1"), asText(route("Audio 1"))) << own;
}

TEST(RenamedPorts, OnlyTheWholeOwnerOfAPortIsRenamed) {
    const auto route = [](const std::string &own) {
        return "<Route><IO name=\"x\"><Port name=\"" + own +
               "/audio_in 1\"><Connection other=\"Audio 3 Bus/audio_in 1\"/><Connection other=\"Audio "
               "31/audio_out 1\"/><Connection other=\"" +
               own + "/audio_out 1\"/><ExtConnection other=\"My Audio 3/audio_in 1\"/></Port></IO></Route>";
    };
    EXPECT_EQ(renamed(route("Audio 3"), "Audio 5"), asText(route("Audio 5")));
}

TEST(RenamedPorts, AGivenNamespaceGoesFromEverywhereButFromWhatMeansSomethingElse) {
    const auto route = [](const std::string &text) {
        return "<Route pretty=\"" + text +
               "\"><IO><Port name=\"Audio 3/audio_in 1\"><ExtConnection for=\"Audio 3\" "
               "other=\"x\"/></Port></IO><Other id=\"Audio 3\" owner-id=\"Audio 3\" flags=\"Audio 3\" "
               "direction=\"Audio 3\" type=\"Audio 3\" default-type=\"Audio 3\" role=\"Audio 3\" "
               "value=\"Audio "
               "3\" active=\"Audio 3\" bitslot=\"Audio 3\" order=\"Audio 3\" color=\"Audio 3\" note=\"" +
               text + "\"/><Controllable name=\"Audio 3\" note=\"" + text + "\"/></Route>";
    };
    std::string expected = asText(route("the Audio 8 track"));
    expected.replace(expected.find("Audio 3/audio_in"), 7, "Audio 8");
    EXPECT_EQ(renamed(route("the Audio 3 track"), "Audio 8"), expected);
}

TEST(RenamedPorts, ANamespaceOfTheBaseTemplateIsAGivenOne) {
    const auto route = [](const std::string &name) {
        return "<Route note=\"a " + name + "\"><IO><Port name=\"" + name + "/audio_in 1\"/></IO></Route>";
    };
    EXPECT_EQ(renamed(route("Mono Model"), "Audio 1", {"Stereo Model", "Mono Model"}),
              asText(route("Audio 1")));
    EXPECT_NE(renamed(route("Mono Model"), "Audio 1"), asText(route("Audio 1")));
}

TEST(RenamedPorts, PortsOfProcessorsAloneMakeNoNamespace) {
    EXPECT_EQ(renamed("<Route name=\"R\"><IO name=\"R\"/><Processor name=\"P\"><IO name=\"P\"><Port "
                      "name=\"P/audio_in 1\"/></IO></Processor></Route>",
                      "N"),
              asText("<Route name=\"R\"><IO name=\"N\"/><Processor name=\"P\"><IO name=\"P\"><Port "
                     "name=\"P/audio_in 1\"/></IO></Processor></Route>"));
}

/// Two buses that tracks feed, beside the master.
class ConnectedTracks : public Update {
protected:
    /// A bus that ports feed.
    static std::string bus(const std::string &name, const std::vector<std::string> &feeders) {
        std::string text = "<Route name=\"" + name +
                           "\"><PresentationInfo flags=\"AudioBus\"/><IO direction=\"Input\" name=\"" + name +
                           "\"><Port name=\"" + name + "/audio_in 1\">";
        for (const std::string &feeder : feeders)
            text += "<Connection other=\"" + feeder + "\"/>";
        return text + "</Port></IO></Route>";
    }
    void write(const std::vector<TrackText> &tracks, const std::string &buses) {
        std::string text = sessionText(tracks);
        platform.writeSession(text.insert(text.find("</Routes>"), buses));
    }
    std::vector<std::string> feeders(const std::string &bus) const {
        std::vector<std::string> found;
        const Tree tree = updated();
        for (const XMLElement connection : tree.route(bus).firstChild("IO").firstChild("Port").children())
            found.push_back(connection.attribute("other").value_or("none"));
        return found;
    }
};

TEST_F(ConnectedTracks, WhatTracksFeedFollowsThemWhenTheyChangePlaces) {
    write({track("Kick", 1, 1, 0), track("Vox", 2, 1, 1)},
          bus("Drums", {"Audio 1/audio_out 1"}) + bus("Vocals", {"Audio 2/audio_out 1"}));
    update({channel("Vox", 1), channel("Kick", 0)});
    EXPECT_THAT(feeders("Drums"), ElementsAre("Audio 2/audio_out 1"));
    EXPECT_THAT(feeders("Vocals"), ElementsAre("Audio 1/audio_out 1"));
    EXPECT_EQ(updated().route("Kick").attribute("id"), "100");
}

TEST_F(ConnectedTracks, WhatARemovedTrackFedIsLeftToNobodyElse) {
    write({track("Kick", 1, 1, 0), track("Vox", 2, 1, 1)},
          bus("Drums", {"Audio 1/audio_out 1"}) + bus("Vocals", {"Audio 2/audio_out 1"}));
    update({channel("Vox", 1)});
    EXPECT_THAT(feeders("Drums"), ElementsAre());
    EXPECT_THAT(feeders("Vocals"), ElementsAre("Audio 1/audio_out 1"));
}

TEST_F(ConnectedTracks, ATrackThatAUserNamedIsFollowedAsWell) {
    TrackText lead = track("Lead", 1, 1, 0);
    lead.engineNamespace = "Lead";
    lead.inside = "<Processor type=\"send\" name=\"send 1\"><IO direction=\"Output\"><Port name=\"Lead/send "
                  "1\"/></IO></Processor>";
    write({lead}, bus("Wedge", {"Lead/audio_out 1", "Lead/send 1", "Lead 2/audio_out 1"}));
    update({channel("Lead", 0)});
    EXPECT_THAT(feeders("Wedge"), ElementsAre("Audio 1/audio_out 1", "Audio 1/send 1", "Lead 2/audio_out 1"));
}

TEST_F(ConnectedTracks, APortThatComesOutWithTheSameFeedersIsLeftAsItIs) {
    const std::string everybody = bus("All", {"Audio 2/audio_out 1", "Audio 1/audio_out 1", "Click/out"});
    write({track("Kick", 1, 1, 0), track("Vox", 2, 1, 1)}, everybody);
    update({channel("Vox", 1), channel("Kick", 0)});
    EXPECT_THAT(feeders("All"), ElementsAre("Audio 2/audio_out 1", "Audio 1/audio_out 1", "Click/out"));
}

TEST_F(ConnectedTracks, ANewTrackTakesAConnectionOverThatItHasItself) {
    std::string master = bus("Drums", {"Audio 1/audio_out 1"});
    std::string text = sessionText({track("Keys", 1, 1, 0)});
    text.replace(text.find("<Port name=\"Master/audio_in 1\"/>"), 32,
                 "<Port name=\"Master/audio_in 1\"><Connection other=\"Audio 1/audio_out 1\"/></Port>");
    platform.writeSession(text.insert(text.find("</Routes>"), master));
    update({channel("Keys", 0, true)});
    // The models feed the master, and nothing else.
    EXPECT_THAT(feeders("Master"), ElementsAre("Audio 1/audio_out 1"));
    EXPECT_THAT(feeders("Drums"), ElementsAre());
}

TEST_F(ConnectedTracks, AConnectionThatLedNowhereDoesNotLeadToAStrangerAfterwards) {
    write({track("Kick", 1, 1, 0)}, bus("Drums", {"Audio 2/audio_out 1", "Audio 9/audio_out 1"}));
    update({channel("Kick", 0), channel("New", 5)});
    EXPECT_THAT(feeders("Drums"), ElementsAre("Audio 9/audio_out 1"));
}

TEST_F(ConnectedTracks, ATrackThatListensToAnotherFollowsIt) {
    TrackText vox = track("Vox", 2, 1, 1);
    std::string text = sessionText({track("Kick", 1, 1, 0), vox});
    const std::size_t port = text.find("name=\"Audio 2/audio_in 1\">") + 26;
    platform.writeSession(text.insert(port, "<Connection other=\"Audio 1/audio_out 1\"/>"));
    update({channel("Vox", 1), channel("Kick", 0)});
    const Tree tree = updated();
    const XMLElement heard = tree.route("Vox").firstChild("IO").firstChild("Port");
    EXPECT_EQ(heard.attribute("name"), "Audio 1/audio_in 1");
    EXPECT_EQ(heard.firstChild("Connection").attribute("other"), "Audio 2/audio_out 1");
}

TEST_F(ConnectedTracks, ATrackThatFeedsItselfAndTheOneItChangesPlacesWithKeepsBoth) {
    std::string text = sessionText({track("Kick", 1, 1, 0), track("Vox", 2, 1, 1)});
    const std::size_t port = text.find("name=\"Audio 2/audio_in 1\">") + 26;
    platform.writeSession(text.insert(port, "<Connection other=\"Audio 2/audio_out 1\"/><Connection "
                                            "other=\"Audio 1/audio_out 1\"/>"));
    update({channel("Vox", 1), channel("Kick", 0)});
    std::vector<std::string> heard;
    const Tree tree = updated();
    for (const XMLElement connection :
         tree.route("Vox").firstChild("IO").firstChild("Port").children("Connection"))
        heard.push_back(connection.attribute("other").value_or("none"));
    EXPECT_THAT(heard, ElementsAre("Audio 2/audio_out 1", "Audio 1/audio_out 1"));
}

} // namespace
} // namespace corvane

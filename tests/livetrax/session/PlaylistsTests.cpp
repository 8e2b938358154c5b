#include "tests/livetrax/session/UpdateFixture.h"

#include "base/Quotation.h"

#include <gmock/gmock.h>

namespace corvane {
namespace {

using ::testing::ElementsAre;
using Action = TrackDecision::Action;

/// A session's playlist: its id, its name and how many recordings it holds.
struct PlaylistText {
    std::string id;
    std::string name;
    int regions = 0;
};

/// Sessions whose tracks refer to playlists in ways of their own.
class RecordedTakes : public Update {
protected:
    void write(const std::vector<TrackText> &tracks, const std::vector<PlaylistText> &playlists,
               const std::string &unused = "") {
        std::string text = sessionText(tracks);
        const std::size_t start = text.find("<Playlists>") + 11;
        std::string lists;
        for (const PlaylistText &playlist : playlists) {
            lists += "<Playlist id=\"" + playlist.id + "\" name=\"" + playlist.name + "\">";
            for (int region = 0; region < playlist.regions; ++region)
                lists += "<Region name=\"take\"/>";
            lists += "</Playlist>";
        }
        text.replace(start, text.find("</Playlists>") - start, lists);
        text.insert(text.find("</Session>"), "<UnusedPlaylists>" + unused + "</UnusedPlaylists>");
        platform.writeSession(text);
    }
    static TrackText playing(const std::string &name, std::int64_t capture, int position,
                             const std::string &playlist) {
        TrackText text = track(name, capture, 1, position);
        text.playlist = playlist;
        return text;
    }
    std::vector<std::string> left() const { return names(updated().playlists(), "Playlist"); }
};

TEST_F(RecordedTakes, ANumberThatIsAPlaylistsIdIsNotTakenForAnothersName) {
    // "416" is a microphone; the recorder happens to have called the second track's playlist 416 as well.
    write({playing("416", 1, 0, "103"), playing("Vox", 2, 1, "416")}, {{"103", "416", 2}, {"416", "Vox", 3}});
    EXPECT_EQ(update({channel("416", 0)}), (UpdateResult{1, 0, 1}));
    EXPECT_THAT(left(), ElementsAre("416", "Vox"));
}

TEST_F(RecordedTakes, APlaylistThatIsReferredToByItsIdKeepsItsName) {
    write({playing("Kick", 1, 0, "103")}, {{"103", "Kick", 1}});
    update({channel("Bass Drum", 0)});
    EXPECT_THAT(left(), ElementsAre("Kick"));
    EXPECT_EQ(updated().route("Bass Drum").attribute("audio-playlist"), "103");
}

TEST_F(RecordedTakes, TheTakesOfARemovedTrackStayWhereTheRecorderWroteTheSession) {
    write({playing("Kick", 1, 0, "103"), playing("Vox", 2, 1, "107")},
          {{"103", "Kick", 1}, {"107", "Vox", 2}});
    update({channel("Kick", 0)});
    EXPECT_THAT(left(), ElementsAre("Kick", "Vox"));
}

TEST_F(RecordedTakes, APlaylistThatAnotherRouteRefersToByItsIdIsNotRemovedByItsName) {
    TrackText bus = playing("Bus", 9, 7, "103");
    bus.flags = "AudioBus";
    write({playing("Kick", 1, 0, "Kick"), bus, playing("Vox", 2, 1, "Vox"), playing("Vox too", 3, 2, "107")},
          {{"103", "Kick", 1}, {"107", "Vox", 1}});
    EXPECT_EQ(update({channel("Vox too", 2)}), (UpdateResult{1, 0, 2}));
    EXPECT_THAT(left(), ElementsAre("Kick", "Vox"));
}

TEST_F(RecordedTakes, WhatOnlyARemovedTrackNamesGoes) {
    write({playing("Kick", 1, 0, "Kick"), playing("Vox", 2, 1, "Vox")},
          {{"103", "Kick", 1}, {"107", "Vox", 1}});
    update({channel("Kick", 0)});
    EXPECT_THAT(left(), ElementsAre("Kick"));
}

TEST_F(RecordedTakes, WhatANewTrackNamesStays) {
    // It is called as its ports are, and happens to be one of the session's.
    write({playing("Kick", 1, 0, "Audio 1")}, {{"103", "Audio 1", 1}});
    EXPECT_EQ(update({channel("New", 7)}), (UpdateResult{0, 1, 1}));
    EXPECT_THAT(left(), ElementsAre("Audio 1", "New"));
}

TEST_F(RecordedTakes, AnIdOfAnUnusedPlaylistIsNoNameEither) {
    write({playing("Kick", 1, 0, "416")}, {{"103", "416", 1}}, "<Playlist id=\"416\" name=\"old\"/>");
    update({});
    EXPECT_THAT(left(), ElementsAre("416"));
}

TEST_F(RecordedTakes, APlanTellsHowManyRecordingsEachTrackHolds) {
    write({playing("Kick", 1, 0, "103"), playing("Vox", 2, 1, "Vox"), playing("None", 3, 2, "?")},
          {{"103", "Kick", 2}, {"107", "Vox", 3}});
    const UpdatePlan plan = LiveTraxGenerator::plan(platform.platform, platform.sessionFolder(),
                                                    {channel("Kick", 0), channel("New", 7)});
    std::vector<std::int64_t> takes;
    for (const TrackDecision &track : plan.tracks)
        takes.push_back(track.takes);
    EXPECT_THAT(takes, ElementsAre(2, 0, 3, 0)); // Kick, New, Vox, None
    EXPECT_THAT(removedWithTakes(plan), ElementsAre(quotation("Vox")));
}

TEST_F(RecordedTakes, ATrackThatGoesWithOneRecordingIsTold) {
    write({playing("Kick", 1, 0, "Kick"), playing("Vox", 2, 1, "Vox")},
          {{"103", "Kick", 1}, {"107", "Vox", 0}});
    EXPECT_THAT(removedWithTakes(LiveTraxGenerator::plan(platform.platform, platform.sessionFolder(), {})),
                ElementsAre(quotation("Kick")));
}

TEST_F(RecordedTakes, APlanTellsWhatIsArmedAgain) {
    write({playing("Kick", 1, 0, "Kick")}, {{"103", "Kick", 0}});
    const auto plan = [&] {
        return LiveTraxGenerator::plan(platform.platform, platform.sessionFolder(), {channel("Kick", 0)})
            .tracks[0];
    };
    EXPECT_EQ(plan().action, Action::change);
    EXPECT_EQ(plan().was.armed, false);
    update({channel("Kick", 0)});
    EXPECT_EQ(plan().action, Action::keep);
    EXPECT_EQ(plan().was.armed, std::nullopt);
}

} // namespace
} // namespace corvane

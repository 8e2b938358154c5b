#include "tests/livetrax/session/UpdateFixture.h"

#include "platform/files/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>

#include <sys/stat.h>

namespace corvane {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Generator = LiveTraxGenerator;
using Case = GeneratorError::Case;
using Action = TrackDecision::Action;

TEST_F(Update, ARenamedChannelKeepsItsTrackAndItsRecordings) {
    TrackText kick = track("Kick", 1, 1, 0);
    kick.inside = "<Processor name=\"EQ\" type=\"lv2\" id=\"900\"/><!-- take 3 -->";
    std::string text = sessionText({kick});
    text.insert(text.find("</Playlists>"), "<Region name=\"Kick-1\"/>");
    platform.writeSession(text);
    EXPECT_EQ(update({channel("Bass Drum", 0)}), (UpdateResult{1, 0, 0}));

    const Tree tree = updated();
    EXPECT_THAT(names(tree.routes(), "Route"), ElementsAre("Master", "Bass Drum"));
    EXPECT_THAT(names(tree.playlists(), "Playlist"), ElementsAre("Bass Drum"));
    const XMLElement route = tree.route("Bass Drum");
    EXPECT_EQ(route.attribute("id"), "100");
    EXPECT_EQ(route.attribute("audio-playlist"), "Kick");
    EXPECT_TRUE(route.firstChild("Processor", "name", "EQ"));
    EXPECT_THAT(platform.session(), HasSubstr("<!-- take 3 -->"));
    EXPECT_EQ(tree.playlists().firstChild().attribute("id"), "103");
    EXPECT_EQ(directOut(route).attribute("name"), "Bass Drum");
}

TEST_F(Update, AChannelOnAnotherInputIsAnotherTrack) {
    platform.writeSession(sessionText({track("Kick", 1, 1, 0)}));
    EXPECT_EQ(update({channel("Kick", 4)}), (UpdateResult{0, 1, 1}));
    EXPECT_THAT(names(updated().routes(), "Route"), ElementsAre("Master", "Kick"));
    EXPECT_EQ(updated().root().attribute("id-counter"), "604");
    const Tree tree = updated();
    EXPECT_EQ(tree.route("Kick").attribute("id"), "501");
    EXPECT_EQ(tree.playlists().firstChild().attribute("id"), "504");
}

TEST_F(Update, AChannelThatBecomesStereoIsAnotherTrack) {
    platform.writeSession(sessionText({track("Keys", 1, 1, 0)}));
    EXPECT_EQ(update({channel("Keys", 0, true)}), (UpdateResult{0, 1, 1}));
    const Tree tree = updated();
    EXPECT_THAT(connections(tree.route("Keys").firstChild("IO", "direction", "Input")),
                ElementsAre("system:capture_1", "system:capture_2"));
}

TEST_F(Update, OfTwoTracksOnOneInputTheFirstIsKept) {
    TrackText second = track("Second", 1, 1, 1);
    second.order = "1";
    platform.writeSession(sessionText({track("First", 1, 1, 0), second}));
    EXPECT_EQ(update({channel("Kick", 0)}), (UpdateResult{1, 0, 1}));
    const Tree tree = updated();
    EXPECT_EQ(tree.route("Kick").attribute("id"), "100");
    EXPECT_THAT(names(tree.routes(), "Route"), ElementsAre("Master", "Kick"));
    EXPECT_THAT(names(tree.playlists(), "Playlist"), ElementsAre("Kick"));
}

TEST_F(Update, TwoChannelsOnOneInputClaimTwoTracksInDocumentOrder) {
    platform.writeSession(sessionText({track("A", 1, 1, 0), track("B", 1, 1, 1)}));
    EXPECT_EQ(update({channel("One", 0), channel("Two", 0)}), (UpdateResult{2, 0, 0}));
    const Tree tree = updated();
    EXPECT_EQ(tree.route("One").attribute("id"), "100");
    EXPECT_EQ(tree.route("Two").attribute("id"), "104");
    EXPECT_EQ(directOut(tree.route("One")).attribute("bitslot"), "1");
    EXPECT_EQ(directOut(tree.route("Two")).attribute("bitslot"), "2");
    EXPECT_THAT(connections(directOut(tree.route("Two")).firstChild("IO")), ElementsAre("system:playback_2"));
}

TEST_F(Update, AnUnchangedConsoleChangesNothingButTheCounterAndStillBacksUp) {
    const std::vector<LV1Channel> channels = {channel("Kick", 0), channel("OH", 6, true)};
    platform.writeSession(sessionText({track("Kick", 1, 1, 0), track("OH", 7, 2, 1)}));
    EXPECT_EQ(update(channels), (UpdateResult{2, 0, 0}));
    std::string once = platform.session();
    platform.wallTime += std::chrono::seconds(10);
    EXPECT_EQ(update(channels), (UpdateResult{2, 0, 0}));
    EXPECT_EQ(platform.backups().size(), 1U);
    const std::size_t counter = once.find("id-counter=\"600\"");
    ASSERT_NE(counter, std::string::npos);
    once.replace(counter, 16, "id-counter=\"700\"");
    EXPECT_EQ(platform.session(), once);
}

TEST_F(Update, TheOldestOfSwappedTracksKeepTheirOwnPlaylists) {
    // Each channel takes the other's old name: a playlist looked up after a rename would be the other
    // track's.
    platform.writeSession(sessionText({track("A", 1, 1, 0), track("B", 2, 1, 1), track("C", 3, 1, 2)}));
    EXPECT_EQ(update({channel("B", 0), channel("A", 1)}), (UpdateResult{2, 0, 1}));
    const Tree tree = updated();
    EXPECT_EQ(tree.route("B").attribute("id"), "100");
    EXPECT_EQ(tree.playlists().firstChild("Playlist", "name", "B").attribute("id"), "103");
    EXPECT_EQ(tree.playlists().firstChild("Playlist", "name", "A").attribute("id"), "107");
    EXPECT_THAT(names(tree.playlists(), "Playlist"), ElementsAre("B", "A"));
}

TEST_F(Update, ATracksPlaylistIsFoundByItsReferenceNotByItsName) {
    TrackText kick = track("Kick", 1, 1, 0);
    kick.playlist = "Kick.7";
    TrackText gone = track("Gone", 2, 1, 1);
    gone.playlist = "Gone.1";
    std::string text = sessionText({kick, gone});
    text.insert(text.find("</Playlists>"), "<Playlist name=\"Gone\"/><Playlist name=\"Kick\"/>");
    platform.writeSession(text);
    update({channel("Bass Drum", 0)});
    EXPECT_THAT(names(updated().playlists(), "Playlist"), ElementsAre("Bass Drum", "Gone", "Kick"));
}

TEST_F(Update, ATrackMayNameNoPlaylistOrAnUnknownOne) {
    std::string text =
        sessionText({track("A", 1, 1, 0), track("B", 2, 1, 1), track("C", 3, 1, 2), track("D", 4, 1, 3)});
    for (const std::string name : {"A", "C"})
        text.replace(text.find(" audio-playlist=\"" + name + "\""), 19, "");
    for (const std::string name : {"B", "D"})
        text.replace(text.find(" audio-playlist=\"" + name + "\""), 19, " audio-playlist=\"?\"");
    platform.writeSession(text);
    EXPECT_EQ(update({channel("A2", 0), channel("B2", 1)}), (UpdateResult{2, 0, 2}));
    EXPECT_THAT(names(updated().playlists(), "Playlist"), ElementsAre("A", "B", "C", "D"));
    EXPECT_THAT(names(updated().routes(), "Route"), ElementsAre("Master", "A2", "B2"));
}

TEST_F(Update, APlaylistThatAKeptTrackRecordsIntoStaysWhenAnotherOfItsTracksGoes) {
    TrackText kept = track("Kept", 1, 1, 0);
    kept.playlist = "Shared";
    TrackText gone = track("Gone", 2, 1, 1);
    gone.playlist = "Shared";
    TrackText goneToo = track("Gone too", 3, 1, 2);
    goneToo.playlist = "Other";
    TrackText goneAsWell = track("Gone as well", 4, 1, 3);
    goneAsWell.playlist = "Other";
    std::string text = sessionText({kept, gone, goneToo, goneAsWell});
    platform.writeSession(text);
    EXPECT_EQ(update({channel("Kept", 0)}), (UpdateResult{1, 0, 3}));
    EXPECT_THAT(names(updated().playlists(), "Playlist"), ElementsAre("Kept", "Shared", "Other"));
}

TEST_F(Update, PreservedTracksAreMatchedOrRemovedLikeOthers) {
    TrackText matched = track("Corvane Preserved 1", 1, 1, 0);
    TrackText gone = track("Corvane Preserved 2", 2, 1, 1);
    platform.writeSession(sessionText({matched, gone}));
    EXPECT_EQ(update({channel("Kick", 0)}), (UpdateResult{1, 0, 1}));
    EXPECT_THAT(names(updated().routes(), "Route"), ElementsAre("Master", "Kick"));
}

TEST_F(Update, WhereADirectOutGoesIsJudgedByTheNewNames) {
    // The channel's name marks the track as preserved from now on: it gives way although it stands first.
    TrackText bus = track("Bus", 1, 1, 9);
    bus.flags = "AudioBus";
    bus.engineNamespace = "Bus";
    platform.writeSession(sessionText({track("Kick", 1, 1, 0), bus}));
    update({channel("Corvane Preserved Kick", 0)});
    const Tree tree = updated();
    EXPECT_EQ(directOut(tree.route("Corvane Preserved Kick")).attribute("bitslot"), "2");
    EXPECT_EQ(directOut(tree.route("Bus")).attribute("bitslot"), "1");
}

TEST_F(Update, TracksOfAnotherWidthOrWithoutACaptureInputAreNotMatched) {
    TrackText wide = track("Wide", 1, 3, 0);
    TrackText none = track("None", 2, 0, 1);
    std::string text = sessionText({wide, none});
    platform.writeSession(text);
    EXPECT_EQ(update({channel("Kick", 0), channel("Snare", 1)}), (UpdateResult{0, 2, 2}));
}

TEST_F(Update, ANegativeInputMatchesAsAnyOther) {
    platform.writeSession(sessionText({track("Odd", 0, 1, 0)}));
    EXPECT_EQ(update({channel("Odd", -1)}), (UpdateResult{1, 0, 0}));
}

TEST_F(Update, NoChannelsRemoveEveryTrack) {
    platform.writeSession(sessionText({track("A", 1, 1, 0), track("B", 2, 2, 1)}));
    EXPECT_EQ(update({}), (UpdateResult{0, 0, 2}));
    EXPECT_THAT(names(updated().routes(), "Route"), ElementsAre("Master"));
    EXPECT_THAT(names(updated().playlists(), "Playlist"), IsEmpty());
}

TEST_F(Update, NewTracksAreCopiesOfTheTemplatesModels) {
    TrackText mono = track("183", 1, 1, 0);
    mono.engineNamespace = "Mono Model";
    mono.inside = "<Processor name=\"Trim\" id=\"77\"/>";
    TrackText stereo = track("273", 2, 2, 1);
    stereo.playlist = "273's takes";
    platform.setBaseTemplate(sessionText({mono, stereo}));
    platform.writeSession(sessionText({}));
    EXPECT_EQ(update({channel("Kick", 3), channel("OH", 5, true)}), (UpdateResult{0, 2, 0}));
    const Tree tree = updated();
    EXPECT_THAT(names(tree.routes(), "Route"), ElementsAre("Master", "Kick", "OH"));
    EXPECT_THAT(names(tree.playlists(), "Playlist"), ElementsAre("Kick", "OH"));
    EXPECT_TRUE(tree.route("Kick").firstChild("Processor", "name", "Trim"));
    EXPECT_THAT(names(tree.route("Kick").firstChild("IO"), "Port"), ElementsAre("Audio 1/audio_in 1"));
    EXPECT_EQ(tree.route("OH").firstChild("PresentationInfo").attribute("order"), "2");
}

TEST_F(Update, ANewChannelMayBeCalledByTheNumberOfAnElementOfTheModel) {
    platform.writeSession(sessionText({}));
    update({channel("100", 0), channel("104", 1, true)}); // as the models' routes are numbered
    EXPECT_THAT(names(updated().routes(), "Route"), ElementsAre("Master", "100", "104"));
}

TEST_F(Update, TheOSCSurfaceIsSwitchedOn) {
    std::string text = sessionText({});
    text.replace(text.find("value=\"1\""), 9, "value=\"0\"");
    text.replace(text.find(" session-state=\"1\""), 18, "");
    platform.writeSession(text);
    update({});
    const Tree tree = updated();
    EXPECT_TRUE(
        tree.root().firstChild("Config").firstChild("Option", "name", "use-osc").attributeIs("value", "1"));
    EXPECT_TRUE(tree.root().firstChild("ControlProtocols").firstChild().attributeIs("session-state", "1"));
}

TEST_F(Update, TheBackupIsTheFileAsItStoodNamedByLocalTime) {
    ::setenv("TZ", "UTC-2", 1);
    ::tzset();
    const std::string before = "<!-- as it was -->\n" + sessionText({track("Kick", 1, 1, 0)});
    platform.writeSession(before);
    platform.folder.write("Shows/Gig/backup/Corvane pre-sync 2025-01-01_10-00-00-000.ardour", "older");
    platform.folder.write("Shows/Gig/backup/Gig.ardour", "the recorder's own");
    update({channel("Kick", 0)});
    EXPECT_THAT(platform.backups(),
                ElementsAre("Corvane pre-sync 2026-01-31_20-04-05-250.ardour", "Gig.ardour"));
    EXPECT_EQ(platform.folder.read("Shows/Gig/backup/Corvane pre-sync 2026-01-31_20-04-05-250.ardour"),
              before);
    ::unsetenv("TZ");
    ::tzset();
}

TEST_F(Update, MillisecondsAreWrittenWithThreeDigitsBeforeAndAfterTheEpoch) {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    for (const auto &[time, name] :
         {std::pair{1700000000007LL, "Corvane pre-sync 2023-11-14_22-13-20-007.ardour"},
          {-1LL, "Corvane pre-sync 1969-12-31_23-59-59-999.ardour"}}) {
        platform.writeSession(sessionText({}));
        platform.wallTime = std::chrono::system_clock::time_point(std::chrono::milliseconds(time));
        update({});
        EXPECT_THAT(platform.backups(), ElementsAre(name));
    }
    ::unsetenv("TZ");
    ::tzset();
}

TEST_F(Update, ABackupThatIsThereAlreadyIsNotOverwritten) {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    platform.writeSession(sessionText({track("A", 1, 1, 0), track("A", 2, 1, 1)}));
    platform.folder.write("Shows/Gig/backup/Corvane pre-sync 2026-01-31_18-04-05-250.ardour", "earlier");
    refused({channel("Same", 0), channel("Same", 1)});
    EXPECT_THAT(platform.backups(), ElementsAre("Corvane pre-sync 2026-01-31_18-04-05-250.ardour",
                                                "Corvane pre-sync 2026-01-31_18-04-05-251.ardour"));
    EXPECT_EQ(platform.folder.read("Shows/Gig/backup/Corvane pre-sync 2026-01-31_18-04-05-250.ardour"),
              "earlier");
    ::unsetenv("TZ");
    ::tzset();
}

TEST_F(Update, TheSessionIsRememberedAsTheLastOneWithoutATrailingSlash) {
    platform.writeSession(sessionText({}));
    Generator::update(platform.platform, platform.sessionFolder() / "", {});
    EXPECT_EQ(platform.defaults->values["CorvaneLastSession"], platform.sessionFolder().string());
}

TEST_F(Update, AMissingSessionIsNamedByItsFile) {
    const auto error = errorOf([&] { update({}); });
    EXPECT_EQ(error->errorDescription(), "The active LiveTrax session was not found at " +
                                             (platform.sessionFolder() / "Gig.ardour").string() + ".");
    EXPECT_FALSE(fileExists(platform.sessionFolder()));
}

TEST_F(Update, AMalformedSessionIsAnXMLErrorAndNotBackedUp) {
    platform.writeSession("<Session><Routes>");
    EXPECT_THROW(update({}), XMLError);
    EXPECT_EQ(platform.session(), "<Session><Routes>");
    EXPECT_THAT(platform.backups(), IsEmpty());
}

TEST_F(Update, ASessionWithoutRoutesOrPlaylistsIsRefusedBeforeItIsBackedUp) {
    for (const std::string text :
         {"<Session/>", "<Session><Routes/></Session>", "<Session><Playlists/></Session>"}) {
        platform.writeSession(text);
        const GeneratorError error = refused({});
        EXPECT_EQ(error.errorCase(), Case::sessionUnreadable);
        EXPECT_EQ(error.errorDescription(),
                  "The session at " + platform.sessionFolder().string() + " cannot be read.");
        EXPECT_THAT(platform.backups(), IsEmpty());
    }
}

TEST_F(Update, AMissingOrUnfitBaseTemplateLeavesTheSessionAndItsBackups) {
    platform.writeSession(sessionText({track("Kick", 1, 1, 0)}));
    platform.folder.write("Shows/Gig/backup/Corvane pre-sync 2025-01-01_10-00-00-000.ardour", "older");
    TrackText mono = track("M", 1, 1, 0);
    platform.setBaseTemplate(sessionText({mono}));
    EXPECT_EQ(refused({channel("Kick", 0)}).errorCase(), Case::invalidTemplate);
    platform.resources->files.clear();
    EXPECT_EQ(refused({channel("Kick", 0)}).errorCase(), Case::baseTemplateMissing);
    EXPECT_EQ(platform.backups().size(), 2U); // the older one, and one of the session as it still is
}

TEST_F(Update, AModelWithoutItsPlaylistIsOnlyRefusedWhenItIsNeeded) {
    std::string text = smallTemplate();
    text.replace(text.find("audio-playlist=\"Mono Model\""), 27, "audio-playlist=\"elsewhere\"");
    platform.setBaseTemplate(text);
    platform.writeSession(sessionText({track("Kick", 1, 1, 0)}));
    EXPECT_EQ(refused({channel("Kick", 0), channel("Snare", 1)}).errorCase(), Case::invalidTemplate);
    EXPECT_EQ(update({channel("Kick", 0)}), (UpdateResult{1, 0, 0}));
}

TEST_F(Update, ClashingNamesLeaveTheSessionAndKeepTheBackups) {
    platform.writeSession(sessionText({track("A", 1, 1, 0), track("B", 2, 1, 1)}));
    platform.folder.write("Shows/Gig/backup/Corvane pre-sync 2025-01-01_10-00-00-000.ardour", "older");
    EXPECT_EQ(
        refused({channel("Vox", 0), channel("Vox", 1)}).errorDescription(),
        "The session would create a duplicate audio port (Vox/audio_send 1). Check the LV1 channel names.");
    EXPECT_EQ(refused({channel("Vox\x01", 0), channel("Vox\x02", 1)}).errorCase(), Case::duplicateEnginePort);
    EXPECT_EQ(platform.backups().size(), 2U); // the older one, and one of the session as it still is
}

TEST_F(Update, FivePressesInVainLeaveOneCopy) {
    platform.writeSession(sessionText({track("A", 1, 1, 0), track("B", 2, 1, 1)}));
    platform.folder.write("Shows/Gig/backup/Corvane pre-sync 2025-01-01_10-00-00-000.ardour",
                          "another state");
    platform.folder.write("Shows/Gig/backup/Gig.ardour", platform.session());
    for (int press = 0; press < 5; ++press) {
        platform.wallTime += std::chrono::seconds(10);
        refused({channel("Vox", 0), channel("Vox", 1)});
    }
    ASSERT_EQ(platform.backups().size(), 3U);
    EXPECT_EQ(platform.backups()[0], "Corvane pre-sync 2025-01-01_10-00-00-000.ardour");
    EXPECT_EQ(platform.folder.read("Shows/Gig/backup/" + platform.backups()[1]), platform.session());
    EXPECT_EQ(platform.backups()[2], "Gig.ardour");
}

TEST_F(Update, ABackupOfTheSameSizeAndOtherContentIsNoneOfTheSame) {
    platform.writeSession(sessionText({track("A", 1, 1, 0), track("B", 2, 1, 1)}));
    std::string other = platform.session();
    other.replace(other.find("\"B\""), 3, "\"C\"");
    platform.folder.write("Shows/Gig/backup/Corvane pre-sync 2025-01-01_10-00-00-000.ardour", other);
    refused({channel("Vox", 0), channel("Vox", 1)});
    EXPECT_EQ(platform.backups().size(), 2U);
}

TEST_F(Update, ASessionThatLiveTraxHasToRecoverIsRefusedBeforeItIsBackedUp) {
    platform.folder.write("Shows/Gig/Gig.pending", "");
    EXPECT_EQ(errorOf([&] { update({}); })->errorCase(), Case::sessionMissing);
    platform.writeSession(sessionText({track("A", 1, 1, 0)}));
    EXPECT_EQ(
        refused({channel("A", 0)}).errorDescription(),
        "LiveTrax was not closed properly while recording. Open the session in LiveTrax once, then press "
        "SYNC LV1 again.");
    EXPECT_THAT(platform.backups(), IsEmpty());
    const UpdatePlan plan =
        Generator::plan(platform.platform, platform.sessionFolder() / "", {channel("A", 0), channel("B", 1)});
    EXPECT_TRUE(plan.recoveryData);
    EXPECT_EQ(plan.result, (UpdateResult{1, 1, 0}));
    std::filesystem::remove(platform.sessionFolder() / "Gig.pending");
    EXPECT_FALSE(Generator::plan(platform.platform, platform.sessionFolder(), {}).recoveryData);
    EXPECT_EQ(update({channel("A", 0)}), (UpdateResult{1, 0, 0}));
}

TEST_F(Update, ASessionWhoseNumbersAreUsedUpIsRefused) {
    for (const std::string counter : {"18446744073709551615", "18446744073709551600"}) {
        platform.writeSession(sessionText({}, "id-counter=\"" + counter + "\""));
        EXPECT_EQ(refused({channel("A", 0)}).errorCase(), Case::idsExhausted);
    }
    platform.writeSession(sessionText({}, "id-counter=\"18446744073709551515\""));
    EXPECT_EQ(update({}), UpdateResult{});
    EXPECT_EQ(updated().root().attribute("id-counter"), "18446744073709551615");
}

TEST_F(Update, WhatIsNoFileIsRefusedAtOnce) {
    std::filesystem::create_directories(platform.sessionFolder());
    const auto file = platform.sessionFolder() / "Gig.ardour";
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    EXPECT_THROW(update({}), FileError);
    std::filesystem::remove(file);
    std::filesystem::create_symlink("/dev/zero", file);
    EXPECT_THROW(update({}), FileError);
}

TEST_F(Update, TheBackupHasTheModeOfTheSessionFile) {
    platform.writeSession(sessionText({track("A", 1, 1, 0)}));
    const auto mode = static_cast<std::filesystem::perms>(0664);
    std::filesystem::permissions(platform.sessionFolder() / "Gig.ardour", mode);
    update({channel("B", 0)});
    const auto backup = platform.sessionFolder() / "backup" / platform.backups().at(0);
    EXPECT_EQ(std::filesystem::status(backup).permissions(), mode);
}

TEST_F(Update, TheTracksAreThoseOfTheFirstRoutesByTheirFirstFlags) {
    TrackText bus = track("Bus", 1, 1, 8);
    bus.flags = "AudioBus";
    bus.inside = "<PresentationInfo flags=\"AudioTrack\"/>";
    std::string text = sessionText({bus});
    int nextId = 900;
    text.insert(text.find("</Session>"),
                "<Routes>" + routeText(track("Later", 2, 1, 7), nextId) + "</Routes>");
    platform.writeSession(text);
    EXPECT_EQ(update({channel("Kick", 0)}), (UpdateResult{0, 1, 0}));
    EXPECT_THAT(names(updated().routes(), "Route"), ElementsAre("Master", "Bus", "Kick"));
    EXPECT_THAT(platform.session(), HasSubstr("name=\"Later\""));
}

TEST_F(Update, ABackupFolderThatCannotBeMadeEndsItBeforeAnythingChanges) {
    platform.writeSession(sessionText({track("A", 1, 1, 0)}));
    platform.folder.write("Shows/Gig/backup", "a file in the way");
    const auto before = platform.files();
    EXPECT_THROW(update({channel("B", 0)}), FileError);
    EXPECT_EQ(platform.files(), before);
}

TEST_F(Update, ALinkedSessionFileIsUpdatedWhereItLies) {
    platform.writeSession(sessionText({track("A", 1, 1, 0)}));
    const auto file = platform.sessionFolder() / "Gig.ardour";
    const auto elsewhere = platform.folder.path() / "elsewhere.ardour";
    std::filesystem::rename(file, elsewhere);
    std::filesystem::create_symlink(elsewhere, file);
    update({channel("B", 0)});
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    EXPECT_THAT(platform.folder.read("elsewhere.ardour"), HasSubstr("name=\"B\""));
}

TEST_F(Update, TheModeOfTheSessionFileStays) {
    platform.writeSession(sessionText({track("A", 1, 1, 0)}));
    const auto file = platform.sessionFolder() / "Gig.ardour";
    std::filesystem::permissions(file, static_cast<std::filesystem::perms>(0640));
    update({channel("B", 0)});
    EXPECT_EQ(std::filesystem::status(file).permissions(), static_cast<std::filesystem::perms>(0640));
}

TEST_F(Update, NothingButTheSessionItsBackupTheHistoryAndTheUserDefaultChanges) {
    platform.writeSession(sessionText({track("A", 1, 1, 0)}));
    platform.folder.write("Shows/Gig/interchange/Gig/audiofiles/A-1.wav", "audio");
    platform.folder.write("Shows/Gig/Other.ardour", "another snapshot");
    auto before = platform.files();
    update({channel("B", 0)});
    EXPECT_GT(
        std::filesystem::remove_all(platform.folder / "home/Library/Application Support/Corvane/History"),
        0U);
    auto after = platform.files();
    for (const char *folder :
         {"home/Library", "home/Library/Application Support", "home/Library/Application Support/Corvane"})
        EXPECT_EQ(after.erase(folder), 1U);
    EXPECT_EQ(after.erase("Shows/Gig/backup"), 1U);
    EXPECT_EQ(after.erase("Shows/Gig/backup/" + platform.backups().at(0)), 1U);
    before.erase("Shows/Gig/Gig.ardour");
    after.erase("Shows/Gig/Gig.ardour");
    EXPECT_EQ(after, before);
}

/// A track that is to be armed again and is the same otherwise.
TrackDecision::Was disarmed() {
    TrackDecision::Was was;
    was.armed = false;
    return was;
}

TEST_F(Update, TheSamePlanIsTheSameUpdateAndTouchesNothing) {
    TrackText kick = track("Kick", 1, 1, 0);
    TrackText snare = track("Snare", 2, 1, 1);
    TrackText keys = track("Keys", 5, 2, 2);
    TrackText none = track("None", 7, 1, 3);
    std::string text = sessionText({kick, snare, keys, none});
    text.replace(text.find("system:capture_7"), 16, "elsewhere:in_777");
    platform.writeSession(text);
    std::vector<LV1Channel> channels = {channel("Kick", 0), channel("Sn | \"top\"", 1), channel("Vox", 9)};
    channels[1].red = 1.0F;
    const auto before = platform.files();
    const UpdatePlan plan = Generator::plan(platform.platform, platform.sessionFolder() / "", channels);
    EXPECT_EQ(platform.files(), before);
    EXPECT_TRUE(platform.defaults->values.empty());

    EXPECT_THAT(plan.tracks,
                ElementsAre(TrackDecision{Action::change, "Kick", 0, false, disarmed()},
                            TrackDecision{Action::change,
                                          "Sn | \"top\"",
                                          1,
                                          false,
                                          {"Snare", std::nullopt, std::to_string(0x3F8CD8FFU), false}},
                            TrackDecision{Action::add, "Vox", 9, false, {}},
                            TrackDecision{Action::remove, "Keys", 4, true, {}},
                            TrackDecision{Action::remove, "None", std::nullopt, false, {}}));
    EXPECT_EQ(plan.result, (UpdateResult{2, 1, 2}));
    EXPECT_EQ(update(channels), plan.result);
}

TEST_F(Update, APlanSaysWhatMoves) {
    platform.writeSession(sessionText({track("A", 1, 1, 0), track("B", 2, 1, 1)}));
    const UpdatePlan plan =
        Generator::plan(platform.platform, platform.sessionFolder(), {channel("B", 1), channel("A", 0)});
    EXPECT_THAT(
        plan.tracks,
        ElementsAre(TrackDecision{Action::change, "B", 1, false, {std::nullopt, "2", std::nullopt, false}},
                    TrackDecision{Action::change, "A", 0, false, {std::nullopt, "1", std::nullopt, false}}));
}

TEST_F(Update, APlanTellsTheInputsOfWhatGoes) {
    platform.writeSession(
        sessionText({track("Nought", 0, 1, 0), track("First", 1, 1, 1), track("Third", 3, 2, 2)}));
    const UpdatePlan plan = Generator::plan(platform.platform, platform.sessionFolder(), {});
    EXPECT_THAT(plan.tracks, ElementsAre(TrackDecision{Action::remove, "Nought", 0, false, {}},
                                         TrackDecision{Action::remove, "First", 0, false, {}},
                                         TrackDecision{Action::remove, "Third", 2, true, {}}));
}

TEST_F(Update, APlanFailsAsTheUpdateWould) {
    EXPECT_EQ(errorOf([&] { Generator::plan(platform.platform, platform.sessionFolder(), {}); })->errorCase(),
              Case::sessionMissing);
    platform.writeSession(sessionText({}));
    EXPECT_EQ(
        errorOf([&] {
            Generator::plan(platform.platform, platform.sessionFolder(), {channel("A", 0), channel("A", 1)});
        })->errorCase(),
        Case::duplicateEnginePort);
    EXPECT_THAT(platform.backups(), IsEmpty());
}

TEST_F(Update, ThousandsOfTracksAreMatchedInOneGo) {
    std::vector<TrackText> tracks;
    std::vector<LV1Channel> channels;
    for (int index = 0; index < 3000; ++index) {
        tracks.push_back(track("T" + std::to_string(index), index + 1, 1, index));
        channels.push_back(channel("T" + std::to_string(index), 2999 - index));
    }
    platform.writeSession(sessionText(tracks));
    EXPECT_EQ(update(channels), (UpdateResult{3000, 0, 0}));
}

} // namespace
} // namespace corvane

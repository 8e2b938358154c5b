#include "livetrax/session/History.h"

#include "livetrax/session/CalendarTime.h"
#include "livetrax/session/HistoryFolder.h"
#include "platform/files/Files.h"
#include "tests/livetrax/session/SessionTexts.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/WorkingFolder.h"

#include <gmock/gmock.h>

#include <ctime>
#include <filesystem>

namespace corvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;
using Case = GeneratorError::Case;
using Before = HistoryNote::Before;
using Path = std::filesystem::path;

TrackText track(const std::string &name, std::int64_t capture) {
    TrackText text;
    text.name = name;
    text.capture = capture;
    return text;
}

std::string region(const std::string &id) {
    return "<Region id=\"" + id + "\" name=\"take\"/>";
}

class HistoryTest : public testing::Test {
protected:
    HistoryTest() { platform.writeSession(sessionText({track("Kick", 1), track("Vox", 2)})); }

    Path gig() const { return platform.sessionFolder(); }
    Path top() const { return platform.folder.path() / "home/Library/Application Support/Corvane/History"; }
    std::vector<HistoryCopy> copies(const Path &session) const { return history.copies(session); }
    void update(const Path &session, const std::vector<LV1Channel> &channels) {
        platform.wallTime += 1s;
        LiveTraxGenerator::update(platform.platform, session, channels);
    }
    void update(const std::vector<LV1Channel> &channels) { update(gig(), channels); }
    void refuse(const Path &session) {
        EXPECT_TRUE(errorOf([&] { update(session, {channel("Kick", 0), channel("Kick", 1)}); }).has_value());
    }
    /// Moves the session's folder and gives its file the folder's new name, as people do.
    Path move(const Path &session, const std::string &to) const {
        const Path moved = platform.folder.path() / to;
        std::filesystem::create_directories(moved.parent_path());
        std::filesystem::rename(session, moved);
        std::filesystem::rename(moved / (session.filename().string() + ".ardour"),
                                LiveTraxGenerator::sessionFile(moved));
        return moved;
    }
    Path copy(const Path &session, const std::string &to) const {
        const Path copied = platform.folder.path() / to;
        std::filesystem::create_directories(copied.parent_path());
        std::filesystem::copy(session, copied, std::filesystem::copy_options::recursive);
        return copied;
    }
    /// The session as it stands, with something more in front of its end.
    void addToSession(const std::string &elements) const {
        std::string text = platform.session();
        text.insert(text.rfind("</Session>"), elements);
        platform.writeSession(text);
    }
    HistoryCopy newest() const { return copies(gig()).front(); }
    std::optional<GeneratorError> refusal(const RestoreOptions &options = {}) const {
        return errorOf([&] { history.restore(gig(), newest(), options); });
    }

    SessionPlatform platform;
    History history{platform.platform};
};

class HistoryRestore : public HistoryTest {};
class HistoryRetention : public HistoryTest {};

TEST_F(HistoryTest, AnUpdateKeepsTheWholeFileFirst) {
    const std::string before = platform.session();
    update({channel("Kick In", 0), channel("OH", 4, true)});
    ASSERT_THAT(copies(gig()), SizeIs(1));
    const HistoryCopy kept = newest();
    EXPECT_EQ(before, textOf(kept.file));
    EXPECT_EQ(before.size(), kept.bytes);
    EXPECT_EQ(1U, kept.number);
    EXPECT_EQ(platform.wallTime, kept.time);
    EXPECT_EQ((HistoryNote{Before::sync, 2, {1, 1, 1}, {"Vox"}, "Kick|1|0\nVox|1|1", "Kick In|1|0\nOH|2|4"}),
              kept.note);
    EXPECT_EQ(top() / "Gig", kept.file.parent_path());
}

TEST_F(HistoryTest, TheNewestCopyIsTheFirstWhateverTheClockSays) {
    update({channel("One", 0)});
    platform.wallTime -= 1h;
    update({channel("Two", 0)});
    EXPECT_THAT(copies(gig()), SizeIs(2));
    EXPECT_EQ("One|1|0", newest().note.patchBefore);
    EXPECT_LT(newest().time, copies(gig()).back().time);
    EXPECT_EQ(2U, copies(gig()).back().number);
}

TEST_F(HistoryTest, ARefusedUpdateLeavesNone) {
    refuse(gig());
    EXPECT_THAT(copies(gig()), IsEmpty());
    EXPECT_FALSE(fileExists(top()));
}

TEST_F(HistoryTest, AChangeThatFailsLeavesNone) {
    EXPECT_THROW(history.around(gig(), {}, std::nullopt, [] { throw FileError("full"); }), FileError);
    EXPECT_THAT(copies(gig()), IsEmpty());
    EXPECT_THAT(session::copiesIn(top() / "Gig"), IsEmpty());
}

TEST_F(HistoryTest, ACopyThatCannotBeMadeEndsTheUpdate) {
    const std::string before = platform.session();
    platform.folder.write("home/Library/Application Support/Corvane/History", "no folder");
    EXPECT_THROW(update({channel("Kick In", 0)}), FileError);
    EXPECT_EQ(before, platform.session());
}

TEST_F(HistoryTest, AMovedSessionFindsItsCopiesAgain) {
    update({channel("Kick In", 0)});
    const Path moved = move(gig(), "Tour/Lisbon");
    EXPECT_THAT(copies(moved), SizeIs(1));
    update(moved, {channel("Kick", 0)});
    EXPECT_THAT(copies(moved), SizeIs(2));
    EXPECT_THAT(copies(gig()), IsEmpty()) << "another session may come to be there";
}

TEST_F(HistoryTest, ACopiedSessionGetsAFolderOfItsOwn) {
    update({channel("Kick In", 0)});
    const Path copied = copy(gig(), "Tour/Gig");
    EXPECT_THAT(copies(copied), IsEmpty());
    update(copied, {channel("Kick", 0)});
    ASSERT_THAT(copies(copied), SizeIs(1));
    EXPECT_EQ(top() / "Gig 2", copies(copied).front().file.parent_path());
    EXPECT_THAT(copies(gig()), SizeIs(1));
}

TEST_F(HistoryTest, ACopyStaysACopyAfterTheOriginalWasUpdatedAgain) {
    update({channel("Kick In", 0)});
    const Path copied = copy(gig(), "Tour/Gig");
    update({channel("Kick", 0)});
    EXPECT_THAT(copies(copied), IsEmpty());
}

TEST_F(HistoryTest, ASessionThatTakesThePlaceOfAMovedOneHasNoCopies) {
    update({channel("Kick In", 0)});
    const Path moved = move(gig(), "Tour/Gig");
    platform.writeSession(sessionText({track("Piano", 1)}));
    update(moved, {channel("Kick", 0)});
    EXPECT_THAT(copies(gig()), IsEmpty());
    update({channel("Keys", 0)});
    EXPECT_THAT(copies(gig()), SizeIs(1));
    EXPECT_THAT(copies(moved), SizeIs(2));
}

TEST_F(HistoryTest, ACopyInThePlaceOfAnotherSessionDoesNotTakeItsCopies) {
    const Path base = copy(gig(), "Base/Gig");
    update(base, {channel("Base", 0)});
    update({channel("Kick In", 0)});
    std::filesystem::remove_all(gig());
    copy(base, "Shows/Gig");
    EXPECT_THAT(copies(gig()), IsEmpty());
    update({channel("Kick", 0)});
    EXPECT_THAT(copies(gig()), SizeIs(1));
}

TEST_F(HistoryTest, ASessionWithoutItsBackupsIsKnownByItsPath) {
    update({channel("Kick In", 0)});
    std::filesystem::remove_all(gig() / "backup");
    EXPECT_THAT(copies(gig() / ""), SizeIs(1)) << "with a slash at its end as well";
    update({channel("Kick", 0)});
    EXPECT_THAT(copies(gig()), SizeIs(2));
}

TEST_F(HistoryTest, ASessionWhoseUpdateWasRefusedKeepsItsCopiesBesideACopyOfItself) {
    update({channel("Kick In", 0)});
    history.restore(gig(), newest(), {});
    const Path copied = copy(gig(), "Tour/Gig");
    refuse(gig()); // its backup equals the update's and takes its place
    ASSERT_THAT(session::historyFolder(top(), gig()), Optional(top() / "Gig"));
    EXPECT_THAT(copies(copied), IsEmpty());
    update(copied, {channel("Kick", 0)});
    EXPECT_THAT(copies(copied), SizeIs(1));
    EXPECT_THAT(copies(gig()), SizeIs(2));
}

TEST_F(HistoryTest, AMovedSessionFindsItsCopiesAgainAfterRefusedUpdates) {
    update({channel("Kick In", 0)});
    history.restore(gig(), newest(), {});
    refuse(gig());
    refuse(gig());
    const Path moved = move(gig(), "Tour/Lisbon");
    EXPECT_THAT(copies(moved), SizeIs(2));
    refuse(moved);
    EXPECT_THAT(copies(moved), SizeIs(2));
}

TEST_F(HistoryTest, ASessionThatIsCreatedInThePlaceOfAMovedOneHasNoCopies) {
    update({channel("Kick In", 0)});
    const Path moved = move(gig(), "Archive/Gig");
    LiveTraxGenerator::generate(platform.platform, "Gig", gig().parent_path(), {channel("Piano", 0)});
    platform.writeSession(sessionText({track("Piano", 1)})); // as LiveTrax makes it
    EXPECT_THAT(copies(gig()), IsEmpty());
    EXPECT_THAT(copies(moved), SizeIs(1));
    update({channel("Keys", 0)});
    EXPECT_THAT(copies(gig()), SizeIs(1));
    EXPECT_THAT(copies(moved), SizeIs(1));
}

TEST_F(HistoryTest, BackupsThatNoFolderKnowsAreThoseOfANewSession) {
    update({channel("Kick In", 0)});
    const Path moved = move(gig(), "Archive/Gig");
    platform.writeSession(sessionText({track("Piano", 1)}));
    platform.folder.write("Shows/Gig/backup/Corvane pre-sync 2020-01-01_00-00-00-000.ardour", "<Session/>");
    EXPECT_THAT(copies(gig()), IsEmpty());
    update({channel("Keys", 0)});
    EXPECT_THAT(copies(gig()), SizeIs(1));
    EXPECT_THAT(copies(moved), SizeIs(1));
    std::filesystem::remove_all(gig() / "backup");
    EXPECT_EQ("Piano|1|0", newest().note.patchBefore) << "the path is the new one's alone";
}

TEST_F(HistoryTest, AFolderWithoutAPathIsNotLookedForWhereTheProgramRuns) {
    update({channel("Kick In", 0)});
    const Path moved = move(gig(), "Archive/Gig");
    LiveTraxGenerator::generate(platform.platform, "Gig", gig().parent_path(), {channel("Piano", 0)});
    const WorkingFolder working(moved);
    EXPECT_THAT(copies(moved), SizeIs(1));
}

TEST_F(HistoryTest, ACopyWhoseNoteIsGoneIsListed) {
    update({channel("Kick In", 0)});
    std::filesystem::remove(Path(newest().file).replace_extension(".json"));
    for (const std::string name :
         {"Old", "000009 yyyy-mm-ddThh-mm-ss-mmmZ", "000009 2026-01-31T18-04-05-250"})
        platform.folder.write("home/Library/Application Support/Corvane/History/Gig/" + name + ".ardour",
                              "not ours");
    ASSERT_THAT(copies(gig()), SizeIs(1));
    EXPECT_EQ(platform.wallTime, newest().time);
    EXPECT_EQ(HistoryNote(), newest().note);
}

TEST_F(HistoryTest, ItsFilesHaveTheNamesAndTheFormThatLaterVersionsRead) {
    {
        const EnvironmentVariable zone("TZ", "UTC");
        ::tzset();
        update({channel("Größe", 0)});
        update({channel("Größe", 0)});
    }
    ::tzset();
    const auto text = [&](const std::string &name) { return textOf(top() / "Gig" / name); };
    EXPECT_EQ(text("session.json"), "{\n  \"version\": 1,\n  \"path\": \"" +
                                        std::filesystem::weakly_canonical(gig()).string() +
                                        "\",\n  \"backups\": [\n"
                                        "    \"Corvane pre-sync 2026-01-31_18-04-06-250.ardour\",\n"
                                        "    \"Corvane pre-sync 2026-01-31_18-04-07-250.ardour\"\n  ]\n}\n");
    EXPECT_EQ(text("000001 2026-01-31T18-04-06-250Z.json"),
              "{\n  \"version\": 1,\n  \"time\": \"2026-01-31T18:04:06.250+00:00\",\n"
              "  \"before\": \"sync\",\n  \"tracks\": 2,\n  \"adjusted\": 1,\n  \"added\": 0,\n"
              "  \"removed\": [\n    \"Vox\"\n  ],\n  \"patchBefore\": \"Kick|1|0\\nVox|1|1\",\n"
              "  \"patchAfter\": \"Größe|1|0\"\n}\n");
    EXPECT_TRUE(fileExists(top() / "Gig/000002 2026-01-31T18-04-07-250Z.ardour"));
}

TEST_F(HistoryTest, ASessionIsKnownByItsLatestThousandBackups) {
    update({channel("Kick", 0)});
    const std::string list = "home/Library/Application Support/Corvane/History/Gig/session.json";
    std::string text = platform.folder.read(list);
    std::string older;
    for (int number = 0; number < 998; ++number)
        older += "\"b" + std::to_string(number) + "\",";
    platform.folder.write(list, text.insert(text.find('[') + 1, older));
    const auto knows = [&](const std::string &name) {
        return platform.folder.read(list).find("\"" + name + "\"") != std::string::npos;
    };
    update({channel("Kick", 0)});
    EXPECT_TRUE(knows("b0")) << "the thousandth";
    update({channel("Kick", 0)});
    EXPECT_FALSE(knows("b0"));
    EXPECT_TRUE(knows("b1"));
    EXPECT_THAT(copies(gig()), SizeIs(3));
}

TEST_F(HistoryTest, AnUpdateLeavesEverybodyElseTheirPath) {
    const Path other = copy(gig(), "Other/Gig");
    update(other, {channel("Kick", 0)});
    update({channel("Kick", 0)});
    std::filesystem::remove_all(other / "backup");
    EXPECT_THAT(copies(other), SizeIs(1));
}

TEST_F(HistoryTest, ACopyWhoseNoteCannotBeWrittenIsNotKept) {
    update({channel("Kick", 0)});
    std::filesystem::create_directories(top() / "Gig/000002 2026-01-31T18-04-07-250Z.json/in the way");
    EXPECT_THROW(update({channel("Kick", 0)}), FileError);
    EXPECT_THAT(copies(gig()), SizeIs(1));
}

TEST_F(HistoryTest, ASessionThatCouldNotBeCreatedTakesNobodysCopies) {
    update({channel("Kick In", 0)});
    const Path moved = move(gig(), "Archive/Gig");
    const std::string file = "home/Library/Preferences/LiveTrax3/templates/Gig/Gig.template";
    platform.folder.write(file + "/in the way", "");
    platform.folder.write(file + ".corvane-backup", "");
    EXPECT_THROW(LiveTraxGenerator::generate(platform.platform, "Gig", gig().parent_path(), {}), FileError);
    std::filesystem::remove_all(moved / "backup");
    std::filesystem::rename(moved, gig());
    EXPECT_THAT(copies(gig()), SizeIs(1));
}

TEST_F(HistoryTest, NamesOfAnyLengthAndKindHaveAFolder) {
    const std::string name = std::string(99, 'x') + "ü" + std::string(100, 'y');
    const Path session = move(gig(), "Shows/" + name);
    update(session, {channel("Kick In", 0)});
    EXPECT_EQ(top() / std::string(99, 'x'), copies(session).front().file.parent_path());
}

#ifdef __linux__ // elsewhere every name is text

TEST_F(HistoryTest, ANameThatIsNoTextHasAFolder) {
    const Path session = move(gig(), "Shows/" + std::string(120, '\x80'));
    update(session, {channel("Kick In", 0)});
    update(session, {channel("Kick Out", 0)});
    ASSERT_THAT(copies(session), SizeIs(2));
    EXPECT_EQ(top() / std::string(97, '\x80'), copies(session).front().file.parent_path());
}

#endif

TEST(HistoryTime, IsLocalWithItsZone) {
    const std::chrono::system_clock::time_point time{1769882645250ms};
    for (const auto &[name, text] : {std::pair("IST-5:30", "2026-01-31T23:34:05.250+05:30"),
                                     {"UTC0", "2026-01-31T18:04:05.250+00:00"},
                                     {"NST3:30", "2026-01-31T14:34:05.250-03:30"},
                                     {"LINT-14", "2026-02-01T08:04:05.250+14:00"}}) {
        const EnvironmentVariable zone("TZ", name);
        ::tzset();
        EXPECT_EQ(text, timeText(time));
    }
    ::tzset();
}

// Putting a copy back

TEST_F(HistoryRestore, PutsTheFileBackByteForByteAndKeepsWhatWasThere) {
    const std::string before = platform.session();
    update({channel("Kick In", 0), channel("OH", 4, true)});
    const std::string after = platform.session();
    const auto file = LiveTraxGenerator::sessionFile(gig());
    std::filesystem::permissions(file, std::filesystem::perms(0640));

    platform.wallTime += 1min;
    const HistoryCopy kept = history.restore(gig(), newest(), {});
    EXPECT_EQ(before, platform.session());
    EXPECT_EQ(std::filesystem::perms(0640), std::filesystem::status(file).permissions());
    EXPECT_EQ(after, textOf(kept.file));
    EXPECT_EQ(newest(), kept);
    EXPECT_EQ(
        (HistoryNote{Before::restore, 2, {1, 1, 1}, {"OH"}, "Kick In|1|0\nOH|2|4", "Kick|1|0\nVox|1|1"}),
        kept.note);

    history.restore(gig(), kept, {});
    EXPECT_EQ(after, platform.session()) << "a restore can be restored";
    EXPECT_THAT(copies(gig()), SizeIs(3));
}

TEST_F(HistoryRestore, ASessionThatWasCopiedCanBePutBackToTheOriginalsCopy) {
    const std::string before = platform.session();
    update({channel("Kick In", 0)});
    const Path copied = copy(gig(), "Tour/Gig");
    const std::string after = platform.session();
    const HistoryCopy kept = history.restore(copied, newest(), {});
    EXPECT_EQ(before, textOf(LiveTraxGenerator::sessionFile(copied)));
    EXPECT_EQ(after, platform.session()) << "the original is left alone";
    EXPECT_EQ(after, textOf(kept.file));
    EXPECT_NE(newest().file.parent_path(), kept.file.parent_path());
}

TEST_F(HistoryRestore, RecordingsThatTheCopyDoesNotKnowAreNotLost) {
    addToSession("<Sources><Source id='7' name='Kick-1.wav'/></Sources>");
    update({channel("Kick In", 0), channel("New", 5)});
    EXPECT_EQ(0, history.recordingsSince(gig(), newest()));
    addToSession("<UnusedPlaylists><Playlist id='900'>" + region("901") + region("902") + region("903") +
                 "</Playlist></UnusedPlaylists>");
    const std::string recorded = platform.session();
    EXPECT_EQ(3, history.recordingsSince(gig(), newest()));
    const auto error = refusal();
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(Case::recordingsMade, error->errorCase());
    EXPECT_STREQ("3 recordings were made since then.", error->what());
    EXPECT_EQ(recorded, platform.session());
    EXPECT_THAT(copies(gig()), SizeIs(1)) << "nothing was changed, so nothing was kept";

    EXPECT_EQ(std::nullopt, refusal({true}));
    EXPECT_NE(recorded, platform.session());
    EXPECT_EQ(recorded, textOf(newest().file)) << "not even these are lost";
}

TEST_F(HistoryRestore, ARecordingIsKnownByItsSoundFileToo) {
    update({channel("Kick In", 0)});
    addToSession("<Sources><Source id='7' name='Kick-1.wav'/></Sources>");
    update({channel("Kick", 0)});
    EXPECT_EQ(0, history.recordingsSince(gig(), newest()));
    std::string text = platform.session();
    text.replace(text.find("Kick-1.wav"), 10, "Kick-2.wav");
    platform.writeSession(text);
    EXPECT_STREQ("1 recording was made since then.", refusal().value().what());
}

TEST_F(HistoryRestore, RecordingsAreCountedAsAPersonSeesThem) {
    const auto since = [&](const std::string &then, const std::string &now) {
        const Path copy = platform.folder.write("then.ardour", "<Session>" + then + "</Session>");
        platform.writeSession("<Session>" + now + "</Session>");
        return history.recordingsSince(gig(), {1, {}, copy, 0, {}});
    };
    const std::string played = "<Playlists><Playlist id='1'>" + region("2") + "</Playlist></Playlists>";
    const std::string aside =
        "<UnusedPlaylists><Playlist id='3'>" + region("2") + "</Playlist></UnusedPlaylists>";
    const std::string regions = "<Regions>" + region("4") + region("5") + "</Regions>";
    const std::string sources = "<Sources><Source id='6' name='a'/><Source id='7' name='b'/>"
                                "<Source id='8' name='c'/></Sources>";
    EXPECT_EQ(0, since("", "<Playlists><Playlist id='1'/></Playlists><Regions/><Sources/>"));
    EXPECT_EQ(0, since(played + regions + sources, played + regions + sources));
    EXPECT_EQ(1, since("", played + regions + sources)) << "in a playlist";
    EXPECT_EQ(1, since("", aside + regions + sources)) << "in a playlist of which there is another";
    EXPECT_EQ(2, since(played, played + regions + sources)) << "in no playlist";
    EXPECT_EQ(3, since(played + regions, played + regions + sources)) << "in no region";
    EXPECT_EQ(1, since(played, played + aside)) << "in a further playlist";
    EXPECT_EQ(3, since(played, played + aside + sources));
}

TEST_F(HistoryRestore, WhatLiveTraxHasToRecoverComesFirst) {
    update({channel("Kick In", 0)});
    platform.folder.write("Shows/Gig/Gig.pending", "");
    EXPECT_EQ(Case::recoveryDataPresent, refusal({true}).value().errorCase());
    EXPECT_THAT(copies(gig()), SizeIs(1));
}

TEST_F(HistoryRestore, ASessionThatIsNotThereIsNotMade) {
    update({channel("Kick In", 0)});
    std::filesystem::remove(gig() / "Gig.ardour");
    EXPECT_EQ(Case::sessionMissing, refusal({true}).value().errorCase());
}

TEST_F(HistoryRestore, ATornSessionIsReplacedWhenTold) {
    const std::string before = platform.session();
    update({channel("Kick In", 0)});
    platform.writeSession("<Session><Routes>");
    EXPECT_THROW(refusal(), XMLError) << "who knows what was recorded";
    EXPECT_EQ("<Session><Routes>", platform.session());
    EXPECT_EQ(std::nullopt, refusal({true}));
    EXPECT_EQ(before, platform.session());
    EXPECT_EQ("<Session><Routes>", textOf(newest().file));
    EXPECT_EQ(Before::restore, newest().note.before);
}

TEST_F(HistoryRestore, ADamagedCopyIsNotPutBack) {
    update({channel("Kick In", 0)});
    const std::string after = platform.session();
    replaceFileAtomically(newest().file, "<Session>");
    EXPECT_THROW(refusal({true}), XMLError);
    EXPECT_EQ(after, platform.session());
}

// How long copies stay

TEST_F(HistoryRetention, TwentyStayHoweverOldAndMoreForThirtyDays) {
    for (int day = 0; day < 40; ++day) {
        update({channel("Kick", 0)});
        platform.wallTime += 24h;
    }
    EXPECT_THAT(copies(gig()), SizeIs(30));
    platform.wallTime += 24h * 365;
    update({channel("Kick", 0)});
    ASSERT_THAT(copies(gig()), SizeIs(20));
    EXPECT_EQ(1U, newest().number);
    EXPECT_THAT(std::filesystem::exists(Path(newest().file).replace_extension(".json")), true);
    EXPECT_EQ(41, TemporaryFolder::entries(top() / "Gig")) << "a file and a note each, and the session's";
}

TEST_F(HistoryRetention, OfCopiesOfOneTimeThoseInTheFirstFolderGoFirst) {
    for (const std::string folder : {"A", "B"})
        for (const std::string number : {"1", "2", "3", "4"})
            std::filesystem::resize_file(
                platform.folder.write("home/Library/Application Support/Corvane/History/" + folder + "/" +
                                          number + " 2026-01-31T18-04-05-250Z.ardour",
                                      ""),
                250'000'001); // a hole: it takes no room
    session::pruneHistory(top(), platform.wallTime);
    EXPECT_THAT(session::copiesIn(top() / "A"), SizeIs(3));
    EXPECT_THAT(session::copiesIn(top() / "B"), SizeIs(4));
}

TEST_F(HistoryRetention, ItsLimitsAreExact) {
    using Bytes = std::uintmax_t;
    struct Stored {
        int copies;
        std::chrono::milliseconds age; ///< of the oldest
        Bytes oldest;
        Bytes others;
        Bytes note; ///< of the oldest
        std::size_t left;
    };
    constexpr auto month = std::chrono::hours(30 * 24);
    for (const Stored &row : {Stored{21, month, 0, 0, 0, 21},
                              {21, month + 1ms, 0, 0, 0, 20},
                              {20, 100 * month, 0, 0, 0, 20},
                              {4, 1h, 500'000'000, 500'000'000, 0, 4},
                              {4, 1h, 500'000'000, 500'000'000, 1, 3},
                              {3, 1h, 1'000'000'000, 1'000'000'000, 0, 3},
                              {5, 1h, 0, 500'000'000, 500'000'000, 4},
                              {6, 1h, 0, 500'000'000, 500'000'000, 4}}) {
        std::filesystem::remove_all(top());
        for (int number = 1; number <= row.copies; ++number) {
            const auto time = platform.wallTime - (number == 1 ? row.age : 0ms);
            const auto utc = session::CalendarTime::utc(time);
            const std::string name =
                std::to_string(number) + utc.text(" %Y-%m-%dT%H-%M-%S-") + utc.milliseconds() + "Z";
            const auto make = [&](const std::string &extension, Bytes size) {
                std::filesystem::resize_file(
                    platform.folder.write(
                        "home/Library/Application Support/Corvane/History/Gig/" + name + extension, ""),
                    size); // a hole: it takes no room
            };
            make(".ardour", number == 1 ? row.oldest : row.others);
            if (number == 1)
                make(".json", row.note);
        }
        session::pruneHistory(top(), platform.wallTime);
        EXPECT_EQ(row.left, session::copiesIn(top() / "Gig").size())
            << row.copies << " of " << row.others << " bytes, the oldest " << row.age.count() << " ms old";
    }
}

TEST_F(HistoryRetention, BeyondTwoGigabytesTheOldestGoButThreeOfEachSession) {
    const auto enlarge = [](const HistoryCopy &copy) {
        std::filesystem::resize_file(copy.file, 500'000'000); // a hole: it takes no room
    };
    const Path other = copy(gig(), "Other/Gig");
    for (int round = 0; round < 5; ++round) {
        update(other, {channel("Kick", 0)});
        enlarge(copies(other).front());
    }
    EXPECT_THAT(copies(other), SizeIs(4)) << "five need more than there is";
    for (int round = 0; round < 4; ++round) {
        update({channel("Kick", 0)});
        enlarge(newest());
    }
    EXPECT_THAT(copies(other), SizeIs(3));
    update({channel("Kick", 0)});
    EXPECT_THAT(copies(gig()), SizeIs(3));
    EXPECT_THAT(copies(other), SizeIs(3)) << "the newest three stay, whatever they take";
    EXPECT_EQ(500'000'000U, copies(other).back().bytes);
}

} // namespace
} // namespace corvane

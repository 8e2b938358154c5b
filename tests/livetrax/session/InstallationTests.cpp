#include "livetrax/session/LiveTraxGenerator.h"
#include "tests/fakes/FakeSystem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvane {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::Pair;

constexpr auto program3 = "Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3";
constexpr auto program1 = "Applications/LiveTrax1.app/Contents/MacOS/LiveTrax1";
constexpr auto recent3 = "home/Library/Preferences/LiveTrax3/recent";
constexpr auto recent1 = "home/Library/Preferences/LiveTrax1/recent";

class InstallationTest : public testing::Test {
protected:
    FakePlatform system;

    std::optional<Target> target() const { return LiveTraxGenerator::target(*system.folders); }
    std::optional<fs::path> mostRecent() const {
        return LiveTraxGenerator::mostRecentSessionURL(*system.folders);
    }
    fs::path below(const std::string &path) const { return system.folder / path; }
    /// Makes a session and returns its folder.
    fs::path makeSession(const std::string &name) const {
        return system.folder.write("Sessions/" + name + "/" + name + ".ardour", "<Session/>").parent_path();
    }
};

TEST_F(InstallationTest, NothingIsInstalledOnAnEmptyComputer) {
    EXPECT_EQ(target(), std::nullopt);
}

TEST_F(InstallationTest, LiveTrax3IsDescribed) {
    system.folder.write(program3, "");
    EXPECT_EQ(target(),
              (Target{"LiveTrax 3", "LiveTrax3", "LiveTrax3", below("Applications/LiveTrax3.app")}));
}

TEST_F(InstallationTest, LiveTrax1IsDescribed) {
    system.folder.write(program1, "");
    EXPECT_EQ(target(),
              (Target{"LiveTrax 1", "LiveTrax1", "LiveTrax1", below("Applications/LiveTrax1.app")}));
}

TEST_F(InstallationTest, LiveTrax3WinsWhereBothAreInstalled) {
    system.folder.write(program1, "");
    system.folder.write(program3, "");
    EXPECT_EQ(target()->displayName, "LiveTrax 3");
}

TEST_F(InstallationTest, ABundleWithoutItsProgramIsNotInstalled) {
    fs::create_directories(below("Applications/LiveTrax3.app/Contents/MacOS"));
    system.folder.write("Applications/LiveTrax3.app/Contents/Resources/livetrax.keys", "");
    EXPECT_EQ(target(), std::nullopt);
    system.folder.write(program1, "");
    EXPECT_EQ(target()->displayName, "LiveTrax 1");
}

TEST_F(InstallationTest, AFolderInTheProgramsPlaceCounts) {
    fs::create_directories(below(program3));
    EXPECT_EQ(target()->displayName, "LiveTrax 3");
}

TEST_F(InstallationTest, EveryQuestionLooksAfresh) {
    EXPECT_EQ(target(), std::nullopt);
    system.folder.write(program3, "");
    EXPECT_TRUE(target());
    fs::remove(below(program3));
    EXPECT_EQ(target(), std::nullopt);
}

TEST_F(InstallationTest, NothingRunsWhereNothingWasStarted) {
    EXPECT_EQ(LiveTraxGenerator::runningApplication(system.platform), nullptr);
    EXPECT_THAT(system.applications->asked,
                ElementsAre(Pair("com.harrisonconsoles.LiveTrax3", below(program3)),
                            Pair("com.harrisonconsoles.LiveTrax1", below(program1))));
}

TEST_F(InstallationTest, ARunningLiveTrax3IsFoundFirst) {
    const auto three = std::make_shared<FakeRunningApplication>();
    const auto one = std::make_shared<FakeRunningApplication>();
    system.applications->running["com.harrisonconsoles.LiveTrax1"] = one;
    EXPECT_EQ(LiveTraxGenerator::runningApplication(system.platform), one);
    system.applications->running["com.harrisonconsoles.LiveTrax3"] = three;
    EXPECT_EQ(LiveTraxGenerator::runningApplication(system.platform), three);
}

TEST_F(InstallationTest, WhatRunsDoesNotDependOnWhatIsInstalled) {
    system.folder.write(program1, "");
    const auto three = std::make_shared<FakeRunningApplication>();
    system.applications->running["com.harrisonconsoles.LiveTrax3"] = three;
    EXPECT_EQ(LiveTraxGenerator::runningApplication(system.platform), three);
}

TEST_F(InstallationTest, TheFirstSessionThatStillExistsIsTheMostRecent) {
    const fs::path b = makeSession("Show B");
    system.folder.write(recent3, "Show A\n" + below("Sessions/Show A").string() + "\nShow B\n" + b.string());
    EXPECT_EQ(mostRecent(), b);
    const fs::path a = makeSession("Show A");
    EXPECT_EQ(mostRecent(), a);
}

TEST_F(InstallationTest, ASessionFileThatIsNotNamedAfterItsFolderIsNeverFound) {
    system.folder.write("Sessions/Renamed/Old Name.ardour", "");
    const fs::path other = makeSession("Other");
    system.folder.write(recent3, "Old Name\n" + below("Sessions/Renamed").string() + "\nOther\n" +
                                     other.string() + "\n");
    EXPECT_EQ(mostRecent(), other);
}

TEST_F(InstallationTest, LiveTrax1sListServesWhereLiveTrax3sHasNoSession) {
    const fs::path session = makeSession("Show");
    system.folder.write(recent1, "Show\n" + session.string() + "\n");
    EXPECT_EQ(mostRecent(), session);
    system.folder.write(recent3, "Gone\n/nowhere/Gone\n");
    EXPECT_EQ(mostRecent(), session);
    const fs::path newer = makeSession("Newer");
    system.folder.write(recent3, "Newer\n" + newer.string() + "\n");
    EXPECT_EQ(mostRecent(), newer);
}

TEST_F(InstallationTest, EveryKindOfLineBreakEndsALine) {
    const fs::path session = makeSession("Show");
    for (const char *lineBreak : {"\n", "\r", "\r\n", "\v", "\f", "\u0085", "\u2028", "\u2029"}) {
        system.folder.write(recent3, std::string("Gone") + lineBreak + "/gone" + lineBreak + "Show" +
                                         lineBreak + session.string() + lineBreak);
        EXPECT_EQ(mostRecent(), session) << testing::PrintToString(lineBreak);
    }
}

TEST_F(InstallationTest, EmptyLinesAreDroppedBeforeNamesAndFoldersArePaired) {
    const fs::path session = makeSession("Show");
    system.folder.write(recent3, "Gone\n\n/gone\n\n\nShow\n" + session.string() + "\n");
    EXPECT_EQ(mostRecent(), session);
    // A session without a name shifts what follows it.
    system.folder.write(recent3, "\n/gone\nShow\n" + session.string() + "\n");
    EXPECT_EQ(mostRecent(), std::nullopt);
}

TEST_F(InstallationTest, AListThatIsTooShortYieldsNothing) {
    const fs::path session = makeSession("Show");
    for (const std::string &text : {std::string(), std::string("\n\n"), session.string()}) {
        system.folder.write(recent3, text);
        EXPECT_EQ(mostRecent(), std::nullopt);
    }
    system.folder.write(recent3, "Gone\n/gone\n" + session.string());
    EXPECT_EQ(mostRecent(), std::nullopt);
}

TEST_F(InstallationTest, AListThatIsNotUTF8OrCannotBeReadIsSkipped) {
    const fs::path session = makeSession("Show");
    system.folder.write(recent1, "Show\n" + session.string() + "\n");
    const fs::path other = makeSession("Other");
    system.folder.write(recent3, "A\xF1o\n/gone\nOther\n" + other.string() + "\n");
    EXPECT_EQ(mostRecent(), session);
    fs::remove(below(recent3));
    fs::create_directories(below(recent3));
    EXPECT_EQ(mostRecent(), session);
}

TEST_F(InstallationTest, AFolderMayHaveASlashAtItsEndBlanksAndAnyLetters) {
    const fs::path session = makeSession("Año nuevo 1.5");
    system.folder.write(recent3, "Año\n" + session.string() + "/\n");
    EXPECT_EQ(mostRecent()->string(), session.string());
}

TEST_F(InstallationTest, ASessionsFileBearsItsFoldersName) {
    EXPECT_EQ(LiveTraxGenerator::sessionFile("/a/Show"), "/a/Show/Show.ardour");
    EXPECT_EQ(LiveTraxGenerator::sessionFile("/a/Show/"), "/a/Show/Show.ardour");
    EXPECT_EQ(LiveTraxGenerator::sessionFile("/a/Show 1.5//"), "/a/Show 1.5/Show 1.5.ardour");
}

} // namespace
} // namespace corvane

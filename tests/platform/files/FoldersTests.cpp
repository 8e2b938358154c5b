#include "platform/files/FolderResources.h"
#include "platform/files/HomeFolder.h"
#include "platform/rehearsal/RehearsalFolders.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/TemporaryFolder.h"

#ifdef __linux__
#include "platform/files/linux/UserFolders.h"
#include "tests/support/BuiltFiles.h"
#endif

#include <gtest/gtest.h>

namespace corvane {
namespace {

namespace fs = std::filesystem;

TEST(HomeFolder, TheEnvironmentNamesIt) {
    const EnvironmentVariable home("HOME", "/Users/x//");
    EXPECT_EQ(homeFolder().string(), "/Users/x");
}

TEST(HomeFolder, TheUserDatabaseNamesItWhereTheEnvironmentDoesNot) {
    for (const char *value : {static_cast<const char *>(nullptr), "", "relative"}) {
        const EnvironmentVariable home("HOME", value);
        EXPECT_TRUE(homeFolder().is_absolute());
        EXPECT_NE(homeFolder().string(), "relative");
    }
}

TEST(RehearsalFolders, StandForAWholeMachine) {
    const TemporaryFolder folder;
    const RehearsalFolders folders(folder.path());
    EXPECT_EQ(folders.home(), folder / "home");
    EXPECT_EQ(folders.applications(), folder / "Applications");
    EXPECT_EQ(folders.defaultsFile(), folder / "home/.config/corvane/defaults.json");
    EXPECT_EQ(folders.music(), std::nullopt);
    fs::create_directories(folder / "home/Music");
    EXPECT_EQ(folders.music(), folder / "home/Music");
}

TEST(FolderResources, TheFirstFolderThatHasAFileWins) {
    const TemporaryFolder folder;
    folder.write("second/Seed.template", "");
    folder.write("third/Seed.template", "");
    const FolderResources resources({folder / "first", folder / "second", folder / "third"});
    EXPECT_EQ(resources.find("Seed", "template"), folder / "second/Seed.template");
    EXPECT_EQ(resources.find("Seed", "png"), std::nullopt);
}

TEST(FolderResources, AreBesideAnInstalledProgramAndInTheBuildTree) {
    const TemporaryFolder folder;
    const FolderResources resources(FolderResources::foldersOf(folder / "bin/corvane"));
    EXPECT_EQ(resources.find("Seed", "template"), std::nullopt);
    folder.write("resources/Seed.template", "");
    EXPECT_EQ(resources.find("Seed", "template"), folder / "resources/Seed.template");
    folder.write("share/corvane/Seed.template", "");
    EXPECT_EQ(resources.find("Seed", "template"), folder / "share/corvane/Seed.template");
}

TEST(FolderResources, AreInTheBundleAndNowhereElseOfAProgramThatIsInOne) {
    const TemporaryFolder folder;
    folder.write("Corvane.app/Contents/share/corvane/Seed.template", "");
    const FolderResources resources(
        FolderResources::foldersOf(folder / "Corvane.app/Contents/MacOS/corvanectl"));
    EXPECT_EQ(resources.find("Seed", "template"), std::nullopt);
    folder.write("Corvane.app/Contents/Resources/Seed.template", "");
    EXPECT_EQ(resources.find("Seed", "template"), folder / "Corvane.app/Contents/Resources/Seed.template");
}

TEST(FolderResources, TheProgramThatRunsIsKnown) {
    EXPECT_EQ(programPath(), fs::canonical(builtPrograms()) / "platform_tests");
}

#ifdef __linux__

class UserFoldersTest : public testing::Test {
protected:
    TemporaryFolder folder;
    EnvironmentVariable home{"HOME", folder.path().c_str()};
    EnvironmentVariable configuration{"XDG_CONFIG_HOME", nullptr};
    UserFolders folders;

    void nameMusic(const std::string &value) const {
        folder.write(".config/user-dirs.dirs",
                     "# a comment\nXDG_DESKTOP_DIR=\"$HOME/Desktop\"\nXDG_MUSIC_DIR=" + value +
                         "\nXDG_VIDEOS_DIR=\"$HOME/Videos\"\n");
    }
};

TEST_F(UserFoldersTest, LiveTraxIsInstalledUnderApplications) {
    EXPECT_EQ(folders.applications(), "/Applications");
    EXPECT_EQ(folders.home(), folder.path());
}

TEST_F(UserFoldersTest, TheConfigurationFolderIsDotConfigUnlessTheEnvironmentNamesAnAbsoluteOne) {
    EXPECT_EQ(folders.configuration(), folder / ".config");
    const EnvironmentVariable relative("XDG_CONFIG_HOME", "conf");
    EXPECT_EQ(folders.configuration(), folder / ".config");
    const EnvironmentVariable absolute("XDG_CONFIG_HOME", "/conf");
    EXPECT_EQ(folders.configuration(), "/conf");
}

TEST_F(UserFoldersTest, MusicIsWhereTheUserHasIt) {
    fs::create_directories(folder / "Música 1");
    fs::create_directories(folder / "Music");
    nameMusic("\"$HOME/Música 1\"");
    EXPECT_EQ(folders.music(), folder / "Música 1");
    nameMusic("\"" + folder.path().string() + "/M\\úsica 1\"");
    EXPECT_EQ(folders.music(), folder / "Música 1");
}

TEST_F(UserFoldersTest, MusicIsInTheHomeWhereNothingNamesIt) {
    EXPECT_EQ(folders.music(), std::nullopt);
    fs::create_directories(folder / "Music");
    EXPECT_EQ(folders.music(), folder / "Music");
    for (const char *value : {"\"$HOME/\"", "\"$HOME/none\"", "\"relative\"", "\"unclosed", "", "plain"}) {
        nameMusic(value);
        EXPECT_EQ(folders.music(), folder / "Music") << value;
    }
}

#endif

} // namespace
} // namespace corvane

#include "platform/files/JsonUserDefaults.h"
#include "platform/files/StandardFolders.h"
#include "platform/rehearsal/Rehearsal.h"
#include "tests/support/BuiltFiles.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

namespace corvane {
namespace {

namespace fs = std::filesystem;

TEST(HomeFolder, TheEnvironmentNamesIt) {
    const EnvironmentVariable home("HOME", "/Users/x//");
    EXPECT_EQ(homeFolder().string(), "/Users/x");
}

TEST(HomeFolder, TheUserDatabaseNamesItWhereTheEnvironmentDoesNot) {
    const passwd *entry = ::getpwuid(::getuid());
    const fs::path named = entry ? withoutTrailingSlashes(entry->pw_dir) : "/"; // a container's user has none
    for (const char *value : {static_cast<const char *>(nullptr), "", "relative"}) {
        const EnvironmentVariable home("HOME", value);
        EXPECT_EQ(homeFolder(), named);
    }
}

TEST(Rehearsal, ItsFoldersStandForAWholeMachine) {
    const TemporaryFolder folder;
    const Rehearsal rehearsal(folder.path(), {}, [](auto, const auto &) { return true; });
    const StandardFolders folders = rehearsal.folders();
    EXPECT_EQ(folders.home, folder / "home");
    EXPECT_EQ(folders.applications, folder / "Applications");
    EXPECT_EQ(JsonUserDefaults::fileIn(folders.home / ".config"),
              folder / "home/.config/corvane/defaults.json");
    EXPECT_EQ(folders.music(), std::nullopt);
    fs::create_directories(folder / "home/Music");
    EXPECT_EQ(folders.music(), folder / "home/Music");
}

TEST(BundleResources, TheFirstFolderThatHasAFileWins) {
    const TemporaryFolder folder;
    folder.write("second/Seed.template", "");
    folder.write("third/Seed.template", "");
    const auto resources = resourcesIn({folder / "first", folder / "second", folder / "third"});
    EXPECT_EQ(resources("Seed", "template"), folder / "second/Seed.template");
    EXPECT_EQ(resources("Seed", "png"), std::nullopt);
}

TEST(BundleResources, AreBesideAnInstalledProgramAndInTheBuildTree) {
    const TemporaryFolder folder;
    const auto resources = resourcesIn(resourceFoldersOf(folder / "bin/corvane"));
    EXPECT_EQ(resources("Seed", "template"), std::nullopt);
    folder.write("resources/Seed.template", "");
    EXPECT_EQ(resources("Seed", "template"), folder / "resources/Seed.template");
    folder.write("share/corvane/Seed.template", "");
    EXPECT_EQ(resources("Seed", "template"), folder / "share/corvane/Seed.template");
}

TEST(BundleResources, AreInTheBundleAndNowhereElseOfAProgramThatIsInOne) {
    const TemporaryFolder folder;
    folder.write("Corvane.app/Contents/share/corvane/Seed.template", "");
    const auto resources = resourcesIn(resourceFoldersOf(folder / "Corvane.app/Contents/MacOS/corvanectl"));
    EXPECT_EQ(resources("Seed", "template"), std::nullopt);
    folder.write("Corvane.app/Contents/Resources/Seed.template", "");
    EXPECT_EQ(resources("Seed", "template"), folder / "Corvane.app/Contents/Resources/Seed.template");
}

TEST(BundleResources, TheProgramThatRunsIsKnown) {
    EXPECT_EQ(programPath(), fs::canonical(builtPrograms()) / "platform_tests");
}

#ifdef __linux__

class UserFoldersTest : public testing::Test {
protected:
    TemporaryFolder folder;
    EnvironmentVariable home{"HOME", folder.path().c_str()};
    EnvironmentVariable configuration{"XDG_CONFIG_HOME", nullptr};
    StandardFolders folders = userFolders();

    void nameMusic(const std::string &value) const {
        folder.write(".config/user-dirs.dirs",
                     "# a comment\nXDG_DESKTOP_DIR=\"$HOME/Desktop\"\nXDG_MUSIC_DIR=" + value +
                         "\nXDG_VIDEOS_DIR=\"$HOME/Videos\"\n");
    }
};

TEST_F(UserFoldersTest, LiveTraxIsInstalledUnderApplications) {
    EXPECT_EQ(folders.applications, "/Applications");
    EXPECT_EQ(folders.home, folder.path());
}

TEST_F(UserFoldersTest, TheConfigurationFolderIsDotConfigUnlessTheEnvironmentNamesAnAbsoluteOne) {
    EXPECT_EQ(configurationFolder(), folder / ".config");
    const EnvironmentVariable relative("XDG_CONFIG_HOME", "conf");
    EXPECT_EQ(configurationFolder(), folder / ".config");
    const EnvironmentVariable absolute("XDG_CONFIG_HOME", "/conf");
    EXPECT_EQ(configurationFolder(), "/conf");
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

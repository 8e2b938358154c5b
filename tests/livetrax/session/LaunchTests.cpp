#include "livetrax/session/LiveTraxGenerator.h"
#include "platform/processes/PosixProcessLauncher.h"
#include "tests/fakes/FakeSystem.h"
#include "tests/support/Eventually.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvane {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::Pair;

class LaunchTest : public testing::Test {
protected:
    FakePlatform system;
    const std::string app = (system.folders->applications / "LiveTrax3.app").string();
    const std::string preferences = (system.folders->home / "Library/Preferences/LiveTrax3").string();
    const std::string config = "home/Library/Preferences/LiveTrax3/config";
    const std::string log = "home/Library/Application Support/Corvane/livetrax.log";

    void install(const std::string &name = "LiveTrax3") const {
        system.folder.write("Applications/" + name + ".app/Contents/MacOS/" + name, "");
    }
    void launch(const fs::path &session = "/Shows/Gig") const {
        LiveTraxGenerator::launch(system.platform, session, "LV1 Gig", {});
    }
    void launchExisting(const fs::path &session = "/Shows/Gig") const {
        LiveTraxGenerator::launchExisting(system.platform, session, {});
    }
    const ProcessDescription &started() const { return system.processes->started.at(0); }
};

TEST_F(LaunchTest, AnExistingSessionIsOpenedByItsFolder) {
    install();
    launchExisting();
    ASSERT_EQ(system.processes->started.size(), 1U);
    EXPECT_EQ(started().program, app + "/Contents/MacOS/LiveTrax3");
    EXPECT_THAT(started().arguments,
                ElementsAre("-a", "-n", "-k", app + "/Contents/Resources/livetrax.keys", "/Shows/Gig"));
}

TEST_F(LaunchTest, ANewSessionIsMadeFromItsTemplate) {
    install();
    launch();
    ASSERT_EQ(system.processes->started.size(), 1U);
    EXPECT_THAT(started().arguments, ElementsAre("-a", "-n", "-k", app + "/Contents/Resources/livetrax.keys",
                                                 "-T", "LV1 Gig", "-N", "/Shows/Gig"));
}

TEST_F(LaunchTest, LiveTraxFindsItsPartsThroughSixVariables) {
    install();
    launchExisting();
    EXPECT_THAT(started().environment,
                ElementsAre(Pair("ARDOUR_DLL_PATH", app + "/Contents/lib"),
                            Pair("ARDOUR_BACKEND_PATH", app + "/Contents/lib/backends"),
                            Pair("ARDOUR_PANNER_PATH", app + "/Contents/lib/panners"),
                            Pair("ARDOUR_DATA_PATH", app + "/Contents/Resources"),
                            Pair("ARDOUR_CONFIG_PATH", preferences + ":" + app + "/Contents/Resources"),
                            Pair("DYLD_FALLBACK_LIBRARY_PATH", app + "/Contents/lib")));
}

TEST_F(LaunchTest, ASessionsPathCarriesNoSlashAtItsEndAndIsAbsolute) {
    install();
    launchExisting("/Shows/Año 1//");
    launch("/Shows/Año 1/");
    EXPECT_EQ(system.processes->started[0].arguments.back(), "/Shows/Año 1");
    EXPECT_EQ(system.processes->started[1].arguments.back(), "/Shows/Año 1");
    launchExisting("Gig");
    EXPECT_EQ(system.processes->started[2].arguments.back(), (fs::current_path() / "Gig").string());
}

TEST_F(LaunchTest, LiveTrax1IsStartedWhereLiveTrax3IsMissing) {
    install("LiveTrax1");
    system.folder.write("home/Library/Preferences/LiveTrax1/config", "<Ardour><Config/></Ardour>");
    launchExisting();
    EXPECT_EQ(started().program, system.folders->applications / "LiveTrax1.app/Contents/MacOS/LiveTrax1");
    EXPECT_TRUE(fileExists(system.folder / "home/Library/Preferences/LiveTrax1/config.corvane-backup"));
}

TEST_F(LaunchTest, LiveTraxsOwnFilesArePreparedFirst) {
    install();
    system.folder.write(config, "<Ardour><Config/></Ardour>");
    system.folder.write("home/Library/Preferences/LiveTrax3/scripts/corvane_sync.lua", "");
    system.processes->onStart = [&](const ProcessDescription &) {
        EXPECT_THAT(system.folder.read(config), testing::HasSubstr("3819"));
        EXPECT_FALSE(
            fileExists(system.folder / "home/Library/Preferences/LiveTrax3/scripts/corvane_sync.lua"));
    };
    launch();
    EXPECT_EQ(system.processes->started.size(), 1U);
}

TEST_F(LaunchTest, WithoutLiveTraxNothingIsTouched) {
    system.folder.write(config, "<Ardour><Config/></Ardour>");
    for (const bool existing : {true, false}) {
        try {
            existing ? launchExisting() : launch();
            ADD_FAILURE();
        } catch (const GeneratorError &error) {
            EXPECT_EQ(error.errorDescription(), "LiveTrax 3 or LiveTrax 1 was not found in /Applications.");
        }
    }
    EXPECT_EQ(system.folder.read(config), "<Ardour><Config/></Ardour>");
    EXPECT_EQ(TemporaryFolder::entries(system.folder / "home/Library/Preferences/LiveTrax3"), 1);
    EXPECT_FALSE(fileExists(system.folder / log));
    EXPECT_TRUE(system.processes->started.empty());
}

TEST_F(LaunchTest, AConfigurationThatCannotBeEditedStopsEverything) {
    install();
    system.folder.write(config, "no XML");
    system.folder.write("home/Library/Preferences/LiveTrax3/scripts/corvane_sync.lua", "");
    EXPECT_THROW(launch(), XMLError);
    EXPECT_THROW(launchExisting(), XMLError);
    EXPECT_TRUE(fileExists(system.folder / "home/Library/Preferences/LiveTrax3/scripts/corvane_sync.lua"));
    EXPECT_FALSE(fileExists(system.folder / log));
    EXPECT_TRUE(system.processes->started.empty());
}

TEST_F(LaunchTest, ALogThatCannotBeOpenedStopsTheStart) {
    install();
    fs::create_directories(system.folder / log);
    EXPECT_THROW(launch(), FileError);
    EXPECT_TRUE(system.processes->started.empty());
}

TEST_F(LaunchTest, AStartThatFailsIsPassedOn) {
    install();
    system.processes->failure = "The program could not be started.";
    try {
        launchExisting();
        ADD_FAILURE();
    } catch (const std::exception &error) {
        EXPECT_STREQ(error.what(), "The program could not be started.");
    }
}

TEST_F(LaunchTest, TheLogGainsOneSeparatorALaunchAndKeepsWhatWasThere) {
    install();
    system.folder.write(log, "earlier output\n");
    launch();
    EXPECT_EQ(system.folder.read(log), "earlier output\n\n--- LiveTrax 2026-01-31T18:04:05Z ---\n");
    system.wallTime += std::chrono::seconds(1);
    launchExisting();
    EXPECT_EQ(system.folder.read(log), "earlier output\n\n--- LiveTrax 2026-01-31T18:04:05Z ---\n"
                                       "\n--- LiveTrax 2026-01-31T18:04:06Z ---\n");
}

TEST_F(LaunchTest, ARealProgramGetsItAllAndWritesIntoTheLog) {
    const fs::path program =
        system.folder.write("Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3",
                            "#!/bin/sh\nfor each; do echo \"<$each>\"; done\n"
                            "echo \"$ARDOUR_CONFIG_PATH\"\necho problem >&2\necho end\n");
    fs::permissions(program, fs::perms::owner_all);
    system.platform.processes = std::make_unique<PosixProcessLauncher>();
    launchExisting("/Shows/Año 1/");
    EXPECT_TRUE(eventually([&] { return system.folder.read(log).ends_with("end\n"); }));
    EXPECT_EQ(system.folder.read(log), "\n--- LiveTrax 2026-01-31T18:04:05Z ---\n<-a>\n<-n>\n<-k>\n<" + app +
                                           "/Contents/Resources/livetrax.keys>\n</Shows/Año 1>\n" +
                                           preferences + ":" + app + "/Contents/Resources\nproblem\nend\n");
}

TEST_F(LaunchTest, TheLogIsMadeWithItsFolders) {
    const FileHandle handle = LiveTraxGenerator::liveTraxLogHandle(system.platform);
    handle.write("output");
    EXPECT_EQ(system.folder.read(log), "\n--- LiveTrax 2026-01-31T18:04:05Z ---\noutput");
}

} // namespace
} // namespace corvane

#include "livetrax/session/LiveTraxGenerator.h"
#include "tests/app/WorkflowFixture.h"
#include "tests/support/WorkingFolder.h"

#include <gmock/gmock.h>

namespace corvane {

namespace {

using std::chrono::milliseconds;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class CreateTest : public WorkflowTest {};

TEST_F(CreateTest, MakesATemplateRemembersTheSessionAndOpensLiveTrax) {
    installLiveTrax();
    launch();
    consoleSendsPatch(kickAndKeys());
    view.nameText = " \tFriday Show \n";
    controller->createSession();

    const auto session = *fakes.musicFolder / "Friday Show";
    EXPECT_TRUE(std::filesystem::exists(templateFile("Friday Show")));
    EXPECT_EQ(controller->activeSessionURL, session);
    EXPECT_EQ(fakes.defaults->values["CorvaneLastSession"], session.string());
    EXPECT_EQ(view.status(), "Template created. Opening LiveTrax 3…");
    ASSERT_THAT(fakes.processes->started, SizeIs(1));
    EXPECT_THAT(fakes.processes->started[0].arguments, Contains("Friday Show"));
    EXPECT_EQ(fakes.processes->started[0].arguments.back(), session.string());
    EXPECT_THAT(view.alerts, IsEmpty());
}

TEST_F(CreateTest, FromThenOnTheMarkersAreThoseOfTheNewSession) {
    fakes.folder.write("Sessions/Old/Old.ardour",
                       "<Session sample-rate=\"48000\"><Locations><Location name=\"Solo\" start=\"a0\" "
                       "flags=\"IsMark\"/></Locations></Session>");
    fakes.defaults->values["CorvaneLastSession"] = (fakes.folder / "Sessions/Old").string();
    installLiveTrax();
    launch();
    consoleSendsPatch(kickAndKeys());
    controller->createSession();
    fakes.clock->run();
    runLiveTrax();
    for (const char *scene : {"Intro", "Solo"}) {
        controller->client->onScene(scene);
        fakes.clock->advance(std::chrono::seconds(1));
    }
    EXPECT_THAT(sentToLiveTrax(), ElementsAre("/add_marker", "/marker"));
}

TEST_F(CreateTest, TheDisksOfTheNewSessionAreLookedAtAtOnce) {
    installLiveTrax();
    launch();
    consoleSendsPatch(kickAndKeys());
    fakes.clock->run();
    EXPECT_FALSE(view.notice);
    fakes.volume = {"Stick", 1};
    controller->createSession();
    fakes.clock->run();
    ASSERT_TRUE(view.notice);
    EXPECT_EQ(view.notice->kind, Notice::Kind::spaceLow);
}

TEST_F(CreateTest, ABlankNameDoesNothing) {
    installLiveTrax();
    launch();
    consoleSendsPatch(kickAndKeys());
    view.nameText = " \u3000\n";
    controller->createSession();
    EXPECT_FALSE(controller->activeSessionURL);
    EXPECT_THAT(view.alerts, IsEmpty());
}

TEST_F(CreateTest, WithoutChannelsNothingHappens) {
    installLiveTrax();
    launch();
    controller->createSession();
    consoleSendsPatch({});
    controller->createSession();
    EXPECT_FALSE(controller->activeSessionURL);
    EXPECT_THAT(view.alerts, IsEmpty());
    EXPECT_THAT(fakes.processes->started, IsEmpty());
}

TEST_F(CreateTest, WhileAPatchIsPendingTheSynchronisedChannelsAreUsed) {
    installLiveTrax();
    launch();
    consoleSendsPatch(kickAndKeys());
    consoleSendsPatch(movedKeys());
    view.nameText = "Show";
    controller->createSession();
    EXPECT_EQ(LiveTraxGenerator::sessionPatchSignature(makeSessionFolder("Show")), signature(kickAndKeys()));
    EXPECT_EQ(controller->synchronizedPatch, signature(kickAndKeys()));
    EXPECT_EQ(view.connectButton, amberLook);
}

TEST_F(CreateTest, BeforeAnyPatchTheConsolesChannelsAreUsed) {
    installLiveTrax();
    launch();
    controller->client->onChannels(kickAndKeys());
    view.nameText = "Show";
    controller->createSession();
    EXPECT_EQ(LiveTraxGenerator::sessionPatchSignature(makeSessionFolder("Show")), signature(kickAndKeys()));
    EXPECT_FALSE(controller->synchronizedPatch);
}

TEST_F(CreateTest, WhenTheTemplateCannotBeMadeTheReasonIsShownAndTheStatusKept) {
    launch();
    consoleSendsPatch(kickAndKeys());
    const std::string before = view.status();
    controller->createSession();
    EXPECT_THAT(view.alerts, ElementsAre(Alert{"Could not create the session",
                                               "LiveTrax 3 or LiveTrax 1 was not found in /Applications."}));
    EXPECT_EQ(view.status(), before);
    EXPECT_FALSE(controller->activeSessionURL);
    EXPECT_FALSE(fakes.defaults->values.contains("CorvaneLastSession"));
}

TEST_F(CreateTest, AnExistingSessionIsNotOverwritten) {
    installLiveTrax();
    std::filesystem::create_directories(*fakes.musicFolder / "LV1 Session");
    launch();
    consoleSendsPatch(kickAndKeys());
    controller->createSession();
    ASSERT_THAT(view.alerts, SizeIs(1));
    EXPECT_EQ(view.alerts[0].informativeText, "A session already exists at " +
                                                  (*fakes.musicFolder / "LV1 Session").string() +
                                                  ". Choose another name or folder.");
}

TEST_F(CreateTest, WhenLiveTraxCannotBeStartedTheSessionStaysRemembered) {
    installLiveTrax();
    fakes.processes->failure = "LiveTrax3: permission denied";
    launch();
    consoleSendsPatch(kickAndKeys());
    controller->createSession();
    EXPECT_THAT(view.alerts,
                ElementsAre(Alert{"Could not create the session", "LiveTrax3: permission denied"}));
    EXPECT_EQ(controller->activeSessionURL, *fakes.musicFolder / "LV1 Session");
    EXPECT_TRUE(fakes.defaults->values.contains("CorvaneLastSession"));
    EXPECT_EQ(view.status(), "Template created. Opening LiveTrax 3…");
}

TEST_F(CreateTest, WhileLiveTraxRunsItIsRefusedBeforeAnythingIsWritten) {
    installLiveTrax();
    launch();
    consoleSendsPatch(kickAndKeys());
    runLiveTrax();
    const std::string before = view.status();
    controller->createSession();
    EXPECT_THAT(view.alerts, ElementsAre(Alert{"Could not create the session",
                                               "LiveTrax is running. Quit it and try again."}));
    EXPECT_EQ(view.status(), before);
    EXPECT_FALSE(controller->activeSessionURL);
    EXPECT_FALSE(std::filesystem::exists(templateFile("LV1 Session")));
    EXPECT_THAT(fakes.processes->started, IsEmpty());
}

TEST_F(CreateTest, ASecondPressWithinTheTimeOfADoubleClickIsNone) {
    installLiveTrax();
    launch();
    consoleSendsPatch(kickAndKeys());
    controller->createSession();
    for (const milliseconds pause : {milliseconds(0), milliseconds(399), milliseconds(399)}) {
        fakes.clock->advance(pause);
        view.nameText = "Another";
        controller->createSession();
    }
    EXPECT_THAT(fakes.processes->started, SizeIs(1));
    fakes.clock->advance(milliseconds(400));
    controller->createSession();
    EXPECT_THAT(fakes.processes->started, SizeIs(2));
}

/// Where a session goes by the text in "Save in:".
class SaveInTest : public CreateTest {
protected:
    std::filesystem::path folderOf(const std::string &text) {
        installLiveTrax();
        if (!controller->bridgeServicesStarted)
            launch();
        consoleSendsPatch(kickAndKeys());
        view.pathText = text;
        view.nameText = "Session " + std::to_string(++sessions);
        fakes.clock->advance(std::chrono::seconds(1));
        controller->createSession();
        return controller->activeSessionURL.value_or("").parent_path();
    }

    int sessions = 0;
};

TEST_F(SaveInTest, ATildeIsTheHomeFolder) {
    EXPECT_EQ(folderOf("~"), fakes.folders->home);
    EXPECT_EQ(folderOf("~/"), fakes.folders->home);
    EXPECT_EQ(folderOf("~/Shows/Palau"), fakes.folders->home / "Shows/Palau");
    EXPECT_EQ(view.pathText, "~/Shows/Palau");
    EXPECT_EQ(folderOf("~//Shows/Palau"), fakes.folders->home / "Shows/Palau");
}

TEST_F(SaveInTest, OtherFoldersAreThoseOfTheWorkingFolder) {
    const WorkingFolder working(fakes.folder.path());
    EXPECT_EQ(folderOf("~name"), fakes.folder / "~name");
    EXPECT_EQ(folderOf("Shows"), fakes.folder / "Shows");
    const auto volume = fakes.folder / "Volumes/Show";
    EXPECT_EQ(folderOf(volume.string()), volume);
}

TEST_F(SaveInTest, AnEmptyOneIsTheMusicFolderElseTheHomeFolderAndIsShown) {
    EXPECT_EQ(folderOf(""), *fakes.musicFolder);
    EXPECT_EQ(view.pathText, fakes.musicFolder->string());
    fakes.musicFolder.reset();
    EXPECT_EQ(folderOf(" "), fakes.folders->home);
    EXPECT_EQ(view.pathText, fakes.folders->home.string());
}

} // namespace

} // namespace corvane

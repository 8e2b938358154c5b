#include "livetrax/session/LiveTraxGenerator.h"
#include "tests/app/ControllerFixture.h"

#include <gmock/gmock.h>

namespace corvane {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class BridgeControllerTest : public ControllerFixture {};

// Start and end

TEST_F(BridgeControllerTest, BuildsIconMenuAndWindowInThisOrder) {
    launch();
    EXPECT_THAT(view.built, ElementsAre("icon", "menu", "window"));
}

TEST_F(BridgeControllerTest, ItsQueuesAreCalledWhatTheyAreLookedForByInADebugger) {
    EXPECT_THAT(fakes.queues->labels,
                testing::UnorderedElementsAre("Corvane.Discovery", "Corvane.Network", "Corvane.LiveTraxOSC",
                                              "Corvane.Markers", "Corvane.Sessions"));
}

TEST_F(BridgeControllerTest, StartsWithNothingKnown) {
    EXPECT_FALSE(controller->bridgeServicesStarted);
    EXPECT_THAT(controller->channels, IsEmpty());
    EXPECT_THAT(controller->services, IsEmpty());
    EXPECT_THAT(controller->endpoints, IsEmpty());
    EXPECT_FALSE(controller->patchExpanded);
    EXPECT_FALSE(controller->synchronizedPatch);
    EXPECT_FALSE(controller->synchronizedChannels);
    EXPECT_FALSE(controller->currentPatch);
    EXPECT_FALSE(controller->activeSessionURL);
    EXPECT_FALSE(controller->lastScene);
}

TEST_F(BridgeControllerTest, SaysThatItSearchesAfterTheClientHasSaidSo) {
    launch();
    EXPECT_THAT(view.statusLabel, ElementsAre("Starting…", "Buscando LV1 V17…",
                                              "Searching for an LV1 host on the SoundGrid network…"));
    EXPECT_TRUE(controller->bridgeServicesStarted);
}

TEST_F(BridgeControllerTest, StartsItsServicesOnce) {
    launch();
    controller->startBridgeServices();
    fakes.clock->run();
    EXPECT_EQ(fakes.browser->searches, 1);
    EXPECT_THAT(fakes.network->datagrams, SizeIs(1));
    EXPECT_EQ(view.status(), "Searching for an LV1 host on the SoundGrid network…");
}

TEST_F(BridgeControllerTest, TheStoredSessionComesBeforeTheRecentOne) {
    fakes.folder.write("home/Library/Preferences/LiveTrax3/recent",
                       "Show\n" + fakes.folder.path().string() + "/Show\n");
    fakes.folder.write("Show/Show.ardour", "<Session/>");
    fakes.defaults->values["CorvaneLastSession"] = "/Sessions/Stored";
    launch();
    EXPECT_EQ(controller->activeSessionURL, "/Sessions/Stored");
}

TEST_F(BridgeControllerTest, WithoutAStoredSessionTheRecentOneIsTaken) {
    fakes.folder.write("home/Library/Preferences/LiveTrax3/recent",
                       "Show\n" + fakes.folder.path().string() + "/Show\n");
    fakes.folder.write("Show/Show.ardour", "<Session/>");
    launch();
    EXPECT_EQ(controller->activeSessionURL, fakes.folder.path() / "Show");
}

TEST_F(BridgeControllerTest, SavesToTheMusicFolderUnlessThereIsNone) {
    launch();
    EXPECT_EQ(view.pathText, fakes.musicFolder->string());

    fakes.musicFolder.reset();
    FakeView other;
    BridgeController::make(fakes.platform, other)->applicationDidFinishLaunching();
    EXPECT_EQ(other.pathText, "");
}

TEST_F(BridgeControllerTest, StopsSearchingListeningAndBothLinksAtTheEnd) {
    launch();
    controller->client->connect("192.168.1.9", 50000);
    fakes.clock->run();
    controller->applicationWillTerminate();
    fakes.clock->run();
    EXPECT_FALSE(fakes.browser->searching);
    EXPECT_EQ(fakes.multicast->openSockets(), 0U);
    EXPECT_TRUE(fakes.network->streams.back()->cancelled);
    EXPECT_EQ(controller->client->connection, nullptr);
    EXPECT_TRUE(fakes.network->datagrams.back()->cancelled);
}

TEST_F(BridgeControllerTest, OpensTheWayToLiveTraxBeforeItSearches) {
    std::vector<std::size_t> waysToLiveTrax;
    fakes.browser->onSearch = [&] {
        fakes.clock->run();
        waysToLiveTrax.push_back(fakes.network->datagrams.size());
    };
    launch();
    EXPECT_THAT(waysToLiveTrax, ElementsAre(1U));
}

TEST_F(BridgeControllerTest, StopsBrowserListenerConsoleAndLiveTraxInThisOrder) {
    std::vector<std::string> stopped;
    // Whatever was put on a queue before has happened by then.
    const auto note = [&](const char *what) {
        return [&, what] {
            fakes.clock->run();
            stopped.emplace_back(what);
        };
    };
    fakes.multicast->onCancel = note("listener");
    launch();
    controller->client->connect("192.168.1.9", 50000);
    fakes.clock->run();
    ASSERT_THAT(stopped, IsEmpty());
    fakes.browser->onStop = note("browser");
    fakes.network->streams.back()->onCancel = note("console");
    fakes.network->datagrams.back()->onCancel = note("LiveTrax");
    controller->applicationWillTerminate();
    fakes.browser->onStop = nullptr;
    EXPECT_EQ(controller->client->connection, nullptr);
    fakes.clock->run();
    EXPECT_THAT(stopped, ElementsAre("browser", "listener", "console", "LiveTrax"));
}

TEST_F(BridgeControllerTest, ACallbackAfterTheControllerIsGoneIsIgnored) {
    launch();
    const auto client = controller->client;
    const auto liveTraxOSC = controller->liveTraxOSC;
    fakes.portHolders[8000] = {{4711, "/opt/bin/corvane"}};
    liveTraxOSC->onFailure(std::make_error_code(std::errc::address_in_use), "taken");
    controller.reset();
    fakes.clock->run(); // the holder of the port is found
    liveTraxOSC->onFailure(std::make_error_code(std::errc::address_in_use), "taken");
    liveTraxOSC->onMarkerLost("Verse", "taken");
    client->onStatus("late");
    client->onConnectionState(false);
    client->onEndpoints({{"LV1", "10.0.0.1", 1, "aa"}});
    client->onServices({});
    client->onChannels(kickAndKeys());
    client->onPatch(kickAndKeys());
    client->onScene("Verse");
    EXPECT_NE(view.status(), "late");
    EXPECT_EQ(view.reloads, 0);
    EXPECT_FALSE(view.notice);
}

// Link and hosts

TEST_F(BridgeControllerTest, ShowsTheClientsTextsUnchanged) {
    launch();
    controller->client->onStatus("Conectado. Negociando con LV1…");
    EXPECT_EQ(view.status(), "Conectado. Negociando con LV1…");
}

TEST_F(BridgeControllerTest, ALostLinkTurnsTheButtonRedAndAnAcceptedOneLeavesItAlone) {
    launch();
    consoleSendsPatch(kickAndKeys());
    ASSERT_EQ(view.connectButton, greenLook);
    controller->client->onConnectionState(true);
    EXPECT_EQ(view.connectButton, greenLook);
    controller->client->onConnectionState(false);
    EXPECT_EQ(view.connectButton, redLook);
    EXPECT_EQ(view.connectButton,
              (ButtonLook{0.88, 0.04, 0.04, 1.0, ButtonLook::Tint::white, ButtonLook::Symbol::cross}));
    controller->client->onConnectionState(true);
    EXPECT_EQ(view.connectButton, redLook);
}

TEST_F(BridgeControllerTest, AnAcceptedLinkAloneNeverTurnsTheButtonAmber) {
    launch();
    consoleSendsPatch(kickAndKeys());
    consoleSendsPatch(movedKeys());
    controller->client->onConnectionState(false);
    controller->client->onConnectionState(true);
    EXPECT_EQ(view.connectButton, redLook);
    consoleSendsPatch(movedKeys());
    EXPECT_EQ(view.connectButton, amberLook);
}

TEST_F(BridgeControllerTest, ListsTheHostsHeardByMulticastWithTheirAddressesInCapitals) {
    launch();
    controller->client->onEndpoints(
        {{"FOH", "10.0.0.1", 50000, "00:1c:ab:0d"}, {"MON", "10.0.0.2", 50000, ""}});
    EXPECT_THAT(view.devicePopup, ElementsAre("FOH  ·  00:1C:AB:0D", "MON  ·  "));
    EXPECT_THAT(fakes.network->streams, IsEmpty());
}

TEST_F(BridgeControllerTest, ASoleBonjourHostIsConnectedWithoutAClick) {
    launch();
    const auto service = fakes.browser->find("FOH");
    fakes.browser->resolve(*service, "foh.local", 50000);
    fakes.clock->run();
    EXPECT_THAT(view.devicePopup, ElementsAre("FOH"));
    ASSERT_THAT(fakes.network->streams, SizeIs(1));
    EXPECT_EQ(fakes.network->streams[0]->host, "foh.local");
}

TEST_F(BridgeControllerTest, OfTwoBonjourHostsNoneIsConnectedAndTheUserIsToldToChoose) {
    launch();
    fakes.browser->find("FOH", true);
    fakes.browser->find("MON");
    fakes.clock->run();
    EXPECT_THAT(view.devicePopup, ElementsAre("FOH", "MON"));
    EXPECT_EQ(view.status(), "Several LV1 hosts found. Choose one and press SYNC LV1.");
    EXPECT_THAT(fakes.network->streams, IsEmpty());
}

TEST_F(BridgeControllerTest, AnEmptyListOfBonjourHostsEmptiesTheMenuAndSaysNothing) {
    launch();
    const auto before = view.statusLabel.size();
    controller->client->onServices({});
    EXPECT_THAT(view.devicePopup, IsEmpty());
    EXPECT_EQ(view.statusLabel.size(), before);
}

TEST_F(BridgeControllerTest, BonjourHostsDoNotReplaceMulticastHostsInTheMenu) {
    launch();
    controller->client->onEndpoints({{"FOH", "10.0.0.1", 50000, "aa"}});
    auto service = std::make_shared<FakeNetService>("Other");
    service->host = "other.local";
    service->portNumber = 50000;
    controller->client->onServices({service});
    EXPECT_THAT(view.devicePopup, ElementsAre("FOH  ·  AA"));
    EXPECT_THAT(controller->services, SizeIs(1));
    EXPECT_THAT(fakes.network->streams, IsEmpty());
}

// Channels

TEST_F(BridgeControllerTest, ShowsTheChannelsAndEnablesCreation) {
    launch();
    controller->client->onChannels(kickAndKeys());
    EXPECT_EQ(view.table, kickAndKeys());
    EXPECT_TRUE(view.syncButtonEnabled);
    EXPECT_EQ(view.patchButton, "PATCH LV1 · 2 tracks ▸");
}

TEST_F(BridgeControllerTest, AnEmptyListDisablesCreationAndCountsNoTracks) {
    launch();
    controller->client->onChannels(kickAndKeys());
    controller->client->onChannels({});
    EXPECT_FALSE(view.syncButtonEnabled);
    EXPECT_EQ(view.patchButton, "PATCH LV1 · 0 tracks ▸");
    controller->togglePatch();
    EXPECT_EQ(view.patchButton, "PATCH LV1 · 0 tracks ▾");
}

TEST_F(BridgeControllerTest, ChannelsOfTheSynchronisedPatchBecomeTheSnapshot) {
    launch();
    consoleSendsPatch(kickAndKeys());
    Channels recoloured = kickAndKeys();
    recoloured[0].red = 1.0F;
    controller->client->onChannels(recoloured);
    EXPECT_EQ(controller->synchronizedChannels, recoloured);
    EXPECT_EQ(view.connectButton, greenLook);
}

TEST_F(BridgeControllerTest, WithAPendingPatchTheSnapshotTakesTheNewColoursAndNothingElse) {
    launch();
    consoleSendsPatch(kickAndKeys());
    Channels changed{channel("Renamed", 2, 8, true), channel("Twin", 2, 9), channel("New", 3, 4)};
    changed[0].red = 0.5F;
    changed[0].green = 0.6F;
    changed[0].blue = 0.7F;
    changed[1].red = 0.1F; // the second of one source does not count
    consoleSendsPatch(changed);

    Channels expected = kickAndKeys();
    expected[1].red = 0.5F;
    expected[1].green = 0.6F;
    expected[1].blue = 0.7F;
    EXPECT_EQ(controller->synchronizedChannels, expected);
    EXPECT_EQ(controller->synchronizedPatch, LiveTraxGenerator::patchSignature(kickAndKeys()));
    EXPECT_EQ(controller->channels, changed);
}

TEST_F(BridgeControllerTest, ChannelsOfAnotherSourceTypeDoNotColourTheSnapshot) {
    launch();
    consoleSendsPatch(kickAndKeys());
    LV1Channel other("Kick", false, "Driver", 5, "Group", 1);
    other.red = 1.0F;
    consoleSendsPatch({other});
    EXPECT_EQ(controller->synchronizedChannels, kickAndKeys());
}

TEST_F(BridgeControllerTest, ChannelsBeforeAnyPatchLeaveNothingSynchronised) {
    launch();
    controller->client->onChannels(kickAndKeys());
    EXPECT_FALSE(controller->synchronizedPatch);
    EXPECT_FALSE(controller->synchronizedChannels);
}

// Patch

TEST_F(BridgeControllerTest, TheFirstPatchAfterLaunchIsTheSynchronisedOne) {
    launch();
    consoleSendsPatch(kickAndKeys());
    EXPECT_EQ(view.connectButton,
              (ButtonLook{0.1, 0.68, 0.25, 1.0, ButtonLook::Tint::white, ButtonLook::Symbol::check}));
    EXPECT_EQ(controller->synchronizedPatch, LiveTraxGenerator::patchSignature(kickAndKeys()));
    EXPECT_EQ(controller->currentPatch, controller->synchronizedPatch);
    EXPECT_EQ(controller->synchronizedChannels, kickAndKeys());
    EXPECT_THAT(view.statusLabel, testing::Not(testing::Contains(HasSubstr("Changes detected"))));
}

TEST_F(BridgeControllerTest, ADifferentPatchTurnsTheButtonAmberAndKeepsTheSnapshot) {
    launch();
    consoleSendsPatch(kickAndKeys());
    consoleSendsPatch(movedKeys());
    EXPECT_EQ(view.connectButton,
              (ButtonLook{0.95, 0.65, 0.05, 1.0, ButtonLook::Tint::black, ButtonLook::Symbol::triangle}));
    EXPECT_EQ(view.status(), "Changes detected. Stop the transport and press SYNC LV1.");
    EXPECT_EQ(controller->synchronizedPatch, LiveTraxGenerator::patchSignature(kickAndKeys()));
    EXPECT_EQ(controller->currentPatch, LiveTraxGenerator::patchSignature(movedKeys()));
    EXPECT_EQ(controller->synchronizedChannels, kickAndKeys());
}

TEST_F(BridgeControllerTest, APatchThatReturnsToTheSynchronisedOneIsGreenAgain) {
    launch();
    consoleSendsPatch(kickAndKeys());
    consoleSendsPatch(movedKeys());
    consoleSendsPatch(kickAndKeys());
    EXPECT_EQ(view.connectButton, greenLook);
    EXPECT_EQ(view.statusDetail, "");
}

TEST_F(BridgeControllerTest, APatchThatDiffersInColoursAloneStaysGreen) {
    launch();
    consoleSendsPatch(kickAndKeys());
    Channels recoloured = kickAndKeys();
    recoloured[1].blue = 0.1F;
    consoleSendsPatch(recoloured);
    EXPECT_EQ(view.connectButton, greenLook);
    EXPECT_EQ(controller->synchronizedChannels, recoloured);
}

TEST_F(BridgeControllerTest, TheOrderOfPatchAndChannelsDoesNotMatter) {
    launch();
    controller->client->onChannels(kickAndKeys());
    controller->client->onPatch(kickAndKeys());
    controller->client->onChannels(movedKeys());
    controller->client->onPatch(movedKeys());
    EXPECT_EQ(view.connectButton, amberLook);
    EXPECT_EQ(controller->synchronizedChannels, kickAndKeys());
}

TEST_F(BridgeControllerTest, ListsThePendingChangesBehindTheStatus) {
    launch();
    consoleSendsPatch(kickAndKeys());
    consoleSendsPatch(movedKeys());
    EXPECT_EQ(view.statusDetail,
              "Changes since the last sync:\n“\u2068Keys\u2069” is now on inputs 9–10 (was inputs 2–3)");
}

TEST_F(BridgeControllerTest, CountsThePendingChangesThatAreTooManyToList) {
    launch();
    consoleSendsPatch({channel("Kick", 1, 0)});
    Channels many;
    for (std::int32_t number = 1; number <= 25; ++number)
        many.push_back(channel("Track " + std::to_string(number), number, number));
    consoleSendsPatch(many);
    EXPECT_THAT(view.statusDetail, testing::EndsWith("\nand 5 more"));
}

TEST_F(BridgeControllerTest, TheColourOfTheButtonIsSaidInWords) {
    launch();
    EXPECT_THAT(view.meaning, testing::StartsWith("Red"));
    consoleSendsPatch(kickAndKeys());
    EXPECT_THAT(view.meaning, testing::StartsWith("Green: the first patch since the start"));
    consoleSendsPatch(movedKeys());
    EXPECT_THAT(view.meaning, testing::StartsWith("Amber"));
    consoleSendsPatch(kickAndKeys());
    EXPECT_THAT(view.meaning, testing::StartsWith("Green: the first patch since the start"));
    controller->client->onConnectionState(false);
    EXPECT_EQ(view.meaning, "Red: no console is connected. Press to search again.");
}

// Patch view, folder chooser, About

TEST_F(BridgeControllerTest, OpeningAndClosingThePatchViewReturnsTheWindowToItsHeight) {
    launch();
    controller->togglePatch();
    EXPECT_TRUE(view.channelScrollShown);
    EXPECT_EQ(view.height, 610);
    EXPECT_EQ(view.patchButton, "PATCH LV1 · 0 tracks ▾");
    controller->togglePatch();
    EXPECT_FALSE(view.channelScrollShown);
    EXPECT_EQ(view.height, 370);
    EXPECT_EQ(view.patchButton, "PATCH LV1 · 0 tracks ▸");
}

TEST_F(BridgeControllerTest, BeforeAnyChannelThePatchButtonWaitsForSync) {
    launch();
    EXPECT_EQ(view.patchButton, "PATCH LV1 · waiting for sync  ▸");
    EXPECT_FALSE(view.syncButtonEnabled);
    EXPECT_THAT(view.table, IsEmpty());
}

TEST_F(BridgeControllerTest, AChosenFolderIsShownAndACancelledChoiceChangesNothing) {
    launch();
    controller->chooseFolder();
    view.folderAnswer(std::filesystem::path("/Volumes/Tour"));
    EXPECT_EQ(view.pathText, "/Volumes/Tour");
    controller->chooseFolder();
    view.folderAnswer(std::nullopt);
    EXPECT_EQ(view.pathText, "/Volumes/Tour");
}

TEST_F(BridgeControllerTest, ShowsAbout) {
    launch();
    controller->showAbout();
    EXPECT_EQ(view.abouts, 1);
}

} // namespace

} // namespace corvane

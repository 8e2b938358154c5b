#include "livetrax/session/LiveTraxGenerator.h"
#include "tests/app/ControllerFixture.h"

#include <gmock/gmock.h>

namespace corvane {

namespace {

using testing::IsEmpty;
using testing::SizeIs;

// The SYNC LV1 button

class ConnectTest : public ControllerFixture {};

TEST_F(ConnectTest, TheChosenMulticastHostIsConnectedAndRemembered) {
    launch();
    const LV1Endpoint second{"MON", "10.0.0.2", 50001, "bb"};
    controller->client->onEndpoints({{"FOH", "10.0.0.1", 50000, "aa"}, second});
    view.selected = 1;
    controller->connectSelected();
    fakes.clock->run();
    EXPECT_EQ(controller->client->multicastEndpoint, second);
    ASSERT_THAT(fakes.network->streams, SizeIs(1));
    EXPECT_EQ(fakes.network->streams[0]->host, "10.0.0.2");
    EXPECT_EQ(fakes.network->streams[0]->port, 50001);
}

TEST_F(ConnectTest, TheChosenBonjourHostIsConnected) {
    launch();
    fakes.browser->find("FOH", true);
    const auto second = fakes.browser->find("MON");
    fakes.browser->resolve(*second, "mon.local", 50001);
    view.selected = 1;
    controller->connectSelected();
    fakes.clock->run();
    ASSERT_THAT(fakes.network->streams, SizeIs(1));
    EXPECT_EQ(fakes.network->streams[0]->host, "mon.local");
}

TEST_F(ConnectTest, WithoutASelectionTheSearchStartsAgain) {
    launch();
    view.selected = -1;
    controller->connectSelected();
    EXPECT_EQ(fakes.browser->searches, 2);
    EXPECT_EQ(view.status(), "Buscando LV1 V17…");
}

TEST_F(ConnectTest, ASelectionBeyondBothListsStartsTheSearchAgain) {
    launch(); // the menu's first item is only a text
    controller->connectSelected();
    EXPECT_EQ(fakes.browser->searches, 2);
}

TEST_F(ConnectTest, APositionBeyondTheMulticastHostsCountsAmongTheBonjourHosts) {
    launch();
    controller->client->onEndpoints({{"FOH", "10.0.0.1", 50000, "aa"}});
    auto first = std::make_shared<FakeNetService>("First");
    auto second = std::make_shared<FakeNetService>("Second");
    second->host = "second.local";
    second->portNumber = 50001;
    controller->client->onServices({first, second});
    view.selected = 1;
    controller->connectSelected();
    fakes.clock->run();
    ASSERT_THAT(fakes.network->streams, SizeIs(1));
    EXPECT_EQ(fakes.network->streams[0]->host, "second.local");
    view.selected = 2;
    controller->connectSelected();
    EXPECT_EQ(fakes.browser->searches, 2);
}

TEST_F(ConnectTest, ALinkThatStandsIsLeftAloneWhileItsServiceHasNoAddress) {
    launch();
    const auto service = fakes.browser->find("FOH");
    fakes.browser->resolve(*service, "foh.local.", 50000);
    fakes.clock->run();
    ASSERT_THAT(fakes.network->streams, SizeIs(1));
    consoleSendsPatch(kickAndKeys());
    const std::string meaning = view.meaning;
    fakes.browser->withdraw(*service);
    fakes.browser->find("FOH");
    EXPECT_NE(view.status(), "LV1 has not published its address yet");
    controller->connectSelected();
    fakes.clock->run();
    EXPECT_EQ(view.status(), "LV1 has not published its address yet"); // asked for by hand
    EXPECT_EQ(view.meaning, meaning);
    EXPECT_THAT(fakes.network->streams, SizeIs(1));
}

TEST_F(ConnectTest, AnEqualPatchConnectsInsteadOfUpdating) {
    launch();
    controller->client->onEndpoints({{"FOH", "10.0.0.1", 50000, "aa"}});
    consoleSendsPatch(kickAndKeys());
    controller->connectSelected();
    fakes.clock->run();
    EXPECT_THAT(fakes.network->streams, SizeIs(1));
}

TEST_F(ConnectTest, ADifferentPatchUpdatesAndDoesNotConnect) {
    launch();
    controller->client->onEndpoints({{"FOH", "10.0.0.1", 50000, "aa"}});
    consoleSendsPatch(kickAndKeys());
    consoleSendsPatch(movedKeys());
    controller->connectSelected();
    fakes.clock->run();
    EXPECT_THAT(fakes.network->streams, IsEmpty());
    EXPECT_EQ(view.status(), "Patch accepted. It will be used for the next session.");
}

TEST_F(ConnectTest, WithoutAConsolePendingChangesAreStillWhatThePressIsFor) {
    launch();
    controller->client->onEndpoints({{"FOH", "10.0.0.1", 50000, "aa"}});
    consoleSendsPatch(kickAndKeys());
    consoleSendsPatch(movedKeys());
    controller->client->onConnectionState(false);
    EXPECT_EQ(view.connectButton, redLook);
    EXPECT_EQ(view.meaning,
              "Red: no console is connected, and there are changes since the last sync. Press to "
              "accept the patch for the next session.");
    controller->connectSelected();
    fakes.clock->run();
    EXPECT_THAT(fakes.network->streams, IsEmpty());
    EXPECT_EQ(controller->synchronizedChannels, movedKeys());
    EXPECT_EQ(view.connectButton, greenLook);
    controller->client->onConnectionState(false);
    EXPECT_EQ(view.meaning, "Red: no console is connected. Press to connect to the chosen host.");
}

// The host menu

TEST_F(ConnectTest, WithAHostInTheMenuThePressIsForThatOne) {
    launch();
    EXPECT_EQ(view.meaning, "Red: no console is connected. Press to search again.");
    controller->client->onEndpoints({{"FOH", "10.0.0.1", 50000, "aa"}});
    EXPECT_EQ(view.meaning, "Red: no console is connected. Press to connect to the chosen host.");
    controller->client->onEndpoints({});
    EXPECT_EQ(view.meaning, "Red: no console is connected. Press to search again.");
}

TEST_F(ConnectTest, AChosenHostIsConnectedEvenWhileChangesArePending) {
    launch();
    controller->client->onEndpoints({{"FOH", "10.0.0.1", 50000, "aa"}, {"MON", "10.0.0.2", 50001, "bb"}});
    consoleSendsPatch(kickAndKeys());
    consoleSendsPatch(movedKeys());
    view.selected = 1;
    controller->hostChosen();
    fakes.clock->run();
    ASSERT_THAT(fakes.network->streams, SizeIs(1));
    EXPECT_EQ(fakes.network->streams[0]->host, "10.0.0.2");
    EXPECT_EQ(controller->synchronizedPatch, LiveTraxGenerator::patchSignature(kickAndKeys()));
}

TEST_F(ConnectTest, ChoosingTheHostOfALinkThatStandsOrIsBeingMadeDoesNothing) {
    launch();
    controller->client->onEndpoints({{"FOH", "10.0.0.1", 50000, "aa"}, {"MON", "10.0.0.2", 50001, "bb"}});
    controller->hostChosen();
    fakes.clock->run();
    ASSERT_THAT(fakes.network->streams, SizeIs(1));
    controller->hostChosen();
    fakes.network->streams[0]->becomeReady();
    fakes.clock->run();
    controller->hostChosen();
    fakes.clock->run();
    EXPECT_THAT(fakes.network->streams, SizeIs(1));
}

TEST_F(ConnectTest, ChoosingTheHostOfALinkThatEndedConnectsAgain) {
    launch();
    controller->client->onEndpoints({{"FOH", "10.0.0.1", 50000, "aa"}});
    controller->hostChosen();
    fakes.clock->run();
    fakes.network->streams[0]->fail("reset by peer");
    fakes.clock->run();
    controller->hostChosen();
    fakes.clock->run();
    EXPECT_THAT(fakes.network->streams, SizeIs(2));
}

TEST_F(ConnectTest, ABonjourHostThatIsConnectedIsNotConnectedAgainByChoosingIt) {
    launch();
    const auto service = fakes.browser->find("FOH");
    fakes.browser->resolve(*service, "foh.local", 50001);
    fakes.clock->run();
    ASSERT_THAT(fakes.network->streams, SizeIs(1));
    controller->hostChosen();
    fakes.clock->run();
    EXPECT_THAT(fakes.network->streams, SizeIs(1));
}

TEST_F(ConnectTest, OfTwoBonjourHostsTheOtherOneCanBeChosen) {
    launch();
    for (const auto &[name, address] : {std::pair("FOH", "10.0.0.1"), {"MON", "10.0.0.2"}})
        fakes.browser->resolve(*fakes.browser->find(name), address, 50001);
    for (const int host : {0, 1, 1}) {
        view.selected = host;
        controller->hostChosen();
        fakes.clock->run();
    }
    ASSERT_THAT(fakes.network->streams, SizeIs(2));
    EXPECT_EQ(fakes.network->streams[0]->host, "10.0.0.1");
    EXPECT_EQ(fakes.network->streams[1]->host, "10.0.0.2");
}

TEST_F(ConnectTest, ChoosingTheTextOfAnEmptyMenuDoesNothing) {
    launch();
    controller->hostChosen();
    EXPECT_EQ(fakes.browser->searches, 1);
}

} // namespace

} // namespace corvane

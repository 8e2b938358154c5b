#include "tests/app/NoticesFixture.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <limits>
#include <string>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace corvane {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

class ControllerNoticesTest : public NoticesFixture {};

TEST_F(ControllerNoticesTest, NothingIsSaidWhenAllIsWell) {
    begin(kickAndKeys());
    EXPECT_EQ(text(), "");
    EXPECT_EQ(view.meaning, "Green: “\u2068Show\u2069” has the console's patch. Press to search again.");
}

TEST_F(ControllerNoticesTest, ARefusedLocalNetworkIsSaidUntilItIsAllowed) {
    installLiveTrax();
    launch();
    fakes.browser->refused = true;
    EXPECT_EQ(text(), "");
    fakes.clock->advance(15s);
    EXPECT_THAT(text(), HasSubstr("System Settings, Privacy & Security, Local Network."));
    fakes.browser->refused = false;
    fakes.clock->advance(15s);
    EXPECT_EQ(text(), "");
}

TEST_F(ControllerNoticesTest, NothingIsAskedNowAndThenBeforeThereIsASessionOrAPatch) {
    installLiveTrax();
    fakes.browser->wantsPermission = false;
    launch();
    fakes.clock->advance(60s);
    const std::size_t asleep = fakes.clock->pending();
    consoleSendsPatch(kickAndKeys());
    fakes.clock->run();
    EXPECT_EQ(fakes.clock->pending(), asleep + 1);
    fakes.clock->advance(60s);
    EXPECT_EQ(fakes.clock->pending(), asleep + 1);
}

TEST_F(ControllerNoticesTest, ALostLinkIsSaidAndReconnectsWithoutUpdating) {
    begin(kickAndKeys());
    runLiveTrax();
    controller->client->onEndpoints({{"FOH", "10.0.0.1", 50000, "aa"}});
    consoleSendsPatch(movedKeys());
    EXPECT_TRUE(fakes.activity->isGoingOn);
    controller->client->onConnectionState(false);
    controller->client->onConnectionState(false);
    EXPECT_EQ(text(), "The console is not connected. Choose it again in LV1 HOST, or:");
    EXPECT_EQ(view.attentionRequests, 1);
    EXPECT_TRUE(view.badge);
    EXPECT_FALSE(fakes.activity->isGoingOn);
    controller->noticeAction();
    fakes.clock->run();
    EXPECT_THAT(fakes.network->streams, SizeIs(1));
    EXPECT_THAT(view.alerts, IsEmpty());
    EXPECT_EQ(text(), "");
    fakes.network->streams[0]->becomeReady();
    fakes.clock->run();
    EXPECT_THAT(view.meaning, StartsWith("Red: the console is being greeted"));
    fakes.network->streams[0]->fail("refused");
    fakes.clock->run();
    EXPECT_THAT(view.meaning, StartsWith("Red: no console is connected, and there are changes"));
    EXPECT_EQ(view.attentionRequests, 1); // that link was never up
    EXPECT_TRUE(view.badge);              // also while it was being connected to
    consoleSendsPatch(movedKeys());
    EXPECT_FALSE(view.badge);
    controller->client->onConnectionState(false);
    EXPECT_EQ(view.attentionRequests, 2);
}

TEST_F(ControllerNoticesTest, NobodyIsCalledForALinkThatIsLostWhileNothingIsRecorded) {
    begin(kickAndKeys());
    controller->client->onConnectionState(false);
    EXPECT_EQ(view.attentionRequests, 0);
    EXPECT_FALSE(view.badge);
}

TEST_F(ControllerNoticesTest, CreateThatCanDoNothingSaysWhy) {
    begin(kickAndKeys());
    view.nameText = " ";
    const std::string before = view.status();
    controller->createSession();
    EXPECT_EQ(text(), "Type a session name.");
    EXPECT_EQ(view.status(), before);
    EXPECT_THAT(view.alerts, IsEmpty());
    controller->fieldsEdited();
    EXPECT_EQ(text(), "");
    consoleSendsPatch({channel("Talk", 1, 0)});
    controller->synchronizedChannels = Channels{};
    view.nameText = "Friday";
    fakes.clock->advance(1s);
    controller->createSession();
    EXPECT_EQ(text(), "The synchronised patch has no channels; press SYNC LV1.");
    controller->connectSelected();
    EXPECT_EQ(controller->synchronizedChannels->size(), 1U);
    EXPECT_EQ(text(), "");
}

TEST_F(ControllerNoticesTest, ANoticeThatWasPutAwayStaysAwayUntilItChanges) {
    begin(kickAndKeys());
    view.nameText = "";
    controller->createSession();
    controller->client->onConnectionState(false);
    EXPECT_EQ(text(), "Type a session name.");
    controller->dismissNotice();
    EXPECT_THAT(text(), StartsWith("The console is not connected."));
    controller->dismissNotice();
    EXPECT_FALSE(view.notice);
    controller->noticeAction(); // nothing is shown, so nothing happens
    EXPECT_THAT(fakes.network->streams, IsEmpty());
    fakes.clock->advance(60s);
    EXPECT_FALSE(view.notice);
    consoleSendsPatch(kickAndKeys());
    controller->client->onConnectionState(false);
    EXPECT_THAT(text(), StartsWith("The console is not connected."));
}

TEST_F(ControllerNoticesTest, WhatWasPutAwayDoesNotComeBackWhileTheDiskIsRead) {
    begin(kickAndKeys());
    record(show, "Keys", 1);
    consoleSendsPatch(movedKeys());
    fakes.clock->run();
    ASSERT_THAT(text(), StartsWith("SYNC LV1 will take 1 recorded track"));
    controller->dismissNotice();
    ASSERT_EQ(text(), "");
    consoleSendsPatch({channel("Kick", 1, 0), channel("Keys", 2, 8, true), channel("Vox", 3, 20)});
    EXPECT_EQ(text(), "");
    fakes.clock->run();
    EXPECT_EQ(text(), "");
}

TEST_F(ControllerNoticesTest, ThatTheSessionDiffersStaysPutAwayWhileThePatchGoesAndComesBack) {
    const Channels more{channel("Kick", 1, 0), channel("Keys", 2, 1, true), channel("Vox", 3, 9)};
    begin(more);
    ASSERT_THAT(text(), HasSubstr("lacks 1"));
    controller->dismissNotice();
    Channels moved = more;
    moved[1] = channel("Keys", 2, 12, true);
    consoleSendsPatch(moved);
    consoleSendsPatch(more);
    fakes.clock->run();
    EXPECT_EQ(text(), "");
    consoleSendsPatch(kickAndKeys());
    fakes.clock->run(); // in step for a while
    consoleSendsPatch(more);
    fakes.clock->run();
    EXPECT_THAT(text(), HasSubstr("lacks 1"));
}

/// A session with the console's tracks but for the order of the last two, which both stand at this place.
class TwoAtOnePlace : public NoticesFixture {
protected:
    void begin(const Channels &ofTheConsole, std::size_t place) {
        Channels list = ofTheConsole;
        std::swap(list[list.size() - 2], list.back());
        show = makeSession("Show", list);
        std::string session = textOf(show / "Show.ardour");
        for (const std::size_t each : {list.size() - 1, list.size()}) {
            const std::string order = "order=\"" + std::to_string(each) + "\"";
            session.replace(session.find(order), order.size(), "order=\"" + std::to_string(place) + "\"");
        }
        fakes.folder.write("home/Music/Show/Show.ardour", session);
        opensLast(show);
        launch();
        consoleSendsPatch(ofTheConsole);
        fakes.clock->run();
    }
};

TEST_F(TwoAtOnePlace, IsSaidWhereTheSecondStandsWhereItBelongs) {
    begin(kickAndKeys(), 2);
    EXPECT_EQ(text(), "“\u2068Show\u2069” has 1 track in another place than the console.");
}

TEST_F(TwoAtOnePlace, IsSaidWhereTheFirstStandsWhereItBelongs) {
    Channels list;
    for (int i = 1; i <= 11; ++i)
        list.push_back(channel("Vox " + std::to_string(i), i, i));
    begin(list, 10);
    EXPECT_EQ(text(), "“\u2068Show\u2069” has 1 track in another place than the console.");
}

TEST_F(ControllerNoticesTest, NothingIsAtRiskWhileAPressOfTheButtonUpdatesNothing) {
    show = makeSession("Show", kickAndKeys());
    record(show, "Keys", 1);
    opensLast(show);
    launch();
    consoleSendsPatch(movedKeys());
    fakes.clock->run();
    ASSERT_THAT(text(), HasSubstr("lacks 1"));
    controller->dismissNotice();
    EXPECT_EQ(text(), "");
}

TEST_F(ControllerNoticesTest, TheFolderChooserStartsWhereASessionWouldGo) {
    launch();
    view.pathText = "~/Shows";
    controller->chooseFolder();
    EXPECT_EQ(view.folderFrom, fakes.folders->home / "Shows");
}

TEST_F(ControllerNoticesTest, AMarkerThatDidNotArriveIsSaid) {
    begin(kickAndKeys());
    controller->liveTraxOSC->onMarkerLost("Solo", "UDP port 8000 is in use by another program.");
    EXPECT_EQ(
        text(),
        "The marker “\u2068Solo\u2069” did not reach LiveTrax: UDP port 8000 is in use by another program.");
}

TEST_F(ControllerNoticesTest, TheProgramThatKeepsAMarkerFromLiveTraxIsNamed) {
    begin(kickAndKeys());
    fakes.portHolders[8000] = {{::getpid(), "/usr/bin/this"}, {4711, "/opt/bin/corvane"}};
    const std::string reason = "UDP port 8000 is in use by another program.";
    controller->liveTraxOSC->onFailure(std::make_error_code(std::errc::connection_refused), reason);
    controller->liveTraxOSC->onMarkerLost("Solo", reason);
    fakes.clock->run();
    EXPECT_THAT(text(), testing::EndsWith(reason));
    controller->liveTraxOSC->onFailure(std::make_error_code(std::errc::address_in_use), reason);
    fakes.clock->run();
    EXPECT_EQ(text(), "The marker “\u2068Solo\u2069” did not reach LiveTrax: " + reason +
                          " It is held by corvane (process 4711).");
    fakes.portHolders.clear();
    controller->liveTraxOSC->onFailure(std::make_error_code(std::errc::address_in_use), reason);
    controller->liveTraxOSC->onMarkerLost("Solo", reason);
    fakes.clock->run();
    EXPECT_THAT(text(), testing::EndsWith(reason)) << "nobody is found any more";
}

TEST_F(ControllerNoticesTest, APatchThatCannotBecomeASessionIsSaidAndShown) {
    begin({channel("Vox", 1, 24), channel("Vox FX", 2, 24)});
    controller->dismissNotice(); // that the session differs
    EXPECT_THAT(text(), HasSubstr(": a session cannot be created."));
    controller->noticeAction();
    EXPECT_EQ(view.linesTitle, "No session can be created of this patch");
    EXPECT_THAT(view.linesShown, SizeIs(1));
    consoleSendsPatch(kickAndKeys());
    EXPECT_EQ(text(), "");
}

TEST_F(ControllerNoticesTest, PendingChangesAreExplainedByWhatTheUpdateWillDo) {
    begin(kickAndKeys());
    consoleSendsPatch(movedKeys());
    EXPECT_EQ(view.statusDetail,
              "Changes since the last sync:\n“\u2068Keys\u2069” is now on inputs 9–10 (was inputs 2–3)");
    fakes.clock->run();
    EXPECT_EQ(view.statusDetail, "SYNC LV1 will change:\n“\u2068Keys\u2069” is added, on inputs 9–10\n"
                                 "“\u2068Keys\u2069” is removed, on inputs 2–3");
}

TEST_F(ControllerNoticesTest, ColoursThatComeAfterThePatchAreNoChanges) {
    const auto paint = [](Channels list) {
        for (LV1Channel &each : list)
            each.green = 1;
        return list;
    };
    show = makeSession("Show", paint(kickAndKeys()));
    opensLast(show);
    launch();
    consoleSendsPatch(kickAndKeys());
    controller->client->onConnectionState(false);
    consoleSendsPatch(movedKeys());
    fakes.clock->run();
    EXPECT_THAT(view.statusDetail, HasSubstr("1 track coloured"));
    controller->client->onChannels(paint(movedKeys()));
    fakes.clock->advance(2s);
    EXPECT_EQ(view.statusDetail, "SYNC LV1 will change:\n“\u2068Keys\u2069” is added, on inputs 9–10\n"
                                 "“\u2068Keys\u2069” is removed, on inputs 2–3");
}

TEST_F(ControllerNoticesTest, ColoursThatComeAfterASessionThatDiffersAreInWhatIsSaidOfIt) {
    begin({channel("Kick", 1, 0), channel("Keys", 2, 1, true), channel("Vox", 3, 9)});
    ASSERT_THAT(view.notice->detail, Not(HasSubstr("coloured")));
    Channels painted = controller->channels;
    painted[0].green = 1;
    controller->client->onChannels(painted);
    fakes.clock->advance(2s);
    EXPECT_THAT(view.notice->detail, HasSubstr("coloured"));
}

TEST_F(ControllerNoticesTest, AFolderThatIsTypedIsLookedAt) {
    fakes.platform.volumeOf = [](const std::filesystem::path &path) {
        return path == "/Volumes/Stick" ? Volume{"Stick", 1} : Volume{"", 4'000'000'000'000};
    };
    begin(kickAndKeys());
    ASSERT_EQ(text(), "");
    view.pathText = "/Volumes/Stick";
    controller->fieldsEdited();
    fakes.clock->run();
    EXPECT_THAT(text(), StartsWith("Less than a minute left on “\u2068Stick\u2069”"));
}

TEST_F(ControllerNoticesTest, WhatTheLastUpdateChangedIsNotBehindALostLink) {
    begin({channel("Kick", 1, 0), channel("Keys", 2, 1, true), channel("Vox", 3, 9)});
    controller->noticeAction();
    fakes.clock->run();
    ASSERT_THAT(view.statusDetail, StartsWith("The update changed:"));
    controller->client->onConnectionState(false);
    EXPECT_EQ(view.statusDetail, "");
    EXPECT_THAT(view.createMeaning, HasSubstr("the 3 channels that the console had last"));
    consoleSendsPatch(kickAndKeys());
    EXPECT_THAT(view.statusDetail, StartsWith("Changes since the last sync:"));
    controller->client->onConnectionState(false);
    EXPECT_THAT(view.statusDetail, StartsWith("Changes since the last sync:"));
}

TEST_F(ControllerNoticesTest, RecordedTracksThatTheNextUpdateWouldTakeOutAreSaidAndThePlanShown) {
    begin(kickAndKeys());
    record(show, "Keys", 1);
    record(show, "Keys", 2);
    consoleSendsPatch(movedKeys());
    fakes.clock->run();
    EXPECT_EQ(
        view.notice,
        (Notice{Notice::Kind::takesAtRisk,
                "SYNC LV1 will take 1 recorded track out of the session: “\u2068Keys\u2069”.", "Show plan"}));
    controller->noticeAction();
    EXPECT_EQ(view.linesTitle, "SYNC LV1 will change:");
    EXPECT_THAT(view.linesShown,
                ElementsAre("“\u2068Keys\u2069” is added, on inputs 9–10",
                            "“\u2068Keys\u2069” is removed, on inputs 2–3, with 2 recordings"));
    EXPECT_THAT(view.alerts, IsEmpty());

    record(show, "Kick", 3);
    consoleSendsPatch({channel("Later", 7, 20)});
    fakes.clock->run();
    EXPECT_EQ(text(), "SYNC LV1 will take 2 recorded tracks out of the session: “\u2068Kick\u2069”, "
                      "“\u2068Keys\u2069”.");
    consoleSendsPatch(kickAndKeys()); // nothing is pending any more
    fakes.clock->run();
    EXPECT_EQ(text(), "");
}

TEST_F(ControllerNoticesTest, TracksWithoutRecordingsMayGoUnsaid) {
    begin(kickAndKeys());
    record(show, "Kick");
    consoleSendsPatch(movedKeys());
    fakes.clock->run();
    EXPECT_EQ(text(), "");
}

TEST_F(ControllerNoticesTest, AColourThatIsNoNumberKeepsNoPlanFromBeingShown) {
    begin(kickAndKeys());
    record(show, "Keys");
    Channels moved = movedKeys();
    moved[0].red = std::numeric_limits<float>::quiet_NaN();
    moved[1].blue = std::numeric_limits<float>::infinity();
    consoleSendsPatch(moved);
    fakes.clock->run();
    EXPECT_EQ(text(), "SYNC LV1 will take 1 recorded track out of the session: “\u2068Keys\u2069”.");
}

TEST_F(ControllerNoticesTest, TheRoomThatIsLeftIsThatOfTheSessionsOwnFormat) {
    show = makeSession("Show", kickAndKeys());
    std::string text = textOf(show / "Show.ardour");
    text.insert(text.find("<Session ") + 9, "sample-rate=\"96000\" ");
    text.replace(text.find("FormatFloat"), 11, "FormatInt24");
    fakes.folder.write("home/Music/Show/Show.ardour", text);
    SessionReader reader(fakes.platform);
    std::optional<SessionAnswer> answer;
    const auto keep = [&](const SessionAnswer &read) { answer = read; };
    reader.ask({show, "", kickAndKeys(), ""}, keep);
    fakes.clock->run();
    EXPECT_EQ(answer->format, (RecordingFormat{96'000, 3}));
    std::filesystem::remove(show / "Show.ardour");
    reader.ask({show, "", kickAndKeys(), ""}, keep);
    fakes.clock->run();
    EXPECT_EQ(answer->format, (RecordingFormat{48'000, 4}));
}

TEST_F(ControllerNoticesTest, TheRoomThatIsLeftIsToldForTheInputsOfTheConsole) {
    fakes.volume = {"Stick", 20 * 60 * 3 * 48'000ULL * 4};
    begin(kickAndKeys());
    EXPECT_EQ(text(), "20 minutes left on “\u2068Stick\u2069” for 3 inputs at 48 kHz.");
    consoleSendsPatch({channel("Kick", 1, 0)});
    fakes.clock->run();
    EXPECT_EQ(text(), "");
}

TEST_F(ControllerNoticesTest, CreateSaysWhichChannelsItTakes) {
    launch();
    EXPECT_THAT(view.createMeaning, HasSubstr("Possible once"));
    consoleSendsPatch(kickAndKeys());
    EXPECT_THAT(view.createMeaning, HasSubstr("the console's 2 channels"));
    consoleSendsPatch({channel("Kick", 1, 0)});
    EXPECT_THAT(view.createMeaning, HasSubstr("the 2 channels of the last sync"));
}

TEST_F(ControllerNoticesTest, WhileAnUpdateIsUnderWayTheButtonSaysWhatAPressWouldDo) {
    begin(kickAndKeys());
    consoleSendsPatch(movedKeys());
    EXPECT_THAT(view.meaning, HasSubstr("Press to update “\u2068Show\u2069”."));
    runLiveTrax();
    controller->connectSelected();
    view.answer(0);
    EXPECT_THAT(view.meaning, HasSubstr("An update is under way; press to be asked again."));
    controller->connectSelected();
    view.answer(1);
    EXPECT_THAT(view.meaning, HasSubstr("Press to update “\u2068Show\u2069”."));
}

TEST_F(ControllerNoticesTest, WhatIsThereIsLookedAtOnceAnUpdateHasFailed) {
    begin(kickAndKeys());
    consoleSendsPatch(movedKeys());
    fakes.clock->run();
    std::filesystem::remove(show / "Show.ardour");
    EXPECT_EQ(text(), "");
    controller->connectSelected();
    fakes.clock->run();
    EXPECT_EQ(view.status(), "The session was not updated.");
    EXPECT_THAT(text(), HasSubstr(" is not at "));
}

} // namespace

} // namespace corvane

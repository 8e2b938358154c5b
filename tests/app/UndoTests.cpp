// The way back from an update that took recordings out of the session: everything that can happen on it, in
// every state that it can be in, and what it leaves behind.

#include "tests/app/UpdateWorld.h"

#include <gmock/gmock.h>

#include <array>

namespace corvane {

namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

const Alert question{
    "Undo Update",
    "LiveTrax will close to put the session back as it was before the update, then reopen with it.\n\nThe "
    "whole session goes back: markers, edits and mixes made since the update go with it. As it is now it "
    "stays "
    "in its history.",
    {"Undo", "Cancel"}};
const Alert didNotClose{"Update was not undone", "LiveTrax did not close. Quit it and press Undo again."};
constexpr auto undoneText = "The update was undone.";
constexpr auto keysLeft = "1 track with recordings left the session: “\u2068Keys\u2069”.";

/// A recording was made on "Keys" before "Keys" went to another input, and an update took the track out.
class UndoWorld : public UpdateWorld {
protected:
    void beOffered() {
        becomeAmber();
        record(session, "Keys");
        liveTrax().terminated = true;
        fakes.clock->run(); // what is at risk is read
        controller->connectSelected();
        fakes.clock->run();
        ASSERT_EQ(text(), keysLeft);
        ASSERT_EQ(action(), "Undo");
        ASSERT_THAT(view.notice->detail,
                    testing::HasSubstr("markers, edits and mixes made since go with it"));
        ASSERT_EQ(sessionSignature(), signature(movedKeys()));
        ASSERT_EQ(view.connectButton, greenLook);
        forget();
    }
    void forget() {
        rewrites = 0;
        fakes.processes->started.clear();
    }
    /// On the action, if it is offered.
    void pressUndo() {
        if (view.notice && view.notice->kind == Notice::Kind::takesRemoved)
            controller->noticeAction();
    }
    void pressUndoAnd(std::size_t button) {
        pressUndo();
        answer(button);
    }
    void removeCopies() const {
        std::filesystem::remove_all(fakes.folders->home / "Library/Application Support/Corvane/History");
    }
    std::string text() const { return view.notice ? view.notice->text : ""; }
    std::string action() const { return view.notice ? view.notice->action : ""; }
    std::string sessionText() const {
        const Bytes bytes = readFile(session / "Show.ardour");
        return {bytes.begin(), bytes.end()};
    }
    bool holdsTheRecording() const { return sessionText().find("Keys-1") != std::string::npos; }
};

constexpr auto untouched = "nothing was done to the session";
constexpr auto undone = "put back once and reopened once";
constexpr auto updated = "updated and reopened once";
constexpr auto cancelled = "cancelled, nothing done";
constexpr auto refused = "refused because LiveTrax runs";
constexpr auto endsAtOnce = "the program may end at once, nothing done";
constexpr auto finished = "put back once and reopened once, then the program ends";

constexpr std::array events{"UndoAndYes",   "UndoAndCancel", "SyncAndUpdate", "Replaced",      "Ended",
                            "PatchChanges", "PatchReturns",  "LinkLost",      "QuitRequested", "Create"};

struct Row {
    const char *state;
    std::array<const char *, events.size()> outcomes; ///< in the order of the events
};

// clang-format off
const Row table[] = {
    {"Offered",    {undone,    cancelled, untouched, untouched, untouched, untouched, untouched, untouched, endsAtOnce, untouched}},
    {"Confirming", {undone,    undone,    undone,    undone,    undone,    undone,    undone,    undone,    endsAtOnce, undone}},
    {"Checking",   {undone,    cancelled, undone,    undone,    undone,    undone,    undone,    undone,    endsAtOnce, undone}},
    {"Saving",     {undone,    cancelled, undone,    refused,   undone,    undone,    undone,    undone,    endsAtOnce, undone}},
    {"Closing",    {undone,    undone,    undone,    refused,   undone,    undone,    undone,    undone,    finished,   undone}},
    {"Forcing",    {undone,    undone,    undone,    refused,   undone,    undone,    undone,    undone,    finished,   undone}},
    {"Undone",     {untouched, untouched, updated,   untouched, untouched, untouched, untouched, untouched, endsAtOnce, untouched}},
    {"Failed",     {undone,    cancelled, untouched, untouched, untouched, untouched, untouched, untouched, endsAtOnce, untouched}},
};
// clang-format on

struct Case {
    const char *state;
    const char *event;
    const char *outcome;
};

void PrintTo(const Case &each, std::ostream *out) {
    *out << each.state << ", " << each.event << ": " << each.outcome;
}

std::vector<Case> everyCase() {
    std::vector<Case> cases;
    for (const Row &row : table)
        for (std::size_t event = 0; event < events.size(); ++event)
            cases.push_back({row.state, events[event], row.outcomes[event]});
    return cases;
}

class EveryEventOnTheWayBack : public UndoWorld, public testing::WithParamInterface<Case> {
protected:
    void reach(const std::string &state) {
        beOffered();
        if (state == "Offered")
            return;
        pressUndo();
        ASSERT_EQ(view.alerts.back(), question);
        if (state == "Confirming")
            return;
        speed = state == "Failed" ? 1 : 0;
        answer(updateButton);
        if (state == "Checking")
            return;
        quitIsHeld = state == "Closing" || state == "Forcing";
        if (state == "Saving")
            stepUntilStatus("Saving the session…");
        else if (state == "Closing")
            stepUntilStatus("Closing LiveTrax…");
        else if (state == "Forcing")
            stepUntil([this] { return liveTrax().forceRequests > 0; });
        else
            stepUntilStatus(state == "Undone" ? undoneText : "The update was not undone.");
        speed = 0;
        forget();
    }

    void happens(const std::string &event) {
        if (event == "UndoAndYes")
            pressUndoAnd(updateButton);
        else if (event == "UndoAndCancel")
            pressUndoAnd(cancelButton);
        else if (event == "SyncAndUpdate")
            pressSync();
        else if (event == "Replaced" || event == "Ended")
            liveTrax().terminated = true;
        else if (event == "PatchChanges")
            consoleSendsPatch({channel("Later", 7, 20)});
        else if (event == "PatchReturns")
            consoleSendsPatch(kickAndKeys());
        else if (event == "LinkLost")
            controller->client->onConnectionState(false);
        else if (event == "QuitRequested")
            mayEnd = controller->requestQuit([this] { ++ends; });
        else
            create();
        if (event == "Replaced")
            openLiveTrax();
    }
    /// Where the button is green that is a press to connect, which asks nothing.
    void pressSync() {
        const auto before = view.alerts.size();
        controller->connectSelected();
        if (view.alerts.size() > before)
            answer(updateButton);
    }
    void create() {
        view.nameText = "Another";
        controller->createSession();
        EXPECT_THAT(view.alerts,
                    Contains(Alert{"Could not create the session", LiveTraxGenerator::liveTraxRuns}));
        EXPECT_FALSE(std::filesystem::exists(templateFile("Another")));
    }

    /// Half a minute passes, and a question that still stands is answered with yes.
    void goOn() {
        quitIsHeld = false;
        if (mayEnd) // the program is gone
            controller.reset();
        answer(updateButton);
        for (int steps = 0; steps < 600; ++steps)
            step();
    }

    std::string outcome() {
        const auto started = fakes.processes->started.size();
        const bool back = sessionSignature() == signature(kickAndKeys()) && holdsTheRecording();
        if (rewrites == 1 && started == 1 && back && ends == 0)
            return undone;
        if (rewrites == 1 && started == 1 && back)
            return view.alerts.size() == alertsBefore ? finished : "ended with an alert";
        if (rewrites == 1 && started == 1)
            return view.status().starts_with("Session updated: ") ? updated : "something else";
        if (rewrites > 0 || started > 0)
            return "something else: " + std::to_string(rewrites) + " rewritten, " + std::to_string(started) +
                   " started, " + view.status();
        if (mayEnd)
            return endsAtOnce;
        if (!view.alerts.empty() && view.alerts.back() == didNotClose)
            return refused;
        return view.status() == "Undo cancelled." ? cancelled : untouched;
    }

    bool mayEnd = false;
    int ends = 0;
    std::size_t alertsBefore = 0;
};

TEST_P(EveryEventOnTheWayBack, ComesToWhatTheTableSays) {
    const auto [state, event, expected] = GetParam();
    reach(state);
    ASSERT_FALSE(HasFatalFailure());
    alertsBefore = view.alerts.size();
    happens(event);
    goOn();
    EXPECT_EQ(outcome(), expected);
    if (!controller)
        return;
    EXPECT_FALSE(view.updateUnderWay);
    if (expected == std::string(undone) || expected == std::string(finished)) {
        const bool returned = event == std::string("PatchReturns");
        const bool lost = event == std::string("LinkLost");
        EXPECT_EQ(controller->synchronizedPatch, signature(kickAndKeys()));
        EXPECT_EQ(view.connectButton, lost ? redLook : returned ? greenLook : amberLook);
        EXPECT_NE(action(), "Undo");
    }
}

INSTANTIATE_TEST_SUITE_P(Undo, EveryEventOnTheWayBack, testing::ValuesIn(everyCase()), [](const auto &each) {
    return std::string(each.param.state) + "_" + each.param.event;
});

// What the table does not show

class UndoTest : public UndoWorld {};

TEST_F(UndoTest, WithoutARunningLiveTraxItHappensAtOnce) {
    beOffered();
    liveTrax().terminated = true;
    pressUndo();
    EXPECT_EQ(view.status(), undoneText);
    EXPECT_THAT(view.alerts, IsEmpty());
    EXPECT_TRUE(holdsTheRecording());
    EXPECT_THAT(fakes.processes->started, SizeIs(1));
    EXPECT_TRUE(isRunning());
}

TEST_F(UndoTest, TheButtonIsAmberAgainAndSaysWhatTheNextPressWouldDo) {
    beOffered();
    liveTrax().terminated = true;
    pressUndo();
    EXPECT_EQ(view.connectButton, amberLook);
    EXPECT_EQ(controller->synchronizedPatch, signature(kickAndKeys()));
    EXPECT_EQ(controller->synchronizedChannels, kickAndKeys());
    EXPECT_THAT(view.statusDetail, StartsWith("Changes since the last sync:"));
    fakes.clock->run();
    EXPECT_EQ(text(), "SYNC LV1 will take 1 recorded track out of the session: “\u2068Keys\u2069”.");
    pressAnd(updateButton);
    stepUntilStatus("Session updated: 1 adjusted, 1 added, 1 removed.");
    stepUntil([this] { return action() == "Undo"; });
}

TEST_F(UndoTest, IsOfferedUntilTheSessionHoldsRecordingsThatTheCopyDoesNotKnow) {
    beOffered();
    record(session, "Kick", 2);
    fakes.clock->advance(60s);
    EXPECT_EQ(text(), std::string(keysLeft) + " 1 recording was made since.");
    EXPECT_EQ(action(), "");
    controller->noticeAction();
    EXPECT_THAT(view.alerts, IsEmpty());
    EXPECT_EQ(sessionSignature(), signature(movedKeys()));
}

TEST_F(UndoTest, RecordingsThatLiveTraxSavesAtTheLastMomentStayAndLiveTraxOpensThem) {
    beOffered();
    pressUndoAnd(updateButton);
    stepUntilStatus("Closing LiveTrax…");
    record(session, "Kick", 2);
    stepUntilStatus("The update was not undone.");
    EXPECT_EQ(view.alerts.back(), (Alert{"Update was not undone", "1 recording was made since then."}));
    EXPECT_EQ(sessionSignature(), signature(movedKeys()));
    EXPECT_THAT(sessionText(), testing::HasSubstr("Kick-2"));
    EXPECT_THAT(fakes.processes->started, SizeIs(1));
    EXPECT_EQ(view.connectButton, greenLook);
    step();
    EXPECT_EQ(text(), std::string(keysLeft) + " 1 recording was made since.");
}

TEST_F(UndoTest, UpdatesAreUndoneOneAfterTheOther) {
    beOffered();
    consoleSendsPatch({channel("Keys", 2, 8, true)});
    record(session, "Kick", 2);
    liveTrax().terminated = true;
    controller->connectSelected();
    fakes.clock->run();
    EXPECT_EQ(text(), "1 track with recordings left the session: “\u2068Kick\u2069”.");
    liveTrax().terminated = true;
    pressUndo();
    EXPECT_EQ(sessionSignature(), signature(movedKeys()));
    EXPECT_EQ(controller->synchronizedPatch, signature(movedKeys()));
    fakes.clock->run();
    EXPECT_EQ(text(), std::string(keysLeft) + " 1 recording was made since.");
}

TEST_F(UndoTest, AnUpdateThatTakesNothingOutLeavesTheOfferStanding) {
    beOffered();
    consoleSendsPatch({channel("Kick In", 1, 0), channel("Keys", 2, 8, true)});
    liveTrax().terminated = true;
    controller->connectSelected();
    fakes.clock->run();
    EXPECT_EQ(text(), keysLeft);
    liveTrax().terminated = true;
    pressUndo();
    EXPECT_EQ(sessionSignature(), signature(kickAndKeys()));
    EXPECT_EQ(controller->synchronizedPatch, signature(kickAndKeys()));
}

TEST_F(UndoTest, AnotherActiveSessionHasNothingToUndo) {
    beOffered();
    const auto other = *fakes.musicFolder / "Palau";
    std::filesystem::create_directories(other);
    std::filesystem::copy(session / "Show.ardour", other / "Palau.ardour");
    controller->activeSessionURL = other;
    controller->fieldsEdited();
    fakes.clock->run();
    EXPECT_NE(action(), "Undo");
    controller->activeSessionURL = session;
    controller->fieldsEdited();
    fakes.clock->run();
    EXPECT_EQ(action(), "Undo");
}

TEST_F(UndoTest, ACopyThatIsGoneIsNotOffered) {
    beOffered();
    removeCopies();
    touch(session / "Show.ardour");
    fakes.clock->advance(60s);
    EXPECT_EQ(text(), keysLeft);
    EXPECT_EQ(action(), "");
}

TEST_F(UndoTest, ACopyThatVanishesIsNoticedAlthoughTheSessionIsTheSame) {
    beOffered();
    removeCopies();
    fakes.clock->advance(60s);
    EXPECT_EQ(text(), keysLeft);
    EXPECT_EQ(action(), "");
}

TEST_F(UndoTest, WithoutItsCopyLiveTraxIsNotEvenAskedAbout) {
    beOffered();
    removeCopies();
    pressUndo();
    ASSERT_THAT(view.alerts, SizeIs(1));
    EXPECT_EQ(view.alerts.back().message, "Update was not undone");
    EXPECT_EQ(view.status(), "The update was not undone.");
    EXPECT_FALSE(view.updateUnderWay);
}

TEST_F(UndoTest, RecordingsThatLiveTraxHasJustSavedAreSeenBeforeItIsAskedAbout) {
    beOffered();
    record(session, "Kick", 2);
    pressUndo();
    ASSERT_THAT(view.alerts, SizeIs(1));
    EXPECT_EQ(view.alerts.back(), (Alert{"Update was not undone", "1 recording was made since then."}));
}

TEST_F(UndoTest, RecordingsThatLiveTraxSavesWhenToldToKeepItOpen) {
    beOffered();
    pressUndoAnd(updateButton);
    stepUntilStatus("Saving the session…");
    record(session, "Kick", 2);
    stepUntilStatus("The update was not undone.");
    EXPECT_EQ(view.alerts.back(), (Alert{"Update was not undone", "1 recording was made since then."}));
    EXPECT_EQ(liveTrax().terminateRequests, 0);
    EXPECT_THAT(fakes.processes->started, IsEmpty());
}

TEST_F(UndoTest, ACopyThatVanishesWhileLiveTraxSavesKeepsItOpen) {
    beOffered();
    pressUndoAnd(updateButton);
    stepUntilStatus("Saving the session…");
    removeCopies();
    stepUntilStatus("The update was not undone.");
    EXPECT_EQ(liveTrax().terminateRequests, 0);
    EXPECT_THAT(fakes.processes->started, IsEmpty());
    EXPECT_FALSE(view.updateUnderWay);
}

TEST_F(UndoTest, LiveTraxIsNotReopenedOnASessionThatIsGone) {
    beOffered();
    pressUndoAnd(updateButton);
    stepUntilStatus("Closing LiveTrax…");
    std::filesystem::remove_all(session);
    stepUntilStatus("The update was not undone.");
    EXPECT_THAT(fakes.processes->started, IsEmpty());
}

TEST_F(UndoTest, OfTwoFailuresTheFirstIsTold) {
    beOffered();
    pressUndoAnd(updateButton);
    stepUntilStatus("Closing LiveTrax…");
    record(session, "Kick", 2);
    fakes.processes->failure = "no memory";
    stepUntilStatus("The update was not undone.");
    EXPECT_EQ(view.alerts.back(), (Alert{"Update was not undone", "1 recording was made since then."}));
}

TEST_F(UndoTest, AnUpdateThatWasUndoneIsNotSaidToStandWhereOnlyLiveTraxDoesNotStart) {
    beOffered();
    liveTrax().terminated = true;
    fakes.processes->failure = "no memory";
    pressUndo();
    EXPECT_EQ(sessionSignature(), signature(kickAndKeys()));
    EXPECT_EQ(view.status(), undoneText);
    ASSERT_THAT(view.alerts, SizeIs(1));
    EXPECT_EQ(view.alerts.back().message, "LiveTrax was not reopened");
    EXPECT_THAT(view.alerts.back().informativeText, testing::HasSubstr("no memory"));
    EXPECT_FALSE(view.updateUnderWay);
}

TEST_F(UndoTest, ADeafLiveTraxThatClosesIsWaitedForWhenTheUndoTakesOver) {
    beOffered();
    consoleSendsPatch({channel("Later", 7, 20)});
    quitIsHeld = isDeafWhenClosing = true;
    pressAnd(updateButton);
    stepUntilStatus("Closing LiveTrax…");
    pressUndoAnd(updateButton);
    ASSERT_EQ(view.status(), "Checking transport…");
    stepUntilStatus("Closing LiveTrax…");
    quitIsHeld = false;
    stepUntilStatus(undoneText);
    EXPECT_EQ(rewrites, 1);
    EXPECT_EQ(sessionSignature(), signature(kickAndKeys()));
}

TEST_F(UndoTest, TheColoursAreTheConsolesAndNothingOfTheUpdateIsSaidLater) {
    beOffered();
    Channels coloured = movedKeys();
    coloured[0].red = 0.5F;
    controller->client->onChannels(coloured);
    liveTrax().terminated = true;
    pressUndo();
    ASSERT_TRUE(controller->synchronizedChannels);
    EXPECT_EQ(controller->synchronizedChannels->front().red, 0.5F);
    consoleSendsPatch(kickAndKeys());
    EXPECT_EQ(view.statusDetail, "");
}

TEST_F(UndoTest, EachSessionHasAWayBackOfItsOwn) {
    beOffered();
    const auto other = *fakes.musicFolder / "Palau";
    std::filesystem::create_directories(other);
    std::filesystem::copy(session / "Show.ardour", other / "Palau.ardour");
    controller->activeSessionURL = other;
    record(other, "Kick", 2);
    consoleSendsPatch({channel("Keys", 2, 8, true)});
    liveTrax().terminated = true;
    controller->connectSelected();
    fakes.clock->run();
    ASSERT_EQ(text(), "1 track with recordings left the session: “\u2068Kick\u2069”.");
    controller->activeSessionURL = session;
    controller->fieldsEdited();
    fakes.clock->run();
    while (view.notice && view.notice->kind != Notice::Kind::takesRemoved)
        controller->dismissNotice(); // that the session differs
    ASSERT_EQ(text(), keysLeft);
    ASSERT_EQ(action(), "Undo");
    liveTrax().terminated = true;
    pressUndo();
    EXPECT_EQ(view.status(), undoneText);
    EXPECT_EQ(sessionSignature(), signature(kickAndKeys()));
    controller->activeSessionURL = other;
    controller->fieldsEdited();
    fakes.clock->run();
    while (view.notice && view.notice->kind != Notice::Kind::takesRemoved)
        controller->dismissNotice();
    EXPECT_EQ(action(), "Undo");
}

TEST_F(UndoTest, CancelEndsAnUpdateThatWaitsAsWell) {
    beOffered();
    consoleSendsPatch({channel("Later", 7, 20)});
    pressAnd(updateButton);
    stepUntilStatus("Saving the session…");
    pressUndoAnd(cancelButton);
    EXPECT_EQ(view.status(), "Sync cancelled.");
    for (int steps = 0; steps < 200; ++steps)
        step();
    EXPECT_EQ(rewrites, 0);
    EXPECT_EQ(liveTrax().terminateRequests, 0);
}

TEST_F(UndoTest, TakesOverFromAnUpdateThatWaits) {
    beOffered();
    consoleSendsPatch({channel("Later", 7, 20)});
    pressAnd(updateButton);
    stepUntilStatus("Saving the session…");
    pressUndoAnd(updateButton);
    stepUntilStatus(undoneText);
    for (int steps = 0; steps < 200; ++steps)
        step();
    EXPECT_EQ(rewrites, 1);
    EXPECT_EQ(sessionSignature(), signature(kickAndKeys()));
    EXPECT_EQ(view.connectButton, amberLook);
}

TEST_F(UndoTest, OfAnUpdateThatTheConsoleHasGoneOnFromNothingOfItIsSaidAnyMore) {
    becomeAmber();
    record(session, "Keys");
    fakes.clock->run();
    pressAnd(updateButton);
    consoleSendsPatch({channel("Later", 7, 20)});
    stepUntilStatus("Session updated: 1 adjusted, 1 added, 1 removed.");
    EXPECT_THAT(view.meaning, StartsWith("Green: synced, but the console's patch has changed since."));
    liveTrax().terminated = true;
    pressUndo();
    EXPECT_EQ(view.status(), undoneText);
    EXPECT_EQ(view.connectButton, amberLook);
    EXPECT_THAT(view.meaning, StartsWith("Amber: the console's patch has changed."));
    consoleSendsPatch(kickAndKeys());
    EXPECT_EQ(view.connectButton, greenLook);
    EXPECT_EQ(view.statusDetail, "");
}

TEST_F(UndoTest, ThatIsRefusedLetsAnUpdateThatWaitsGoOn) {
    beOffered();
    consoleSendsPatch({channel("Later", 7, 20)});
    pressAnd(updateButton);
    stepUntilStatus("Saving the session…");
    record(session, "Kick");
    pressUndo();
    EXPECT_EQ(view.status(), "The update was not undone.");
    EXPECT_TRUE(view.updateUnderWay);
    stepUntil([this] { return rewrites > 0; });
    EXPECT_EQ(sessionSignature(), signature({channel("Later", 7, 20)}));
}

TEST_F(UndoTest, ARollingTransportIsLeftAlone) {
    beOffered();
    speed = 1;
    pressUndoAnd(updateButton);
    stepUntilStatus("The update was not undone.");
    EXPECT_EQ(view.alerts.back(), (Alert{"Update was not undone",
                                         "Stop the transport and recording before undoing the update."}));
    EXPECT_EQ(liveTrax().terminateRequests, 0);
}

TEST_F(UndoTest, OfAnUpdateThatCameWithTheFirstPatchTheButtonIsWhatItWas) {
    becomeAmber();
    record(session, "Keys");
    liveTrax().terminated = true;
    controller->synchronizedPatch.reset(); // as after a start of the program
    consoleSendsPatch(movedKeys());
    fakes.clock->run();
    ASSERT_EQ(action(), "Update…");
    controller->noticeAction();
    answer(updateButton); // a recording goes
    fakes.clock->run();
    ASSERT_EQ(action(), "Undo");
    liveTrax().terminated = true;
    pressUndo();
    EXPECT_EQ(view.connectButton, greenLook);
    EXPECT_THAT(view.meaning, StartsWith("Green: the first patch since the start"));
    fakes.clock->run();
    EXPECT_EQ(action(), "Update…");
}

} // namespace

} // namespace corvane

// Everything that can happen while an update of the session is under way, in every state that it can be in.

#include "app/SessionUpdate.h"
#include "tests/app/UpdateWorld.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <limits>

namespace corvane {

namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const Alert createRefused{"Could not create the session", "LiveTrax is running. Quit it and try again."};
const Alert didNotClose{"Session was not updated",
                        "LiveTrax did not close. Quit it and press SYNC LV1 again."};

// Every event in every state

constexpr auto untouched = "nothing was done to the session";
constexpr auto updated = "rewritten once and reopened once";
constexpr auto cancelled = "cancelled, nothing done";
constexpr auto refused = "refused because LiveTrax runs";
constexpr auto endsAtOnce = "the program may end at once, nothing done";
constexpr auto finished = "rewritten once and reopened once, then the program ends";

constexpr std::array events{"PressAndUpdate", "PressAndCancel", "Replaced",      "Ended", "PatchChanges",
                            "PatchReturns",   "LinkLost",       "QuitRequested", "Create"};

struct Row {
    const char *state;
    std::array<const char *, events.size()> outcomes; ///< in the order of the events
};

// clang-format off
const Row table[] = {
    {"Idle",         {updated,   cancelled, untouched, untouched, untouched, untouched, untouched, endsAtOnce, untouched}},
    {"Confirming",   {updated,   updated,   updated,   updated,   updated,   updated,   updated,   endsAtOnce, updated}},
    {"Checking",     {updated,   cancelled, updated,   updated,   updated,   updated,   updated,   endsAtOnce, updated}},
    {"Saving",       {updated,   cancelled, refused,   updated,   updated,   updated,   updated,   endsAtOnce, updated}},
    {"Closing",      {updated,   updated,   refused,   updated,   updated,   updated,   updated,   finished,   updated}},
    {"Forcing",      {updated,   updated,   refused,   updated,   updated,   updated,   updated,   finished,   updated}},
    {"Synchronised", {untouched, untouched, untouched, untouched, untouched, untouched, untouched, endsAtOnce, untouched}},
    {"Accepted",     {untouched, untouched, untouched, untouched, untouched, untouched, untouched, endsAtOnce, untouched}},
    {"Failed",       {updated,   cancelled, untouched, untouched, untouched, untouched, untouched, endsAtOnce, untouched}},
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

class EveryEventInEveryState : public UpdateWorld, public testing::WithParamInterface<Case> {
protected:
    void reach(const std::string &state) {
        becomeAmber();
        if (state == "Idle")
            return;
        if (state == "Accepted") {
            controller->activeSessionURL.reset();
            controller->connectSelected();
            EXPECT_EQ(view.status(), "Patch accepted. It will be used for the next session.");
            return;
        }
        controller->connectSelected();
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
        else if (state == "Synchronised")
            stepUntilStatus("Session updated: 1 adjusted, 1 added, 1 removed.");
        else
            stepUntilStatus("The session was not updated.");
        speed = 0;
        rewrites = 0;
        fakes.processes->started.clear();
    }

    void happens(const std::string &event) {
        if (event == "PressAndUpdate") {
            pressAnd(updateButton);
        } else if (event == "PressAndCancel") {
            pressAnd(cancelButton);
            statusAfterCancel = view.status();
        } else if (event == "Replaced") {
            liveTrax().terminated = true;
            openLiveTrax();
        } else if (event == "Ended") {
            liveTrax().terminated = true;
        } else if (event == "PatchChanges") {
            consoleSendsPatch({channel("Later", 7, 20)});
        } else if (event == "PatchReturns") {
            consoleSendsPatch(kickAndKeys());
        } else if (event == "LinkLost") {
            controller->client->onConnectionState(false);
        } else if (event == "QuitRequested") {
            mayEnd = controller->requestQuit([this] { ++ends; });
        } else {
            view.nameText = "Another";
            controller->createSession();
            EXPECT_THAT(view.alerts, Contains(createRefused));
            EXPECT_FALSE(std::filesystem::exists(templateFile("Another")));
        }
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

    std::string outcome() const {
        const auto started = fakes.processes->started.size();
        const bool reopened = rewrites == 1 && started == 1 && view.status().starts_with("Session updated: ");
        if (reopened)
            return ends == 0 ? updated : ends == 1 && view.alerts.size() == alertsBefore ? finished : "ended";
        if (rewrites > 0 || started > 0)
            return "something else: " + std::to_string(rewrites) + " rewritten, " + std::to_string(started) +
                   " started, " + view.status();
        if (mayEnd)
            return endsAtOnce;
        if (!view.alerts.empty() && view.alerts.back() == didNotClose)
            return refused;
        return view.status() == "Sync cancelled." ? cancelled : untouched;
    }

    bool mayEnd = false;
    int ends = 0;
    std::size_t alertsBefore = 0;
    std::string statusAfterCancel;
};

TEST_P(EveryEventInEveryState, ComesToWhatTheTableSays) {
    const auto [state, event, expected] = GetParam();
    reach(state);
    ASSERT_FALSE(HasFatalFailure());
    alertsBefore = view.alerts.size();
    const bool quitWasAsked = liveTraxes.front()->terminateRequests > 0;
    happens(event);
    goOn();
    EXPECT_EQ(outcome(), expected);
    if (controller) {
        EXPECT_FALSE(view.updateUnderWay);
    }
    const bool working = state == std::string("Closing") || state == std::string("Forcing");
    if (event == std::string("PressAndCancel") && working) {
        EXPECT_EQ(statusAfterCancel, "Closing LiveTrax…");
    }
    if ((expected == std::string(cancelled) || expected == std::string(endsAtOnce)) && !quitWasAsked) {
        EXPECT_EQ(liveTraxes.front()->terminateRequests, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Update, EveryEventInEveryState, testing::ValuesIn(everyCase()),
                         [](const auto &each) {
                             return std::string(each.param.state) + "_" + each.param.event;
                         });

// What the table does not show

class SessionUpdateTest : public UpdateWorld {};

TEST_F(SessionUpdateTest, IsUnderWayFromTheAnswerToItsEnd) {
    becomeAmber();
    controller->connectSelected();
    EXPECT_FALSE(view.updateUnderWay);
    answer(updateButton);
    EXPECT_TRUE(view.updateUnderWay);
    stepUntilStatus("Session updated: 1 adjusted, 1 added, 1 removed.");
    EXPECT_FALSE(view.updateUnderWay);
}

TEST_F(SessionUpdateTest, ACheckThatIsTakenOverAsksAgainAndDropsTheOlderAnswer) {
    becomeAmber();
    pressAnd(updateButton);
    fakes.clock->advance(100ms); // LiveTrax was asked, and takes its time
    consoleSendsPatch({channel("Later", 7, 20)});
    pressAnd(updateButton);
    fakes.clock->advance(100ms);
    const auto sent = sentToLiveTrax();
    EXPECT_EQ(std::count(sent.begin(), sent.end(), "/is_recording"), 2);
    stepUntil([this] { return rewrites > 0; });
    EXPECT_EQ(sessionSignature(), signature({channel("Later", 7, 20)}));
}

TEST_F(SessionUpdateTest, AQuestionThatAnOlderUpdateHasSettledEndsSilently) {
    becomeAmber();
    pressAnd(updateButton);
    stepUntilStatus("Saving the session…");
    controller->connectSelected(); // asks again, and nobody answers for a while
    stepUntilStatus("Session updated: 1 adjusted, 1 added, 1 removed.");
    answer(updateButton);
    for (int steps = 0; steps < 200; ++steps)
        step();
    EXPECT_EQ(view.status(), "Session updated: 1 adjusted, 1 added, 1 removed.");
    EXPECT_EQ(rewrites, 1);
    EXPECT_EQ(liveTrax().terminateRequests, 0);
    EXPECT_FALSE(view.updateUnderWay);
}

TEST_F(SessionUpdateTest, ALiveTraxThatIsOpenedWhileAnotherClosesIsNotAskedToQuit) {
    becomeAmber();
    quitIsHeld = isDeafWhenClosing = true;
    pressAnd(updateButton);
    stepUntilStatus("Closing LiveTrax…");
    consoleSendsPatch({channel("Later", 7, 20)});
    pressAnd(updateButton);
    const auto other = runLiveTrax();
    stepUntilStatus("The session was not updated.");
    EXPECT_EQ(other->terminateRequests, 0);
    EXPECT_EQ(other->forceRequests, 0);
}

TEST_F(SessionUpdateTest, AnApplicationThatSaysThatItHasTerminatedDoesNotRun) {
    becomeAmber();
    fakes.applications->findsTerminated = true;
    liveTrax().terminated = true;
    controller->connectSelected();
    EXPECT_THAT(view.alerts, IsEmpty());
    EXPECT_EQ(sessionSignature(), signature(movedKeys()));
}

TEST_F(SessionUpdateTest, ALiveTraxThatIsOpenedWhileTheSessionIsWrittenIsLeftAlone) {
    becomeAmber();
    liveTrax().terminated = true;
    // The engine stores the session's path once the file is written: the moment between the two.
    fakes.defaults->onSet = [this] { openLiveTrax(); };
    controller->connectSelected();
    EXPECT_EQ(view.status(), "Session updated: 1 adjusted, 1 added, 1 removed.");
    EXPECT_THAT(fakes.processes->started, IsEmpty());
    EXPECT_THAT(view.alerts, IsEmpty());
}

TEST_F(SessionUpdateTest, AnUpdateThatOutlivesTheWindowSpeaksToStandardError) {
    becomeAmber();
    quitIsHeld = true;
    pressAnd(updateButton);
    stepUntilStatus("Closing LiveTrax…");
    int ends = 0;
    EXPECT_FALSE(controller->requestQuit([&] { ++ends; }));
    EXPECT_EQ(view.status(), "Finishing the update…");
    const auto alerts = view.alerts.size();
    controller->connectSelected();
    controller->createSession();
    for (int steps = 0; steps < 155; ++steps)
        step();
    EXPECT_EQ(ends, 0);
    stepUntil([&] { return ends > 0; });
    EXPECT_EQ(view.alerts.size(), alerts);
    EXPECT_THAT(view.errors, ElementsAre(didNotClose.informativeText));
}

TEST_F(SessionUpdateTest, ATakenOverUpdateIsFinishedBeforeTheEndAsWell) {
    becomeAmber();
    quitIsHeld = true;
    pressAnd(updateButton);
    stepUntilStatus("Closing LiveTrax…");
    pressAnd(updateButton);
    EXPECT_EQ(view.status(), "Checking transport…");
    EXPECT_FALSE(controller->requestQuit([] {})); // LiveTrax is closing already
    controller->connectSelected();
    pressAnd(cancelButton);
    EXPECT_EQ(view.status(), "Finishing the update…");
}

TEST_F(SessionUpdateTest, CancelWhileLiveTraxClosesSaysWhatIsBeingDone) {
    becomeAmber();
    quitIsHeld = true;
    pressAnd(updateButton);
    stepUntilStatus("Closing LiveTrax…");
    view.setStatusLabel("something else");
    pressAnd(cancelButton);
    EXPECT_EQ(view.status(), "Closing LiveTrax…");
}

TEST_F(SessionUpdateTest, ALiveTraxThatIsDeafWhileItClosesIsWaitedForByTheUpdateThatTakesOver) {
    becomeAmber();
    quitIsHeld = isDeafWhenClosing = true;
    pressAnd(updateButton);
    stepUntilStatus("Closing LiveTrax…");
    pressAnd(updateButton);
    ASSERT_EQ(view.status(), "Checking transport…");
    stepUntilStatus("Closing LiveTrax…");
    quitIsHeld = false;
    stepUntilStatus("Session updated: 1 adjusted, 1 added, 1 removed.");
    EXPECT_EQ(rewrites, 1);
    EXPECT_TRUE(isRunning());
    EXPECT_EQ(view.alerts.back().message, "Update Session");
}

TEST_F(SessionUpdateTest, ADeafLiveTraxIsWaitedForBeforeTheProgramEndsAsWell) {
    becomeAmber();
    quitIsHeld = isDeafWhenClosing = true;
    pressAnd(updateButton);
    stepUntilStatus("Closing LiveTrax…");
    pressAnd(updateButton);
    int ends = 0;
    EXPECT_FALSE(controller->requestQuit([&] { ++ends; }));
    for (int steps = 0; steps < 80; ++steps)
        step();
    EXPECT_EQ(ends, 0);
    quitIsHeld = false;
    stepUntil([&] { return ends > 0; });
    EXPECT_EQ(rewrites, 1);
    EXPECT_TRUE(isRunning());
    EXPECT_THAT(view.errors, IsEmpty());
}

TEST_F(SessionUpdateTest, AnotherLiveTraxThatDoesNotAnswerIsNotClosedForTheOneThatWas) {
    becomeAmber();
    quitIsHeld = true;
    pressAnd(updateButton);
    stepUntilStatus("Closing LiveTrax…");
    pressAnd(updateButton);
    liveTrax().terminated = true;
    openLiveTrax();
    fakes.clock->advance(10s); // and nobody answers
    EXPECT_EQ(view.alerts.back(),
              (Alert{"Session was not updated",
                     "Could not check LiveTrax transport. Stop playback and try again."}));
    EXPECT_EQ(liveTrax().terminateRequests, 0);
    EXPECT_EQ(sessionSignature(), signature(kickAndKeys()));
}

TEST_F(SessionUpdateTest, ASpeedThatIsNotANumberIsNoStandstill) {
    becomeAmber();
    speed = std::numeric_limits<float>::quiet_NaN();
    pressAnd(updateButton);
    stepUntilStatus("The session was not updated.");
    EXPECT_EQ(view.alerts.back().informativeText,
              "Stop the transport and recording before updating the session.");
}

TEST_F(SessionUpdateTest, AFileThatIsMerelyDifferentIsNoSave) {
    becomeAmber();
    pressAnd(updateButton);
    stepUntilStatus("Saving the session…");
    const auto file = session / "Show.ardour";
    std::filesystem::last_write_time(file, std::filesystem::last_write_time(file) - 1h);
    for (int steps = 0; steps < 70; ++steps)
        step();
    EXPECT_EQ(view.status(), "Saving the session…");
}

TEST_F(SessionUpdateTest, TheActiveSessionComesBeforeTheRecentOneAndIsKeptOnCancel) {
    becomeAmber();
    std::filesystem::copy(session, *fakes.musicFolder / "Palau");
    std::filesystem::rename(*fakes.musicFolder / "Palau/Show.ardour",
                            *fakes.musicFolder / "Palau/Palau.ardour");
    fakes.folder.write("home/Library/Preferences/LiveTrax3/recent",
                       "Palau\n" + (*fakes.musicFolder / "Palau").string() + "\n");
    pressAnd(cancelButton);
    EXPECT_EQ(controller->activeSessionURL, session);
    liveTrax().terminated = true;
    controller->connectSelected();
    EXPECT_EQ(sessionSignature(), signature(movedKeys()));
    EXPECT_EQ(controller->activeSessionURL, session);
}

TEST_F(SessionUpdateTest, OneGenerationThatHasJustTerminatedDoesNotHideTheOtherThatRuns) {
    becomeAmber();
    fakes.applications->findsTerminated = true;
    liveTrax().terminated = true; // LiveTrax 3, which the system still lists
    runLiveTrax("1");
    controller->connectSelected();
    EXPECT_EQ(view.alerts.size(), 1U); // asked whether LiveTrax may be closed
    EXPECT_NE(sessionSignature(), signature(movedKeys())) << "rewritten under a running LiveTrax";
}

} // namespace

} // namespace corvane

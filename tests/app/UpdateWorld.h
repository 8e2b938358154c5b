#pragma once

#include "platform/files/Files.h"
#include "tests/app/WorkflowFixture.h"

#include <algorithm>
#include <map>
#include <set>

namespace corvane {

/// A controller among a console, a person and LiveTraxes as they are: each answers while it runs, and quits
/// a second after it was asked to. Whatever happens, no session is rewritten under a running LiveTrax and no
/// second one is started.
class UpdateWorld : public WorkflowTest {
protected:
    static constexpr std::size_t updateButton = 0;
    static constexpr std::size_t cancelButton = 1;

    /// A session of the first patch, a second patch that differs, and LiveTrax open on the session.
    void becomeAmber() {
        installLiveTrax();
        launch();
        consoleSendsPatch(kickAndKeys());
        view.nameText = "Show";
        controller->createSession();
        session = makeSessionFolder("Show");
        consoleSendsPatch(movedKeys());
        fakes.clock->advance(std::chrono::seconds(1));
        fakes.processes->started.clear();
        fakes.processes->onStart = [this](const ProcessDescription &) {
            EXPECT_FALSE(isRunning()) << "a second LiveTrax was started";
            openLiveTrax();
        };
        openLiveTrax();
    }
    void openLiveTrax() {
        auto opened = runLiveTrax();
        opened->obeysTerminate = false;
        opened->obeysForce = false;
        liveTraxes.push_back(std::move(opened));
    }
    FakeRunningApplication &liveTrax() { return *liveTraxes.back(); }
    bool isRunning() const {
        return std::any_of(liveTraxes.begin(), liveTraxes.end(),
                           [](const auto &each) { return !each->terminated; });
    }

    /// A twentieth of a second of everybody.
    void step() {
        for (const auto &each : liveTraxes)
            if (!quitIsHeld && each->terminateRequests > 0 && ++stepsSinceQuit[each.get()] > 20)
                each->terminated = true;
        const bool ran = isRunning();
        const std::string before = sessionSignature();
        fakes.clock->advance(std::chrono::milliseconds(50));
        if (sessionSignature() != before) {
            ++rewrites;
            EXPECT_FALSE(ran) << "the session was rewritten under a running LiveTrax";
        }
        answerQuery();
    }
    template <class Condition>
    void stepUntil(Condition condition) {
        for (int steps = 0; steps < 400 && !condition(); ++steps)
            step();
        ASSERT_TRUE(condition()) << view.status();
    }
    void stepUntilStatus(const std::string &text) {
        stepUntil([&] { return view.status() == text; });
    }
    /// Read anew when the file has changed: it is asked for at every step.
    const std::string &sessionSignature() {
        auto bytes = std::filesystem::exists(file()) ? readFile(file()) : Bytes();
        if (bytes != lastRead || lastSignature.empty()) {
            lastRead = std::move(bytes);
            lastSignature = LiveTraxGenerator::sessionPatchSignature(session).value_or("none");
        }
        return lastSignature;
    }
    std::filesystem::path file() const { return session / (session.filename().string() + ".ardour"); }
    void answerQuery() {
        const auto sent = sentToLiveTrax();
        const auto asked = std::count(sent.begin(), sent.end(), "/is_recording");
        const bool deaf = isDeafWhenClosing && liveTrax().terminateRequests > 0;
        if (std::exchange(queries, asked) == asked || !isRunning() || deaf)
            return;
        liveTraxAnswers("/is_recording", false);
        liveTraxAnswers("/transport_speed", speed);
        liveTraxAnswers("/record_enabled", false);
        fakes.clock->run();
    }

    /// Answers the newest question that still stands, if any.
    void answer(std::size_t button) {
        for (std::size_t each = view.alerts.size(); each-- > 0;) {
            if (view.alerts[each].buttons.size() == 1 || !answered.insert(each).second)
                continue;
            view.answers[each](button);
            return;
        }
    }
    void pressAnd(std::size_t button) {
        controller->connectSelected();
        answer(button);
    }

    std::filesystem::path session;
    std::vector<std::shared_ptr<FakeRunningApplication>> liveTraxes; ///< in the order of their start
    std::map<const void *, int> stepsSinceQuit;
    bool quitIsHeld = false;
    bool isDeafWhenClosing = false; ///< LiveTrax answers no question once it was asked to quit
    float speed = 0;
    std::ptrdiff_t queries = 0;
    std::set<std::size_t> answered; ///< questions, by their position among the alerts
    int rewrites = 0;

private:
    Bytes lastRead;
    std::string lastSignature;
};

} // namespace corvane

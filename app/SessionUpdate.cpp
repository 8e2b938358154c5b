#include "app/SessionUpdate.h"

#include "app/BridgeController.h"
#include "livetrax/session/GeneratorError.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "patch/FiniteColours.h"
#include "platform/files/Files.h"

#include <cmath>
#include <exception>
#include <utility>

namespace corvane {

namespace {

constexpr auto didNotAnswer = "Could not check LiveTrax transport. Stop playback and try again.";
constexpr auto undoneText = "The update was undone.";

/// A transport that is slower than this stands still.
constexpr float standstill = 0.0001F;
constexpr std::size_t goOnButton = 0;

/// A speed that is not a number is no standstill.
bool isMoving(const TransportState &transport) {
    return transport.isRecording || !(std::fabs(transport.speed) <= standstill);
}

std::string summary(const UpdateResult &result) {
    return "Session updated: " + std::to_string(result.updated) + " adjusted, " +
           std::to_string(result.added) + " added, " + std::to_string(result.removed) + " removed.";
}

} // namespace

/// What is said in other words on the way to a console's patch and on the way back.
struct SessionUpdate::Words {
    const char *question;
    const char *informativeText;
    const char *goOn; ///< the button
    const char *cancelled;
    const char *isRolling;
    const char *didNotClose;
};
const SessionUpdate::Words SessionUpdate::ofUpdate{
    "Update Session",
    "LiveTrax will close to apply the new channels, then reopen with the updated session.",
    "Update",
    "Sync cancelled.",
    "Stop the transport and recording before updating the session.",
    "LiveTrax did not close. Quit it and press SYNC LV1 again."};
const SessionUpdate::Words SessionUpdate::ofUndo{
    "Undo Update",
    "LiveTrax will close to put the session back as it was before the update, then reopen with it.\n\n"
    "The whole session goes back: markers, edits and mixes made since the update go with it. As it is now it "
    "stays in its history.",
    "Undo",
    "Undo cancelled.",
    "Stop the transport and recording before undoing the update.",
    "LiveTrax did not close. Quit it and press Undo again."};

/// The status while an update waits, and how often the condition is checked, 200 ms apart.
struct SessionUpdate::Wait {
    const char *status;
    int attempts;
};
const SessionUpdate::Wait SessionUpdate::saving{"Saving the session…", 20}; // about 4 seconds
const SessionUpdate::Wait SessionUpdate::closing{"Closing LiveTrax…", 25};  // about 5 seconds
const SessionUpdate::Wait SessionUpdate::forcing{"Closing LiveTrax…", 15};  // about 3 seconds

SessionUpdate::SessionUpdate(BridgeController &controller, Platform &platform, BridgeView &view, Path session,
                             Channels channels, std::string signature)
    : controller(controller), platform(platform), view(view), words(ofUpdate), session(std::move(session)),
      channels(std::move(channels)), signature(std::move(signature)), updatesBefore(controller.updatesDone) {}

SessionUpdate::SessionUpdate(BridgeController &controller, Platform &platform, BridgeView &view,
                             Removal undone)
    : controller(controller), platform(platform), view(view), words(ofUndo), session(undone.session),
      channels(undone.channels.value_or(Channels{})), undone(std::move(undone)),
      updatesBefore(controller.updatesDone) {}

const char *SessionUpdate::cancelledText() const {
    return words.cancelled;
}

void SessionUpdate::confirm() {
    if (!isPossible())
        return;
    // Held by the question until it is answered, from then on by the controller alone.
    auto answered = [self = shared_from_this(),
                     owner = controller.weak_from_this()](std::size_t button) mutable {
        const auto controller = owner.lock();
        const auto update = std::exchange(self, nullptr);
        if (!controller || !update)
            return;
        if (button != goOnButton)
            controller->cancelUpdate(update->cancelledText());
        else if (controller->takeOver(update))
            update->check();
    };
    view.bringToFront();
    view.showAlert({words.question, words.informativeText, {words.goOn, "Cancel"}}, std::move(answered));
}

void SessionUpdate::check() {
    if (isDone()) { // by an older update, while the question stood
        end();
        return;
    }
    show("Checking transport…");
    controller.liveTraxOSC->queryTransport(
        [weak = weak_from_this()](const std::optional<TransportState> &transport) {
            if (const auto update = weak.lock())
                update->answered(transport);
        });
}

/// LiveTrax may have been closed, or another one opened, since it was asked.
void SessionUpdate::answered(const std::optional<TransportState> &transport) {
    application = controller.runningLiveTrax();
    if (!application) {
        rewrite();
    } else if (!transport && quitting && !quitting->isTerminated()) {
        application = quitting; // which answers nobody any more while it closes
        close();
    } else if (!transport) {
        fail(didNotAnswer);
    } else if (isMoving(*transport)) { // armed tracks of a transport that stands still are no reason
        fail(words.isRolling);
    } else {
        save();
    }
}

void SessionUpdate::save() {
    enter(saving);
    const Path file = LiveTraxGenerator::sessionFile(session);
    const auto before =
        BridgeController::modificationDate(file).value_or(std::filesystem::file_time_type::min());
    controller.liveTraxOSC->save();
    const auto isSaved = [file, before] {
        const auto now = BridgeController::modificationDate(file);
        return now && *now > before;
    };
    wait(saving, isSaved, [](SessionUpdate &update, bool) {
        if (update.quitting || update.isPossible())
            update.close();
    });
}

void SessionUpdate::close() {
    enter(closing);
    quitting = application;
    application->terminate();
    waitForTheEnd(closing, &SessionUpdate::force);
}

void SessionUpdate::force() {
    enter(forcing);
    application->forceTerminate();
    waitForTheEnd(forcing, [](SessionUpdate &update) { update.fail(update.words.didNotClose); });
}

void SessionUpdate::rewrite() {
    if (controller.runningLiveTrax())
        return fail(words.didNotClose);
    try {
        undone ? putBack() : follow();
        reopen();
    } catch (const std::exception &error) {
        if (undone && isDone()) { // only LiveTrax could not be started
            controller.showFailure(undoneText, "LiveTrax was not reopened", error.what());
            end();
        } else {
            fail(error.what());
        }
        return;
    }
    end();
}

bool SessionUpdate::isPossible() {
    if (!undone)
        return true;
    try {
        const auto recordings = History(platform).recordingsSince(session, *undone->copy);
        if (recordings > 0)
            throw GeneratorError::recordingsMade(recordings);
        return true;
    } catch (const std::exception &error) {
        fail(error.what());
        return false;
    }
}

/// Brings the session to the console's patch.
void SessionUpdate::follow() {
    const UpdatePlan plan = LiveTraxGenerator::carryOut(platform, session, withFiniteColours(channels));
    controller.sessionUpdated(session, plan);
    controller.acceptPatch(channels, signature);
    show(summary(plan.result));
}

/// What was recorded since the update is not lost by undoing it: then the session stays as it is.
void SessionUpdate::putBack() {
    try {
        History(platform).restore(session, *undone->copy, {});
    } catch (...) {
        if (quitting)
            reopenAsItIs();
        throw;
    }
    controller.updateUndone(*undone);
    show(undoneText);
}

void SessionUpdate::reopenAsItIs() {
    try {
        if (fileExists(LiveTraxGenerator::sessionFile(session)))
            reopen();
    } catch (const std::exception &) { // the failure before it is what is told
    }
}

/// Unless somebody started LiveTrax while the session was being written.
void SessionUpdate::reopen() {
    if (controller.runningLiveTrax())
        return;
    LiveTraxGenerator::launchExisting(platform, session, channels);
    controller.sessionOpened(session);
}

void SessionUpdate::show(const std::string &status) {
    currentStatus = status;
    controller.showStatus(status);
}

void SessionUpdate::enter(const Wait &wait) {
    if (currentStatus != wait.status)
        show(wait.status);
}

void SessionUpdate::wait(const Wait &wait, std::function<bool()> condition,
                         std::function<void(SessionUpdate &, bool)> next) {
    const std::weak_ptr<SessionUpdate> weak = weak_from_this();
    // One that was replaced has nothing to wait for.
    const auto isOver = [weak, condition = std::move(condition)] { return weak.expired() || condition(); };
    controller.waitUntil(wait.attempts, isOver, [weak, next = std::move(next)](bool held) {
        if (const auto update = weak.lock())
            next(*update, held);
    });
}

void SessionUpdate::waitForTheEnd(const Wait &wait, std::function<void(SessionUpdate &)> otherwise) {
    this->wait(
        wait, [application = application] { return application->isTerminated(); },
        [otherwise = std::move(otherwise)](SessionUpdate &update, bool terminated) {
            terminated ? update.rewrite() : otherwise(update);
        });
}

bool SessionUpdate::isDone() const {
    if (undone)
        return !controller.canUndo(*undone);
    return controller.updatesDone != updatesBefore && controller.synchronizedPatch == signature;
}

void SessionUpdate::end() {
    controller.updateEnded(*this);
}

void SessionUpdate::fail(const std::string &message) {
    undone ? controller.showUndoAlert(message) : controller.showUpdateAlert(message);
    end();
}

} // namespace corvane

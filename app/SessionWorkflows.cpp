// The session workflows of the controller: creating a session, and bringing one up to date.

#include "app/BridgeController.h"
#include "app/SessionUpdate.h"
#include "base/Text.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "patch/FiniteColours.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace corvane {

namespace {

constexpr std::chrono::milliseconds lookDelay{200};

constexpr auto finishingText = "Finishing the update…";

} // namespace

// Creating a session

void BridgeController::createSession() {
    if (isSecondPress() || ending)
        return;
    using Problem = NoticeFacts::CreateProblem;
    const std::string name = trimmed(view.sessionName());
    const Channels from = channelsForCreate();
    told.createProblem = name.empty() ? Problem::noName : from.empty() ? Problem::noChannels : Problem::none;
    showFacts();
    if (told.createProblem != Problem::none)
        return;
    try {
        if (runningLiveTrax())
            throw std::runtime_error(LiveTraxGenerator::liveTraxRuns);
        const Path folder = folderToSaveIn();
        if (trimmed(view.outputPath()).empty())
            view.setOutputPath(folder.string());
        const Path session = LiveTraxGenerator::generate(platform, name, folder, withFiniteColours(from));
        workOn(session);
        sessionIsAwaited = true;
        platform.defaults->set(LiveTraxGenerator::lastSessionKey, session.string());
        const auto target = LiveTraxGenerator::target(platform.folders);
        showStatus("Template created. Opening " + (target ? target->displayName : "LiveTrax") + "…");
        LiveTraxGenerator::launch(platform, session, name, from);
        sessionOpened(session);
    } catch (const std::exception &error) {
        view.showAlert({"Could not create the session", error.what()}, [](std::size_t) {});
        askAboutSessions(); // it may be the active one by now
    }
}

bool BridgeController::isSecondPress() {
    const auto now = platform.main.now();
    const auto before = std::exchange(lastCreate, now);
    return before && now - *before < view.doubleClickTime();
}

/// "~" is the home folder where it stands alone or before a slash.
std::filesystem::path BridgeController::folderToSaveIn() const {
    const std::string text = view.outputPath();
    if (trimmed(text).empty())
        return platform.folders.music().value_or(platform.folders.home);
    if (text == "~" || text.starts_with("~/"))
        return platform.folders.home / text.substr(std::min(text.find_first_not_of('/', 1), text.size()));
    std::error_code failure;
    const Path working = std::filesystem::current_path(failure);
    return failure ? Path(text) : working / text;
}

void BridgeController::workOn(const std::optional<Path> &session) {
    activeSessionURL = session;
    sceneMarkers->sessionIs(activeSessionURL, !anotherIsOpen());
}

// Updating the session

void BridgeController::updateActiveSession(const Channels &withChannels, const std::string &signature) {
    const std::optional<Path> session =
        activeSessionURL ? activeSessionURL : LiveTraxGenerator::mostRecentSessionURL(platform.folders);
    if (!session) {
        buttons.comparison = ButtonFacts::Comparison::sync;
        acceptPatch(withChannels, signature);
        showStatus("Patch accepted. It will be used for the next session.");
        return;
    }
    workOn(session);
    if (runningLiveTrax())
        std::make_shared<SessionUpdate>(*this, platform, view, *session, withChannels, signature)->confirm();
    else
        performOfflineUpdate(*session, withChannels, signature);
}

void BridgeController::performOfflineUpdate(const Path &sessionURL, const Channels &withChannels,
                                            const std::string &signature) {
    const auto update =
        std::make_shared<SessionUpdate>(*this, platform, view, sessionURL, withChannels, signature);
    if (takeOver(update))
        update->rewrite();
}

std::shared_ptr<RunningApplication> BridgeController::runningLiveTrax() const {
    auto application = LiveTraxGenerator::runningApplication(platform);
    return application && !application->isTerminated() ? application : nullptr;
}

bool BridgeController::takeOver(const std::shared_ptr<SessionUpdate> &newer) {
    if (ending)
        return false;
    if (update)
        newer->inherit(*update);
    update = newer;
    view.setUpdateUnderWay(true);
    showMeanings();
    return true;
}

void BridgeController::cancelUpdate(const char *text) {
    if (update && update->hasAskedToQuit()) {
        showStatus(ending ? finishingText : update->status());
        return;
    }
    if (update) {
        text = update->cancelledText();
        updateEnded(*update);
    }
    showStatus(text);
}

void BridgeController::updateEnded(const SessionUpdate &ended) {
    if (update.get() != &ended)
        return;
    update.reset();
    view.setUpdateUnderWay(false);
    askAboutSessions();
    showMeanings();
    if (const auto end = std::exchange(ending, nullptr))
        end();
}

bool BridgeController::requestQuit(std::function<void()> end) {
    if (!update || !update->hasAskedToQuit())
        return true;
    ending = std::move(end);
    showStatus(finishingText);
    return false;
}

void BridgeController::waitUntil(int attempts, Condition condition, Completion completion) {
    if (condition() || attempts <= 0) {
        completion(condition());
        return;
    }
    platform.main.after(lookDelay, weakly(weak_from_this(),
                                          [attempts, condition = std::move(condition),
                                           completion = std::move(completion)](BridgeController &controller) {
                                              controller.waitUntil(attempts - 1, condition, completion);
                                          }));
}

std::optional<std::filesystem::file_time_type> BridgeController::modificationDate(const Path &file) {
    std::error_code failure;
    const auto date = std::filesystem::last_write_time(file, failure);
    return failure ? std::nullopt : std::optional(date);
}

void BridgeController::showUpdateAlert(const std::string &message) {
    showFailure("The session was not updated.", "Session was not updated", message);
}

/// Once the program is about to end there may be nobody left to answer.
void BridgeController::showFailure(const char *status, const char *title, const std::string &message) {
    showStatus(status);
    if (ending)
        view.writeError(message);
    else
        view.showAlert({title, message}, [](std::size_t) {});
}

// Undoing an update

void BridgeController::undoUpdate() {
    const auto *removal = newestRemoval(activeSessionURL);
    if (removal == nullptr || !removal->copy)
        return;
    const auto undoing = std::make_shared<SessionUpdate>(*this, platform, view, *removal);
    if (runningLiveTrax())
        undoing->confirm();
    else if (takeOver(undoing))
        undoing->rewrite();
}

bool BridgeController::canUndo(const Removal &removal) const {
    const auto *newest = newestRemoval(removal.session);
    return newest != nullptr && newest->copy == removal.copy;
}

void BridgeController::updateUndone(const Removal &undone) {
    std::erase_if(removals, [&](const Removal &each) { return each.copy == undone.copy; });
    sessionWasRewritten();
    updateLines.clear();
    synchronizedPatch = undone.patch;
    synchronizedChannels = undone.channels;
    recolourSnapshot(channels);
    buttons.comparison = undone.comparison;
    buttons.justSynced = false;
    view.setStatusDetail("");
    if (hasChanges())
        showChanges(channels);
    if (look != redLook) // a link that is lost stays so
        showLook(hasChanges() ? amberLook : greenLook);
    showFacts();
}

void BridgeController::showUndoAlert(const std::string &message) {
    showFailure("The update was not undone.", "Update was not undone", message);
}

} // namespace corvane

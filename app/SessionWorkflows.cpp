// The session workflows of the controller: creating a session, and bringing one up to date.

#include "app/BridgeController.h"
#include "base/Text.h"
#include "livetrax/session/LiveTraxGenerator.h"

#include <cmath>
#include <exception>
#include <system_error>
#include <utility>

namespace corvane {

namespace {

constexpr std::chrono::milliseconds waitInterval{200};
constexpr int saveAttempts = 20;  // about 4 seconds
constexpr int quitAttempts = 25;  // about 5 seconds
constexpr int forceAttempts = 15; // about 3 seconds
/// A transport that is slower than this stands still.
constexpr float standstill = 0.0001F;

constexpr std::size_t updateButton = 0;

/// The folder that a person typed, independent of what the working folder will be later.
std::filesystem::path folderFromText(const std::string &text) {
    std::error_code failure;
    const std::filesystem::path working = std::filesystem::current_path(failure);
    return failure ? std::filesystem::path(text) : working / text;
}

bool isMoving(const TransportState &transport) {
    return transport.isRecording || std::fabs(transport.speed) > standstill;
}

} // namespace

void BridgeController::createSession() {
    const std::string name = trimmed(view.sessionName());
    const Channels from = synchronizedChannels.value_or(channels);
    if (name.empty() || from.empty())
        return;
    try {
        const Path session =
            LiveTraxGenerator::generate(platform, name, folderFromText(view.outputPath()), from);
        activeSessionURL = session;
        platform.defaults->set(LiveTraxGenerator::lastSessionKey, session.string());
        const auto target = LiveTraxGenerator::target(*platform.folders);
        view.setStatusLabel("Template created. Opening " + (target ? target->displayName : "LiveTrax") + "…");
        LiveTraxGenerator::launch(platform, session, name, from);
    } catch (const std::exception &error) {
        view.showAlert({"Could not create the session", error.what()}, [](std::size_t) {});
    }
}

void BridgeController::updateActiveSession(const Channels &withChannels, const std::string &signature) {
    const std::optional<Path> session =
        activeSessionURL ? activeSessionURL : LiveTraxGenerator::mostRecentSessionURL(*platform.folders);
    if (!session) {
        acceptPatch(withChannels, signature);
        view.setStatusLabel("Patch accepted. It will be used for the next session.");
        return;
    }
    activeSessionURL = session;
    const auto application = LiveTraxGenerator::runningApplication(platform);
    if (!application) {
        performOfflineUpdate(*session, withChannels, signature);
        return;
    }
    view.bringToFront();
    view.showAlert(
        {"Update Session",
         "LiveTrax will close to apply the new channels, then reopen with the updated session.",
         {"Update", "Cancel"}},
        [weak = weak_from_this(), application, session, withChannels, signature](std::size_t button) {
            const auto controller = weak.lock();
            if (!controller)
                return;
            if (button == updateButton)
                controller->checkTransportAndUpdate(application, *session, withChannels, signature);
            else
                controller->view.setStatusLabel("Sync cancelled.");
        });
}

void BridgeController::checkTransportAndUpdate(std::shared_ptr<RunningApplication> application,
                                               const Path &sessionURL, const Channels &withChannels,
                                               const std::string &signature) {
    view.setStatusLabel("Checking transport…");
    liveTraxOSC->queryTransport([weak = weak_from_this(), application = std::move(application), sessionURL,
                                 withChannels, signature](const std::optional<TransportState> &transport) {
        const auto controller = weak.lock();
        if (!controller)
            return;
        // Armed tracks of a transport that stands still are no obstacle.
        if (!transport)
            controller->showUpdateAlert("Could not check LiveTrax transport. Stop playback and try again.");
        else if (isMoving(*transport))
            controller->showUpdateAlert("Stop the transport and recording before updating the session.");
        else
            controller->closeLiveTraxAndUpdate(application, sessionURL, withChannels, signature);
    });
}

void BridgeController::closeLiveTraxAndUpdate(std::shared_ptr<RunningApplication> application,
                                              const Path &sessionURL, const Channels &withChannels,
                                              const std::string &signature) {
    const auto update = [this, sessionURL, withChannels, signature] {
        performOfflineUpdate(sessionURL, withChannels, signature);
    };
    const auto hasTerminated = [application] { return application->isTerminated(); };
    const auto afterForce = [this, update](bool terminated) {
        if (terminated)
            update();
        else
            showUpdateAlert("LiveTrax did not close. Quit it and press SYNC LV1 again.");
    };
    const auto afterQuit = [this, application, update, hasTerminated, afterForce](bool terminated) {
        if (terminated) {
            update();
            return;
        }
        application->forceTerminate();
        waitUntil(forceAttempts, hasTerminated, afterForce);
    };
    const auto afterSave = [this, application, hasTerminated, afterQuit](bool) {
        view.setStatusLabel("Closing LiveTrax…");
        application->terminate();
        waitUntil(quitAttempts, hasTerminated, afterQuit);
    };

    view.setStatusLabel("Saving the session…");
    const Path file = LiveTraxGenerator::sessionFile(sessionURL);
    const auto before = modificationDate(file).value_or(std::filesystem::file_time_type::min());
    liveTraxOSC->save();
    const auto isSaved = [file, before] {
        const auto now = modificationDate(file);
        return now && *now > before;
    };
    waitUntil(saveAttempts, isSaved, afterSave);
}

void BridgeController::performOfflineUpdate(const Path &sessionURL, const Channels &withChannels,
                                            const std::string &signature) {
    try {
        const UpdateResult result = LiveTraxGenerator::update(platform, sessionURL, withChannels);
        acceptPatch(withChannels, signature);
        view.setStatusLabel("Session updated: " + std::to_string(result.updated) + " adjusted, " +
                            std::to_string(result.added) + " added, " + std::to_string(result.removed) +
                            " removed.");
        LiveTraxGenerator::launchExisting(platform, sessionURL, withChannels);
    } catch (const std::exception &error) {
        showUpdateAlert(error.what());
    }
}

void BridgeController::waitUntil(int attempts, Condition condition, Completion completion) {
    if (condition() || attempts <= 0) {
        completion(condition());
        return;
    }
    platform.main.after(waitInterval, weakly(weak_from_this(), [attempts, condition = std::move(condition),
                                                                completion = std::move(completion)](
                                                                   BridgeController &controller) {
                            controller.waitUntil(attempts - 1, condition, completion);
                        }));
}

std::optional<std::filesystem::file_time_type> BridgeController::modificationDate(const Path &file) {
    std::error_code failure;
    const auto date = std::filesystem::last_write_time(file, failure);
    return failure ? std::nullopt : std::optional(date);
}

void BridgeController::showUpdateAlert(const std::string &message) {
    view.setStatusLabel("The session was not updated.");
    view.showAlert({"Session was not updated", message}, [](std::size_t) {});
}

} // namespace corvane

#pragma once

#include "app/BridgeView.h"
#include "app/ButtonMeaning.h"
#include "app/Removal.h"
#include "app/SceneMarkers.h"
#include "app/SessionReader.h"
#include "livetrax/remote/LiveTraxOSC.h"
#include "lv1/LV1Client.h"
#include "platform/Platform.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace corvane {

class SessionUpdate;

/// The application's controller: what it knows of the console, of the session and of how far the two agree,
/// and what it does when the console or the user acts. There is one for the life of the process. Everything
/// here happens on the main queue; deferred work holds the controller weakly.
class BridgeController : public std::enable_shared_from_this<BridgeController> {
public:
    using Channels = std::vector<LV1Channel>;
    using Path = std::filesystem::path;

    /// `platform` and `view` outlive the controller.
    static std::shared_ptr<BridgeController> make(Platform &platform, BridgeView &view);

    // Life of the application

    /// Builds menu and window, finds the session to work on, and starts the network services.
    void applicationDidFinishLaunching();
    /// Starts the LiveTrax remote control and the search for consoles; a second call does nothing.
    void startBridgeServices();
    /// Stops searching, leaves the console, lets go of LiveTrax.
    void applicationWillTerminate();
    /// Asks whether the program may end. True when it may end now; false when an update has to finish first,
    /// and then `end` is called once it has. A second call replaces the `end` of the first.
    bool requestQuit(std::function<void()> end);

    // What the user does (the window's controls)

    /// SYNC LV1: updates the session when the patch has changed, else connects to the chosen host.
    void connectSelected();
    /// A person's own choice in the host menu: connects to that host, unless the link leads there already.
    void hostChosen();
    /// Presses the action of the notice that is shown, and only of that one.
    void noticeAction();
    /// Dismisses the notice that is shown. It comes back only if it stops applying and then applies again.
    void dismissNotice();
    /// The session's name or the folder to save in was edited.
    void fieldsEdited();
    /// Opens or closes the patch view.
    void togglePatch();
    void chooseFolder();
    void showAbout();
    /// Create LiveTrax Session: makes a session from the synchronised channels and opens LiveTrax on it.
    void createSession();

    // Session workflows (SessionWorkflows.cpp); the steps of an update are SessionUpdate's

    using Condition = std::function<bool()>;
    using Completion = std::function<void(bool)>;

    /// Brings the session that LiveTrax works on in line with these channels.
    void updateActiveSession(const Channels &withChannels, const std::string &signature);
    /// Rewrites the session while LiveTrax does not run, then reopens LiveTrax on it.
    void performOfflineUpdate(const Path &sessionURL, const Channels &withChannels,
                              const std::string &signature);
    /// Checks `condition` at once and then every 200 ms until it holds, at most `attempts` + 1 times.
    /// `completion` gets the result of one more check at the end. It is never called after the controller is
    /// gone, so it may use the controller.
    void waitUntil(int attempts, Condition condition, Completion completion);
    /// When the file was last written; none when that cannot be told.
    static std::optional<std::filesystem::file_time_type> modificationDate(const Path &file);
    /// Shows an alert with this title and message, and this status.
    void showFailure(const char *status, const char *title, const std::string &message);
    void showUpdateAlert(const std::string &message);
    /// Takes the newest update that took recordings out of the session back.
    void undoUpdate();
    void showUndoAlert(const std::string &message);

    // What an update asks of its owner

    /// The LiveTrax that runs at this moment; one that says that it has terminated does not.
    std::shared_ptr<RunningApplication> runningLiveTrax() const;
    /// The update takes the place of the one that is under way. False when the program is about to end: then
    /// nothing new is begun.
    bool takeOver(const std::shared_ptr<SessionUpdate> &newer);
    /// Ends the update that is under way, unless LiveTrax has been asked to quit for it. `text` is the status
    /// if there is none.
    void cancelUpdate(const char *text);
    /// The update has come to its end, good or bad.
    void updateEnded(const SessionUpdate &ended);
    /// The patch becomes the synchronised one: the button turns green.
    void acceptPatch(const Channels &list, const std::string &signature);
    /// A session was rewritten like this, and the patch is about to be accepted.
    void sessionUpdated(const Path &session, const UpdatePlan &done);
    /// Whether this is the newest of its session's removals that were not undone.
    bool canUndo(const Removal &removal) const;
    /// The session is as it was before the removal: what was synchronised then is so again.
    void updateUndone(const Removal &undone);
    /// The session that is active from now on, whose markers scenes are compared with.
    void workOn(const std::optional<Path> &session);
    /// LiveTrax was started on the session: that is the one it opened last.
    void sessionOpened(const Path &session);
    void showStatus(const std::string &text);
    void showHosts(const std::vector<std::string> &titles);
    const std::string &status() const { return statusText; }

    // State, touched on the main queue alone

    std::shared_ptr<LV1Client> client;
    std::shared_ptr<LiveTraxOSC> liveTraxOSC;
    bool bridgeServicesStarted = false;
    Channels channels;                                 ///< the console's latest, as the table shows them
    std::vector<std::shared_ptr<NetService>> services; ///< consoles found by Bonjour
    std::vector<LV1Endpoint> endpoints;                ///< consoles found by multicast
    bool patchExpanded = false;
    /// Signature of the patch that the session was built from or accepted for, and the channels that go with
    /// it.
    std::optional<std::string> synchronizedPatch;
    std::optional<Channels> synchronizedChannels;
    std::optional<std::string> currentPatch; ///< signature of the console's latest patch
    std::optional<Path> activeSessionURL;    ///< the session folder worked on (a path: see docs/Names.md)
    std::optional<std::string> lastScene;
    std::shared_ptr<SceneMarkers> sceneMarkers;
    std::size_t updatesDone = 0; ///< sessions rewritten since the start

private:
    BridgeController(Platform &platform, BridgeView &view);

    void buildUI();
    void wireClient();
    template <class... Arguments>
    std::function<void(Arguments...)> reaction(void (BridgeController::*handler)(Arguments...));

    void statusChanged(const std::string &text);
    void connectionStateChanged(bool connected);
    void endpointsChanged(const std::vector<LV1Endpoint> &list);
    void servicesChanged(const std::vector<std::shared_ptr<NetService>> &list);
    void channelsChanged(const Channels &list);
    void patchChanged(const Channels &list);
    void sceneChanged(const std::string &name);

    void recolourSnapshot(const Channels &list);
    /// The place of the chosen host among the endpoints, else among the services; none for a text that is no
    /// host.
    std::optional<std::size_t> selectedHost() const;
    bool leadsTo(std::size_t host) const;
    void connectToSelectedHost();
    void showPatchTitle();
    /// Whether the console's patch differs from the synchronised one.
    bool hasChanges() const;
    /// Sets the status detail to the differences between these channels and the synchronised ones.
    void showChanges(const Channels &list);
    /// Whether Create was pressed just before.
    bool isSecondPress();
    /// The path that the text in "Save in:" stands for, made absolute now, so that a later change of the
    /// working folder does not matter.
    Path folderToSaveIn() const;
    const Channels &channelsForCreate() const {
        return synchronizedChannels ? *synchronizedChannels : channels;
    }

    // What the window says besides its status (ControllerNotices.cpp)

    void showLook(const ButtonLook &look);
    /// Says again in words what the buttons would do now.
    void showMeanings();
    /// The same, and the most important of what there is to say.
    void showFacts();
    NoticeFacts knownFacts() const;
    void channelsAreOthers();
    void coloursAreOthers();
    void linkIs(ButtonFacts::Link state);
    void markerLost(const std::string &name, const std::string &reason);
    void surfaceFailed(const std::error_code &error, const std::string &reason);
    void askAboutSessions();
    void askAgainLater();
    void sessionsRead(const SessionAnswer &answer);
    void sessionWasRewritten();
    bool isOfActiveSession(const SessionAnswer &read) const;
    /// The session that LiveTrax opened last, as far as it has listed it or was started on it from here.
    std::optional<Path> lastOpened() const;
    bool anotherIsOpen() const;
    /// What was read of the active session and of the console's patch, if that is what was read last.
    const SessionAnswer *currentAnswer() const;
    /// Null when nothing that an update took out of this session can be told of.
    const Removal *newestRemoval(const std::optional<Path> &session) const;
    void chooseSession();
    std::vector<std::string> takesThatWouldGo() const;
    void updateNoticedSession();

    Platform &platform;
    BridgeView &view;
    std::shared_ptr<SessionUpdate> update; ///< the one that is under way
    std::function<void()> ending;          ///< set once the program is to end after the update
    std::string statusText;
    std::optional<SerialQueue::Clock::time_point> lastCreate;

    std::optional<std::string> channelsPatch; ///< signature of the channels
    ButtonLook look = redLook;
    ButtonFacts buttons;    ///< what only events tell of it
    bool linkWasUp = false; ///< since it was last lost
    NoticeFacts told;       ///< what only events tell of it
    std::optional<Notice> notice;
    std::uint64_t recallsMade = 0;
    std::uint64_t lastLost = 0;    ///< the number of the last recall whose marker was lost
    std::vector<Notice> dismissed; ///< put away, as long as there would be the same to say
    SessionReader sessionReader;
    std::optional<SessionAnswer> answer;  ///< what the disk said last
    std::vector<std::string> updateLines; ///< what the last update changed
    std::vector<Removal> removals;        ///< that were not undone, the newest last
    std::optional<Path> openedHere;       ///< the session that LiveTrax was last started on from here
    std::optional<Path> recentThen;       ///< the newest of LiveTrax's own list at that time
    bool sessionIsAwaited = false;        ///< the active session is yet to be made by LiveTrax
    bool coloursAreNews = false;          ///< the disk is soon asked what they come to
    bool willAskAgain = false;            ///< the disk, after a while
};

} // namespace corvane

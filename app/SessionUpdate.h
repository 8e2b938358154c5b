#pragma once

#include "app/BridgeView.h"
#include "app/Removal.h"
#include "livetrax/remote/TransportState.h"
#include "platform/Platform.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

class BridgeController;

/// One update of a session, or the undoing of one, from the question to the reopened LiveTrax: who runs, what
/// is written and in which order. Its steps stand in the order in which they are taken; each either leads to
/// the next or ends the update. The controller holds the one that is under way. One that it has let go of has
/// been replaced: whatever that has put off does nothing any more. Main queue only; the controller outlives
/// what runs here.
class SessionUpdate : public std::enable_shared_from_this<SessionUpdate> {
public:
    using Channels = std::vector<LV1Channel>;
    using Path = std::filesystem::path;

    /// Of one console's patch and one session, as they were when the button was pressed.
    SessionUpdate(BridgeController &controller, Platform &platform, BridgeView &view, Path session,
                  Channels channels, std::string signature);
    /// Of the way back from an update, to the copy that was kept of the session before it.
    SessionUpdate(BridgeController &controller, Platform &platform, BridgeView &view, Removal undone);

    /// Asks whether LiveTrax may be closed; taken over by the controller when the answer is yes.
    void confirm();
    /// Asks LiveTrax whether it rolls or records.
    void check();
    /// Has LiveTrax save, and waits for the file to become newer.
    void save();
    /// Asks LiveTrax to quit.
    void close();
    /// Ends LiveTrax by force.
    void force();
    /// Rewrites the session, or puts the copy in its place, and reopens LiveTrax on it, provided that none
    /// runs.
    void rewrite();

    /// From here on LiveTrax is closed or closing: what has been begun must be brought to an end.
    bool hasAskedToQuit() const { return quitting != nullptr; }
    /// Follows one that LiveTrax was asked to quit for.
    void inherit(const SessionUpdate &older) { quitting = older.quitting; }
    /// The status of the step that it is in.
    const std::string &status() const { return currentStatus; }
    /// The status once a person has thought better of it.
    const char *cancelledText() const;

private:
    struct Words;
    struct Wait;
    static const Words ofUpdate;
    static const Words ofUndo;
    static const Wait saving;
    static const Wait closing;
    static const Wait forcing;

    /// Whether the way back is still open, as far as that can be told while LiveTrax runs. Ends the update if
    /// it is not.
    bool isPossible();
    void follow();
    void putBack();
    void reopen();
    void reopenAsItIs();
    void show(const std::string &status);
    void enter(const Wait &wait);
    void answered(const std::optional<TransportState> &transport);
    void wait(const Wait &wait, std::function<bool()> condition,
              std::function<void(SessionUpdate &, bool held)> next);
    void waitForTheEnd(const Wait &wait, std::function<void(SessionUpdate &)> otherwise);
    /// Whether another update has already done the same since the press.
    bool isDone() const;
    void end();
    void fail(const std::string &message);

    BridgeController &controller;
    Platform &platform;
    BridgeView &view;
    const Words &words;
    Path session;
    Channels channels;
    std::string signature;
    std::optional<Removal> undone;
    std::shared_ptr<RunningApplication> application; ///< the LiveTrax that was found when it answered
    std::string currentStatus;
    std::size_t updatesBefore;
    std::shared_ptr<RunningApplication> quitting; ///< the LiveTrax that was asked to quit
};

} // namespace corvane

#pragma once

#include "app/BridgeController.h"
#include "platform/queues/AsioMainQueue.h"
#include "tests/soak/Desk.h"
#include "tests/soak/MarkerAccount.h"
#include "tests/soak/Recorder.h"
#include "tests/soak/SoakView.h"
#include "tests/support/Usage.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace corvane::soak {

struct ShowOptions {
    std::filesystem::path folder;   ///< of the rehearsal; logs are left there
    std::filesystem::path programs; ///< where the stand-ins lie
    double seconds = 20;            ///< of playing, without the opening and the end
    std::uint32_t seed = 1;
};

/// An evening at many times its speed: a console that recalls, renames, repatches and recolours without a
/// pause, links that drop, a recorder that is restarted, and a user who presses SYNC LV1. The controller, its
/// sockets and its files are the real ones. Everything here happens on the main queue.
class Show {
public:
    /// A console and a recorder come into being, and an application that is launched between them.
    Show(AsioMainQueue &main, ShowOptions options);
    ~Show();

    /// Plays to the end, prints the bill, and returns whether all is well.
    bool play();

private:
    enum class Phase { opening, playing, settling, saving, done };
    enum class Trouble { none, drop, reset, restart };

    // What the window shows (Show.cpp)
    void listen();
    void statusShown(const std::string &text);
    void sceneShown(const std::string &name);
    void buttonShown(const ButtonLook &look);
    void linkLost();
    std::size_t alertShown(const Alert &alert);
    void checkLastScene();

    // What happens (ShowScript.cpp)
    void tick();
    void open();
    void happen();
    void changeColours();
    void changePatch();
    void recallScene();
    std::string nextScene();
    void makeTrouble();
    void trickle();
    void resetLink();
    void restartRecorder();
    void reopenRecorder();
    void pressSync();
    void keepLink();
    void settle();

    // How it went (ShowVerdict.cpp)
    void sample();
    void verifyEnd();
    void verifyUsage();
    void printBill(const MarkerAccount::Bill &bill) const;

    double now() const;
    /// A number below a limit.
    std::uint32_t below(std::size_t limit) { return static_cast<std::uint32_t>(random() % limit); }
    /// Once in so many times.
    bool oneIn(std::size_t times) { return below(times) == 0; }
    bool isAmber() const { return controller->currentPatch != controller->synchronizedPatch; }
    bool isRecorderFree() const {
        return account.isRecorderThere() && !syncing && !recorder.isBeingRestarted();
    }
    void fault(const std::string &text);
    void enter(Phase next);

    AsioMainQueue &main;
    ShowOptions options;
    std::mt19937 random;
    const SerialQueue::Clock::time_point begin;
    std::unique_ptr<Platform> platform;
    SoakView view;
    MarkerAccount account;
    Recorder recorder;
    Desk desk;
    std::shared_ptr<BridgeController> controller;

    Phase phase = Phase::opening;
    double phaseBegan = 0;
    std::vector<std::string> faults;

    bool linkUp = false;
    double linkChanged = 0;
    double lastPress = 0;
    double nextTrouble = 0;
    Trouble trouble = Trouble::none;

    std::string scene;                  ///< recalled last,
    std::string sceneBefore;            ///< and before it
    std::optional<std::string> awaited; ///< recalled while the link was up, and not shown yet
    double recalledAt = 0;
    std::optional<std::string> lastShown;
    std::optional<std::string> unmarked; ///< shown, and due for a marker
    double shownAt = 0;

    bool syncing = false;
    double lastSync = 0;
    double nextRestart = 0;
    std::size_t savesBefore = 0;
    std::optional<double> trickleUntil;

    struct Counts {
        std::size_t recalled = 0, shown = 0, cutOff = 0, unmarkedWhileAway = 0;
        std::size_t colours = 0, patches = 0, troubles = 0, links = 0, restarts = 0, syncs = 0, cancelled = 0;
    } counts;
    std::vector<Usage> samples;
    double nextSample = 0;
    double lastTick = 0;
    double longestWait = 0;
};

} // namespace corvane::soak

#include "tests/soak/Show.h"

#include "livetrax/session/LiveTraxGenerator.h"
#include "platform/files/Files.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <string_view>
#include <utility>

namespace corvane::soak {

namespace {

/// How every text of the status line begins in such a show; those that vary end where they begin to.
constexpr std::array<std::string_view, 20> texts{
    "Searching for an LV1 host on the SoundGrid network…",
    "Buscando LV1 V17…",
    "LV1 found: Soak Console",
    "Conectado. Negociando con LV1…",
    "LV1 conectado. Esperando el patch…",
    "Synced: 24 tracks / ",
    "Changes detected. Stop the transport and press SYNC LV1.",
    "Scene marker added: ",
    "Disconnected",
    "LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1.",
    "Connection interrupted: Connection reset by peer",
    "Connection error: Connection reset by peer",
    "Connection error: Connection refused",
    "Template created. Opening LiveTrax 3…",
    "Checking transport…",
    "Saving the session…",
    "Closing LiveTrax…",
    "Session updated: ",
    "Sync cancelled.",
    "The session was not updated.",
};

} // namespace

Show::Show(AsioMainQueue &main, ShowOptions given)
    : main(main), options(std::move(given)), random(options.seed), begin(main.now()),
      platform(makePlatform(main, {options.folder})), view(main), account(options.folder / "marks-saved"),
      recorder(*platform, options.programs / "livetrax-sim", account),
      desk(options.programs / "lv1-console-sim", options.folder),
      controller(BridgeController::make(*platform, view)) {
    createFolders(options.folder / "home/Music");
    listen();
    controller->applicationDidFinishLaunching();
}

Show::~Show() {
    controller->applicationWillTerminate();
    controller.reset();
}

double Show::now() const {
    return std::chrono::duration<double>(main.now() - begin).count();
}

void Show::fault(const std::string &text) {
    constexpr std::size_t kept = 50;
    if (faults.size() < kept)
        faults.push_back(text);
    std::cerr << now() << " s: " << text << std::endl;
}

void Show::enter(Phase next) {
    phase = next;
    phaseBegan = now();
}

bool Show::play() {
    tick();
    main.run();
    for (const auto *list : {&recorder.faults})
        faults.insert(faults.end(), list->begin(), list->end());
    std::cout << (faults.empty() ? "all is well" : std::to_string(faults.size()) + " faults") << std::endl;
    for (const std::string &each : faults)
        std::cout << "  " << each << std::endl;
    return faults.empty();
}

void Show::listen() {
    view.onStatusLabel = [this](const std::string &text) { statusShown(text); };
    view.onSceneLabel = [this](const std::string &text) {
        constexpr std::string_view label = "Scene: ";
        if (text.starts_with(label))
            sceneShown(text.substr(label.size()));
        else
            fault("the scene label says: " + text);
    };
    view.onConnectButton = [this](const ButtonLook &look) { buttonShown(look); };
    view.onAlert = [this](const Alert &alert) { return alertShown(alert); };
}

void Show::statusShown(const std::string &text) {
    constexpr std::string_view marked = "Scene marker added: ";
    if (std::none_of(texts.begin(), texts.end(), [&](auto each) { return text.starts_with(each); }))
        fault("an unknown status: " + text);
    if (text.starts_with(marked)) {
        const std::string name = text.substr(marked.size());
        if (unmarked != name)
            fault("a marker that was not due: " + name);
        unmarked.reset();
        account.added(name, now());
    } else if (text == "LV1 conectado. Esperando el patch…") {
        linkUp = true;
        linkChanged = now();
        trouble = Trouble::none;
        ++counts.links;
        if (phase == Phase::playing && oneIn(3)) // before the patch has come, when that trickles
            resetLink();
    } else if (text.starts_with("LV1 closed the connection.") || text.starts_with("Connection error: ")) {
        linkLost();
    } else if (text == "Closing LiveTrax…") {
        account.recorderLeaves(now());
    } else if (text.starts_with("Session updated: ")) {
        ++counts.syncs;
        syncing = false;
        lastSync = now();
        if (LiveTraxGenerator::sessionPatchSignature(*controller->activeSessionURL) !=
            controller->synchronizedPatch)
            fault("the updated session has another patch than it should");
    } else if (text == "Sync cancelled." || text == "The session was not updated.") {
        counts.cancelled += text == "Sync cancelled." ? 1 : 0;
        syncing = false;
        lastSync = now();
    }
}

void Show::sceneShown(const std::string &name) {
    checkLastScene();
    ++counts.shown;
    if (awaited == name)
        awaited.reset();
    // The very first is only remembered; one that is shown again after a reconnect is no recall.
    if (lastShown && *lastShown != name) {
        unmarked = name;
        shownAt = now();
    }
    lastShown = name;
}

/// A scene that was shown has had its marker by now, unless nobody was there to set it.
void Show::checkLastScene() {
    if (!unmarked)
        return;
    if (account.isNearAbsence(shownAt, now()))
        ++counts.unmarkedWhileAway;
    else
        fault("no marker for " + *unmarked);
    unmarked.reset();
}

void Show::buttonShown(const ButtonLook &look) {
    if (look == redLook)
        linkLost();
}

/// Told by the button, or by the status where the button was still red: a link is up from its acceptance on,
/// which comes before the patch that gives the button another colour.
void Show::linkLost() {
    if (!linkUp)
        return;
    // What was recalled before an orderly close comes before it.
    if (awaited && trouble == Trouble::drop)
        fault("a scene was lost with an orderly close: " + *awaited);
    counts.cutOff += awaited ? 1 : 0;
    awaited.reset();
    linkUp = false;
    linkChanged = now();
}

std::size_t Show::alertShown(const Alert &alert) {
    if (alert.message == "Update Session")
        return oneIn(8) && phase == Phase::playing ? 1 : 0;
    fault(alert.message + ": " + alert.informativeText);
    return 0;
}

} // namespace corvane::soak

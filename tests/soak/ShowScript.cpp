// What happens in a show, and when.

#include "tests/soak/Show.h"

#include "livetrax/session/LiveTraxGenerator.h"

#include <chrono>
#include <utility>

namespace corvane::soak {

namespace {

using namespace std::chrono_literals;

constexpr auto tickInterval = 5ms;
// In seconds
constexpr double betweenScenes = 0.15;
constexpr double betweenSyncs = 4;
constexpr double betweenPresses = 2;
constexpr double trickling = 1;
constexpr double markerTimeout = 1.5;
constexpr double sceneTimeout = 30;
constexpr double syncTimeout = 90;
constexpr double phaseTimeout = 180;

} // namespace

void Show::tick() {
    const double time = now();
    longestWait = std::max(longestWait, time - lastTick);
    recorder.follow(time);
    recorder.goOn(time);
    checkLastScene();
    if (awaited && linkUp && time > recalledAt + sceneTimeout) {
        fault("a recalled scene was not shown: " + *awaited);
        awaited.reset();
    }
    if (syncing && time > lastPress + syncTimeout) {
        fault("a sync does not end");
        syncing = false;
    }
    if (phase != Phase::playing && time > phaseBegan + phaseTimeout) {
        fault("stuck in phase " + std::to_string(static_cast<int>(phase)));
        enter(Phase::done);
    }
    if (phase == Phase::opening)
        open();
    else if (phase == Phase::playing)
        happen();
    else if (phase != Phase::done)
        settle();
    if (phase == Phase::done)
        return main.quit();
    lastTick = now();
    main.after(tickInterval, [this] { tick(); });
}

void Show::open() {
    if (!linkUp || controller->channels.empty())
        return;
    if (!controller->activeSessionURL)
        controller->createSession();
    if (!account.isRecorderThere())
        return;
    longestWait = 0;
    nextTrouble = now() + 3;
    nextRestart = now() + 5;
    samples.reserve(static_cast<std::size_t>(options.seconds * 8));
    enter(Phase::playing);
}

void Show::happen() {
    if (now() > phaseBegan + options.seconds) {
        desk.tell("trickle off");
        enter(Phase::settling);
        return;
    }
    changeColours();
    if (oneIn(40))
        changePatch();
    recallScene();
    makeTrouble();
    restartRecorder();
    if (isAmber() && isRecorderFree() && now() > lastSync + betweenSyncs)
        pressSync();
    keepLink();
    sample();
}

void Show::changeColours() {
    const auto colour = [this](std::size_t number) {
        std::string command = "color " + std::to_string(number);
        for (int component = 0; component < 3; ++component)
            command += " " + std::to_string(static_cast<float>(below(1001)) / 1000.0F);
        desk.tell(command);
        ++counts.colours;
    };
    colour(1 + below(desk.channels().size()));
    colour(1 + below(desk.channels().size()));
    if (oneIn(100))
        for (std::size_t number = 1; number <= desk.channels().size(); ++number)
            colour(number);
}

void Show::changePatch() {
    const auto number = 1 + below(desk.channels().size());
    const std::string channel = std::to_string(number);
    ++counts.patches;
    switch (below(3)) {
    case 0:
        return desk.tell("rename " + channel + " Línea " + channel + " <" + std::to_string(below(1000)) +
                         ">");
    case 1:
        return desk.tell("move " + channel + " " + std::to_string(4 * (number - 1) + 1 + below(3)));
    default:
        return desk.tell("stereo " + channel + (oneIn(2) ? " on" : " off"));
    }
}

/// A new one, or now and then the one before the last again: its marker exists, and naming another one so
/// would move the recorder's playhead.
std::string Show::nextScene() {
    const std::string made = (oneIn(4) ? "Corazón " : "Scene ") + std::to_string(++counts.recalled);
    sceneBefore = std::exchange(scene, !sceneBefore.empty() && oneIn(6) ? sceneBefore : made);
    return scene;
}

/// As fast as markers can be told apart: the next one once the last one is with the recorder or has had its
/// time. Now and then several at once.
void Show::recallScene() {
    const double time = now();
    if (awaited || time < recalledAt + betweenScenes)
        return;
    if (account.isLastOutstanding() && account.isRecorderThere() && time < recalledAt + markerTimeout)
        return;
    const int recalls = oneIn(50) ? 3 : 1;
    for (int i = 0; i < recalls; ++i) {
        const std::string name = nextScene();
        desk.tell("scene " + name);
        // What is recalled behind a drop finds the connection closed, noticed here or not.
        if (linkUp && trouble != Trouble::drop)
            awaited = name;
        else
            ++counts.cutOff;
    }
    recalledAt = time;
}

void Show::makeTrouble() {
    if (trickleUntil && now() > *trickleUntil) {
        desk.tell("trickle off");
        trickleUntil.reset();
    }
    if (now() < nextTrouble || !linkUp)
        return;
    ++counts.troubles;
    nextTrouble = now() + 4 + below(4);
    switch (below(4)) {
    case 0:
        trouble = Trouble::drop;
        return desk.tell("drop");
    case 1:
        if (oneIn(2))
            trickle();
        return resetLink();
    case 2:
        trouble = Trouble::restart;
        return desk.restart();
    default:
        return trickle();
    }
}

void Show::trickle() {
    trickleUntil = now() + trickling;
    desk.tell("trickle on");
}

void Show::resetLink() {
    trouble = Trouble::reset;
    desk.tell("reset");
}

void Show::restartRecorder() {
    if (now() < nextRestart || !isRecorderFree())
        return;
    nextRestart = now() + 9 + below(6);
    ++counts.restarts;
    recorder.restart(
        oneIn(3), [this] { controller->liveTraxOSC->save(); }, [this] { reopenRecorder(); }, now());
}

/// With what has changed on the console meanwhile, if anything has: then an update starts it.
void Show::reopenRecorder() {
    if (isAmber())
        pressSync();
    else
        LiveTraxGenerator::launchExisting(*platform, *controller->activeSessionURL,
                                          *controller->synchronizedChannels);
}

void Show::pressSync() {
    syncing = true;
    lastPress = now();
    controller->connectSelected();
}

/// A link that does not come back by itself is asked for; with a patch that has changed the same button means
/// something else.
void Show::keepLink() {
    const double time = now();
    if (linkUp || isAmber() || time < linkChanged + 0.4 || time < lastPress + betweenPresses)
        return;
    lastPress = time;
    controller->connectSelected();
}

/// Nothing happens any more: the window, the console and the session must come to agree.
void Show::settle() {
    const double time = now();
    if (phase == Phase::settling) {
        if (isAmber() && isRecorderFree() && time > lastSync + 1)
            pressSync();
        keepLink();
        if (linkUp && !awaited && !isAmber() && isRecorderFree() && view.table == desk.channels() &&
            time > recalledAt + 2 * markerTimeout && time > linkChanged + 1) {
            savesBefore = recorder.saves();
            controller->liveTraxOSC->save();
            enter(Phase::saving);
        }
    } else if (recorder.saves() > savesBefore) {
        verifyEnd();
        enter(Phase::done);
    }
}

} // namespace corvane::soak

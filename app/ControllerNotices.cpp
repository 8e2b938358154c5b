// What the controller has the window say besides its status: notices, explanations, the meaning of buttons.

#include "app/BridgeController.h"
#include "app/PlanText.h"
#include "base/Quotation.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "patch/FiniteColours.h"
#include "patch/PatchConflicts.h"
#include "patch/PatchDifference.h"
#include "patch/RecordedInputs.h"
#include "patch/RecorderNames.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <system_error>
#include <utility>

namespace corvane {

namespace {

/// How often the disk is asked without an occasion: a volume may fill up or be taken away at any time. Not
/// before there is a session or a patch that it could say something of: a program that waits for its console
/// sleeps.
constexpr std::chrono::seconds refreshDelay{15};
/// From a channel's new colour to the question what an update would do with it.
constexpr std::chrono::seconds coloursDelay{2};

/// How many tracks an update would move that neither adds nor removes any. Where they stand in the console's
/// order already, other numbers for their places are nothing to tell.
std::size_t movedTracks(const UpdatePlan &plan) {
    std::size_t moved = 0;
    bool isSorted = true;
    long place = 0;
    long last = 0;
    for (const TrackDecision &track : plan.tracks) {
        ++place;
        const auto &order = track.was.order;
        const long before = order ? std::strtol(order->c_str(), nullptr, 10) : place;
        moved += order ? 1U : 0U;
        isSorted = isSorted && before > last;
        last = before;
    }
    return isSorted ? 0 : moved;
}

/// A name that the recorder spells in its own way is the same name.
SessionDifference difference(const UpdatePlan &plan) {
    SessionDifference found;
    for (const TrackDecision &track : plan.tracks) {
        found.lacks += track.action == TrackDecision::Action::add ? 1U : 0U;
        found.extra += track.action == TrackDecision::Action::remove ? 1U : 0U;
        found.changed += track.was.name && !isRecorded(*track.was.name, track.name) ? 1U : 0U;
    }
    found.moved = movedTracks(plan);
    return found;
}

/// Whether the session has the console's patch, be it with names as the recorder spells them.
bool isInStep(const SessionAnswer &answer) {
    if (answer.signature == answer.question.patch)
        return true;
    return answer.plan && difference(*answer.plan) == SessionDifference{};
}

} // namespace

// The buttons

void BridgeController::showLook(const ButtonLook &newLook) {
    look = newLook;
    showMeanings();
}

void BridgeController::showMeanings() {
    ButtonFacts facts = buttons;
    facts.red = look == redLook;
    facts.changesPending = hasChanges();
    const auto session =
        activeSessionURL ? activeSessionURL : (answer ? answer->lastOpened : std::optional<Path>());
    if (session)
        facts.session = LiveTraxGenerator::sessionFile(*session).stem().string();
    const auto *current = currentAnswer();
    if (facts.comparison == ButtonFacts::Comparison::none && current && current->signature)
        facts.comparison =
            isInStep(*current) ? ButtonFacts::Comparison::session : ButtonFacts::Comparison::differs;
    facts.channelsKnown = !channels.empty();
    facts.hostSelected = selectedHost().has_value();
    facts.updateUnderWay = update != nullptr;
    facts.channelsForCreate = channels.empty() ? 0 : channelsForCreate().size();
    view.setConnectButton(look, connectMeaning(facts));
    view.setCreateMeaning(createMeaning(facts));
}

void BridgeController::linkIs(ButtonFacts::Link state) {
    using Link = ButtonFacts::Link;
    buttons.link = state;
    linkWasUp = linkWasUp || state == Link::up;
    // Else the system may slow a hidden window down, and a marker would be late.
    state == Link::up ? platform.activity->begin() : platform.activity->end();
    if (state == Link::up) {
        view.setBadge(false);
    } else if (state == Link::lost && std::exchange(linkWasUp, false) && runningLiveTrax()) {
        view.requestAttention(); // markers are missing from now on
        view.setBadge(true);
    }
    showFacts();
}

// The explanation behind the status

void BridgeController::showChanges(const Channels &list) {
    view.setStatusDetail(listing("Changes since the last sync:",
                                 patchDifference(synchronizedChannels.value_or(Channels{}), list)));
}

void BridgeController::sessionUpdated(const Path &session, const UpdatePlan &done) {
    sessionWasRewritten();
    updateLines = planLines(done);
    if (auto tracks = removedWithTakes(done); !tracks.empty()) {
        const auto copies = History(platform).copies(session);
        const bool kept = !copies.empty();
        removals.push_back({session, std::move(tracks), kept ? std::optional(copies.front()) : std::nullopt,
                            kept ? std::optional<std::int64_t>(0) : std::nullopt, synchronizedPatch,
                            synchronizedChannels, buttons.comparison});
    }
    buttons.comparison = ButtonFacts::Comparison::sync;
}

// What the disk says

/// What was read of it before says nothing any more.
void BridgeController::sessionWasRewritten() {
    ++updatesDone;
    sessionReader.forget();
    if (!answer)
        return;
    answer->signature.reset();
    answer->plan.reset();
}

void BridgeController::sessionOpened(const Path &session) {
    openedHere = session;
    recentThen = LiveTraxGenerator::mostRecentSessionURL(platform.folders);
    askAboutSessions();
}

void BridgeController::askAgainLater() {
    const bool saysAnything = activeSessionURL || channelsPatch || client->browser->mayBeRefused();
    if (!saysAnything || willAskAgain)
        return;
    willAskAgain = true;
    platform.main.after(refreshDelay, weakly(weak_from_this(), [](BridgeController &controller) {
                            controller.willAskAgain = false;
                            controller.askAboutSessions();
                        }));
}

void BridgeController::askAboutSessions() {
    const auto *removal = newestRemoval(activeSessionURL);
    sessionReader.ask({activeSessionURL, channelsPatch.value_or(""), withFiniteColours(channels),
                       folderToSaveIn(), removal != nullptr ? removal->copy : std::nullopt},
                      [weak = weak_from_this()](const SessionAnswer &read) {
                          if (const auto controller = weak.lock())
                              controller->sessionsRead(read);
                      });
    askAgainLater();
}

void BridgeController::sessionsRead(const SessionAnswer &read) {
    answer = read;
    if (read.lastOpened != recentThen)
        openedHere.reset(); // LiveTrax has listed what it has opened since
    for (Removal &each : removals)
        if (read.exists && each.copy && each.copy == read.question.copy)
            each.recordingsSince = read.recordingsSince;
    sceneMarkers->sessionIs(activeSessionURL, !anotherIsOpen());
    if (isOfActiveSession(read))
        sessionIsAwaited = sessionIsAwaited && !read.exists;
    if (const auto *current = currentAnswer()) {
        if (hasChanges() && current->plan)
            view.setStatusDetail(listing("SYNC LV1 will change:", planLines(*current->plan)));
    }
    showFacts();
}

bool BridgeController::isOfActiveSession(const SessionAnswer &read) const {
    return activeSessionURL && read.question.session == activeSessionURL;
}

std::optional<BridgeController::Path> BridgeController::lastOpened() const {
    if (openedHere || !answer)
        return openedHere;
    return isOfActiveSession(*answer) && answer->lastOpenedIsSession ? activeSessionURL : answer->lastOpened;
}

bool BridgeController::anotherIsOpen() const {
    const auto last = lastOpened();
    return last && last != activeSessionURL;
}

const SessionAnswer *BridgeController::currentAnswer() const {
    const bool fits =
        answer && isOfActiveSession(*answer) && answer->question.patch == currentPatch.value_or("");
    return fits ? &*answer : nullptr;
}

const Removal *BridgeController::newestRemoval(const std::optional<Path> &session) const {
    const auto found = std::find_if(removals.rbegin(), removals.rend(),
                                    [&](const Removal &each) { return each.session == session; });
    return found == removals.rend() ? nullptr : &*found;
}

// The notice

void BridgeController::showFacts() {
    const std::vector<Notice> all = notices(knownFacts());
    using Kind = Notice::Kind;
    const bool isReading = activeSessionURL && currentAnswer() == nullptr;
    const auto isOver = [&](const Notice &away) {
        if (isReading && (away.kind == Kind::sessionDiffers || away.kind == Kind::takesAtRisk))
            return false; // nobody knows at this moment
        return std::none_of(all.begin(), all.end(), [&](const Notice &one) { return away.covers(one); });
    };
    std::erase_if(dismissed, isOver);
    const auto isPutAway = [this](const Notice &one) {
        return std::any_of(dismissed.begin(), dismissed.end(),
                           [&](const Notice &away) { return away.covers(one); });
    };
    const auto first = std::find_if_not(all.begin(), all.end(), isPutAway);
    const auto next = first == all.end() ? std::nullopt : std::optional(*first);
    if (next != notice) {
        notice = next;
        view.showNotice(notice);
    }
    showMeanings();
}

NoticeFacts BridgeController::knownFacts() const {
    NoticeFacts facts = told;
    facts.session = activeSessionURL;
    using Problem = NoticeFacts::CreateProblem;
    if (facts.createProblem == Problem::noChannels && !channelsForCreate().empty())
        facts.createProblem = Problem::none; // a patch was accepted, or an update undone
    facts.linkIsDown = buttons.link == ButtonFacts::Link::lost;
    facts.networkIsRefused = buttons.link != ButtonFacts::Link::up && client->browser->isRefused();
    if (const auto *removal = newestRemoval(activeSessionURL)) {
        facts.removedWithTakes = removal->tracks;
        facts.recordingsSinceRemoval = removal->recordingsSince;
    }
    if (answer) {
        facts.recording.volumes = answer->volumes;
        facts.recording.format = answer->format;
    }
    facts.lastOpened = lastOpened();
    if (answer && isOfActiveSession(*answer))
        facts.sessionIsGone = !answer->exists && !sessionIsAwaited;
    if (const auto *current = currentAnswer()) {
        const bool differs = current->signature && currentPatch && *current->signature != *currentPatch;
        if (differs && current->plan && !hasChanges()) {
            facts.difference = difference(*current->plan);
            facts.differences = planLines(*current->plan);
            facts.takesInDifference = removedWithTakes(*current->plan);
        }
        if (hasChanges() && current->plan)
            facts.atRisk = removedWithTakes(*current->plan);
    }
    return facts;
}

void BridgeController::channelsAreOthers() {
    told.createProblem = NoticeFacts::CreateProblem::none;
    told.channels = channels.size();
    told.recording.inputs = recordedInputs(channels);
    Channels names = channels;
    const auto rest = std::stable_partition(names.begin(), names.end(), [](const LV1Channel &channel) {
        return isTooLongToRecord(channel.name());
    });
    told.overlongNames = recorderNameProblems({names.begin(), rest});
    told.rewrittenNames = recorderNameProblems({rest, names.end()});
    told.conflicts.clear();
    for (const PatchConflict &conflict : patchConflicts(channels))
        told.conflicts.push_back(conflict.text);
    askAboutSessions();
    showFacts();
}

/// Colours follow a patch one by one, and what an update would do with them is known only when all are there.
/// While no plan is on show nobody waits for it.
void BridgeController::coloursAreOthers() {
    if (std::exchange(coloursAreNews, true))
        return;
    platform.main.after(coloursDelay, weakly(weak_from_this(), [](BridgeController &controller) {
                            controller.coloursAreNews = false;
                            const bool differs =
                                controller.notice && controller.notice->kind == Notice::Kind::sessionDiffers;
                            if (differs || controller.hasChanges())
                                controller.askAboutSessions();
                        }));
}

void BridgeController::markerLost(const std::string &name, const std::string &reason) {
    told.lostMarker = {name, reason};
    showFacts();
}

void BridgeController::surfaceFailed(const std::error_code &error, const std::string &reason) {
    if (error != std::errc::address_in_use)
        return;
    told.portHolder.reset();
    sceneMarkers->findPortHolder([weak = weak_from_this(), reason](const std::string &program) {
        if (const auto controller = weak.lock()) {
            controller->told.portHolder = {reason, program};
            controller->showFacts();
        }
    });
}

void BridgeController::fieldsEdited() {
    told.createProblem = NoticeFacts::CreateProblem::none;
    showFacts();
    askAboutSessions();
}

void BridgeController::dismissNotice() {
    if (notice)
        dismissed.push_back(*notice);
    showFacts();
}

void BridgeController::noticeAction() {
    if (!notice || notice->action.empty() || ending)
        return;
    const NoticeFacts facts = knownFacts();
    switch (notice->kind) {
    case Notice::Kind::otherSession:
        workOn(facts.lastOpened);
        askAboutSessions();
        showFacts();
        break;
    case Notice::Kind::sessionGone:
        chooseSession();
        break;
    case Notice::Kind::linkDown:
        connectToSelectedHost();
        break;
    case Notice::Kind::sessionDiffers:
        updateNoticedSession();
        break;
    case Notice::Kind::takesRemoved:
        undoUpdate();
        break;
    case Notice::Kind::takesAtRisk:
        if (const auto *current = currentAnswer(); current && current->plan)
            view.showLines("SYNC LV1 will change:", planLines(*current->plan));
        break;
    case Notice::Kind::patchConflict:
        view.showLines("No session can be created of this patch", facts.conflicts);
        break;
    default:
        break; // nothing to press
    }
}

/// The recorded tracks that an update would take out now: what was read last may be older than a recording.
std::vector<std::string> BridgeController::takesThatWouldGo() const {
    try {
        return removedWithTakes(
            LiveTraxGenerator::plan(platform, *activeSessionURL, withFiniteColours(channels)));
    } catch (const std::exception &) {
        return {}; // the update says what is wrong
    }
}

/// Whoever presses SYNC LV1 has seen it turn amber; here recorded tracks would go unannounced.
void BridgeController::updateNoticedSession() {
    // A LiveTrax that runs has its own question asked anyway.
    const auto going = runningLiveTrax() ? std::vector<std::string>() : takesThatWouldGo();
    if (going.empty()) {
        updateActiveSession(channels, *currentPatch);
        return;
    }
    auto answered = [weak = weak_from_this(), of = channels, patch = *currentPatch](std::size_t button) {
        const auto controller = weak.lock();
        if (controller && button == 0)
            controller->updateActiveSession(of, patch);
        else if (controller)
            controller->cancelUpdate("Sync cancelled.");
    };
    view.showAlert({"Update Session",
                    "This takes " + counted(going.size(), "recorded track", "recorded tracks") +
                        " out of the session: " + joined(going) +
                        ". The sound files stay, and Undo is offered afterwards.",
                    {"Update", "Cancel"}},
                   std::move(answered));
}

void BridgeController::chooseSession() {
    view.chooseFolder(folderToSaveIn(), [weak = weak_from_this()](const std::optional<Path> &folder) {
        const auto controller = weak.lock();
        std::error_code missing;
        if (!controller || !folder)
            return;
        if (!std::filesystem::exists(LiveTraxGenerator::sessionFile(*folder), missing)) {
            controller->view.showAlert({"This folder is no LiveTrax session",
                                        folder->string() + " holds no session file of its own name."},
                                       [](std::size_t) {});
            return;
        }
        controller->workOn(folder);
        controller->sessionIsAwaited = false;
        controller->askAboutSessions();
        controller->showFacts();
    });
}

} // namespace corvane

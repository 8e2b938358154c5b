#include "app/BridgeController.h"

#include "app/PlanText.h"
#include "app/SessionUpdate.h"
#include "base/Text.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "lv1/HostChoice.h"

#include <algorithm>
#include <utility>

namespace corvane {

namespace {

constexpr auto searchingText = "Searching for an LV1 host on the SoundGrid network…";
constexpr auto changesText = "Changes detected. Stop the transport and press SYNC LV1.";

/// How much taller the window is with the patch view open, in points.
constexpr int patchViewHeight = 240;
/// A hardware address in capitals; it is ASCII.
std::string upperCase(std::string text) {
    for (char &letter : text)
        if (letter >= 'a' && letter <= 'z')
            letter = static_cast<char>(letter - 'a' + 'A');
    return text;
}

bool isSameButForColour(const LV1Channel &one, const LV1Channel &other) {
    return one.sourceIndex() == other.sourceIndex() && one.inputIndex() == other.inputIndex() &&
           one.stereo() == other.stereo() && one.name() == other.name() && one.driver() == other.driver() &&
           one.sourceType() == other.sourceType();
}

/// By source; the numbers first, which are cheaper to compare.
bool comesBefore(const LV1Channel *one, const LV1Channel *other) {
    return one->sourceIndex() != other->sourceIndex() ? one->sourceIndex() < other->sourceIndex()
                                                      : one->sourceType() < other->sourceType();
}

void takeColour(LV1Channel &channel, const LV1Channel &from) {
    channel.red = from.red;
    channel.green = from.green;
    channel.blue = from.blue;
}

/// Makes a list equal to another; true when at most colours were others, which alone are copied then.
bool adopt(std::vector<LV1Channel> &channels, const std::vector<LV1Channel> &list) {
    if (!std::equal(channels.begin(), channels.end(), list.begin(), list.end(), isSameButForColour)) {
        channels = list;
        return false;
    }
    for (std::size_t i = 0; i < list.size(); ++i)
        takeColour(channels[i], list[i]);
    return true;
}

} // namespace

std::shared_ptr<BridgeController> BridgeController::make(Platform &platform, BridgeView &view) {
    return std::shared_ptr<BridgeController>(new BridgeController(platform, view));
}

BridgeController::BridgeController(Platform &platform, BridgeView &view)
    : client(LV1Client::make(platform)),
      liveTraxOSC(std::make_shared<LiveTraxOSC>(platform.main, platform.queues->make("Corvane.LiveTraxOSC"),
                                                *platform.network)),
      sceneMarkers(std::make_shared<SceneMarkers>(platform, liveTraxOSC)), platform(platform), view(view),
      sessionReader(platform) {}

void BridgeController::applicationDidFinishLaunching() {
    view.useBrandIcon();
    view.buildMainMenu();
    workOn(LiveTraxGenerator::knownSessionURL(*platform.defaults, platform.folders));
    buildUI();
    wireClient();
    startBridgeServices();
}

void BridgeController::buildUI() {
    view.buildUI();
    showLook(redLook);
    view.setSceneDetail(sceneMarkers->explanation());
    if (const auto music = platform.folders.music())
        view.setOutputPath(music->string());
}

void BridgeController::startBridgeServices() {
    if (bridgeServicesStarted)
        return;
    bridgeServicesStarted = true;
    liveTraxOSC->start();
    client->startDiscovery();
    showStatus(searchingText);
    askAboutSessions();
}

void BridgeController::applicationWillTerminate() {
    client->stop();
    liveTraxOSC->stop();
}

template <class... Arguments>
std::function<void(Arguments...)>
BridgeController::reaction(void (BridgeController::*handler)(Arguments...)) {
    return [weak = weak_from_this(), handler](Arguments... arguments) {
        if (const auto controller = weak.lock())
            (controller.get()->*handler)(arguments...);
    };
}

void BridgeController::wireClient() {
    client->onStatus = reaction(&BridgeController::statusChanged);
    client->onConnectionState = reaction(&BridgeController::connectionStateChanged);
    client->onEndpoints = reaction(&BridgeController::endpointsChanged);
    client->onServices = reaction(&BridgeController::servicesChanged);
    client->onChannels = reaction(&BridgeController::channelsChanged);
    client->onPatch = reaction(&BridgeController::patchChanged);
    client->onScene = reaction(&BridgeController::sceneChanged);
    liveTraxOSC->onFailure = [weak = weak_from_this()](const std::error_code &error,
                                                       const std::string &reason) {
        if (const auto controller = weak.lock())
            controller->surfaceFailed(error, reason);
    };
    liveTraxOSC->onMarkerLost = [weak = weak_from_this()](const std::string &name,
                                                          const std::string &reason) {
        if (const auto controller = weak.lock())
            controller->markerLost(name, reason);
    };
}

void BridgeController::showStatus(const std::string &text) {
    statusText = text;
    view.setStatusLabel(text);
}

void BridgeController::statusChanged(const std::string &text) {
    showStatus(text);
}

void BridgeController::connectionStateChanged(bool connected) {
    using Link = ButtonFacts::Link;
    // Once accepted, the button waits for a patch: only that tells green from amber.
    const auto isLinked = [this](const auto &host) { return client->leadsTo(host); };
    const bool leads = std::any_of(endpoints.begin(), endpoints.end(), isLinked) ||
                       std::any_of(services.begin(), services.end(),
                                   [&](const auto &service) { return isLinked(*service); });
    linkIs(connected ? Link::up : leads ? Link::greeting : Link::lost);
    if (connected)
        return;
    showLook(redLook);
    if (!hasChanges()) // what the last update changed is behind no status of a lost link
        view.setStatusDetail("");
}

void BridgeController::endpointsChanged(const std::vector<LV1Endpoint> &list) {
    endpoints = list;
    std::vector<std::string> titles;
    for (const LV1Endpoint &endpoint : endpoints)
        titles.push_back(endpoint.name + "  ·  " + upperCase(endpoint.mac));
    showHosts(titles);
}

void BridgeController::servicesChanged(const std::vector<std::shared_ptr<NetService>> &list) {
    services = list;
    if (!endpoints.empty())
        return;
    std::vector<std::string> titles;
    for (const auto &service : services)
        titles.push_back(service->name());
    showHosts(titles);
    if (const auto status = chooseHost(*client, endpoints, services))
        showStatus(*status);
}

void BridgeController::showHosts(const std::vector<std::string> &titles) {
    view.setDevicePopup(titles);
    showMeanings();
}

void BridgeController::channelsChanged(const Channels &list) {
    const bool areOthers = channels != list;
    std::string signature =
        adopt(channels, list) && channelsPatch ? *channelsPatch : LiveTraxGenerator::patchSignature(list);
    if (synchronizedPatch && *synchronizedPatch == signature)
        adopt(synchronizedChannels ? *synchronizedChannels : synchronizedChannels.emplace(), list);
    else
        recolourSnapshot(list);
    view.reloadTable(channels);
    view.setSyncButtonEnabled(!channels.empty());
    showPatchTitle();
    if (channelsPatch != signature) {
        channelsPatch = std::move(signature);
        channelsAreOthers();
    } else if (areOthers) {
        coloursAreOthers();
    }
}

/// The snapshot keeps its patch and takes the console's colours, so that a colour is never a pending change.
void BridgeController::recolourSnapshot(const Channels &list) {
    if (!synchronizedChannels || synchronizedChannels->empty())
        return;
    std::vector<const LV1Channel *> bySource;
    for (const LV1Channel &channel : list)
        bySource.push_back(&channel);
    std::stable_sort(bySource.begin(), bySource.end(), comesBefore);
    for (LV1Channel &channel : *synchronizedChannels) {
        const auto first = std::lower_bound(bySource.begin(), bySource.end(), &channel, comesBefore);
        if (first != bySource.end() && !comesBefore(&channel, *first))
            takeColour(channel, **first);
    }
}

void BridgeController::showPatchTitle() {
    view.setPatchButton("PATCH LV1 · " + std::to_string(channels.size()) + " tracks " +
                        (patchExpanded ? "▾" : "▸"));
}

bool BridgeController::hasChanges() const {
    return currentPatch && synchronizedPatch && *currentPatch != *synchronizedPatch;
}

void BridgeController::patchChanged(const Channels &list) {
    const std::string signature = LiveTraxGenerator::patchSignature(list);
    currentPatch = signature;
    buttons.justSynced = false;
    linkIs(ButtonFacts::Link::up);
    if (hasChanges()) {
        showLook(amberLook);
        showStatus(changesText);
        showChanges(list);
    } else {
        acceptPatch(list, signature);
    }
}

void BridgeController::acceptPatch(const Channels &list, const std::string &signature) {
    synchronizedPatch = signature;
    synchronizedChannels = list;
    buttons.justSynced = hasChanges(); // they came while the session was being updated
    if (buttons.justSynced)
        showChanges(channels);
    else
        view.setStatusDetail(listing("The update changed:", std::exchange(updateLines, {})));
    showLook(greenLook);
    showFacts();
}

void BridgeController::sceneChanged(const std::string &name) {
    view.setSceneLabel("Scene: " + name);
    const SceneContext context{lastScene, activeSessionURL.has_value(),
                               [this] { return runningLiveTrax() != nullptr; }};
    lastScene = name;
    const SceneRecall recall = sceneMarkers->recalled(
        name, context, [weak = weak_from_this(), number = ++recallsMade](const SendReport &report) {
            const auto controller = weak.lock();
            if (!controller)
                return;
            if (!report.problem.empty())
                controller->lastLost = std::max(controller->lastLost, number);
            else if (number > controller->lastLost) // it may be told later than a later one
                controller->told.lostMarker.reset();
            controller->showFacts();
        });
    view.setSceneDetail(sceneMarkers->explanation());
    if (recall.marked)
        showStatus("Scene marker added: " + name);
}

void BridgeController::connectSelected() {
    if (ending) // the update that the program is waiting for is the last one
        return;
    if (hasChanges()) {
        updateActiveSession(channels, *currentPatch);
        return;
    }
    connectToSelectedHost();
}

std::optional<std::size_t> BridgeController::selectedHost() const {
    const int selected = view.selectedDevice();
    const auto host = static_cast<std::size_t>(selected);
    return selected >= 0 && host < std::max(endpoints.size(), services.size()) ? std::optional(host)
                                                                               : std::nullopt;
}

bool BridgeController::leadsTo(std::size_t host) const {
    return (host < endpoints.size() && client->leadsTo(endpoints[host])) ||
           (host >= endpoints.size() && host < services.size() && client->leadsTo(*services[host]));
}

void BridgeController::hostChosen() {
    if (const auto host = selectedHost(); host && !leadsTo(*host))
        connectToSelectedHost();
}

void BridgeController::connectToSelectedHost() {
    const auto host = selectedHost();
    const auto before = client->connection;
    if (!host)
        client->startDiscovery();
    else if (*host < endpoints.size())
        client->connect(LV1Endpoint(endpoints[*host]));
    else
        client->connect(services[*host]);
    if (client->connection != before) // else it has no address yet, and a link that stands is left alone
        linkIs(ButtonFacts::Link::greeting);
}

void BridgeController::togglePatch() {
    patchExpanded = !patchExpanded;
    view.setChannelScrollShown(patchExpanded);
    showPatchTitle();
    view.growWindow(patchExpanded ? patchViewHeight : -patchViewHeight);
}

void BridgeController::chooseFolder() {
    view.chooseFolder(folderToSaveIn(), [weak = weak_from_this()](const std::optional<Path> &folder) {
        if (const auto controller = weak.lock(); controller && folder)
            controller->view.setOutputPath(folder->string());
    });
}

void BridgeController::showAbout() {
    view.showAbout();
}

} // namespace corvane

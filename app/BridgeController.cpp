#include "app/BridgeController.h"

#include "app/SessionUpdate.h"
#include "base/Text.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "lv1/HostChoice.h"
#include "patch/PatchDifference.h"

#include <algorithm>
#include <map>
#include <utility>

namespace corvane {

namespace {

constexpr auto searchingText = "Searching for an LV1 host on the SoundGrid network…";
constexpr auto changesText = "Changes detected. Stop the transport and press SYNC LV1.";

constexpr auto lostMeaning = "Red: no console is connected. Press to connect to the chosen host.";
constexpr auto lostWithChangesMeaning =
    "Red: no console is connected, and there are changes since the last sync. Press to update the session.";
constexpr auto synchronizedMeaning = "Green: no changes since the last sync.";
constexpr auto overtakenMeaning =
    "Green: synced, but the console's patch has changed since. Press to update the session again.";
constexpr auto changedMeaning = "Amber: the console's patch has changed. Press to update the session.";

/// How much taller the window is with the patch view open, in points.
constexpr int patchViewHeight = 240;
/// Changes listed in the status line's explanation; the others are counted.
constexpr std::size_t changesListed = 20;

/// A hardware address in capitals; it is ASCII.
std::string upperCase(std::string text) {
    for (char &letter : text)
        if (letter >= 'a' && letter <= 'z')
            letter = static_cast<char>(letter - 'a' + 'A');
    return text;
}

std::string listing(const std::vector<std::string> &changes) {
    std::string text = "Changes since the last sync:";
    for (std::size_t position = 0; position < std::min(changes.size(), changesListed); ++position)
        text += "\n" + changes[position];
    if (changes.size() > changesListed)
        text += "\nand " + std::to_string(changes.size() - changesListed) + " more";
    return text;
}

} // namespace

std::shared_ptr<BridgeController> BridgeController::make(Platform &platform, BridgeView &view) {
    return std::shared_ptr<BridgeController>(new BridgeController(platform, view));
}

BridgeController::BridgeController(Platform &platform, BridgeView &view)
    : client(LV1Client::make(platform)),
      liveTraxOSC(std::make_shared<LiveTraxOSC>(platform.main, platform.queues->make("Corvane.LiveTraxOSC"),
                                                *platform.network)),
      platform(platform), view(view) {}

void BridgeController::applicationDidFinishLaunching() {
    view.useBrandIcon();
    view.buildMainMenu();
    if (const auto stored = platform.defaults->string(LiveTraxGenerator::lastSessionKey))
        activeSessionURL = Path(*stored);
    else
        activeSessionURL = LiveTraxGenerator::mostRecentSessionURL(platform.folders);
    buildUI();
    wireClient();
    startBridgeServices();
}

void BridgeController::buildUI() {
    view.buildUI();
    view.setConnectButton(redLook, lostMeaning);
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
}

void BridgeController::showStatus(const std::string &text) {
    statusText = text;
    view.setStatusLabel(text);
}

void BridgeController::statusChanged(const std::string &text) {
    showStatus(text);
}

void BridgeController::connectionStateChanged(bool connected) {
    // Once accepted, the button waits for a patch: only that tells green from amber.
    if (!connected)
        view.setConnectButton(redLook, hasChanges() ? lostWithChangesMeaning : lostMeaning);
}

void BridgeController::endpointsChanged(const std::vector<LV1Endpoint> &list) {
    endpoints = list;
    std::vector<std::string> titles;
    for (const LV1Endpoint &endpoint : endpoints)
        titles.push_back(endpoint.name + "  ·  " + upperCase(endpoint.mac));
    view.setDevicePopup(titles);
}

void BridgeController::servicesChanged(const std::vector<std::shared_ptr<NetService>> &list) {
    services = list;
    if (!endpoints.empty())
        return;
    std::vector<std::string> titles;
    for (const auto &service : services)
        titles.push_back(service->name());
    view.setDevicePopup(titles);
    if (const auto status = chooseHost(*client, endpoints, services))
        showStatus(*status);
}

void BridgeController::channelsChanged(const Channels &list) {
    channels = list;
    if (synchronizedPatch && *synchronizedPatch == LiveTraxGenerator::patchSignature(list))
        synchronizedChannels = list;
    else
        recolourSnapshot(list);
    view.reloadTable(channels);
    view.setSyncButtonEnabled(!channels.empty());
    showPatchTitle();
}

/// The snapshot keeps its patch and takes the console's colours, so that a colour is never a pending change.
void BridgeController::recolourSnapshot(const Channels &list) {
    if (!synchronizedChannels || synchronizedChannels->empty())
        return;
    std::map<std::pair<std::string, std::int32_t>, const LV1Channel *> firstOfSource;
    for (const LV1Channel &channel : list)
        firstOfSource.emplace(std::pair(channel.sourceType(), channel.sourceIndex()), &channel);
    for (LV1Channel &channel : *synchronizedChannels) {
        const auto found = firstOfSource.find({channel.sourceType(), channel.sourceIndex()});
        if (found == firstOfSource.end())
            continue;
        channel.red = found->second->red;
        channel.green = found->second->green;
        channel.blue = found->second->blue;
    }
}

void BridgeController::showPatchTitle() {
    view.setPatchButton("PATCH LV1 · " + std::to_string(channels.size()) + " tracks " +
                        (patchExpanded ? "▾" : "▸"));
}

bool BridgeController::hasChanges() const {
    return currentPatch && synchronizedPatch && *currentPatch != *synchronizedPatch;
}

void BridgeController::showChanges(const Channels &list) {
    view.setStatusDetail(listing(patchDifference(synchronizedChannels.value_or(Channels{}), list)));
}

void BridgeController::patchChanged(const Channels &list) {
    const std::string signature = LiveTraxGenerator::patchSignature(list);
    currentPatch = signature;
    if (hasChanges()) {
        view.setConnectButton(amberLook, changedMeaning);
        showStatus(changesText);
        showChanges(list);
        return;
    }
    acceptPatch(list, signature);
}

void BridgeController::acceptPatch(const Channels &list, const std::string &signature) {
    synchronizedPatch = signature;
    synchronizedChannels = list;
    if (hasChanges()) { // they came while the session was being updated
        view.setConnectButton(greenLook, overtakenMeaning);
        showChanges(channels);
    } else {
        view.setConnectButton(greenLook, synchronizedMeaning);
        view.setStatusDetail({});
    }
}

void BridgeController::sceneChanged(const std::string &name) {
    view.setSceneLabel("Scene: " + name);
    const bool marked = deservesMarker(name);
    lastScene = name;
    if (!marked)
        return;
    liveTraxOSC->addSceneMarker(name);
    showStatus("Scene marker added: " + name);
}

/// The first scene after launch is only remembered: it was recalled before anyone recorded.
bool BridgeController::deservesMarker(const std::string &name) const {
    return !trimmed(name).empty() && !equalIgnoringCase(name, "No Scene") && lastScene &&
           *lastScene != name && activeSessionURL && runningLiveTrax();
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

void BridgeController::hostChosen() {
    const int selected = view.selectedDevice();
    const auto index = static_cast<std::size_t>(selected);
    const bool there = selected >= 0 && (index < endpoints.size()  ? client->leadsTo(endpoints[index])
                                         : index < services.size() ? client->leadsTo(*services[index])
                                                                   : true);
    if (!there)
        connectToSelectedHost();
}

void BridgeController::connectToSelectedHost() {
    const int selected = view.selectedDevice();
    if (selected < 0) {
        client->startDiscovery();
        return;
    }
    const auto index = static_cast<std::size_t>(selected);
    if (index < endpoints.size()) {
        client->connect(LV1Endpoint(endpoints[index]));
    } else if (index < services.size()) {
        client->connect(services[index]);
    } else {
        client->startDiscovery();
    }
}

void BridgeController::noticeAction() {}

void BridgeController::dismissNotice() {
    view.showNotice(std::nullopt);
}

void BridgeController::fieldsEdited() {}

void BridgeController::togglePatch() {
    patchExpanded = !patchExpanded;
    view.setChannelScrollShown(patchExpanded);
    showPatchTitle();
    view.growWindow(patchExpanded ? patchViewHeight : -patchViewHeight);
}

void BridgeController::chooseFolder() {
    view.chooseFolder([weak = weak_from_this()](const std::optional<Path> &folder) {
        if (const auto controller = weak.lock(); controller && folder)
            controller->view.setOutputPath(folder->string());
    });
}

void BridgeController::showAbout() {
    view.showAbout();
}

} // namespace corvane

#include "app/SceneMarkers.h"

#include "base/Text.h"
#include "livetrax/session/Markers.h"

#include <chrono>
#include <exception>
#include <utility>
#include <vector>

namespace corvane {

namespace {

/// LiveTrax writes a session within milliseconds; a long one takes a little more.
constexpr std::chrono::seconds savingTimeout{1};
/// Bytes of a scene's name that are listed.
constexpr std::size_t nameListed = 120;

/// The name on one line, and not a longer one than a tooltip takes.
std::string listed(const std::string &scene) {
    if (scene.size() <= nameListed)
        return withoutControls(scene);
    std::size_t end = nameListed;
    while (end > 0 && (static_cast<unsigned char>(scene[end]) & 0xC0U) == 0x80U)
        --end;
    return withoutControls(scene.substr(0, end)) + "…";
}

} // namespace

SceneMarkers::SceneMarkers(Platform &platform, std::shared_ptr<LiveTraxOSC> liveTrax)
    : platform(platform), liveTrax(std::move(liveTrax)), queue(platform.queues->make("Corvane.Markers")) {}

void SceneMarkers::sessionIs(const std::optional<std::filesystem::path> &active) {
    liveTrax->onSave = [weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->platform.main.after(savingTimeout, weakly(weak, [](SceneMarkers &alive) { alive.read(); }));
    };
    if (session != active)
        liveTrax->setSessionMarkers({});
    session = active;
    read();
}

void SceneMarkers::read() {
    if (!session)
        return;
    queue->post([&main = platform.main, weak = weak_from_this(), session = *session] {
        std::vector<std::string> names;
        try {
            names = readMarkNames(session);
        } catch (const std::exception &) {
            return; // what was known of it still holds
        }
        main.post(weakly(weak, [names = std::move(names), session](SceneMarkers &alive) {
            if (alive.session == session)
                alive.liveTrax->setSessionMarkers(names);
        }));
    });
}

SceneRecall SceneMarkers::recalled(const std::string &scene, const SceneContext &context,
                                   LiveTraxOSC::SendCompletion sent) {
    SceneRecall decided = recall(scene, context, platform.clock());
    recalls.push_front(decided);
    if (recalls.size() > recallsKept)
        recalls.pop_back();
    if (decided.marked)
        liveTrax->addSceneMarker(scene, std::move(sent));
    return decided;
}

std::string SceneMarkers::recallsText() const {
    std::string text;
    for (const SceneRecall &recall : recalls)
        text += (text.empty() ? "" : "\n") + timeOfDay(recall.time) + "  " + listed(recall.scene) + "  " +
                (recall.marked ? "marked" : "not marked: " + recall.reason);
    return text;
}

} // namespace corvane

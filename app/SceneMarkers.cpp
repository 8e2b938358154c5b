#include "app/SceneMarkers.h"

#include "base/Quotation.h"
#include "livetrax/LiveTraxSurface.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/Markers.h"
#include "platform/files/FileState.h"

#include <chrono>
#include <exception>
#include <system_error>
#include <utility>
#include <vector>

#include <unistd.h>

namespace corvane {

namespace {

/// LiveTrax writes a session within milliseconds; a long one takes a little more.
constexpr std::chrono::seconds savingTimeout{1};

constexpr auto classicStyle =
    "Marker style: classic. LiveTrax names a marker only while the transport stands; "
    "started with --markers named, Corvane has all of them named.";
constexpr auto namedStyle = "Marker style: named. Markers have their names also while LiveTrax records.";

} // namespace

/// A session whose markers are asked for.
struct SceneMarkers::Reading {
    std::filesystem::path session;
    FileState file = {}; ///< when it was read last; the queue's
};

SceneMarkers::SceneMarkers(Platform &platform, std::shared_ptr<LiveTraxOSC> liveTrax)
    : platform(platform), liveTrax(std::move(liveTrax)), queue(platform.queues->make("Corvane.Markers")) {}

void SceneMarkers::sessionIs(const std::optional<std::filesystem::path> &active, bool isOpen) {
    liveTrax->onSave = [weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->platform.main.after(savingTimeout,
                                      weakly(weak, [](SceneMarkers &alive) { alive.lookAgain(); }));
    };
    if (!active) {
        reading.reset();
        liveTrax->setSessionMarkers({});
    } else if (!isOpen) {
        reading.reset();
        liveTrax->forgetSessionMarkers();
    } else if (!reading || reading->session != *active) {
        reading = std::make_shared<Reading>(Reading{*active});
        liveTrax->forgetSessionMarkers();
    }
    lookAgain();
}

void SceneMarkers::lookAgain() {
    if (!reading)
        return;
    queue->post([&main = platform.main, weak = weak_from_this(), reading = reading] {
        const auto tell = [&](auto what) {
            main.post(weakly(weak, [reading, what = std::move(what)](SceneMarkers &alive) {
                if (alive.reading == reading)
                    what(*alive.liveTrax);
            }));
        };
        const auto tellNames = [&](std::vector<std::string> names) {
            tell([names = std::move(names)](LiveTraxOSC &liveTrax) { liveTrax.setSessionMarkers(names); });
        };
        const auto file = LiveTraxGenerator::sessionFile(reading->session);
        const FileState state = stateOf(file);
        std::error_code ignored;
        if (state && state != reading->file) {
            tell([](LiveTraxOSC &liveTrax) { liveTrax.forgetSessionMarkers(); });
            try {
                tellNames(readMarkNames(reading->session));
                reading->file = state;
            } catch (const std::exception &) {
                // They stay unknown, and are tried again at the next occasion.
            }
        } else if (!reading->file &&
                   std::filesystem::status(file, ignored).type() == std::filesystem::file_type::not_found) {
            tellNames({}); // LiveTrax has yet to make it
        }
    });
}

void SceneMarkers::findPortHolder(std::function<void(const std::string &program)> told) {
    queue->post([&main = platform.main, weak = weak_from_this(), holdersOf = platform.portHolders,
                 told = std::move(told)] {
        for (const UDPPortHolder &holder : holdersOf(liveTraxSurface::replyPort))
            if (holder.pid != ::getpid())
                return main.post(
                    weakly(weak, [told, program = described(holder)](SceneMarkers &) { told(program); }));
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

std::string SceneMarkers::explanation() const {
    std::string text;
    for (const SceneRecall &recall : recalls)
        text += timeOfDay(recall.time) + "  " + shortened(recall.scene) + "  " +
                (recall.marked ? "marked" : "not marked: " + recall.reason) + "\n";
    return text + (text.empty() ? "" : "\n") +
           (liveTrax->markerStyle == MarkerStyle::named ? namedStyle : classicStyle);
}

} // namespace corvane

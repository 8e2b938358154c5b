#include "livetrax/remote/SceneRecall.h"

#include "base/Text.h"

#include <ctime>

namespace corvane {

const char *reasonText(Unmarked reason) {
    switch (reason) {
    case Unmarked::blank:
        return "blank";
    case Unmarked::noScene:
        return "no scene";
    case Unmarked::first:
        return "first";
    case Unmarked::same:
        return "same";
    case Unmarked::noSession:
        return "no session";
    case Unmarked::noRecorder:
        return "no recorder";
    }
    return "";
}

std::optional<Unmarked> whyUnmarked(const std::string &scene, const SceneContext &context) {
    if (trimmed(scene).empty())
        return Unmarked::blank;
    if (equalIgnoringCase(scene, "No Scene"))
        return Unmarked::noScene;
    if (!context.lastScene)
        return Unmarked::first;
    if (*context.lastScene == scene)
        return Unmarked::same;
    if (!context.sessionKnown)
        return Unmarked::noSession;
    if (!context.recorderRuns())
        return Unmarked::noRecorder;
    return std::nullopt;
}

SceneRecall recall(const std::string &scene, const SceneContext &context,
                   std::chrono::system_clock::time_point time) {
    const auto reason = whyUnmarked(scene, context);
    return {time, scene, !reason, reason ? reasonText(*reason) : ""};
}

std::string timeOfDay(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[16] = {};
    std::strftime(text, sizeof text, "%H:%M:%S", &local);
    return text;
}

} // namespace corvane

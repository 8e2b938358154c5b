#pragma once

#include "livetrax/remote/LiveTraxOSC.h"
#include "livetrax/remote/SceneRecall.h"
#include "platform/Platform.h"

#include <cstddef>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace corvane {

/// Turns the console's scene recalls into markers: decides which get one, keeps the latest recalls, and gives
/// LiveTraxOSC the names of the session's markers. Used on the main queue; sessions are read on a queue of
/// its own, since reading a long one takes time.
class SceneMarkers : public std::enable_shared_from_this<SceneMarkers> {
public:
    /// Recalls that are kept for whoever looks for them later.
    static constexpr std::size_t recallsKept = 20;

    /// `platform` outlives it.
    SceneMarkers(Platform &platform, std::shared_ptr<LiveTraxOSC> liveTrax);

    /// Reads the names of the markers of the session that LiveTrax works on now, and, when this program has
    /// it saved or the file has changed, again: LiveTrax also saves by itself. While its file is there and
    /// has not been read, and while LiveTrax has another session open, every name may be one of its markers.
    void sessionIs(const std::optional<std::filesystem::path> &session, bool isOpen);
    /// Finds out which other program holds the port of LiveTrax's answers; `told` is called on the main
    /// queue, and not at all when there is none.
    void findPortHolder(std::function<void(const std::string &program)> told);
    /// Decides what becomes of a recall, and has LiveTrax add the marker; `sent` is told what became of that.
    SceneRecall recalled(const std::string &scene, const SceneContext &context,
                         LiveTraxOSC::SendCompletion sent = {});
    /// The last recalls in words, one a line, the latest first, and beneath them the style of the markers.
    std::string explanation() const;

private:
    struct Reading;

    void lookAgain();

    Platform &platform;
    std::shared_ptr<LiveTraxOSC> liveTrax;
    std::shared_ptr<SerialQueue> queue;
    std::shared_ptr<Reading> reading; ///< of the active session; null while there is none
    std::deque<SceneRecall> recalls;  ///< the latest first
};

} // namespace corvane

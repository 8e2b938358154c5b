#pragma once

#include "osc/OSCMessage.h"
#include "platform/queues/SerialQueue.h"
#include "sim/LiveTraxSimOptions.h"
#include "sim/LiveTraxSimSession.h"
#include "sim/SurfaceSocket.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace corvane {

class AsioContext;

/// LiveTrax's preferences folder below a home, of the generation that the program's own name tells:
/// "LiveTrax1" for a program of that name, else "LiveTrax3".
std::filesystem::path liveTraxPreferences(const std::filesystem::path &home,
                                          const std::filesystem::path &program);

/// A stand-in for LiveTrax: it makes or opens a session, is driven over OSC and keeps markers by the rules of
/// the recorder's engine: "/marker" goes to the marker of that name if there is one, and otherwise names the
/// marker exactly under the playhead, which moves on while the transport rolls. It records nothing. Used on
/// one queue.
class LiveTraxSim {
public:
    /// Told in a few words of each thing that happened.
    using Log = std::function<void(const std::string &line)>;

    /// Makes or opens the session and notes it in "recent". Throws FileError and XMLError.
    LiveTraxSim(const LiveTraxCommandLine &commandLine, const LiveTraxBehaviour &behaviour,
                const std::filesystem::path &preferences, SerialQueue &queue, Log log);

    /// Opens the OSC surface on port 3819 of the loopback address, or the next one that is free; not when
    /// deaf. Throws std::system_error.
    void openSurface(const std::shared_ptr<AsioContext> &context);
    /// Does what a message says; the reply, if there is one.
    std::optional<OSCMessage> handle(const OSCMessage &message);
    /// A request to quit, which saves nothing: calls `quit` when it is time, or never.
    void terminate(std::function<void()> quit);

private:
    /// In seconds from the session's start.
    double playhead() const;
    void save();
    void addMarker(const OSCMessage &message);
    void nameMarker(const OSCMessage &message);
    void goTo(double seconds);

    const LiveTraxBehaviour behaviour;
    SerialQueue &queue;
    Log log;
    const SerialQueue::Clock::time_point started;
    double standsAt = 0; ///< the playhead while the transport does not roll, in seconds
    bool rolling;
    bool armed;
    bool recording;
    LiveTraxSimSession session;
    std::unique_ptr<SurfaceSocket> surface;
    bool quitting = false;
};

} // namespace corvane

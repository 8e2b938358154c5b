#pragma once

#include "cli/Commands.h"
#include "lv1/LV1Client.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corvane::cli {

/// Reads a console's patch once: connects to the named host, else to the only one that is heard, and waits
/// for the first patch, then for the colours that follow it: until the console has sent nothing for 300 ms (5
/// s at most) or has closed the connection. Lives on the main queue.
class PatchReader : public std::enable_shared_from_this<PatchReader> {
public:
    using Channels = std::vector<LV1Channel>;

    /// The console that was heard or named.
    struct Console {
        std::string name; ///< as it announces itself; empty for one that was named by its address
        std::string way;  ///< "multicast", "Bonjour"; empty likewise
        std::string host; ///< empty when none was heard, or its address is not known yet
        int port = 0;
        SerialQueue::Clock::time_point lastHeard;
        bool accepted = false; ///< the link

        /// "FOH (10.0.0.1:5000)", "10.0.0.1:5000".
        std::string text() const;
    };

    /// Reads from the console that the options name; waits ten seconds for its first patch unless they say
    /// how long.
    explicit PatchReader(const CommandContext &context);

    /// Exactly one of the two is called, once; set before `start`.
    std::function<void(const Channels &)> onPatch;
    std::function<void(const Outcome &)> onFailure;

    void start();
    const Console &console() const { return heardConsole; }
    /// Leaves the host; nothing is called any more.
    void stop();

private:
    void wireClient();
    void heard(const LV1Endpoint &endpoint);
    void heardServices(const std::vector<std::shared_ptr<NetService>> &services);
    void happened(const LV1LinkEvent &event);
    void waitForSilence();
    void finishAfter(std::chrono::milliseconds delay);
    void giveUp();
    std::string whyNothingCame() const;
    void finish();
    void fail(const std::string &message);

    Platform &platform;
    Output &output;
    const ChannelSourceOptions &source;
    const std::chrono::milliseconds timeout;
    std::shared_ptr<LV1Client> client;
    DelayedTask deadline;
    DelayedTask silence;
    SerialQueue::Clock::time_point latestEnd;
    bool patchCame = false;
    Channels channels;
    std::string lastStatus;
    Console heardConsole;
};

} // namespace corvane::cli

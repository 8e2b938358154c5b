#pragma once

#include "cli/CommandLine.h"
#include "cli/Outcome.h"
#include "cli/Output.h"
#include "lv1/LV1Client.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corvane::cli {

/// Reads a console's patch once: connects to the host that is named, else to the sole one that is heard,
/// waits for the first patch and then until the console has been silent for a moment, or has closed the
/// connection, so that its colours are in. Lives on the main queue.
class PatchReader : public std::enable_shared_from_this<PatchReader> {
public:
    using Channels = std::vector<LV1Channel>;

    /// How long to wait for the first patch.
    static constexpr std::chrono::seconds defaultTimeout{10};

    PatchReader(Platform &platform, Output &output, ChannelSourceOptions source,
                std::chrono::milliseconds timeout);

    /// Exactly one of the two is called, once; set before `start`.
    std::function<void(const Channels &)> onPatch;
    std::function<void(const Outcome &)> onFailure;

    void start();
    /// Leaves the host; nothing is called any more.
    void stop();

private:
    void wireClient();
    void heardServices(const std::vector<std::shared_ptr<NetService>> &services);
    void happened(const LV1LinkEvent &event);
    void waitForSilence();
    void finishAfter(std::chrono::milliseconds delay);
    void giveUp();
    void finish();
    void fail(const std::string &message);

    Platform &platform;
    Output &output;
    ChannelSourceOptions source;
    std::chrono::milliseconds timeout;
    std::shared_ptr<LV1Client> client;
    DelayedTask deadline;
    DelayedTask silence;
    SerialQueue::Clock::time_point latestEnd;
    bool patchCame = false;
    Channels channels;
    std::string lastStatus;
};

} // namespace corvane::cli

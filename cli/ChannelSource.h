#pragma once

#include "cli/Commands.h"
#include "cli/PatchReader.h"

#include <functional>
#include <memory>
#include <vector>

namespace corvane::cli {

/// The channels that a session command works with, from a patch file or from a console. Lives on the main
/// queue.
class ChannelSource {
public:
    using Channels = std::vector<LV1Channel>;

    explicit ChannelSource(const CommandContext &context) : context(context) {}

    /// Calls one of the two, once, unless it is stopped before. Throws CommandFailure for a patch file that
    /// cannot be used.
    void obtain(std::function<void(const Channels &)> onChannels,
                std::function<void(const Outcome &)> onFailure);
    void stop();

private:
    CommandContext context;
    std::shared_ptr<PatchReader> reader;
};

/// The channels of a patch file. Throws CommandFailure.
std::vector<LV1Channel> readPatchFile(const std::filesystem::path &file);

} // namespace corvane::cli

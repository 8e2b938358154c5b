#pragma once

#include "cli/ChannelSource.h"

#include <filesystem>
#include <memory>
#include <vector>

namespace corvane::cli {

/// Throws CommandFailure when LiveTrax runs: it would overwrite whatever is written into its session.
void refuseWhileLiveTraxRuns(const Platform &platform);

/// Whether `create` has made a session's template; LiveTrax makes the session itself when it is started on
/// it.
bool wasCreated(const Platform &platform, const std::filesystem::path &session);

/// What the commands that need the console's channels for a session have in common: preparation, then the
/// channels, then the work.
class SessionCommand : public Command {
public:
    explicit SessionCommand(const CommandContext &context) : context(context) {}

    void stop() override;

protected:
    using Channels = std::vector<LV1Channel>;

    void start() override;
    /// Checks that do not need the channels; throws CommandFailure to refuse.
    virtual void prepare() {}
    /// The work on the channels. The command ends when this returns, and fails when it throws.
    virtual void work(const Channels &channels) = 0;

    CommandContext context;

private:
    std::unique_ptr<ChannelSource> source;
};

} // namespace corvane::cli

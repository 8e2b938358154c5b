#pragma once

#include "cli/PatchReadingCommand.h"

#include <filesystem>
#include <string>
#include <vector>

namespace corvane::cli {

/// Throws CommandFailure when LiveTrax runs: it would overwrite whatever is written into its session.
void refuseWhileLiveTraxRuns(const Platform &platform);

/// The channels of a patch file. Throws CommandFailure.
std::vector<LV1Channel> readPatchFile(const std::filesystem::path &file);

/// What the commands that need channels for a session have in common: preparation, then the channels, from a
/// patch file or a console, then the work.
class SessionCommand : public PatchReadingCommand {
public:
    using PatchReadingCommand::PatchReadingCommand;

protected:
    void start() override;
    /// Checks that do not need the channels, made right before the work, and before a console is asked;
    /// throws CommandFailure to refuse.
    virtual void prepare() {}
    /// The work on the channels. The command ends when this returns, and fails when it throws.
    virtual void work(const Channels &channels) = 0;

private:
    void patchIs(const Channels &channels) override;
};

} // namespace corvane::cli

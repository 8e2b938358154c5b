#pragma once

#include "cli/Command.h"
#include "cli/CommandLine.h"
#include "cli/Output.h"
#include "platform/Platform.h"

#include <memory>

namespace corvane::cli {

/// What a command works with. Everything outlives the command.
struct Surroundings {
    Platform &platform;
    Output &output;
    const Options &options;
};

/// The command that the options ask for.
std::shared_ptr<Command> makeCommand(const Surroundings &surroundings);

// One for each verb; those of one family stand in one source file.
std::shared_ptr<Command> makeHostsCommand(const Surroundings &surroundings);
std::shared_ptr<Command> makePatchCommand(const Surroundings &surroundings);
std::shared_ptr<Command> makeWatchCommand(const Surroundings &surroundings);
std::shared_ptr<Command> makeCreateCommand(const Surroundings &surroundings);
std::shared_ptr<Command> makeSyncCommand(const Surroundings &surroundings);
std::shared_ptr<Command> makePlanCommand(const Surroundings &surroundings);
std::shared_ptr<Command> makeSignatureCommand(const Surroundings &surroundings);
std::shared_ptr<Command> makeHistoryCommand(const Surroundings &surroundings);
std::shared_ptr<Command> makeRestoreCommand(const Surroundings &surroundings);
std::shared_ptr<Command> makeTransportCommand(const Surroundings &surroundings);
std::shared_ptr<Command> makeSaveCommand(const Surroundings &surroundings);
std::shared_ptr<Command> makeMarkerCommand(const Surroundings &surroundings);
std::shared_ptr<Command> makeMarkersCommand(const Surroundings &surroundings);
std::shared_ptr<Command> makeScenesCommand(const Surroundings &surroundings);

} // namespace corvane::cli

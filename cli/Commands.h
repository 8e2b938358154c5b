#pragma once

#include "cli/Command.h"
#include "cli/CommandLine.h"
#include "cli/HeldPort.h"
#include "cli/Output.h"
#include "platform/Platform.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace corvane::cli {

/// What a command works with. Everything outlives the command.
struct CommandContext {
    Platform &platform;
    Output &output;
    const Options &options;
    /// The programs of this computer that hold a UDP port.
    std::function<std::vector<UDPPortHolder>(std::uint16_t port)> portHolders = udpPortHolders;
};

/// The command that the options ask for.
std::shared_ptr<Command> makeCommand(const CommandContext &context);

// One for each verb; those of one family stand in one source file.
std::shared_ptr<Command> makeHostsCommand(const CommandContext &context);
std::shared_ptr<Command> makePatchCommand(const CommandContext &context);
std::shared_ptr<Command> makeWatchCommand(const CommandContext &context);
std::shared_ptr<Command> makeCreateCommand(const CommandContext &context);
std::shared_ptr<Command> makeSyncCommand(const CommandContext &context);
std::shared_ptr<Command> makePlanCommand(const CommandContext &context);
std::shared_ptr<Command> makeSignatureCommand(const CommandContext &context);
std::shared_ptr<Command> makeHistoryCommand(const CommandContext &context);
std::shared_ptr<Command> makeRestoreCommand(const CommandContext &context);
std::shared_ptr<Command> makeTransportCommand(const CommandContext &context);
std::shared_ptr<Command> makeSaveCommand(const CommandContext &context);
std::shared_ptr<Command> makeMarkerCommand(const CommandContext &context);
std::shared_ptr<Command> makeMarkersCommand(const CommandContext &context);
std::shared_ptr<Command> makeScenesCommand(const CommandContext &context);
std::shared_ptr<Command> makeCheckCommand(const CommandContext &context);
std::shared_ptr<Command> makeDiagnoseCommand(const CommandContext &context);
std::shared_ptr<Command> makeCompletionCommand(const CommandContext &context);

} // namespace corvane::cli

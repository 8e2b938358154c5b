#include "cli/Commands.h"

namespace corvane::cli {

std::shared_ptr<Command> makeCommand(const CommandContext &context) {
    switch (context.options.verb) {
    case Verb::hosts:
        return makeHostsCommand(context);
    case Verb::patch:
        return makePatchCommand(context);
    case Verb::watch:
        return makeWatchCommand(context);
    case Verb::create:
        return makeCreateCommand(context);
    case Verb::sync:
        return makeSyncCommand(context);
    case Verb::plan:
        return makePlanCommand(context);
    case Verb::signature:
        return makeSignatureCommand(context);
    case Verb::history:
        return makeHistoryCommand(context);
    case Verb::restore:
        return makeRestoreCommand(context);
    case Verb::transport:
        return makeTransportCommand(context);
    case Verb::save:
        return makeSaveCommand(context);
    case Verb::marker:
        return makeMarkerCommand(context);
    case Verb::markers:
        return makeMarkersCommand(context);
    case Verb::scenes:
        return makeScenesCommand(context);
    case Verb::check:
        return makeCheckCommand(context);
    case Verb::diagnose:
        return makeDiagnoseCommand(context);
    case Verb::completion:
        return makeCompletionCommand(context);
    }
    return nullptr;
}

} // namespace corvane::cli

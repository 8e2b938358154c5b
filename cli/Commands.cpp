#include "cli/Commands.h"

namespace corvane::cli {

std::shared_ptr<Command> makeCommand(const Surroundings &surroundings) {
    switch (surroundings.options.verb) {
    case Verb::hosts:
        return makeHostsCommand(surroundings);
    case Verb::patch:
        return makePatchCommand(surroundings);
    case Verb::watch:
        return makeWatchCommand(surroundings);
    case Verb::create:
        return makeCreateCommand(surroundings);
    case Verb::sync:
        return makeSyncCommand(surroundings);
    case Verb::plan:
        return makePlanCommand(surroundings);
    case Verb::signature:
        return makeSignatureCommand(surroundings);
    case Verb::history:
        return makeHistoryCommand(surroundings);
    case Verb::restore:
        return makeRestoreCommand(surroundings);
    case Verb::transport:
        return makeTransportCommand(surroundings);
    case Verb::save:
        return makeSaveCommand(surroundings);
    case Verb::marker:
        return makeMarkerCommand(surroundings);
    case Verb::markers:
        return makeMarkersCommand(surroundings);
    case Verb::scenes:
        return makeScenesCommand(surroundings);
    }
    return nullptr;
}

} // namespace corvane::cli

#include "cli/PatchReadingCommand.h"

namespace corvane::cli {

void PatchReadingCommand::start() {
    reader = std::make_shared<PatchReader>(context);
    reader->onFailure = [this](const Outcome &why) { guarded([&] { thereIsNoPatch(why); }); };
    reader->onPatch = [this](const Channels &channels) { guarded([&] { patchIs(channels); }); };
    reader->start();
}

void PatchReadingCommand::stop() {
    if (reader)
        reader->stop();
}

} // namespace corvane::cli

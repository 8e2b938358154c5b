#pragma once

#include "cli/Commands.h"
#include "cli/PatchReader.h"

#include <memory>
#include <vector>

namespace corvane::cli {

/// What the commands have in common that read a console's patch once.
class PatchReadingCommand : public Command {
public:
    explicit PatchReadingCommand(const CommandContext &context) : context(context) {}

    void stop() override;

protected:
    using Channels = std::vector<LV1Channel>;

    void start() override;
    /// The console's channels, as it told of them. An exception ends the command with its text.
    virtual void patchIs(const Channels &channels) = 0;
    /// There is no patch, and why.
    virtual void thereIsNoPatch(const Outcome &why) { end(why); }
    /// The console that was heard or named. Only while the command reads or has read from one.
    const PatchReader::Console &console() const { return reader->console(); }

    CommandContext context;

private:
    std::shared_ptr<PatchReader> reader;
};

} // namespace corvane::cli

#include "cli/PatchReadingCommand.h"
#include "cli/Table.h"
#include "patch/ColourText.h"
#include "patch/FiniteColours.h"
#include "patch/PatchDocument.h"
#include "patch/RecordedInputs.h"
#include "platform/files/Files.h"

namespace corvane::cli {

namespace {

std::string patchText(const std::vector<LV1Channel> &channels) {
    std::vector<std::vector<std::string>> rows{{"CHANNEL", "FORMAT", "INPUT", "DEVICE", "SOURCE", "COLOUR"}};
    for (const auto &channel : channels)
        rows.push_back({channel.name(), channel.format(), channel.inputText(), channel.driver(),
                        channel.sourceType() + " " + std::to_string(channel.sourceIndex()),
                        colourText(channel)});
    return table(rows) + std::to_string(channels.size()) + " tracks / " +
           std::to_string(recordedInputs(channels)) + " inputs\n";
}

class PatchCommand : public PatchReadingCommand {
    using PatchReadingCommand::PatchReadingCommand;

    void patchIs(const Channels &channels) override {
        const Options &options = context.options;
        if (options.saveTo)
            replaceFileAtomically(*options.saveTo, patchDocument(withFiniteColours(channels)));
        switch (options.format) {
        case Format::table:
            context.output.print(patchText(channels));
            break;
        case Format::json:
            context.output.print(patchDocument(channels));
            break;
        case Format::csv:
            context.output.print(patchTable(channels));
            break;
        case Format::labels:
            break; // of markers alone
        }
        end();
    }
};

} // namespace

std::shared_ptr<Command> makePatchCommand(const CommandContext &context) {
    return std::make_shared<PatchCommand>(context);
}

} // namespace corvane::cli

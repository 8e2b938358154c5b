#include "cli/Commands.h"
#include "cli/PatchReader.h"
#include "cli/Table.h"
#include "patch/ColourText.h"
#include "patch/FiniteColours.h"
#include "patch/PatchDocument.h"
#include "platform/files/Files.h"

namespace corvane::cli {

namespace {

std::string patchText(const std::vector<LV1Channel> &channels) {
    std::vector<std::vector<std::string>> rows{{"CHANNEL", "FORMAT", "INPUT", "DEVICE", "SOURCE", "COLOUR"}};
    std::size_t inputs = 0;
    for (const auto &channel : channels) {
        rows.push_back({channel.name(), channel.format(), channel.inputText(), channel.driver(),
                        channel.sourceType() + " " + std::to_string(channel.sourceIndex()),
                        colourText(channel)});
        inputs += channel.stereo() ? 2 : 1;
    }
    return table(rows) + std::to_string(channels.size()) + " tracks / " + std::to_string(inputs) +
           " inputs\n";
}

class PatchCommand : public Command {
public:
    explicit PatchCommand(const CommandContext &context) : context(context) {}

    void stop() override {
        if (reader)
            reader->stop();
        reader.reset();
    }

private:
    void start() override {
        const Options &options = context.options;
        reader = std::make_shared<PatchReader>(context.platform, context.output, options.source,
                                               options.duration.value_or(PatchReader::defaultTimeout));
        reader->onFailure = [this](const Outcome &outcome) { end(outcome); };
        reader->onPatch = [this](const std::vector<LV1Channel> &channels) {
            guarded([&] { report(channels); });
        };
        reader->start();
    }

    void report(const std::vector<LV1Channel> &channels) {
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

    CommandContext context;
    std::shared_ptr<PatchReader> reader;
};

} // namespace

std::shared_ptr<Command> makePatchCommand(const CommandContext &context) {
    return std::make_shared<PatchCommand>(context);
}

} // namespace corvane::cli

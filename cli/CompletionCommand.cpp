#include "cli/Commands.h"
#include "cli/Completion.h"

namespace corvane::cli {

namespace {

class CompletionCommand : public Command {
public:
    explicit CompletionCommand(const CommandContext &context) : context(context) {}

private:
    void start() override {
        context.output.print(completion(context.options.shell, commandTree()));
        end();
    }

    CommandContext context;
};

} // namespace

std::shared_ptr<Command> makeCompletionCommand(const CommandContext &context) {
    return std::make_shared<CompletionCommand>(context);
}

} // namespace corvane::cli

#pragma once

#include "cli/Outcome.h"

#include <exception>
#include <functional>
#include <memory>
#include <utility>

namespace corvane::cli {

/// One command of the program while it runs. Lives on the main queue, where everything of it happens.
class Command : public std::enable_shared_from_this<Command> {
public:
    virtual ~Command() = default;

    /// Told once how the command ended. Set by the owner before `begin`.
    std::function<void(Outcome)> onEnd;

    /// Begins; a command that has nothing to wait for ends before this returns.
    void begin() {
        guarded([this] { start(); });
    }
    /// Shuts down what still runs, without any further report. Called once, whatever the outcome.
    virtual void stop() {}

protected:
    virtual void start() = 0;
    /// Ends the command; later calls change nothing.
    void end(Outcome outcome = {}) {
        if (auto told = std::exchange(onEnd, nullptr))
            told(std::move(outcome));
    }
    /// Runs a step; an exception ends the command with its text.
    template <class Step>
    void guarded(Step step) {
        try {
            step();
        } catch (const CommandFailure &failure) {
            end({failure.status, failure.what()});
        } catch (const std::exception &error) {
            end({status::refused, error.what()});
        }
    }
};

} // namespace corvane::cli

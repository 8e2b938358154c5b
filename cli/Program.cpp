#include "cli/Program.h"

#include "cli/CommandLine.h"
#include "cli/Commands.h"
#include "cli/Output.h"
#include "livetrax/LiveTraxSurface.h"
#include "platform/Platform.h"
#include "platform/queues/AsioMainQueue.h"
#include "platform/rehearsal/Rehearsal.h"

#include <exception>
#include <filesystem>
#include <utility>
#include <variant>

namespace corvane::cli {

namespace {

/// Runs the command; whatever happens, it has been shut down when this returns.
Outcome perform(const Options &options, AsioMainQueue &main, Output &output) {
    const auto platform = makePlatform(
        main, {options.rehearsal, {liveTraxSurface::ports.begin(), liveTraxSurface::ports.end()}});
    const auto command = makeCommand({*platform, output, options});
    Outcome outcome;
    command->onEnd = [&](Outcome how) {
        outcome = std::move(how);
        main.quit();
    };
    main.onInterruption([&](int) {
        if (std::exchange(command->onEnd, nullptr)) {
            // Watching until interrupted is the ordinary way to watch.
            const bool watches = options.verb == Verb::watch || options.verb == Verb::scenes;
            outcome = {status::interrupted, watches ? "" : "Interrupted."};
            main.quit();
        }
    });
    main.post([&] { command->begin(); });
    main.run();
    main.onInterruption([](int) {}); // the shutting down is not interrupted
    command->stop();
    return outcome;
}

Outcome runCommand(const Options &options) {
    StandardOutput output;
    AsioMainQueue main;
    try {
        return perform(options, main, output);
    } catch (const PortInUse &error) {
        return {status::noAnswer, error.what() + ownHolder(udpPortHolders(error.port))};
    } catch (const std::exception &error) {
        return {status::refused, error.what()};
    }
}

Outcome runEnding(const Ending &ending) {
    try {
        StandardOutput().print(ending.text);
        return ending.outcome;
    } catch (const std::exception &error) {
        return {status::refused, error.what()};
    }
}

} // namespace

int run(const std::vector<std::string> &arguments) {
    secureStandardDescriptors();
    std::error_code ignored; // a current folder that is gone matters to relative paths alone
    const auto parsed = parseCommandLine(arguments, std::filesystem::current_path(ignored));
    const auto *ending = std::get_if<Ending>(&parsed);
    const Outcome outcome = ending ? runEnding(*ending) : runCommand(std::get<Options>(parsed));
    if (!outcome.message.empty())
        printError(outcome.message);
    return outcome.status;
}

} // namespace corvane::cli

#include "cli/SessionCommand.h"

#include "livetrax/session/LiveTraxGenerator.h"

namespace corvane::cli {

void refuseWhileLiveTraxRuns(const Platform &platform) {
    if (LiveTraxGenerator::runningApplication(platform))
        throw CommandFailure(status::refused, LiveTraxGenerator::liveTraxRuns);
}

void SessionCommand::stop() {
    if (source)
        source->stop();
    source.reset();
}

void SessionCommand::start() {
    prepare();
    source = std::make_unique<ChannelSource>(context);
    source->obtain(
        [this](const Channels &channels) {
            guarded([&] {
                work(channels);
                end();
            });
        },
        [this](const Outcome &outcome) { end(outcome); });
}

} // namespace corvane::cli

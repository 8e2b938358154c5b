#include "cli/SessionCommand.h"

#include "livetrax/session/LiveTraxGenerator.h"
#include "platform/files/Files.h"

namespace corvane::cli {

void refuseWhileLiveTraxRuns(const Platform &platform) {
    if (LiveTraxGenerator::runningApplication(platform))
        throw CommandFailure(status::refused, LiveTraxGenerator::liveTraxRuns);
}

bool wasCreated(const Platform &platform, const std::filesystem::path &session) {
    const auto target = LiveTraxGenerator::target(platform.folders);
    return target &&
           fileExists(LiveTraxGenerator::userTemplate(platform.folders, *target, lastPathComponent(session)));
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

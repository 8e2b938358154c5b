#include "cli/SessionCommand.h"

namespace corvane::cli {

void SessionCommand::stop() {
    if (source)
        source->stop();
    source.reset();
}

void SessionCommand::start() {
    prepare();
    source = std::make_unique<ChannelSource>(surroundings);
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

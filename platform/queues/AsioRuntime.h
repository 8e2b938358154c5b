#pragma once

#include "platform/queues/SerialQueue.h"

#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace corvane {

class AsioContext;

/// The event loop of the network and the threads that run it. Its queues, timers and sockets may outlive it:
/// once it is gone none of their work runs any more. Let go of it on the thread that made it, never on one of
/// its own.
class AsioRuntime final : public SerialQueues {
public:
    explicit AsioRuntime(std::size_t threadCount = 3);
    /// Ends the threads after the tasks that are running at the moment; what waits is dropped.
    ~AsioRuntime() override;

    AsioRuntime(const AsioRuntime &) = delete;
    AsioRuntime &operator=(const AsioRuntime &) = delete;

    std::shared_ptr<SerialQueue> make(std::string label) override;
    /// The loop, for those who open sockets on it.
    const std::shared_ptr<AsioContext> &context() const { return eventLoop; }

private:
    struct Work;

    std::shared_ptr<AsioContext> eventLoop;
    std::unique_ptr<Work> work; ///< keeps the threads waiting while there is nothing to do
    std::vector<std::thread> threads;
};

} // namespace corvane

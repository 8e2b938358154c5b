#include "platform/queues/AsioRuntime.h"

#include "platform/queues/AsioContext.h"
#include "platform/queues/AsioQueue.h"

#include <asio/executor_work_guard.hpp>

namespace corvane {

struct AsioRuntime::Work {
    asio::executor_work_guard<asio::io_context::executor_type> guard;
};

AsioRuntime::AsioRuntime(std::size_t threadCount)
    : eventLoop(std::make_shared<AsioContext>()), work(new Work{asio::make_work_guard(eventLoop->loop())}) {
    for (std::size_t thread = 0; thread < threadCount; ++thread)
        threads.emplace_back([loop = eventLoop.get()] { loop->loop().run(); });
}

AsioRuntime::~AsioRuntime() {
    eventLoop->loop().stop();
    for (auto &thread : threads)
        thread.join();
    work.reset();
    eventLoop->close();
}

std::shared_ptr<SerialQueue> AsioRuntime::make(std::string label) {
    return std::make_shared<AsioQueue>(eventLoop, std::move(label), AsioQueue::ThreadName::label);
}

} // namespace corvane

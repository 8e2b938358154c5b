#include "platform/queues/AsioRuntime.h"

#include "platform/queues/AsioContext.h"
#include "platform/queues/AsioQueue.h"
#include "platform/queues/AsioVersion.h"

#include <asio/executor_work_guard.hpp>
#include <asio/version.hpp>

namespace corvane {

struct AsioRuntime::Work {
    asio::executor_work_guard<asio::io_context::executor_type> guard;
};

std::string asioVersion() {
    return std::to_string(ASIO_VERSION / 100'000) + "." + std::to_string(ASIO_VERSION / 100 % 1'000) + "." +
           std::to_string(ASIO_VERSION % 100);
}

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

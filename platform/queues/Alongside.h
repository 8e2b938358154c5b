#pragma once

#include <functional>
#include <future>
#include <utility>

namespace corvane {

/// A piece of work on a thread of its own while the caller goes on with something that neither touches for
/// the other; done by `join` where no thread can be had. Its end is waited for at the latest when this goes.
class Alongside {
public:
    explicit Alongside(std::function<void()> work) : end(std::async(std::move(work))) {}

    /// Waits for the end of the work and throws what it has thrown. Called once.
    void join() { end.get(); }

private:
    std::future<void> end;
};

} // namespace corvane

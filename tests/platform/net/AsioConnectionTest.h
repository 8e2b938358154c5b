#pragma once

#include "platform/net/AsioNetwork.h"
#include "platform/queues/AsioRuntime.h"
#include "tests/support/Peers.h"
#include "tests/support/Recorders.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace corvane {

using Words = std::vector<std::string>;

inline std::string systemText(std::errc error) {
    return std::make_error_code(error).message();
}

/// Real sockets, and a journal of what a connection reports.
class AsioConnectionTest : public testing::Test {
protected:
    /// Runs what was posted to the queue so far.
    void settle() {
        std::promise<void> done;
        queue->post([&] { done.set_value(); });
        ASSERT_EQ(done.get_future().wait_for(testTimeout), std::future_status::ready);
    }

    std::shared_ptr<ConnectionJournal> journal = std::make_shared<ConnectionJournal>();
    AsioRuntime runtime;
    AsioNetwork network{runtime};
    std::shared_ptr<SerialQueue> queue = runtime.make("Corvane.Test");
};

} // namespace corvane

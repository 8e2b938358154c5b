#pragma once

#include "livetrax/remote/LiveTraxOSC.h"

#include "osc/OSCCodec.h"
#include "tests/fakes/FakeNetwork.h"
#include "tests/fakes/ManualQueue.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvane {

using namespace std::chrono_literals;
using V = OSCValue;
using Sent = std::vector<std::pair<int, OSCMessage>>; ///< milliseconds since the start, message
using Addresses = std::vector<std::string>;

/// A client on a clock that stands still, with a LiveTrax that is played by the test.
struct LiveTraxOSCTest : testing::Test {
    LiveTraxOSCTest() { makeClient(); }

    void makeClient() { client = std::make_unique<LiveTraxOSC>(main, queue, network); }

    FakeDatagramConnection &connection() { return *network.datagrams.at(network.datagrams.size() - 1); }

    void run() { advance(0ms); }
    void advance(std::chrono::milliseconds delay) {
        clock->advance(delay);
        mainClock->run();
    }

    void openReady() {
        client->start();
        run();
        connection().becomeReady();
        run();
    }

    void query() {
        client->queryTransport([this](std::optional<TransportState> state) { answers.push_back(state); });
    }

    void answer(const std::string &address, const std::vector<OSCValue> &values) {
        connection().deliver(OSCCodec::message(address, values));
        run();
    }

    Sent sentOn(const FakeDatagramConnection &used) const {
        Sent sent;
        for (const auto &each : used.sent) {
            const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(each.time - started);
            sent.emplace_back(static_cast<int>(time.count()), OSCCodec::parse(each.datagram).value());
        }
        return sent;
    }

    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    /// The main queue has a clock of its own, so that a test can hold it up.
    std::shared_ptr<ManualClock> mainClock = std::make_shared<ManualClock>();
    const SerialQueue::Clock::time_point started = clock->now();
    ManualQueue main{mainClock, "main"};
    std::shared_ptr<ManualQueue> queue = std::make_shared<ManualQueue>(clock, "Corvane.LiveTraxOSC");
    FakeNetwork network;
    std::unique_ptr<LiveTraxOSC> client;
    std::vector<std::optional<TransportState>> answers;
};

/// The same, with a connection that is ready and a query under way.
struct LiveTraxOSCQuery : LiveTraxOSCTest {
    LiveTraxOSCQuery() {
        openReady();
        query();
        run();
    }

    void expectOnly(std::optional<TransportState> expected) {
        ASSERT_EQ(answers.size(), 1U);
        EXPECT_EQ(answers[0], expected);
        advance(10s);
        EXPECT_EQ(answers.size(), 1U);
    }

    /// Nothing but the time-out ends the query.
    void expectAtTimeout(std::optional<TransportState> expected) {
        advance(2499ms);
        EXPECT_TRUE(answers.empty());
        advance(1ms);
        expectOnly(expected);
    }
};

} // namespace corvane

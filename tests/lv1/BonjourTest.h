#pragma once

#include "lv1/HostChoice.h"
#include "platform/bonjour/DNSServiceBrowser.h"
#include "platform/bonjour/DNSServiceThread.h"
#include "platform/net/PosixMulticast.h"
#include "tests/lv1/SocketTest.h"
#include "tests/support/PrivateBonjour.h"

#include <memory>
#include <string>

namespace corvane {

/// Entered before the threads of the network are started: they live where they were started.
struct EnteredBonjour {
    EnteredBonjour() { entered = bonjour.enter(reason); }
    PrivateBonjour bonjour;
    bool entered = false;
    std::string reason;
};

/// A client that finds its consoles by a Bonjour daemon of the test's own and by multicast, and the rules of
/// the window.
class BonjourTest : protected EnteredBonjour, public SocketTest {
protected:
    void SetUp() override {
        if (!entered)
            GTEST_SKIP() << "no Bonjour daemon of its own: " << reason;
        const auto &runtime = static_cast<const AsioRuntime &>(*platform.queues);
        client.reset(); // it knows the listening that is replaced here
        platform.multicast = std::make_unique<PosixMulticast>(runtime);
        platform.makeServiceBrowser = [this] {
            return std::make_unique<DNSServiceBrowser>(main, std::make_unique<DNSServiceThread>(main));
        };
        client = makeClient();
        client->onServices = [this](const auto &services) {
            ++serviceReports;
            if (const auto status = chooseHost(*client, client->endpoints, services))
                diary.push_back(*status);
        };
        ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    }

    int serviceReports = 0;
};

} // namespace corvane

#pragma once

#include "lv1/HostChoice.h"
#include "tests/lv1/ClientTest.h"

#include <string>

namespace corvane {

inline const LV1Endpoint one{"LV1 One", "10.0.0.1", 5000, "aa:bb:cc:00:00:01"};
inline const LV1Endpoint two{"LV1 Two", "10.0.0.2", 5001, "aa:bb:cc:00:00:02"};
inline constexpr const char *severalHosts = "Several LV1 hosts found. Choose one and press SYNC LV1.";

/// A client that has started its discovery.
class DiscoveryTest : public ClientTest {
protected:
    DiscoveryTest() {
        client->startDiscovery();
        diary.clear();
    }
    void hear(const LV1Endpoint &endpoint) { hear(announcement(endpoint)); }
    void hear(const Bytes &datagram) {
        fake.multicast->deliver(datagram);
        run();
    }
    /// Resolves a service, and lets the client's turn come.
    void resolve(FakeNetService &service, const std::string &host, int port) {
        fake.browser->resolve(service, host, port);
        run();
    }
    /// The window's and the command line's part in what the client reports.
    void chooseByTheRules() {
        client->onServices = [this](const auto &services) {
            if (const auto status = chooseHost(*client, client->endpoints, services))
                diary.push_back(*status);
        };
    }
};

} // namespace corvane

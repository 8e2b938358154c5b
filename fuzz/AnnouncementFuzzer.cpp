#include "fuzz/Fuzzing.h"
#include "lv1/LV1Client.h"
#include "osc/OSCCodec.h"
#include "tests/fakes/FakeSystem.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

using namespace corvane;

namespace {

/// What the socket takes of a datagram at most.
constexpr std::size_t longest = 4096;

/// The input as datagrams: one begins wherever an announcement's address does.
std::vector<Bytes> datagrams(const std::uint8_t *data, std::size_t size) {
    constexpr std::string_view address = "/zDNS";
    const std::string_view all(reinterpret_cast<const char *>(data), size);
    std::vector<Bytes> cut;
    for (std::size_t at = 0; at < all.size();) {
        const auto end = std::min({all.find(address, at + 1), at + longest, all.size()});
        cut.emplace_back(data + at, data + end);
        at = end;
    }
    return cut;
}

/// What one datagram announces. That was a message, and reads the same twice.
std::optional<LV1Endpoint> announced(const Bytes &datagram) {
    const auto endpoint = LV1MulticastDiscovery::announcement(datagram);
    require(endpoint == LV1MulticastDiscovery::announcement(datagram), "an announcement has one meaning");
    if (endpoint) {
        const auto message = OSCCodec::parse(datagram);
        require(message && message->address == "/zDNS", "only announcements announce");
        require(endpoint->port != 0 && !endpoint->host.empty(), "what is announced can be connected to");
    }
    return endpoint;
}

/// A searching client that hears the datagrams one after the other lists these hosts, and connects to the
/// first alone, as long as it is the only one.
void demandHeard(const std::vector<Bytes> &heard, const std::vector<LV1Endpoint> &hosts) {
    FakePlatform fake;
    const auto client = LV1Client::make(fake.platform);
    client->startDiscovery();
    fake.clock->run();
    for (const auto &datagram : heard) {
        fake.multicast->deliver(datagram);
        fake.clock->run();
    }
    require(client->endpoints == hosts, "each announced host is listed once");
    require(fake.network->streams.size() == 1, "only a sole host is connected to");
    require(fake.network->streams[0]->host == hosts[0].host &&
                fake.network->streams[0]->port == hosts[0].port,
            "the sole host is where it said");
    client->stop();
    fake.clock->run();
}

} // namespace

/// Any datagrams of the discovery group: each alone, and all of them to a client when one announces
/// something.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const auto heard = datagrams(data, size);
    std::vector<LV1Endpoint> hosts;
    for (const auto &datagram : heard) {
        const auto host = announced(datagram);
        if (host && std::find(hosts.begin(), hosts.end(), *host) == hosts.end())
            hosts.push_back(*host);
    }
    if (!hosts.empty())
        demandHeard(heard, hosts);
    return 0;
}

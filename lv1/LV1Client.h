#pragma once

#include "lv1/LV1Channel.h"
#include "lv1/LV1Endpoint.h"
#include "lv1/LV1MulticastDiscovery.h"
#include "platform/Platform.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvane {

class LV1Link;
struct OSCMessage;

/// The one link to the console: finds hosts, connects to one and reports what it says. Used on the main
/// queue, where all callbacks are called as well. The link itself (socket, receive buffer, channels and
/// colours) is an LV1Link that lives on "Corvane.Network"; each `connect` makes a new one, so nothing of an
/// old link can reach it.
class LV1Client : public ServiceBrowserDelegate, public std::enable_shared_from_this<LV1Client> {
public:
    /// How consoles are published by DNS-SD, and how long one is given to tell its address.
    static constexpr const char *serviceType = "_waveslv113._tcp.";
    static constexpr const char *serviceDomain = "local.";
    static constexpr std::chrono::seconds resolveTimeout{5};
    /// Hosts that are listed: many times what any network has, and a bound for what a hostile sender can
    /// fill.
    static constexpr std::size_t mostHosts = 1'000;
    /// The status when more than one host was heard and a person has to choose.
    static constexpr const char *severalHostsStatus =
        "Several LV1 hosts found. Choose one and press SYNC LV1.";

    static std::shared_ptr<LV1Client> make(Platform &platform);
    ~LV1Client() override;

    std::function<void(const std::string &text)> onStatus;
    /// The channel list changed, in its patch or in its colours.
    std::function<void(const std::vector<LV1Channel> &)> onChannels;
    /// A new patch arrived.
    std::function<void(const std::vector<LV1Channel> &)> onPatch;
    /// True once the console has accepted the handshake, false when the link is not or no longer usable.
    std::function<void(bool connected)> onConnectionState;
    /// The console recalled the scene of this name.
    std::function<void(const std::string &name)> onScene;
    std::function<void(const std::vector<std::shared_ptr<NetService>> &)> onServices;
    std::function<void(const std::vector<LV1Endpoint> &)> onEndpoints;
    /// The console said something that causes none of the above: a ping, say, or a colour of another group.
    std::function<void()> onOtherMessage;

    /// Searches both ways, by Bonjour and by multicast, from empty lists.
    void startDiscovery();
    /// Connects to a host given as text, leaving any host connected to. Port 0 is refused with a status.
    void connect(const std::string &host, std::uint16_t port);
    void connect(const LV1Endpoint &endpoint);
    /// Connects to a resolved service; one without an address yet is resolved again instead.
    void connect(const std::shared_ptr<NetService> &service);
    /// Stops searching and leaves the host.
    void stop();
    /// Leaves the host; searching goes on.
    void disconnect();

    std::unique_ptr<ServiceBrowser> browser;
    std::shared_ptr<LV1MulticastDiscovery> multicast;
    std::vector<std::shared_ptr<NetService>> services;
    std::vector<LV1Endpoint> endpoints;
    /// The current link; at most one.
    std::shared_ptr<LV1Link> connection;
    /// The endpoint last connected to as one; forgotten when a connection fails, so that its next
    /// announcement connects again.
    std::optional<LV1Endpoint> multicastEndpoint;

    void didFind(std::shared_ptr<NetService> service, bool moreComing) override;
    void didResolveAddress(NetService &service) override;
    void didNotResolve(NetService &service) override;

    /// Whether the current link leads to that host and has not ended: it is being made or stands.
    bool leadsTo(const NetService &service) const;
    bool leadsTo(const LV1Endpoint &endpoint) const;

private:
    friend class LV1Link;

    explicit LV1Client(Platform &platform);
    void report(const std::string &status) const;
    void open(const std::string &host, std::uint16_t port);
    /// What an accepted announcement causes.
    void heard(const LV1Endpoint &endpoint);
    void announceServices() const;
    void linkChanged(const std::weak_ptr<LV1Link> &link, ConnectionState state, const std::string &error);
    void linkIsReady();
    void linkFailed(const std::string &error);
    bool isCurrent(const std::weak_ptr<LV1Link> &link) const;
    OSCMessage introduction() const;
    std::string deviceIdentifier(const std::string &newUUID) const;

    Platform &platform;
    std::shared_ptr<SerialQueue> queue;
    /// Where the current link leads to; none once it has ended.
    std::optional<std::pair<std::string, std::uint16_t>> destination;
};

} // namespace corvane

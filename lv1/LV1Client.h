#pragma once

#include "lv1/LV1Channel.h"
#include "lv1/LV1Counters.h"
#include "lv1/LV1Endpoint.h"
#include "lv1/LV1LinkEvent.h"
#include "lv1/LV1MulticastDiscovery.h"
#include "platform/Platform.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
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
    /// Hosts that are listed, of either way: many times what any network has, and a bound for what a hostile
    /// sender can fill.
    static constexpr std::size_t mostHosts = 1'000;
    /// The status when more than one host was heard and a person has to choose.
    static constexpr const char *severalHostsStatus =
        "Several LV1 hosts found. Choose one and press SYNC LV1.";

    static std::shared_ptr<LV1Client> make(Platform &platform);
    ~LV1Client() override;

    /// A status text for the user, some in Spanish: see docs/Names.md.
    std::function<void(const std::string &text)> onStatus;
    /// The channel list changed, in its patch or in its colours.
    std::function<void(const std::vector<LV1Channel> &)> onChannels;
    /// A new patch arrived.
    std::function<void(const std::vector<LV1Channel> &)> onPatch;
    /// True once the console has accepted the handshake, false when the link is not or no longer usable.
    std::function<void(bool connected)> onConnectionState;
    /// The console recalled the scene of this name.
    std::function<void(const std::string &name)> onScene;
    /// All Bonjour hosts, after one was found or resolved; a withdrawn one is not reported.
    std::function<void(const std::vector<std::shared_ptr<NetService>> &)> onServices;
    /// All announced hosts, after a new one was heard.
    std::function<void(const std::vector<LV1Endpoint> &)> onEndpoints;
    /// Every event of the current link; called after the more specific callbacks above.
    std::function<void(const LV1LinkEvent &)> onLinkEvent;

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
    /// Collects the counters from all queues and passes them to `told` on the main queue.
    void askCounters(std::function<void(const LV1Counters &)> told) const;

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
    void didRemove(NetService &service) override;
    void didResolveAddress(NetService &service) override;
    void didNotResolve(NetService &service) override;

    /// Whether the current link leads to that host and has not ended: it is being made or stands. A service
    /// without an address is known by the name that the link was opened to.
    bool leadsTo(const NetService &service) const;
    bool leadsTo(const LV1Endpoint &endpoint) const;
    /// Whether there is a reason to mention what `onServices` tells of: the list has changed since it was
    /// last told, or no console has accepted the link.
    bool mayMentionServices() const;

private:
    /// What is known of the current link until it ends.
    struct Destination {
        std::string host;
        std::uint16_t port = 0;
        std::string peerAddress = {}; ///< numeric; empty before the connection stands
        bool isAccepted = false;
    };

    explicit LV1Client(Platform &platform);
    void report(const std::string &status) const;
    void open(const std::string &host, std::uint16_t port);

    /// What an accepted announcement causes.
    void heard(const LV1Endpoint &endpoint);
    bool mayLeadTo(const LV1Endpoint &endpoint) const;
    void decideOnAwaited();
    std::vector<std::shared_ptr<NetService>>::iterator listed(const NetService &service);
    void announceServices();
    void announceResolved();
    void resolveAnew();
    bool isAccepted() const;

    void linkTold(const std::weak_ptr<LV1Link> &link, const LV1LinkEvent &event);
    void happened(const lv1::Ready &ready);
    void happened(const lv1::Introduced &);
    void happened(const lv1::Accepted &);
    void happened(const lv1::Patch &patch);
    void happened(const lv1::Colours &colours);
    void happened(const lv1::Scene &scene);
    void happened(const lv1::Other &) {}
    void happened(const lv1::Closed &);
    void happened(const lv1::Interrupted &interruption);
    void happened(const lv1::Failed &failure);
    void happened(const lv1::Cancelled &) {}

    OSCMessage introduction();
    std::string deviceIdentifier(const std::string &newUUID);

    Platform &platform;
    std::shared_ptr<SerialQueue> queue;
    /// Where the current link leads to; none once it has ended.
    std::optional<Destination> destination;
    /// The service that the last link was opened to, by its name; empty when it was opened otherwise.
    std::string linkedService;
    /// An announced host that may be the one that is being connected to by its name: decided when the
    /// name's address is known.
    std::optional<LV1Endpoint> awaitedEndpoint;
    /// The services that were resolved and not yet reported.
    std::vector<std::shared_ptr<NetService>> resolved;
    bool reportIsDue = false;     ///< of those
    bool servicesAreNews = false; ///< the list has changed since it was told
    /// When a service whose link had failed was last found at another address.
    std::optional<SerialQueue::Clock::time_point> movedAt;
    std::string identifier; ///< of this computer; empty before it was asked for
    std::uint64_t linkCount = 0;
    std::uint64_t acceptedCount = 0;
    std::shared_ptr<LV1Counters::Traffic> traffic = std::make_shared<LV1Counters::Traffic>();
};

} // namespace corvane

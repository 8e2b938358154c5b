#include "lv1/LV1Client.h"

#include "base/Text.h"
#include "lv1/LV1Link.h"
#include "lv1/LV1Surface.h"
#include "osc/OSCMessage.h"

#include <algorithm>
#include <chrono>
#include <set>
#include <string_view>
#include <utility>

namespace corvane {

using namespace std::chrono_literals;

namespace {

constexpr int highestPort = 65'535;
/// A service whose link has failed is resolved again, but not if it moved within this time: one that gives
/// another address each time must not make us reconnect for ever.
constexpr auto nextMoveDelay = 30s;
/// Each report of services takes time that grows with their number; so does the pause between two reports.
constexpr std::size_t servicesPerMillisecond = 10;

/// The port and host name of a service that has been resolved; none of another.
std::optional<std::pair<std::string, std::uint16_t>> address(const NetService &service) {
    const auto host = service.hostName();
    const int port = service.port();
    if (!host || port < 1 || port > highestPort)
        return std::nullopt;
    return std::pair(*host, static_cast<std::uint16_t>(port));
}

bool isNumeric(std::string_view host) {
    return host.find(':') != std::string_view::npos ||
           host.find_first_not_of("0123456789.") == std::string_view::npos;
}

/// Host names are the same in any case and with or without the final dot.
bool isSameHost(std::string_view one, std::string_view other) {
    const auto withoutDot = [](std::string_view name) {
        return name.ends_with('.') ? name.substr(0, name.size() - 1) : name;
    };
    return equalIgnoringCase(withoutDot(one), withoutDot(other));
}

std::string syncedText(const std::vector<LV1Channel> &channels) {
    std::size_t inputs = 0;
    for (const auto &channel : channels)
        inputs += channel.stereo() ? 2 : 1;
    return "Synced: " + std::to_string(channels.size()) + " tracks / " + std::to_string(inputs) + " inputs";
}

} // namespace

std::shared_ptr<LV1Client> LV1Client::make(Platform &platform) {
    std::shared_ptr<LV1Client> client(new LV1Client(platform));
    client->browser->setDelegate(client);
    client->multicast->onEndpoint = [weak = std::weak_ptr(client)](const LV1Endpoint &endpoint) {
        if (const auto owner = weak.lock())
            owner->heard(endpoint);
    };
    return client;
}

LV1Client::LV1Client(Platform &platform)
    : browser(platform.makeServiceBrowser()),
      multicast(std::make_shared<LV1MulticastDiscovery>(
          platform.main, platform.queues->make("Corvane.Discovery"), *platform.multicast)),
      platform(platform), queue(platform.queues->make("Corvane.Network")) {}

LV1Client::~LV1Client() {
    stop();
}

void LV1Client::report(const std::string &status) const {
    const auto self = shared_from_this(); // whoever is told may let go of this
    if (onStatus)
        onStatus(status);
}

// Connecting

void LV1Client::connect(const std::string &host, std::uint16_t port) {
    if (port == 0) {
        report("Invalid LV1 port");
        return;
    }
    open(host, port);
}

void LV1Client::connect(const LV1Endpoint &endpoint) {
    multicastEndpoint = endpoint;
    connect(endpoint.host, endpoint.port);
}

void LV1Client::connect(const std::shared_ptr<NetService> &service) {
    // A copy: whoever is told may let go of the service, or of this.
    const auto asked = service; // NOLINT(performance-unnecessary-copy-initialization)
    if (const auto place = address(*asked)) {
        open(place->first, place->second);
        linkedService = asked->name();
        return;
    }
    report("LV1 has not published its address yet");
    asked->resolve(resolveTimeout);
}

void LV1Client::open(const std::string &host, std::uint16_t port) {
    disconnect();
    linkedService.clear();
    ++linkCount;
    destination = Destination{host, port};
    connection = std::make_shared<LV1Link>(platform.main, queue,
                                           platform.network->makeStream(host, port, queue), traffic);
    connection->start([client = weak_from_this(), link = std::weak_ptr(connection)](const auto &event) {
        if (const auto owner = client.lock())
            owner->linkTold(link, event);
    });
}

void LV1Client::disconnect() {
    if (connection)
        connection->leave();
    connection.reset();
    destination.reset();
    awaitedEndpoint.reset();
}

void LV1Client::stop() {
    browser->stop();
    multicast->stop();
    resolved.clear();
    disconnect();
}

bool LV1Client::leadsTo(const NetService &service) const {
    if (!destination)
        return false;
    const auto place = address(service);
    return place ? destination->host == place->first && destination->port == place->second
                 : service.name() == linkedService;
}

bool LV1Client::leadsTo(const LV1Endpoint &endpoint) const {
    return destination && destination->port == endpoint.port &&
           (isSameHost(destination->host, endpoint.host) || destination->peerAddress == endpoint.host);
}

bool LV1Client::isAccepted() const {
    return destination && destination->isAccepted;
}

// What happens on the link

void LV1Client::linkTold(const std::weak_ptr<LV1Link> &link, const LV1LinkEvent &event) {
    const auto self = shared_from_this();
    if (std::holds_alternative<lv1::Cancelled>(event))
        report("Disconnected"); // also of a link that was left for another one
    else if (!connection || connection != link.lock())
        return;
    std::visit([this](const auto &what) { happened(what); }, event);
    if (onLinkEvent)
        onLinkEvent(event);
}

void LV1Client::happened(const lv1::Ready &ready) {
    const auto link = connection;
    destination->peerAddress = ready.peer;
    if (onConnectionState)
        onConnectionState(false); // up, but not yet accepted
    // The Spanish texts: see docs/Names.md.
    report("Conectado. Negociando con LV1…");
    if (connection == link)
        decideOnAwaited();
    // A callback may have turned to another host, and so may an announcement.
    if (connection == link)
        link->begin(introduction());
}

/// The console knows the identifier now: it is kept.
void LV1Client::happened(const lv1::Introduced &) {
    if (platform.defaults->string(lv1Surface::deviceIdentifierKey).value_or("").empty())
        platform.defaults->set(lv1Surface::deviceIdentifierKey, identifier);
}

void LV1Client::happened(const lv1::Accepted &) {
    ++acceptedCount;
    if (destination)
        destination->isAccepted = true;
    if (onConnectionState)
        onConnectionState(true);
    report("LV1 conectado. Esperando el patch…");
}

void LV1Client::happened(const lv1::Patch &patch) {
    report(syncedText(*patch.channels));
    if (onPatch)
        onPatch(*patch.channels);
    if (onChannels)
        onChannels(*patch.channels);
}

void LV1Client::happened(const lv1::Colours &colours) {
    if (onChannels)
        onChannels(*colours.channels);
}

void LV1Client::happened(const lv1::Scene &scene) {
    if (onScene)
        onScene(scene.name);
}

void LV1Client::happened(const lv1::Closed &) {
    destination.reset();
    if (onConnectionState)
        onConnectionState(false);
    // "Tracks Live" is another recorder: see docs/Names.md.
    report("LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1.");
}

void LV1Client::happened(const lv1::Interrupted &interruption) {
    destination.reset();
    report("Connection interrupted: " + interruption.error);
}

void LV1Client::happened(const lv1::Failed &failure) {
    multicastEndpoint.reset();
    destination.reset();
    const auto link = connection;
    if (onConnectionState)
        onConnectionState(false);
    report("Connection error: " + failure.error);
    if (connection != link)
        return;
    resolveAnew();
    decideOnAwaited();
}

/// Who this computer is: its name, a lasting identifier and its Ethernet addresses.
OSCMessage LV1Client::introduction() {
    const HostInformation host = platform.host();
    const auto &listed = host.ethernetAddresses;
    std::string addresses;
    for (const auto &each : std::set<std::string>(listed.begin(), listed.end()))
        addresses += (addresses.empty() ? "" : " ") + each;
    return {"/device_name",
            {host.localizedName.value_or("Corvane"), deviceIdentifier(host.newUUID), std::move(addresses)}};
}

/// The one that is kept, else one that is made once a run.
std::string LV1Client::deviceIdentifier(const std::string &newUUID) {
    if (const auto known = platform.defaults->string(lv1Surface::deviceIdentifierKey);
        known && !known->empty())
        return *known;
    if (identifier.empty()) {
        for (const char c : newUUID) {
            if (c != '-')
                identifier += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        }
    }
    return identifier;
}

// Discovery

void LV1Client::startDiscovery() {
    const auto self = shared_from_this();
    services.clear();
    endpoints.clear();
    resolved.clear();
    multicastEndpoint.reset();
    awaitedEndpoint.reset();
    report("Buscando LV1 V17…");
    multicast->start();
    browser->search(serviceType, serviceDomain);
}

std::vector<std::shared_ptr<NetService>>::iterator LV1Client::listed(const NetService &service) {
    return std::find_if(services.begin(), services.end(),
                        [&](const auto &each) { return each.get() == &service; });
}

void LV1Client::didFind(std::shared_ptr<NetService> service, bool moreComing) {
    if (services.size() < mostHosts) {
        services.push_back(service);
        servicesAreNews = true;
        service->resolve(resolveTimeout);
    }
    if (!moreComing)
        announceServices();
}

/// Not reported: of two services the other one would be the sole one, and connected to while nobody asked.
void LV1Client::didRemove(NetService &service) {
    const auto isThat = [&](const auto &each) { return each.get() == &service; };
    servicesAreNews = std::erase_if(services, isThat) > 0 || servicesAreNews;
    std::erase_if(resolved, isThat);
}

void LV1Client::announceServices() {
    const auto self = shared_from_this();
    // A copy: who is told may start a new search.
    if (onServices)
        onServices(std::vector(services));
    servicesAreNews = false;
}

bool LV1Client::mayMentionServices() const {
    return servicesAreNews || !isAccepted();
}

void LV1Client::didResolveAddress(NetService &service) {
    const auto found = listed(service);
    if (found == services.end())
        return;
    if (!destination && service.name() == linkedService)
        movedAt = platform.main.now();
    resolved.push_back(*found);
    if (!std::exchange(reportIsDue, true))
        platform.main.after(std::chrono::milliseconds(services.size() / servicesPerMillisecond),
                            weakly(weak_from_this(), [](LV1Client &client) { client.announceResolved(); }));
}

/// One report of the list for all that were resolved in the meantime.
void LV1Client::announceResolved() {
    reportIsDue = false;
    const auto reported = std::exchange(resolved, {});
    if (reported.empty()) // withdrawn, or searched anew
        return;
    announceServices();
    for (const auto &service : reported)
        report("LV1 found: " + service->name());
}

void LV1Client::didNotResolve(NetService &service) {
    report("Could not resolve " + service.name());
}

/// The service that could not be connected to may be elsewhere by now, without having said so.
void LV1Client::resolveAnew() {
    if (linkedService.empty() || (movedAt && platform.main.now() - *movedAt < nextMoveDelay))
        return;
    const auto found = std::find_if(services.begin(), services.end(),
                                    [&](const auto &each) { return each->name() == linkedService; });
    if (found != services.end())
        (*found)->resolveAnew(resolveTimeout);
}

void LV1Client::heard(const LV1Endpoint &endpoint) {
    const bool isNews = endpoints.size() < mostHosts &&
                        std::find(endpoints.begin(), endpoints.end(), endpoint) == endpoints.end();
    if (isNews) {
        endpoints.push_back(endpoint);
        if (onEndpoints)
            onEndpoints(std::vector(endpoints));
    }
    if (multicastEndpoint == endpoint)
        return;
    const bool isSole = endpoints.size() == 1;
    if (!multicastEndpoint && leadsTo(endpoint)) { // found by Bonjour, or named, before
        multicastEndpoint = endpoint;
        report("LV1 found: " + endpoint.name);
    } else if (isSole && mayLeadTo(endpoint)) {
        awaitedEndpoint = endpoint;
    } else if (isSole) {
        multicastEndpoint = endpoint;
        report("LV1 found: " + endpoint.name);
        connect(endpoint.host, endpoint.port);
    } else if (isNews || !isAccepted()) {
        report(severalHostsStatus);
    }
}

/// Whether a link is being opened to a name whose address, not known yet, may be the one announced.
bool LV1Client::mayLeadTo(const LV1Endpoint &endpoint) const {
    return destination && destination->peerAddress.empty() && !isNumeric(destination->host) &&
           destination->port == endpoint.port;
}

void LV1Client::decideOnAwaited() {
    if (const auto endpoint = std::exchange(awaitedEndpoint, std::nullopt))
        heard(*endpoint);
}

// Counting

/// Each queue in turn adds what it has counted.
void LV1Client::askCounters(std::function<void(const LV1Counters &)> told) const {
    LV1Counters counters;
    counters.links = linkCount;
    counters.accepted = acceptedCount;
    queue->post([&main = platform.main, queue = queue, traffic = traffic, multicast = multicast, counters,
                 told = std::move(told)]() mutable {
        counters.traffic = *traffic;
        if (traffic->lastMessage)
            counters.sinceLastMessage =
                std::chrono::duration_cast<std::chrono::milliseconds>(queue->now() - *traffic->lastMessage);
        multicast->count([&main, counters,
                          told = std::move(told)](const LV1Counters::Announcements &announcements) mutable {
            counters.announcements = announcements;
            main.post([counters, told = std::move(told)] { told(counters); });
        });
    });
}

} // namespace corvane

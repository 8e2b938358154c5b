#include "lv1/LV1Client.h"

#include "lv1/LV1Link.h"
#include "osc/OSCMessage.h"

#include <algorithm>
#include <chrono>
#include <set>
#include <utility>

namespace corvane {

namespace {

constexpr const char *deviceIdentifierKey = "CorvaneDeviceID";
constexpr int highestPort = 65'535;

/// The port and host name of a service that has been resolved; none of another.
std::optional<std::pair<std::string, std::uint16_t>> address(const NetService &service) {
    const auto host = service.hostName();
    const int port = service.port();
    if (!host || port < 1 || port > highestPort)
        return std::nullopt;
    return std::pair(*host, static_cast<std::uint16_t>(port));
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
    if (const auto place = address(*service)) {
        open(place->first, place->second);
        return;
    }
    // A copy: whoever is told may let go of the service, or of this.
    const auto asked = service; // NOLINT(performance-unnecessary-copy-initialization)
    report("LV1 has not published its address yet");
    asked->resolve(resolveTimeout);
}

void LV1Client::open(const std::string &host, std::uint16_t port) {
    disconnect();
    connection = std::make_shared<LV1Link>(platform.main, queue, weak_from_this(),
                                           platform.network->makeStream(host, port, queue));
    destination.emplace(host, port);
    connection->start();
}

void LV1Client::disconnect() {
    if (connection)
        connection->leave();
    connection.reset();
    destination.reset();
}

void LV1Client::stop() {
    browser->stop();
    multicast->stop();
    disconnect();
}

bool LV1Client::leadsTo(const NetService &service) const {
    return destination && destination == address(service);
}

bool LV1Client::leadsTo(const LV1Endpoint &endpoint) const {
    return destination == std::pair(endpoint.host, endpoint.port);
}

// What the link reports

bool LV1Client::isCurrent(const std::weak_ptr<LV1Link> &link) const {
    return connection && connection == link.lock();
}

void LV1Client::linkChanged(const std::weak_ptr<LV1Link> &link, ConnectionState state,
                            const std::string &error) {
    if (state == ConnectionState::cancelled)
        report("Disconnected"); // also of a link that was left for another one
    else if (!isCurrent(link))
        return;
    else if (state == ConnectionState::ready)
        linkIsReady();
    else if (state == ConnectionState::failed)
        linkFailed(error);
}

void LV1Client::linkIsReady() {
    const auto link = connection;
    if (onConnectionState)
        onConnectionState(false); // up, but not yet accepted
    report("Conectado. Negociando con LV1…");
    // A callback may have turned to another host.
    if (connection != link)
        return;
    link->greet();
    link->introduceLater();
}

void LV1Client::linkFailed(const std::string &error) {
    multicastEndpoint.reset();
    destination.reset();
    if (onConnectionState)
        onConnectionState(false);
    report("Connection error: " + error);
}

/// Who this computer is: its name, a lasting identifier and its Ethernet addresses. The identifier is made
/// and kept when it is asked for first, which is when a console is told.
OSCMessage LV1Client::introduction() const {
    const HostInformation host = platform.host();
    const auto &listed = host.ethernetAddresses;
    std::string addresses;
    for (const auto &each : std::set<std::string>(listed.begin(), listed.end()))
        addresses += (addresses.empty() ? "" : " ") + each;
    return {"/device_name",
            {host.localizedName.value_or("Corvane"), deviceIdentifier(host.newUUID), std::move(addresses)}};
}

std::string LV1Client::deviceIdentifier(const std::string &newUUID) const {
    if (auto known = platform.defaults->string(deviceIdentifierKey))
        return *known;
    std::string identifier;
    for (const char c : newUUID) {
        if (c != '-')
            identifier += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    platform.defaults->set(deviceIdentifierKey, identifier);
    return identifier;
}

// Discovery

void LV1Client::startDiscovery() {
    const auto self = shared_from_this(); // as above
    services.clear();
    endpoints.clear();
    multicastEndpoint.reset();
    report("Buscando LV1 V17…");
    multicast->start();
    browser->search(serviceType, serviceDomain);
}

void LV1Client::didFind(std::shared_ptr<NetService> service, bool moreComing) {
    services.push_back(service);
    service->resolve(resolveTimeout);
    if (!moreComing)
        announceServices();
}

void LV1Client::announceServices() const {
    // A copy: who is told may start a new search.
    if (onServices)
        onServices(std::vector(services));
}

void LV1Client::didResolveAddress(NetService &service) {
    announceServices();
    report("LV1 found: " + service.name());
}

void LV1Client::didNotResolve(NetService &service) {
    report("Could not resolve " + service.name());
}

void LV1Client::heard(const LV1Endpoint &endpoint) {
    if (endpoints.size() < mostHosts &&
        std::find(endpoints.begin(), endpoints.end(), endpoint) == endpoints.end()) {
        endpoints.push_back(endpoint);
        if (onEndpoints)
            onEndpoints(std::vector(endpoints));
    }
    if (multicastEndpoint == endpoint)
        return;
    if (endpoints.size() == 1) {
        multicastEndpoint = endpoint;
        report("LV1 found: " + endpoint.name);
        connect(endpoint.host, endpoint.port);
        return;
    }
    report(severalHostsStatus);
}

} // namespace corvane

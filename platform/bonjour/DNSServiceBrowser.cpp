#include "platform/bonjour/DNSServiceBrowser.h"

#include "base/UTF8.h"

#include <algorithm>
#include <list>
#include <map>
#include <utility>
#include <vector>

namespace corvane {

using namespace std::chrono_literals;

namespace {

/// Hosts answer within 120 ms of being asked, each in its own time: a burst has ended when nothing new has
/// come for so long, or when it has lasted long enough.
constexpr std::chrono::milliseconds burstGap = 150ms;
constexpr std::chrono::milliseconds longestBurst = 500ms;

/// How long to wait before looking for a missing daemon again: doubled each time. Then it is waited for,
/// where the system tells when it comes, and asked.
constexpr std::chrono::milliseconds shortestPause = 1s;
constexpr std::chrono::milliseconds longestPause = 30s;

/// A query costs a thread and several descriptors in the daemon's library; a network full of services
/// must not use them up. Those beyond wait in line, within their own time.
constexpr int queriesAtOnce = 8;

constexpr std::chrono::milliseconds refreshTimeout = 5s;

constexpr int unknownError = -65537; // kDNSServiceErr_Unknown: what the Linux library says without a daemon
constexpr int serviceNotRunning = -65563; // kDNSServiceErr_ServiceNotRunning

std::string obstacleText(int error) {
    if (error == unknownError || error == serviceNotRunning)
        return "The DNS-SD daemon is not running.";
    return "The DNS-SD daemon cannot be used (error " + std::to_string(error) + ").";
}

} // namespace

/// A service that was found. Lives as long as somebody holds it, a search or its user.
class DNSServiceBrowser::Service final : public NetService, public std::enable_shared_from_this<Service> {
public:
    Service(std::string name, std::weak_ptr<Search> search)
        : serviceName(std::move(name)), search(std::move(search)) {}

    const std::string &name() const override { return serviceName; }
    std::optional<std::string> hostName() const override {
        return address ? std::optional(address->hostName) : std::nullopt;
    }
    int port() const override { return address ? address->port : -1; }
    void resolve(std::chrono::milliseconds timeout) override;

    std::optional<DNSServiceAddress> address;

private:
    std::string serviceName;
    std::weak_ptr<Search> search;
};

/// The search, with everything it knows and waits for.
class DNSServiceBrowser::Search : public std::enable_shared_from_this<Search> {
public:
    Search(SerialQueue &main, std::unique_ptr<DNSServiceQueries> queries)
        : main(main), queries(std::move(queries)) {}

    void begin(const std::string &newType, const std::string &newDomain);
    void stop();
    void resolve(const std::shared_ptr<Service> &service, std::chrono::milliseconds timeout, bool isQuiet);

    std::weak_ptr<ServiceBrowserDelegate> delegate;
    std::optional<std::string> obstacle;

private:
    struct Known {
        std::shared_ptr<Service> service;
        int presence = 0; ///< on how many interfaces and families it is there
    };
    struct Resolution {
        std::shared_ptr<Service> service;
        DelayedTask timeout;
        std::unique_ptr<DNSServiceQuery> query; ///< none while it waits
        bool isQuiet = false;                   ///< nobody asked: only another address is worth telling
        bool awaitsDaemon = false;
    };
    using Resolutions = std::list<Resolution>;

    void browse();
    void awaitDaemon();
    void handle(const DNSServiceEvent &event);
    void added(const std::string &name);
    void failed(int error);
    void reportBurst();
    void askInTurn();
    void ask(Resolution &resolution);
    Resolutions::iterator resolutionOf(const Service &service);
    void answered(const Service &service, const std::optional<DNSServiceAddress> &address);
    void timedOut(const Service &service);
    Resolution take(Resolutions::iterator resolution);
    void setTimeout(Resolution &resolution, std::chrono::milliseconds timeout);

    SerialQueue &main;
    std::unique_ptr<DNSServiceQueries> queries;
    std::string type;
    std::string domain;
    unsigned round = 0; ///< of searches; a new one makes callbacks that are under way stop
    std::unique_ptr<DNSServiceQuery> browsing;
    std::map<std::string, Known> known;
    std::vector<std::shared_ptr<Service>> burst;
    SerialQueue::Clock::time_point burstBegan;
    DelayedTask burstEnd;
    DelayedTask retry;
    std::unique_ptr<DNSServiceQuery> waiting; ///< for the daemon
    std::chrono::milliseconds pause = shortestPause;
    Resolutions resolutions; ///< in the order in which they were asked for
};

void DNSServiceBrowser::Service::resolve(std::chrono::milliseconds timeout) {
    if (const auto owner = search.lock())
        owner->resolve(shared_from_this(), timeout, false);
}

void DNSServiceBrowser::Search::begin(const std::string &newType, const std::string &newDomain) {
    stop();
    type = newType;
    domain = newDomain;
    pause = shortestPause;
    browse();
}

void DNSServiceBrowser::Search::stop() {
    ++round;
    browsing.reset();
    retry.cancel();
    waiting.reset();
    burstEnd.cancel();
    burst.clear();
    known.clear();
    for (const auto &resolution : resolutions)
        resolution.timeout.cancel();
    resolutions.clear();
    obstacle.reset();
}

void DNSServiceBrowser::Search::browse() {
    browsing = queries->browse(type, domain, [this](const DNSServiceEvent &event) { handle(event); });
}

void DNSServiceBrowser::Search::awaitDaemon() {
    waiting = queries->awaitDaemon([this] {
        waiting.reset();
        browse();
    });
}

void DNSServiceBrowser::Search::handle(const DNSServiceEvent &event) {
    switch (event.kind) {
    case DNSServiceEvent::Kind::started:
        obstacle.reset();
        pause = shortestPause;
        for (auto &resolution : resolutions)
            resolution.awaitsDaemon = false;
        return askInTurn();
    case DNSServiceEvent::Kind::added:
        return added(event.name);
    case DNSServiceEvent::Kind::removed:
        if (const auto found = known.find(event.name); found != known.end() && found->second.presence > 0)
            --found->second.presence;
        return;
    case DNSServiceEvent::Kind::failed:
        return failed(event.error);
    }
}

void DNSServiceBrowser::Search::added(const std::string &name) {
    if (name.empty() || !isValidUTF8(name))
        return;
    auto &entry = known[name];
    ++entry.presence;
    if (entry.service) {
        // It was gone and is back, perhaps at another port. Who has it already is told only of that.
        if (entry.presence == 1 && entry.service->address)
            resolve(entry.service, refreshTimeout, true);
        return;
    }
    entry.service = std::make_shared<Service>(name, weak_from_this());
    if (burst.empty())
        burstBegan = main.now();
    burst.push_back(entry.service);
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(burstBegan + longestBurst - main.now());
    burstEnd.cancel();
    burstEnd = main.after(std::min(burstGap, left),
                          weakly(weak_from_this(), [](Search &search) { search.reportBurst(); }));
}

void DNSServiceBrowser::Search::reportBurst() {
    const auto found = std::exchange(burst, {});
    const auto current = round;
    for (std::size_t i = 0; i < found.size() && current == round; ++i)
        if (const auto listener = delegate.lock())
            listener->didFind(found[i], i + 1 < found.size());
}

void DNSServiceBrowser::Search::failed(int error) {
    browsing.reset();
    obstacle = obstacleText(error);
    for (auto &[name, entry] : known)
        entry.presence = 0;
    for (auto &resolution : resolutions) {
        resolution.query.reset();
        resolution.awaitsDaemon = true;
    }
    retry = main.after(pause, weakly(weak_from_this(), [](Search &search) { search.awaitDaemon(); }));
    pause = std::min(2 * pause, longestPause);
}

void DNSServiceBrowser::Search::resolve(const std::shared_ptr<Service> &service,
                                        std::chrono::milliseconds timeout, bool isQuiet) {
    const auto underWay = resolutionOf(*service);
    if (underWay == resolutions.end()) {
        auto &resolution = resolutions.emplace_back();
        resolution.service = service;
        resolution.isQuiet = isQuiet;
        setTimeout(resolution, timeout);
    } else if (underWay->isQuiet && !isQuiet) {
        underWay->isQuiet = false;
        underWay->timeout.cancel();
        setTimeout(*underWay, timeout);
    }
    askInTurn();
}

void DNSServiceBrowser::Search::setTimeout(Resolution &resolution, std::chrono::milliseconds timeout) {
    resolution.timeout =
        main.after(timeout, weakly(weak_from_this(), [service = resolution.service](Search &search) {
                       search.timedOut(*service);
                   }));
}

void DNSServiceBrowser::Search::askInTurn() {
    auto free = queriesAtOnce - std::count_if(resolutions.begin(), resolutions.end(),
                                              [](const Resolution &other) { return other.query != nullptr; });
    for (auto &resolution : resolutions) {
        if (free <= 0)
            return;
        if (resolution.query || resolution.awaitsDaemon)
            continue;
        ask(resolution);
        --free;
    }
}

void DNSServiceBrowser::Search::ask(Resolution &resolution) {
    const auto &service = resolution.service;
    resolution.query = queries->resolve(
        service->name(), type, domain, [this, service](const std::optional<DNSServiceAddress> &address) {
            const auto held = shared_from_this(); // whoever is told may end all this
            answered(*service, address);
        });
}

DNSServiceBrowser::Search::Resolutions::iterator
DNSServiceBrowser::Search::resolutionOf(const Service &service) {
    return std::find_if(resolutions.begin(), resolutions.end(),
                        [&](const Resolution &resolution) { return resolution.service.get() == &service; });
}

DNSServiceBrowser::Search::Resolution DNSServiceBrowser::Search::take(Resolutions::iterator resolution) {
    resolution->timeout.cancel();
    auto taken = std::move(*resolution);
    resolutions.erase(resolution);
    return taken;
}

void DNSServiceBrowser::Search::answered(const Service &service,
                                         const std::optional<DNSServiceAddress> &address) {
    const auto found = resolutionOf(service);
    if (found == resolutions.end())
        return;
    if (!address) {
        // Asked again when the daemon is back, if that is in time.
        found->query.reset();
        found->awaitsDaemon = true;
        return askInTurn();
    }
    const auto resolution = take(found);
    const bool isNews = !resolution.isQuiet || resolution.service->address != address;
    resolution.service->address = address;
    askInTurn();
    if (const auto listener = delegate.lock(); listener && isNews)
        listener->didResolveAddress(*resolution.service);
}

void DNSServiceBrowser::Search::timedOut(const Service &service) {
    const auto found = resolutionOf(service);
    if (found == resolutions.end())
        return;
    const auto resolution = take(found);
    askInTurn();
    if (const auto listener = delegate.lock(); listener && !resolution.isQuiet)
        listener->didNotResolve(*resolution.service);
}

DNSServiceBrowser::DNSServiceBrowser(SerialQueue &main, std::unique_ptr<DNSServiceQueries> queries)
    : current(std::make_shared<Search>(main, std::move(queries))) {}

DNSServiceBrowser::~DNSServiceBrowser() {
    current->stop();
}

void DNSServiceBrowser::setDelegate(std::weak_ptr<ServiceBrowserDelegate> delegate) {
    current->delegate = std::move(delegate);
}

void DNSServiceBrowser::search(const std::string &type, const std::string &domain) {
    current->begin(type, domain);
}

void DNSServiceBrowser::stop() {
    current->stop();
}

std::optional<std::string> DNSServiceBrowser::obstacle() const {
    return current->obstacle;
}

} // namespace corvane

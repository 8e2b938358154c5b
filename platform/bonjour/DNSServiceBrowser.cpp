#include "platform/bonjour/DNSServiceBrowser.h"

#include "base/UTF8.h"
#include "platform/bonjour/DNSServiceDaemonWatch.h"

#include <algorithm>
#include <list>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

namespace corvane {

using namespace std::chrono_literals;

namespace {

/// Hosts answer within 120 ms of being asked, each in its own time: a burst has ended when nothing new has
/// come for so long, or when it has lasted long enough.
constexpr std::chrono::milliseconds burstGapTimeout = 150ms;
constexpr std::chrono::milliseconds burstTimeout = 500ms;

/// How long after an error the daemon is tried again, doubled each time. Where the system can tell when the
/// daemon comes back, that is awaited first.
constexpr std::chrono::milliseconds shortestRetryDelay = 1s;
constexpr std::chrono::milliseconds longestRetryDelay = 30s;

/// A query costs a thread and several descriptors in the daemon's library; a network full of services must
/// not use them up. Further queries are queued, while their timeouts run.
constexpr std::size_t queriesAtOnce = 8;

/// Many times what any network has, and a bound for what a hostile one can fill.
constexpr std::size_t mostServices = 1'000;

constexpr std::chrono::milliseconds refreshTimeout = 5s;

constexpr int unknownError = -65537; // kDNSServiceErr_Unknown: what the Linux library says without a daemon
constexpr int serviceNotRunning = -65563; // kDNSServiceErr_ServiceNotRunning
constexpr int policyDenied = -65570;      // kDNSServiceErr_PolicyDenied: the local network was not allowed

std::string errorText(int code) {
    if (code == policyDenied)
        return "This computer does not let Corvane use the local network.";
    if (code == unknownError || code == serviceNotRunning)
        return "The DNS-SD daemon is not running.";
    return "The DNS-SD daemon cannot be used (error " + std::to_string(code) + ").";
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
    void resolve(std::chrono::milliseconds timeout) override { ask(timeout, false); }
    void resolveAnew(std::chrono::milliseconds timeout) override { ask(timeout, true); }

    std::optional<DNSServiceAddress> address;

private:
    void ask(std::chrono::milliseconds timeout, bool isQuiet);

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
    std::optional<std::string> error;
    bool isRefused = false; ///< what `error` says

private:
    struct Known {
        std::shared_ptr<Service> service;
        int presence = 0; ///< on how many interfaces and families it is there
    };
    struct Resolution;
    using Resolutions = std::list<Resolution>;
    struct Resolution {
        std::shared_ptr<Service> service;
        Resolutions *line; ///< the one it stands in
        DelayedTask timeout = {};
        std::unique_ptr<DNSServiceQuery> query = nullptr; ///< while it is asked
        bool isQuiet = false;                             ///< only another address is worth telling
    };

    void browse();
    void awaitDaemon();
    void handle(const DNSServiceEvent &event);
    void added(const std::string &name);
    void removed(const std::string &name);
    void withdraw(std::map<std::string, Known>::iterator gone);
    void withdrawAbsent();
    void failed(int code);
    void reportBurst();
    void askInTurn();
    void ask(Resolution &resolution);
    static void move(Resolutions::iterator resolution, Resolutions &line);
    void answered(const Service &service, const std::optional<DNSServiceAddress> &address);
    void timedOut(const Service &service);
    Resolution take(Resolutions::iterator resolution);
    void drop(const Service &service);
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
    DelayedTask roundUp; ///< of services that a daemon that came back does not know any more
    std::unique_ptr<DNSServiceQuery> waiting; ///< for the daemon
    std::chrono::milliseconds pause = shortestRetryDelay;
    // In the order in which they were asked for:
    Resolutions queued;    ///< for their turn
    Resolutions asked;     ///< of the daemon
    Resolutions suspended; ///< until there is a daemon
    std::unordered_map<const Service *, Resolutions::iterator> resolutions;
};

void DNSServiceBrowser::Service::ask(std::chrono::milliseconds timeout, bool isQuiet) {
    if (const auto owner = search.lock())
        owner->resolve(shared_from_this(), timeout, isQuiet);
}

void DNSServiceBrowser::Search::begin(const std::string &newType, const std::string &newDomain) {
    stop();
    type = newType;
    domain = newDomain;
    pause = shortestRetryDelay;
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
    for (const auto &[service, resolution] : resolutions)
        resolution->timeout.cancel();
    resolutions.clear();
    for (auto *line : {&queued, &asked, &suspended})
        line->clear();
    error.reset();
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
        error.reset();
        pause = shortestRetryDelay;
        while (!suspended.empty())
            move(suspended.begin(), queued);
        roundUp = main.after(refreshTimeout,
                             weakly(weak_from_this(), [](Search &search) { search.withdrawAbsent(); }));
        return askInTurn();
    case DNSServiceEvent::Kind::added:
        return added(event.name);
    case DNSServiceEvent::Kind::removed:
        return removed(event.name);
    case DNSServiceEvent::Kind::failed:
        return failed(event.error);
    }
}

void DNSServiceBrowser::Search::added(const std::string &name) {
    if (name.empty() || !isValidUTF8(name) || (known.size() >= mostServices && !known.contains(name)))
        return;
    auto &entry = known[name];
    ++entry.presence;
    if (entry.service) {
        // The daemon was gone and is back; or what could not be reached by one interface may be by another.
        // Who has the service already is told only if it is elsewhere now.
        const bool isReported = std::find(burst.begin(), burst.end(), entry.service) == burst.end();
        if (entry.presence == 1 || (isReported && !entry.service->address))
            resolve(entry.service, refreshTimeout, true);
        return;
    }
    entry.service = std::make_shared<Service>(name, weak_from_this());
    if (burst.empty())
        burstBegan = main.now();
    burst.push_back(entry.service);
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(burstBegan + burstTimeout - main.now());
    burstEnd.cancel();
    burstEnd = main.after(std::min(burstGapTimeout, left),
                          weakly(weak_from_this(), [](Search &search) { search.reportBurst(); }));
}

void DNSServiceBrowser::Search::removed(const std::string &name) {
    const auto found = known.find(name);
    if (found == known.end() || found->second.presence == 0 || --found->second.presence > 0)
        return;
    withdraw(found);
}

/// Whoever was told of it is told that it has gone.
void DNSServiceBrowser::Search::withdraw(std::map<std::string, Known>::iterator gone) {
    const auto service = gone->second.service;
    known.erase(gone);
    drop(*service);
    const auto unreported = std::find(burst.begin(), burst.end(), service);
    if (unreported != burst.end())
        burst.erase(unreported);
    else if (const auto listener = delegate.lock())
        listener->didRemove(*service);
}

void DNSServiceBrowser::Search::withdrawAbsent() {
    const auto current = round;
    std::vector<std::string> absent;
    for (const auto &[name, entry] : known)
        if (entry.presence == 0)
            absent.push_back(name);
    for (const std::string &name : absent)
        if (const auto found = known.find(name);
            current == round && found != known.end() && found->second.presence == 0)
            withdraw(found);
}

void DNSServiceBrowser::Search::reportBurst() {
    const auto found = std::exchange(burst, {});
    const auto current = round;
    for (std::size_t i = 0; i < found.size() && current == round; ++i)
        if (const auto listener = delegate.lock())
            listener->didFind(found[i], i + 1 < found.size());
}

void DNSServiceBrowser::Search::failed(int code) {
    browsing.reset();
    roundUp.cancel();
    error = errorText(code);
    isRefused = code == policyDenied;
    for (auto &[name, entry] : known)
        entry.presence = 0;
    for (auto *line : {&asked, &queued})
        while (!line->empty())
            move(line->begin(), suspended);
    retry = main.after(pause, weakly(weak_from_this(), [](Search &search) { search.awaitDaemon(); }));
    pause = std::min(2 * pause, longestRetryDelay);
}

void DNSServiceBrowser::Search::resolve(const std::shared_ptr<Service> &service,
                                        std::chrono::milliseconds timeout, bool isQuiet) {
    const auto underWay = resolutions.find(service.get());
    if (underWay == resolutions.end()) {
        queued.push_back({service, &queued});
        resolutions[service.get()] = std::prev(queued.end());
        queued.back().isQuiet = isQuiet;
        setTimeout(queued.back(), timeout);
    } else if (auto &joined = *underWay->second; joined.isQuiet && !isQuiet) {
        joined.isQuiet = false;
        joined.timeout.cancel();
        setTimeout(joined, timeout);
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
    while (asked.size() < queriesAtOnce && !queued.empty()) {
        move(queued.begin(), asked);
        ask(asked.back());
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

/// To the end of another line; a query that was under way is over.
void DNSServiceBrowser::Search::move(Resolutions::iterator resolution, Resolutions &line) {
    resolution->query.reset();
    line.splice(line.end(), *resolution->line, resolution);
    resolution->line = &line;
}

DNSServiceBrowser::Search::Resolution DNSServiceBrowser::Search::take(Resolutions::iterator resolution) {
    resolution->timeout.cancel();
    resolutions.erase(resolution->service.get());
    auto taken = std::move(*resolution);
    taken.line->erase(resolution);
    return taken;
}

void DNSServiceBrowser::Search::drop(const Service &service) {
    if (const auto found = resolutions.find(&service); found != resolutions.end()) {
        take(found->second);
        askInTurn();
    }
}

void DNSServiceBrowser::Search::answered(const Service &service,
                                         const std::optional<DNSServiceAddress> &address) {
    const auto found = resolutions.find(&service);
    if (found == resolutions.end())
        return;
    if (!address) {
        // Asked again when the daemon is back, if that is in time.
        move(found->second, suspended);
        return askInTurn();
    }
    const auto resolution = take(found->second);
    const bool isNews = !resolution.isQuiet || resolution.service->address != address;
    resolution.service->address = address;
    askInTurn();
    if (const auto listener = delegate.lock(); listener && isNews)
        listener->didResolveAddress(*resolution.service);
}

void DNSServiceBrowser::Search::timedOut(const Service &service) {
    const auto found = resolutions.find(&service);
    if (found == resolutions.end())
        return;
    const auto resolution = take(found->second);
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

std::optional<std::string> DNSServiceBrowser::error() const {
    return current->error;
}

bool DNSServiceBrowser::isRefused() const {
    return current->error && current->isRefused;
}

bool DNSServiceBrowser::mayBeRefused() const {
    return localNetworkWantsPermission();
}

} // namespace corvane

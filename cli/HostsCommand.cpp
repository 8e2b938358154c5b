#include "cli/Commands.h"
#include "cli/Discovery.h"
#include "cli/Json.h"
#include "cli/Table.h"
#include "lv1/LV1Client.h"

#include <algorithm>
#include <utility>

namespace corvane::cli {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds defaultListeningTimeout = 3s;

/// Listens both ways and connects to nobody.
class HostsCommand : public Command, public ServiceBrowserDelegate {
public:
    explicit HostsCommand(const CommandContext &context) : context(context) {}

    void stop() override {
        deadline.cancel();
        if (browser)
            browser->stop();
        if (multicast)
            multicast->stop();
    }

    void didFind(std::shared_ptr<NetService> service, bool) override {
        if (hosts.size() >= LV1Client::mostHosts)
            return;
        hosts.push_back({{}, service});
        service->resolve(LV1Client::resolveTimeout);
    }
    void didRemove(NetService &) override {} // it was heard
    void didResolveAddress(NetService &) override {}
    void didNotResolve(NetService &) override {}

private:
    /// One host, heard one way or the other.
    struct Host {
        LV1Endpoint endpoint;
        std::shared_ptr<NetService> service;
    };

    void start() override {
        Platform &platform = context.platform;
        const auto self = std::static_pointer_cast<HostsCommand>(shared_from_this());
        multicast = std::make_shared<LV1MulticastDiscovery>(
            platform.main, platform.queues->make("Corvane.Discovery"), *platform.multicast);
        multicast->onEndpoint = [weak = std::weak_ptr(self)](const LV1Endpoint &endpoint) {
            if (const auto command = weak.lock())
                command->heard(endpoint);
        };
        browser = platform.makeServiceBrowser();
        browser->setDelegate(self);
        multicast->start();
        browser->search(LV1Client::serviceType, LV1Client::serviceDomain);
        context.output.progress("Listening for LV1 hosts…");
        deadline = platform.main.after(listening(), weakly(std::weak_ptr(self), [](HostsCommand &command) {
                                           command.guarded([&] { command.report(); });
                                       }));
    }

    std::chrono::milliseconds listening() const {
        return context.options.duration.value_or(defaultListeningTimeout);
    }

    void heard(const LV1Endpoint &endpoint) {
        const bool known = std::any_of(hosts.begin(), hosts.end(), [&](const Host &host) {
            return !host.service && host.endpoint == endpoint;
        });
        if (!known && hosts.size() < LV1Client::mostHosts)
            hosts.push_back({endpoint, nullptr});
    }

    void report() {
        if (hosts.empty()) {
            if (context.options.json)
                context.output.print(json());
            throw CommandFailure(status::noAnswer, nothingHeard(*multicast, *browser, listening()));
        }
        context.output.print(context.options.json ? json() : text());
        end();
    }

    std::string json() const {
        Json list = Json::array();
        for (const Host &host : hosts)
            list.push_back(host.service ? describe(*host.service) : describe(host.endpoint));
        return document(list);
    }

    static Json describe(const LV1Endpoint &endpoint) {
        Json host = endpointJson(endpoint);
        host["via"] = "multicast";
        return host;
    }

    static Json describe(const NetService &service) {
        Json host = serviceJson(service);
        host["mac"] = "";
        host["via"] = "bonjour";
        return host;
    }

    std::string text() const {
        std::vector<std::vector<std::string>> rows{{"HOST", "ADDRESS", "MAC", "HEARD BY"}};
        for (const Host &host : hosts) {
            if (!host.service) {
                rows.push_back({host.endpoint.name,
                                host.endpoint.host + ":" + std::to_string(host.endpoint.port),
                                host.endpoint.mac, "multicast"});
                continue;
            }
            const auto place = addressOf(*host.service);
            rows.push_back({host.service->name(),
                            place ? place->first + ":" + std::to_string(place->second) : "not resolved", "",
                            "Bonjour"});
        }
        return table(rows);
    }

    CommandContext context;
    DelayedTask deadline;
    std::shared_ptr<LV1MulticastDiscovery> multicast;
    std::unique_ptr<ServiceBrowser> browser;
    std::vector<Host> hosts; ///< in order of arrival
};

} // namespace

std::shared_ptr<Command> makeHostsCommand(const CommandContext &context) {
    return std::make_shared<HostsCommand>(context);
}

} // namespace corvane::cli

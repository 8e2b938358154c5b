#pragma once

#include "platform/bonjour/DNSServiceBrowser.h"
#include "tests/fakes/ManualQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvane {

/// A daemon whose answers are the test's.
class FakeDNSServiceQueries : public DNSServiceQueries {
public:
    explicit FakeDNSServiceQueries(SerialQueue &main) : main(main) {}

    struct Resolving {
        std::string name;
        ResolveHandler handler;
    };

    std::unique_ptr<DNSServiceQuery> browse(const std::string &type, const std::string &domain,
                                            BrowseHandler handler) override {
        browsed.push_back(type + " " + domain);
        browsing = std::make_shared<BrowseHandler>(std::move(handler));
        return std::make_unique<Query>([held = browsing, this] {
            if (browsing == held)
                browsing = nullptr;
        });
    }

    std::unique_ptr<DNSServiceQuery> resolve(const std::string &name, const std::string &type,
                                             const std::string &domain, ResolveHandler handler) override {
        EXPECT_EQ(type + " " + domain, browsed.back());
        ++resolves;
        auto entry = std::make_shared<Resolving>(Resolving{name, std::move(handler)});
        resolving.push_back(entry);
        return std::make_unique<Query>([entry, this] {
            resolving.erase(std::remove(resolving.begin(), resolving.end(), entry), resolving.end());
        });
    }

    std::unique_ptr<DNSServiceQuery> awaitDaemon(std::function<void()> handler) override {
        waiting = std::make_shared<std::function<void()>>(std::move(handler));
        if (!tellsWhenItComes)
            main.post([held = std::weak_ptr(waiting)] {
                if (const auto called = held.lock())
                    (*called)();
            });
        return std::make_unique<Query>([this] { waiting = nullptr; });
    }
    void come() {
        ASSERT_TRUE(waiting);
        const auto held = waiting;
        (*held)();
    }

    void say(DNSServiceEvent::Kind kind, const std::string &name = {}, int error = 0) {
        ASSERT_TRUE(browsing);
        const auto held = browsing;
        (*held)({kind, name, error});
    }
    void answer(const std::string &name, const std::optional<DNSServiceAddress> &address) {
        const auto found = std::find_if(resolving.begin(), resolving.end(),
                                        [&](const auto &entry) { return entry->name == name; });
        ASSERT_NE(found, resolving.end()) << name;
        const auto held = *found;
        held->handler(address);
    }

    std::vector<std::string> browsed;
    std::shared_ptr<BrowseHandler> browsing;
    std::vector<std::shared_ptr<Resolving>> resolving;
    int resolves = 0;
    bool tellsWhenItComes = false;
    std::shared_ptr<std::function<void()>> waiting;

private:
    SerialQueue &main;

    struct Query : DNSServiceQuery {
        explicit Query(std::function<void()> ending) : ending(std::move(ending)) {}
        ~Query() override { ending(); }
        std::function<void()> ending;
    };
};

/// Keeps what it is told, in words.
class RecordingDelegate : public ServiceBrowserDelegate {
public:
    void didFind(std::shared_ptr<NetService> service, bool moreComing) override {
        words.push_back("found " + service->name() + (moreComing ? ", more" : ""));
        services.push_back(service);
        if (onFind)
            onFind();
    }
    void didRemove(NetService &service) override { words.push_back("removed " + service.name()); }
    void didResolveAddress(NetService &service) override {
        words.push_back("resolved " + service.name() + " " + *service.hostName() + " " +
                        std::to_string(service.port()));
        if (onResolve)
            onResolve();
    }
    void didNotResolve(NetService &service) override { words.push_back("unresolved " + service.name()); }

    std::vector<std::string> words;
    std::vector<std::shared_ptr<NetService>> services;
    std::function<void()> onFind;
    std::function<void()> onResolve;
};

/// A browser between such a daemon and such a delegate, on a clock that the test moves.
class DNSServiceSearch : public testing::Test {
protected:
    using Words = std::vector<std::string>;
    using Kind = DNSServiceEvent::Kind;

    DNSServiceSearch() {
        auto owned = std::make_unique<FakeDNSServiceQueries>(main);
        daemon = owned.get();
        browser = std::make_unique<DNSServiceBrowser>(main, std::move(owned));
        browser->setDelegate(delegate);
    }

    void search() { browser->search("_waveslv113._tcp.", "local."); }
    /// Searches, and finds these services.
    void find(const Words &names) {
        search();
        daemon->say(Kind::started);
        for (const auto &name : names)
            daemon->say(Kind::added, name);
        clock->advance(std::chrono::seconds(1));
        delegate->words.clear();
    }

    void restartDaemon() {
        daemon->say(Kind::failed, {}, -65537);
        clock->advance(std::chrono::minutes(1));
        daemon->say(Kind::started);
    }

    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    ManualQueue main{clock, "main"};
    FakeDNSServiceQueries *daemon = nullptr;
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    std::unique_ptr<DNSServiceBrowser> browser;
};

} // namespace corvane

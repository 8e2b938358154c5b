#include "platform/bonjour/DNSServiceBrowser.h"
#include "tests/fakes/ManualQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

namespace corvane {
namespace {

using namespace std::chrono_literals;
using Words = std::vector<std::string>;
using Kind = DNSServiceEvent::Kind;

/// A daemon whose answers are the test's.
class FakeQueries : public DNSServiceQueries {
public:
    explicit FakeQueries(SerialQueue &main) : main(main) {}

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

    void say(Kind kind, const std::string &name = {}, int error = 0) {
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

    Words browsed;
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

class Delegate : public ServiceBrowserDelegate {
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

    Words words;
    std::vector<std::shared_ptr<NetService>> services;
    std::function<void()> onFind;
    std::function<void()> onResolve;
};

class DNSServiceSearch : public testing::Test {
protected:
    DNSServiceSearch() {
        auto owned = std::make_unique<FakeQueries>(main);
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
        clock->advance(1s);
        delegate->words.clear();
    }

    void restartDaemon() {
        daemon->say(Kind::failed, {}, -65537);
        clock->advance(1min);
        daemon->say(Kind::started);
    }

    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    ManualQueue main{clock, "main"};
    FakeQueries *daemon = nullptr;
    std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
    std::unique_ptr<DNSServiceBrowser> browser;
};

TEST_F(DNSServiceSearch, AsksForTheTypeInTheDomain) {
    search();
    EXPECT_EQ(daemon->browsed, (Words{"_waveslv113._tcp. local."}));
    EXPECT_EQ(browser->error(), std::nullopt);
}

TEST_F(DNSServiceSearch, ReportsASoleServiceWithNothingMoreComing) {
    search();
    daemon->say(Kind::added, "LV1 One");
    clock->advance(1s);
    EXPECT_EQ(delegate->words, (Words{"found LV1 One"}));
    EXPECT_EQ(delegate->services[0]->hostName(), std::nullopt);
    EXPECT_EQ(delegate->services[0]->port(), -1);
}

TEST_F(DNSServiceSearch, RepeatsForOtherInterfacesAndFamiliesAreDropped) {
    search();
    for (int i = 0; i < 4; ++i)
        daemon->say(Kind::added, "LV1 One");
    clock->advance(1s);
    daemon->say(Kind::added, "LV1 One");
    clock->advance(1s);
    EXPECT_EQ(delegate->words, (Words{"found LV1 One"}));
}

TEST_F(DNSServiceSearch, ABurstSaysThatMoreIsComingUpToItsLast) {
    search();
    daemon->say(Kind::added, "A");
    clock->advance(120ms);
    daemon->say(Kind::added, "B");
    daemon->say(Kind::added, "A");
    clock->advance(120ms);
    daemon->say(Kind::added, "C");
    clock->advance(149ms);
    EXPECT_EQ(delegate->words, Words{});
    clock->advance(1ms);
    EXPECT_EQ(delegate->words, (Words{"found A, more", "found B, more", "found C"}));
}

TEST_F(DNSServiceSearch, ABurstThatNeverEndsIsReportedAllTheSame) {
    search();
    for (int i = 0; i < 8; ++i) {
        daemon->say(Kind::added, std::string(1, static_cast<char>('A' + i)));
        clock->advance(100ms);
    }
    ASSERT_GE(delegate->words.size(), 5u);
    EXPECT_EQ(delegate->words[4], "found E");
}

TEST_F(DNSServiceSearch, AServiceThatComesLaterIsABurstOfItsOwn) {
    find({"A"});
    daemon->say(Kind::added, "B");
    clock->advance(150ms);
    EXPECT_EQ(delegate->words, (Words{"found B"}));
}

TEST_F(DNSServiceSearch, NamesThatAreNoTextAreIgnored) {
    find({"", "\xff\xfe", "LV1 \xc3\x96"});
    ASSERT_EQ(delegate->services.size(), 1u);
    EXPECT_EQ(delegate->services[0]->name(), "LV1 \xc3\x96");
}

TEST_F(DNSServiceSearch, ASearchAnewReportsEverythingAnew) {
    find({"A"});
    search();
    daemon->say(Kind::added, "A");
    clock->advance(1s);
    EXPECT_EQ(delegate->words, (Words{"found A"}));
    EXPECT_EQ(daemon->browsed.size(), 2u);
}

TEST_F(DNSServiceSearch, StoppedItReportsNothingOfWhatIsUnderWay) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    daemon->say(Kind::added, "B");
    browser->stop();
    EXPECT_FALSE(daemon->browsing);
    EXPECT_TRUE(daemon->resolving.empty());
    clock->advance(10s);
    EXPECT_EQ(delegate->words, Words{});
    EXPECT_EQ(clock->pending(), 0u);
}

TEST_F(DNSServiceSearch, StoppedByTheDelegateAmidABurstItReportsNoMoreOfIt) {
    delegate->onFind = [&] { browser->stop(); };
    find({"A", "B"});
    EXPECT_EQ(delegate->services.size(), 1u);
}

TEST_F(DNSServiceSearch, TheDelegateMayBeGone) {
    search();
    daemon->say(Kind::added, "A");
    const std::weak_ptr<Delegate> gone = delegate;
    delegate.reset();
    EXPECT_TRUE(gone.expired()) << "the search keeps its delegate";
    clock->advance(1s);
    daemon->say(Kind::removed, "A");
    clock->advance(1s);
    EXPECT_NE(daemon->browsing, nullptr) << "the search goes on until it is ended";
}

TEST_F(DNSServiceSearch, ResolvesAServiceAndLetsGoOfTheQueryAfterItsFirstAnswer) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    EXPECT_EQ(delegate->words, (Words{"resolved A console.local. 5000"}));
    EXPECT_TRUE(daemon->resolving.empty());
    clock->advance(10s);
    EXPECT_EQ(delegate->words.size(), 1u);
}

TEST_F(DNSServiceSearch, AResolveThatGetsNoAnswerEndsWithItsTime) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    clock->advance(4999ms);
    EXPECT_EQ(delegate->words, Words{});
    clock->advance(1ms);
    EXPECT_EQ(delegate->words, (Words{"unresolved A"}));
    EXPECT_TRUE(daemon->resolving.empty());
    EXPECT_EQ(delegate->services[0]->port(), -1);
}

TEST_F(DNSServiceSearch, ASecondResolveJoinsTheFirst) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    clock->advance(2s);
    delegate->services[0]->resolve(5s);
    EXPECT_EQ(daemon->resolves, 1);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    clock->advance(10s);
    EXPECT_EQ(delegate->words, (Words{"resolved A console.local. 5000"}));
}

TEST_F(DNSServiceSearch, AResolvedServiceCanBeResolvedAgain) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    delegate->services[0]->resolve(5s);
    EXPECT_EQ(delegate->services[0]->port(), 5000);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5001});
    EXPECT_EQ(delegate->services[0]->port(), 5001);
    EXPECT_EQ(delegate->words.size(), 2u);
}

TEST_F(DNSServiceSearch, AServiceCanBeResolvedWhenTheSearchHasStopped) {
    find({"A"});
    browser->stop();
    delegate->services[0]->resolve(5s);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    EXPECT_EQ(delegate->words, (Words{"resolved A console.local. 5000"}));
}

TEST_F(DNSServiceSearch, AServiceMayOutliveTheBrowser) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    browser.reset();
    delegate->services[0]->resolve(5s);
    clock->advance(10s);
    EXPECT_EQ(delegate->words, Words{});
}

TEST_F(DNSServiceSearch, TheDelegateMayEndTheBrowserWhenAServiceIsResolved) {
    find({"A"});
    delegate->onResolve = [&] { browser.reset(); };
    delegate->services[0]->resolve(5s);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    EXPECT_EQ(delegate->words.size(), 1u);
}

TEST_F(DNSServiceSearch, OnlyEightQueriesRunAtOnceAndTheOthersWaitWithinTheirTime) {
    Words names;
    for (int i = 0; i < 20; ++i)
        names.push_back("LV1 " + std::to_string(i));
    find(names);
    for (const auto &service : delegate->services)
        service->resolve(5s);
    EXPECT_EQ(daemon->resolving.size(), 8u);
    daemon->answer("LV1 3", DNSServiceAddress{"console.local.", 5000});
    EXPECT_EQ(daemon->resolving.size(), 8u);
    EXPECT_EQ(daemon->resolving.back()->name, "LV1 8");
    clock->advance(5s);
    EXPECT_EQ(delegate->words.size(), 20u);
    EXPECT_TRUE(daemon->resolving.empty());
}

TEST_F(DNSServiceSearch, AMissingDaemonIsAnErrorAndIsAskedAgainMoreAndMoreSeldom) {
    search();
    daemon->say(Kind::failed, {}, -65537);
    EXPECT_EQ(browser->error(), "The DNS-SD daemon is not running.");
    EXPECT_FALSE(daemon->browsing);
    std::vector<long> pauses;
    for (int i = 0; i < 7; ++i) {
        const auto before = clock->now();
        const auto asked = daemon->browsed.size();
        while (daemon->browsed.size() == asked)
            clock->advance(100ms);
        pauses.push_back(std::chrono::duration_cast<std::chrono::seconds>(clock->now() - before).count());
        daemon->say(Kind::failed, {}, -65537);
    }
    EXPECT_EQ(pauses, (std::vector<long>{1, 2, 4, 8, 16, 30, 30}));
    EXPECT_EQ(delegate->words, Words{});
}

TEST_F(DNSServiceSearch, AMissingDaemonIsWaitedForAsleepWhereItsComingIsTold) {
    daemon->tellsWhenItComes = true;
    search();
    daemon->say(Kind::failed, {}, -65537);
    EXPECT_FALSE(daemon->waiting);
    clock->advance(1s);
    ASSERT_TRUE(daemon->waiting);
    EXPECT_EQ(clock->pending(), 0u);
    EXPECT_EQ(daemon->browsed.size(), 1u);
    daemon->come();
    EXPECT_FALSE(daemon->waiting);
    EXPECT_EQ(daemon->browsed.size(), 2u);
    daemon->say(Kind::started);
    EXPECT_EQ(browser->error(), std::nullopt);
}

TEST_F(DNSServiceSearch, ADaemonThatIsThereAndRefusesIsAskedMoreAndMoreSeldom) {
    daemon->tellsWhenItComes = true;
    search();
    for (const auto pause : {1s, 2s, 4s}) {
        daemon->say(Kind::failed, {}, -65537);
        clock->advance(pause - 1ms);
        EXPECT_FALSE(daemon->waiting);
        clock->advance(1ms);
        daemon->come();
        EXPECT_TRUE(daemon->browsing);
    }
}

TEST_F(DNSServiceSearch, StoppedItWaitsForNoDaemon) {
    daemon->tellsWhenItComes = true;
    search();
    daemon->say(Kind::failed, {}, -65537);
    clock->advance(1s);
    browser->stop();
    EXPECT_FALSE(daemon->waiting);
    EXPECT_EQ(clock->pending(), 0u);
}

TEST_F(DNSServiceSearch, OtherErrorsAreNamedByTheirNumber) {
    search();
    daemon->say(Kind::failed, {}, -65555);
    EXPECT_EQ(browser->error(), "The DNS-SD daemon cannot be used (error -65555).");
    browser->stop();
    EXPECT_EQ(browser->error(), std::nullopt);
}

TEST_F(DNSServiceSearch, ARefusedLocalNetworkIsSaidInWordsUntilItIsAllowed) {
    search();
    daemon->say(Kind::failed, {}, -65570);
    EXPECT_EQ(browser->error(), "This computer does not let Corvane use the local network.");
    EXPECT_TRUE(browser->isRefused());
    clock->advance(1s);
    daemon->say(Kind::failed, {}, -65537);
    EXPECT_FALSE(browser->isRefused());
    clock->advance(2s);
    daemon->say(Kind::failed, {}, -65570);
    EXPECT_TRUE(browser->isRefused());
    clock->advance(4s);
    daemon->say(Kind::started);
    EXPECT_EQ(browser->error(), std::nullopt);
    EXPECT_FALSE(browser->isRefused());
}

TEST_F(DNSServiceSearch, ADaemonThatDiesAndComesBackRepeatsNothing) {
    find({"A", "B"});
    daemon->say(Kind::failed, {}, -65537);
    EXPECT_TRUE(browser->error().has_value());
    clock->advance(1s);
    daemon->say(Kind::started);
    EXPECT_EQ(browser->error(), std::nullopt);
    daemon->say(Kind::added, "B");
    daemon->say(Kind::added, "C");
    daemon->say(Kind::added, "A");
    clock->advance(1s);
    EXPECT_EQ(delegate->words, (Words{"found C"}));
}

TEST_F(DNSServiceSearch, AResolveSurvivesADaemonThatComesBackInTime) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    daemon->say(Kind::failed, {}, -65537);
    EXPECT_TRUE(daemon->resolving.empty());
    clock->advance(1s);
    daemon->say(Kind::started);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    EXPECT_EQ(delegate->words, (Words{"resolved A console.local. 5000"}));
}

TEST_F(DNSServiceSearch, AResolveThatNoDaemonTakesEndsWithItsTimeAndIsNotAskedOverAndOver) {
    find({"A"});
    daemon->say(Kind::failed, {}, -65537);
    delegate->services[0]->resolve(5s);
    daemon->answer("A", std::nullopt);
    EXPECT_EQ(daemon->resolves, 1);
    clock->advance(5s);
    EXPECT_EQ(delegate->words, (Words{"unresolved A"}));
}

TEST_F(DNSServiceSearch, AServiceThatIsWithdrawnAndComesBackIsFoundAnewWhereverItIs) {
    find({"A"});
    for (const auto &address :
         {DNSServiceAddress{"console.local.", 5000}, DNSServiceAddress{"console.local.", 5000},
          DNSServiceAddress{"other.local.", 5009}}) {
        delegate->services.back()->resolve(5s);
        daemon->answer("A", address);
        delegate->words.clear();
        daemon->say(Kind::removed, "A");
        daemon->say(Kind::removed, "never there");
        EXPECT_EQ(delegate->words, (Words{"removed A"}));
        daemon->say(Kind::added, "A");
        clock->advance(10s);
        EXPECT_EQ(delegate->words, (Words{"removed A", "found A"}));
        EXPECT_EQ(delegate->services.back()->port(), -1) << "a new record";
    }
}

TEST_F(DNSServiceSearch, AServiceThatDidNotResolveIsLookedAtAgainWhenItComesBack) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    clock->advance(5s);
    EXPECT_EQ(delegate->words, (Words{"unresolved A"}));
    daemon->say(Kind::removed, "A");
    daemon->say(Kind::added, "A");
    clock->advance(1s);
    ASSERT_EQ(delegate->services.size(), 2u);
    delegate->services[1]->resolve(5s);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    EXPECT_EQ(delegate->words.back(), "resolved A console.local. 5000");
}

TEST_F(DNSServiceSearch, AServiceThatIsWithdrawnWhileItIsBeingResolvedIsAskedForNoMore) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    daemon->say(Kind::removed, "A");
    EXPECT_TRUE(daemon->resolving.empty());
    clock->advance(10s);
    EXPECT_EQ(delegate->words, (Words{"removed A"}));
}

TEST_F(DNSServiceSearch, AServiceThatGoesBeforeItsBurstIsOverIsNotReported) {
    search();
    daemon->say(Kind::added, "A");
    daemon->say(Kind::added, "B");
    daemon->say(Kind::removed, "B");
    clock->advance(1s);
    EXPECT_EQ(delegate->words, (Words{"found A"}));
}

TEST_F(DNSServiceSearch, AServiceThatIsWhereItWasWhenTheDaemonIsBackIsRefreshedWithoutAWord) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    delegate->words.clear();
    restartDaemon();
    daemon->say(Kind::added, "A");
    daemon->say(Kind::added, "A");
    EXPECT_EQ(daemon->resolves, 2);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    clock->advance(10s);
    EXPECT_EQ(delegate->words, Words{});
    EXPECT_EQ(delegate->services[0]->port(), 5000);
}

TEST_F(DNSServiceSearch, AServiceThatIsElsewhereWhenTheDaemonIsBackIsToldOf) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    for (const auto &address :
         {DNSServiceAddress{"console.local.", 5009}, DNSServiceAddress{"other.local.", 5009}}) {
        delegate->words.clear();
        restartDaemon();
        daemon->say(Kind::added, "A");
        daemon->answer("A", address);
        clock->advance(10s);
        EXPECT_EQ(delegate->words,
                  (Words{"resolved A " + address.hostName + " " + std::to_string(address.port)}));
    }
}

TEST_F(DNSServiceSearch, AServiceThatDidNotResolveIsResolvedWhenTheDaemonIsBack) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    clock->advance(5s);
    delegate->words.clear();
    restartDaemon();
    daemon->say(Kind::added, "A");
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    EXPECT_EQ(delegate->words, (Words{"resolved A console.local. 5000"}));
}

TEST_F(DNSServiceSearch, AServiceThatIsResolvedAnewIsToldOfOnlyWhenItIsElsewhere) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    delegate->words.clear();
    delegate->services[0]->resolveAnew(5s);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    delegate->services[0]->resolveAnew(5s);
    clock->advance(10s);
    EXPECT_EQ(delegate->words, Words{});
    delegate->services[0]->resolveAnew(5s);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5001});
    EXPECT_EQ(delegate->words, (Words{"resolved A console.local. 5001"}));
}

TEST_F(DNSServiceSearch, AResolveThatJoinsAQuietRefreshIsTold) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    delegate->words.clear();
    delegate->services[0]->resolveAnew(5s);
    clock->advance(4s);
    delegate->services[0]->resolve(5s);
    clock->advance(4s);
    EXPECT_EQ(daemon->resolves, 2);
    EXPECT_EQ(delegate->words, Words{});
    clock->advance(1s);
    EXPECT_EQ(delegate->words, (Words{"unresolved A"}));
}

TEST_F(DNSServiceSearch, OfTwoThousandServicesAThousandAreFoundAndResolvedEightAtATime) {
    delegate->onFind = [&] { delegate->services.back()->resolve(5s); };
    Words names;
    for (int i = 0; i < 2'000; ++i)
        names.push_back(std::to_string(i));
    find(names);
    ASSERT_EQ(delegate->services.size(), 1'000u);
    while (!daemon->resolving.empty()) {
        ASSERT_LE(daemon->resolving.size(), 8u);
        daemon->answer(daemon->resolving.front()->name, DNSServiceAddress{"console.local.", 5000});
    }
    EXPECT_EQ(delegate->words.size(), 1'000u);
}

TEST_F(DNSServiceSearch, AServiceThatDidNotResolveIsLookedAtAgainWhenItComesByAnotherInterface) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    clock->advance(5s);
    daemon->say(Kind::added, "A");
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    EXPECT_EQ(delegate->words, (Words{"unresolved A", "resolved A console.local. 5000"}));
}

TEST_F(DNSServiceSearch, AServiceIsNotResolvedBeforeItIsReported) {
    search();
    daemon->say(Kind::added, "A");
    daemon->say(Kind::added, "A");
    EXPECT_EQ(daemon->resolves, 0);
}

TEST_F(DNSServiceSearch, OneOfSeveralInterfacesGoingIsNoReasonToRefresh) {
    search();
    daemon->say(Kind::added, "A");
    daemon->say(Kind::added, "A");
    clock->advance(1s);
    delegate->services[0]->resolve(5s);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    daemon->say(Kind::removed, "A");
    daemon->say(Kind::added, "A");
    EXPECT_EQ(daemon->resolves, 1);
}

} // namespace
} // namespace corvane

#include "platform/bonjour/DNSServiceBrowser.h"
#include "platform/bonjour/DNSServiceThread.h"
#include "platform/net/AsioNetwork.h"
#include "platform/net/LocalNames.h"
#include "platform/queues/AsioMainQueue.h"
#include "platform/queues/AsioRuntime.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/Peers.h"
#include "tests/support/PrivateBonjour.h"
#include "tests/support/Recorders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <pthread.h>
#include <system_error>
#include <thread>

namespace corvane {
namespace {

using namespace std::chrono_literals;

/// Writes down what is found, and resolves it as it comes.
class Findings : public ServiceBrowserDelegate {
public:
    void didFind(std::shared_ptr<NetService> service, bool moreComing) override {
        words.push_back("found " + service->name() + (moreComing ? ", more" : ""));
        services.push_back(service);
        beforeResolving();
        service->resolve(5s);
    }
    void didRemove(NetService &service) override { words.push_back("removed " + service.name()); }
    void didResolveAddress(NetService &service) override {
        words.push_back("resolved " + service.name() + " " + service.hostName().value_or("?") + " " +
                        std::to_string(service.port()));
    }
    void didNotResolve(NetService &service) override { words.push_back("unresolved " + service.name()); }

    std::function<void()> beforeResolving = [] {};
    std::vector<std::string> words;
    std::vector<std::shared_ptr<NetService>> services;
};

/// A browser over the real library and a daemon of the test's own.
class BonjourDaemon : public testing::Test {
protected:
    void SetUp() override {
        std::string reason;
        if (!bonjour.enter(reason))
            GTEST_SKIP() << "no Bonjour daemon of its own: " << reason;
        makeBrowser();
    }

    void search() { browser->search("_waveslv113._tcp.", "local."); }
    /// As a program that was just started would.
    void searchAnew() {
        findings = std::make_shared<Findings>();
        makeBrowser();
        search();
    }
    void makeBrowser() {
        browser = std::make_unique<DNSServiceBrowser>(main, std::make_unique<DNSServiceThread>(main));
        browser->setDelegate(findings);
    }

    /// Runs the main queue until `condition` holds.
    bool runUntil(const std::function<bool()> &condition) {
        const auto deadline = main.now() + testTimeout + testTimeout;
        bool isMet = false;
        std::function<void()> look = [&] {
            isMet = condition();
            if (isMet || main.now() > deadline)
                main.quit();
            else
                main.after(5ms, look);
        };
        main.post(look);
        main.run();
        return isMet;
    }
    bool runUntilWord(const std::string &word) {
        return runUntil([&] { return count(word) > 0; });
    }
    std::ptrdiff_t count(const std::string &word) const {
        return std::count(findings->words.begin(), findings->words.end(), word);
    }
    void runFor(std::chrono::milliseconds time) {
        main.after(time, [&] { main.quit(); });
        main.run();
    }
    std::string words() const {
        std::string all;
        for (const auto &word : findings->words)
            all += word + "\n";
        return all;
    }

    PrivateBonjour bonjour;
    AsioMainQueue main;
    std::shared_ptr<Findings> findings = std::make_shared<Findings>();
    std::unique_ptr<DNSServiceBrowser> browser;
};

TEST_F(BonjourDaemon, FindsAndResolvesAServiceThatIsThereAlready) {
    ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    ASSERT_TRUE(bonjour.publish("LV1 One", 5000));
    search();
    ASSERT_TRUE(runUntilWord("resolved LV1 One console.local. 5000")) << words();
    EXPECT_EQ(findings->words.front(), "found LV1 One");
    EXPECT_EQ(browser->error(), std::nullopt);
}

TEST_F(BonjourDaemon, FindsTwoServicesOnceEachAndTheFirstSaysThatMoreIsComing) {
    ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    ASSERT_TRUE(bonjour.publish("LV1 Önе", 5000));
    ASSERT_TRUE(bonjour.publish("LV1 Two", 5001));
    search();
    ASSERT_TRUE(runUntil([&] { return findings->services.size() == 2; })) << words();
    searchAnew(); // the daemon has heard of both by now
    ASSERT_TRUE(runUntilWord("resolved LV1 Two console.local. 5001")) << words();
    ASSERT_TRUE(runUntilWord("resolved LV1 Önе console.local. 5000")) << words();
    EXPECT_NE(findings->words[0].find(", more"), std::string::npos) << words();
    EXPECT_EQ(findings->words[1].find(", more"), std::string::npos) << words();
    EXPECT_EQ(findings->services.size(), 2u);
}

TEST_F(BonjourDaemon, AServiceThatIsWithdrawnAndComesBackIsFoundAnew) {
    ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    search();
    ASSERT_TRUE(bonjour.publish("LV1 One", 5000));
    ASSERT_TRUE(runUntilWord("resolved LV1 One console.local. 5000")) << words();
    bonjour.withdraw("LV1 One");
    ASSERT_TRUE(runUntilWord("removed LV1 One")) << words();
    ASSERT_TRUE(bonjour.publish("LV1 Two", 5001));
    ASSERT_TRUE(runUntilWord("resolved LV1 Two console.local. 5001")) << words();
    EXPECT_EQ(count("removed LV1 One"), 1) << words();
    ASSERT_TRUE(bonjour.publish("LV1 One", 5009));
    ASSERT_TRUE(runUntilWord("resolved LV1 One console.local. 5009")) << words();
    EXPECT_EQ(findings->services.size(), 3u);
    EXPECT_EQ(findings->services.front()->port(), 5000) << "the old record is nobody's any more";
}

TEST_F(BonjourDaemon, AMissingDaemonIsAnErrorUntilItIsThere) {
    search();
    ASSERT_TRUE(runUntil([&] { return browser->error().has_value(); }));
    EXPECT_EQ(browser->error(), "The DNS-SD daemon is not running.");
    ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    ASSERT_TRUE(bonjour.publish("LV1 One", 5000));
    ASSERT_TRUE(runUntilWord("resolved LV1 One console.local. 5000")) << words();
    EXPECT_EQ(browser->error(), std::nullopt);
}

TEST_F(BonjourDaemon, IsWaitedForUntilItComes) {
    ASSERT_TRUE(bonjour.startBus());
    DNSServiceThread daemon(main);
    int coming = 0;
    const auto waiting = daemon.awaitDaemon([&] { ++coming; });
    runFor(2s);
    EXPECT_EQ(coming, 0);
    ASSERT_TRUE(bonjour.startDaemon());
    EXPECT_TRUE(runUntil([&] { return coming > 0; }));
    bonjour.killDaemon();
    ASSERT_TRUE(bonjour.startDaemon());
    runFor(200ms);
    EXPECT_EQ(coming, 1);
}

TEST_F(BonjourDaemon, IsNotWaitedForWhereItIsThereOrCannotBeHeardOf) {
    DNSServiceThread daemon(main);
    int coming = 0;
    const auto withoutBus = daemon.awaitDaemon([&] { ++coming; });
    EXPECT_EQ(coming, 0);
    EXPECT_TRUE(runUntil([&] { return coming == 1; }));
    ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    const auto present = daemon.awaitDaemon([&] { ++coming; });
    EXPECT_TRUE(runUntil([&] { return coming == 2; }));
}

TEST_F(BonjourDaemon, WaitingForItLeaksNoDescriptorAndLetsNoneBeInherited) {
    ASSERT_TRUE(bonjour.startBus());
    runFor(1ms); // the main queue has opened its own descriptors by now
    const auto before = openDescriptors();
    const auto inherited = inheritableDescriptors();
    {
        DNSServiceThread daemon(main);
        for (int round = 0; round < 20; ++round) {
            const auto waiting = daemon.awaitDaemon([] {});
            runFor(round % 3 == 0 ? 20ms : 0ms);
        }
        const auto waiting = daemon.awaitDaemon([] {});
        runFor(100ms);
        // The library opens some to inherit, and it is seen to that they are not as soon as it is back.
        EXPECT_TRUE(runUntil([&] {
            const auto now = inheritableDescriptors();
            return std::all_of(now.begin(), now.end(), [&](const std::string &descriptor) {
                return std::find(inherited.begin(), inherited.end(), descriptor) != inherited.end();
            });
        }));
    }
    EXPECT_TRUE(runUntil([&] { return openDescriptors() <= before; })) << openDescriptors() << " " << before;
}

TEST_F(BonjourDaemon, ADaemonThatIsKilledAndComesBackRepeatsNothingAndFindsWhatIsNew) {
    ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    ASSERT_TRUE(bonjour.publish("LV1 One", 5000));
    search();
    ASSERT_TRUE(runUntilWord("resolved LV1 One console.local. 5000")) << words();
    bonjour.killDaemon();
    ASSERT_TRUE(runUntil([&] { return browser->error().has_value(); }));
    ASSERT_TRUE(bonjour.startDaemon());
    ASSERT_TRUE(bonjour.publish("LV1 One", 5000));
    ASSERT_TRUE(bonjour.publish("LV1 Two", 5001));
    ASSERT_TRUE(runUntilWord("resolved LV1 Two console.local. 5001")) << words();
    EXPECT_EQ(browser->error(), std::nullopt);
    EXPECT_EQ(findings->services.size(), 2u) << words();
}

TEST_F(BonjourDaemon, AServiceThatTheDaemonTookWithItUnresolvedIsResolvedByTheNextOne) {
    ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    ASSERT_TRUE(bonjour.publish("LV1 One", 5000));
    findings->beforeResolving = [&] { bonjour.freezeDaemon(); };
    search();
    ASSERT_TRUE(runUntilWord("found LV1 One")) << words();
    runFor(100ms); // asked, and without an answer
    EXPECT_EQ(findings->services.front()->port(), -1);
    bonjour.killDaemon();
    ASSERT_TRUE(bonjour.startDaemon());
    ASSERT_TRUE(bonjour.publish("LV1 One", 5000));
    ASSERT_TRUE(runUntilWord("resolved LV1 One console.local. 5000")) << words();
    EXPECT_EQ(count("found LV1 One"), 1) << words();
    EXPECT_EQ(count("removed LV1 One"), 0) << words();
    EXPECT_EQ(findings->services.size(), 1u);
}

TEST_F(BonjourDaemon, WhatItFindsCanBeConnectedTo) {
    ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    const StreamListener listener;
    ASSERT_TRUE(bonjour.publish("LV1 One", listener.port()));
    search();
    ASSERT_TRUE(runUntil([&] { return !findings->services.empty() && findings->services[0]->port() > 0; }))
        << words();
    AsioRuntime runtime;
    AsioNetwork network(runtime);
    const auto journal = std::make_shared<ConnectionJournal>();
    const auto connection = network.makeStream(*findings->services[0]->hostName(), listener.port(),
                                               runtime.make("Corvane.Network"));
    connection->start(journal->states());
    ASSERT_TRUE(journal->events.awaitCount(2));
    EXPECT_EQ(journal->all().back(), "ready");
}

TEST_F(BonjourDaemon, KnowsTheAddressesOfTheHostsItFinds) {
    EXPECT_TRUE(lookUpLocalName("console.local.", 5s).addresses.empty()); // no daemon yet: at once
    ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    const auto before = openDescriptors();
    for (const char *name : {"console.local", "console.local."}) {
        const auto found = lookUpLocalName(name, 10min); // the answer comes at once
        ASSERT_EQ(found.addresses.size(), 1u) << name;
        EXPECT_EQ(found.addresses[0].to_string(), "127.0.0.1");
    }
    EXPECT_TRUE(lookUpLocalName("nobody.local", 100ms).addresses.empty());
    EXPECT_FALSE(lookUpHost("console.local.").addresses.empty());
    EXPECT_TRUE(runUntil([&] { return openDescriptors() <= before; })) << openDescriptors() << " " << before;
}

TEST_F(BonjourDaemon, ItsLibraryIsKeptQuietByWhoeverUsesItUnlessTheUserWantsItToSpeak) {
    constexpr const char *variable = "AVAHI_COMPAT_NOWARN";
    for (const bool isNetwork : {true, false}) {
        const EnvironmentVariable unset(variable, nullptr);
        if (isNetwork)
            AsioNetwork{AsioRuntime()};
        else
            DNSServiceThread{main};
        EXPECT_STREQ(std::getenv(variable), "1");
    }
    const EnvironmentVariable wanted(variable, "0");
    DNSServiceThread{main};
    EXPECT_STREQ(std::getenv(variable), "0");
}

TEST_F(BonjourDaemon, AnEndIsWaitedForNoLongerThanItTakes) {
    ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    std::chrono::steady_clock::duration shortest = 1h;
    for (int round = 0; round < 5; ++round) {
        auto daemon = std::make_unique<DNSServiceThread>(main);
        const auto browsing = daemon->browse("_waveslv113._tcp.", "local.", [](const auto &) {});
        const auto start = main.now();
        daemon.reset();
        shortest = std::min(shortest, main.now() - start);
    }
    EXPECT_LT(shortest, 1s) << "which is how long a daemon that does not answer is waited for";
}

#ifdef __GLIBC__

/// While it lives the system gives no more threads: their stacks would be larger than memory can be.
class NoMoreThreads {
public:
    NoMoreThreads() {
        ::pthread_getattr_default_np(&usual);
        pthread_attr_t impossible;
        ::pthread_attr_init(&impossible);
        ::pthread_attr_setstacksize(&impossible, std::size_t{1} << 60U);
        ::pthread_setattr_default_np(&impossible);
        ::pthread_attr_destroy(&impossible);
    }
    ~NoMoreThreads() {
        ::pthread_setattr_default_np(&usual);
        ::pthread_attr_destroy(&usual);
    }

private:
    pthread_attr_t usual;
};

TEST_F(BonjourDaemon, CannotBeUsedWithoutAThreadAndIsTriedAgain) {
    {
        const NoMoreThreads none;
        ASSERT_THROW(std::thread([] {}).join(), std::system_error);
        DNSServiceThread daemon(main);
        std::vector<std::string> told;
        const auto browsing = daemon.browse("_waveslv113._tcp.", "local.", [&](const DNSServiceEvent &event) {
            told.push_back("browsing " + std::to_string(event.error));
        });
        const auto resolving =
            daemon.resolve("LV1 One", "_waveslv113._tcp.", "local.", [&](const auto &address) {
                told.emplace_back(address ? "resolved" : "unresolved");
            });
        const auto waiting = daemon.awaitDaemon([&] { told.emplace_back("asked again"); });
        EXPECT_TRUE(told.empty()); // never inside the call
        runFor(1ms);
        EXPECT_EQ(told, (std::vector<std::string>{"browsing -65539", "unresolved", "asked again"}));
        search();
        EXPECT_TRUE(runUntil([&] { return browser->error().has_value(); }));
        EXPECT_EQ(browser->error(), "The DNS-SD daemon cannot be used (error -65539).");
    }
    ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    ASSERT_TRUE(bonjour.publish("LV1 One", 5000));
    EXPECT_TRUE(runUntilWord("resolved LV1 One console.local. 5000")) << words();
    EXPECT_EQ(browser->error(), std::nullopt);
}

#endif

TEST(LocalNames, EndInLocal) {
    for (const char *name : {"console.local", "console.local.", "Console.LOCAL", "a.b.local"})
        EXPECT_TRUE(isLocalName(name)) << name;
    for (const char *name : {"", ".", "local", ".local", "console", "console.local.example", "nonlocal"})
        EXPECT_FALSE(isLocalName(name)) << name;
}

TEST_F(BonjourDaemon, AServiceThatNobodyAnswersForIsNotResolved) {
    ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    ASSERT_TRUE(bonjour.publish("LV1 One", 5000));
    search();
    ASSERT_TRUE(runUntilWord("resolved LV1 One console.local. 5000")) << words();
    bonjour.killDaemon();
    findings->services.front()->resolve(300ms);
    EXPECT_TRUE(runUntilWord("unresolved LV1 One")) << words();
}

TEST_F(BonjourDaemon, RestartedAndStoppedAtAnyMomentLeaksNoDescriptorAndLetsNoneBeInherited) {
    ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    ASSERT_TRUE(bonjour.publish("LV1 One", 5000));
    runFor(1ms); // the main queue has opened its own descriptors by now
    const auto before = openDescriptors();
    const auto inherited = inheritableDescriptors();
    for (int round = 0; round < 20; ++round) {
        search();
        if (round % 3 == 0)
            runFor(20ms);
        if (round % 4 == 0)
            browser->stop();
    }
    search();
    ASSERT_TRUE(runUntilWord("resolved LV1 One console.local. 5000")) << words();
    for (const auto &descriptor : inheritableDescriptors())
        EXPECT_NE(std::find(inherited.begin(), inherited.end(), descriptor), inherited.end()) << descriptor;
    browser.reset();
    findings->services.clear();
    EXPECT_TRUE(runUntil([&] { return openDescriptors() <= before; })) << openDescriptors() << " " << before;
}

TEST_F(BonjourDaemon, ADaemonThatDoesNotAnswerHoldsUpNeitherTheMainQueueNorTheEnd) {
    ASSERT_TRUE(bonjour.startBus() && bonjour.startDaemon());
    bonjour.freezeDaemon();
    const auto start = main.now();
    search();
    runFor(50ms);
    browser.reset();
    EXPECT_LT(main.now() - start, 5s);
    bonjour.thawDaemon();
}

TEST_F(BonjourDaemon, SaysNothingOnStandardError) {
    testing::internal::CaptureStderr();
    search();
    EXPECT_TRUE(runUntil([&] { return browser->error().has_value(); }));
    const bool isStarted = bonjour.startBus() && bonjour.startDaemon();
    ASSERT_TRUE(bonjour.publish("LV1 One", 5000));
    EXPECT_TRUE(isStarted && runUntilWord("resolved LV1 One console.local. 5000")) << words();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
} // namespace corvane

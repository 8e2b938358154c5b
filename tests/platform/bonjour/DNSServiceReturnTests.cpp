#include "tests/platform/bonjour/DNSServiceFixture.h"

namespace corvane {
namespace {

using namespace std::chrono_literals;

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

TEST_F(DNSServiceSearch, TheSystemsOwnWordForAMissingDaemonMeansTheSame) {
    search();
    daemon->say(Kind::failed, {}, -65563);
    EXPECT_EQ(browser->error(), "The DNS-SD daemon is not running.");
}

TEST_F(DNSServiceSearch, ASearchAnewAndADaemonThatCameAreReasonsToAskAtOnceAgain) {
    const auto asksAfterASecond = [&] {
        daemon->say(Kind::failed, {}, -65537);
        const auto asked = daemon->browsed.size();
        clock->advance(999ms);
        EXPECT_EQ(daemon->browsed.size(), asked);
        clock->advance(1ms);
        EXPECT_EQ(daemon->browsed.size(), asked + 1);
    };
    search();
    asksAfterASecond();
    search();
    asksAfterASecond();
    daemon->say(Kind::started);
    asksAfterASecond();
}

TEST_F(DNSServiceSearch, ARefreshIsGivenUpAfterFiveSecondsWithoutAWord) {
    find({"A"});
    restartDaemon();
    daemon->say(Kind::added, "A");
    clock->advance(4999ms);
    EXPECT_EQ(daemon->resolving.size(), 1u);
    clock->advance(1ms);
    EXPECT_TRUE(daemon->resolving.empty());
    EXPECT_EQ(delegate->words, Words{});
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

TEST_F(DNSServiceSearch, AServiceThatWentWhileTheDaemonWasGoneIsWithdrawn) {
    find({"A", "B"});
    restartDaemon();
    daemon->say(Kind::added, "B");
    clock->advance(std::chrono::minutes(10));
    EXPECT_EQ(delegate->words, (Words{"removed A"}));
}

TEST_F(DNSServiceSearch, NothingIsWithdrawnWhileTheDaemonIsGoneAgain) {
    find({"A", "B"});
    restartDaemon();
    daemon->say(Kind::failed, {}, -65537);
    clock->advance(std::chrono::minutes(10));
    EXPECT_EQ(delegate->words, Words{});
}

} // namespace
} // namespace corvane

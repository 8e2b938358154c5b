#include "tests/platform/bonjour/DNSServiceFixture.h"

namespace corvane {
namespace {

using namespace std::chrono_literals;

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
    const std::weak_ptr<RecordingDelegate> gone = delegate;
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

TEST_F(DNSServiceSearch, AResolveHasItsOwnTimeHoweverShortlyAfterAnotherItComes) {
    find({"A"});
    delegate->services[0]->resolve(5s);
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    clock->advance(1s);
    delegate->services[0]->resolve(5s);
    delegate->words.clear();
    clock->advance(4999ms);
    EXPECT_EQ(delegate->words, Words{});
    clock->advance(1ms);
    EXPECT_EQ(delegate->words, (Words{"unresolved A"}));
}

TEST_F(DNSServiceSearch, TheDelegateMayBeGoneWhenAServiceIsResolvedOrIsNot) {
    find({"A", "B"});
    const auto services = delegate->services;
    for (const auto &service : services)
        service->resolve(5s);
    delegate.reset();
    daemon->answer("A", DNSServiceAddress{"console.local.", 5000});
    clock->advance(5s);
    EXPECT_EQ(services[0]->port(), 5000);
    EXPECT_EQ(services[1]->port(), -1);
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

TEST_F(DNSServiceSearch, AServiceThatIsWithdrawnMakesRoomForTheNextQuery) {
    const Words names{"0", "1", "2", "3", "4", "5", "6", "7", "8"};
    find(names);
    for (const auto &service : delegate->services)
        service->resolve(5s);
    EXPECT_EQ(daemon->resolving.back()->name, "7");
    daemon->say(Kind::removed, "3");
    EXPECT_EQ(daemon->resolving.back()->name, "8");
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

} // namespace
} // namespace corvane

// What holds for every command alike.

#include "osc/OSCCodec.h"
#include "tests/cli/SessionCommandTest.h"

namespace corvane::cli {
namespace {

using namespace std::chrono_literals;
using Arguments = std::vector<std::string>;

class EveryCommandTest : public SessionCommandTest {
protected:
    EveryCommandTest() : session(makeSession(band)), patch(patchFile(band)) { sync(session, band); }

    /// The outcome of a command that hears a console and whose questions LiveTrax answers.
    Outcome runToItsEnd(const Arguments &arguments) {
        outcome.reset();
        output.shown.clear();
        begin(arguments);
        announce("FOH", "10.0.0.1", 5000);
        if (!ended() && !fake.network->streams.empty()) {
            accept();
            deliverPatch(band);
            deliver("/Notify/Scene/Name", {std::string("Intro")});
        }
        fake.clock->advance(40ms);
        if (!ended() && !fake.network->datagrams.empty())
            for (const char *question : {"/transport_speed", "/record_enabled"})
                fake.network->datagrams.back()->deliver(OSCCodec::message(question, {std::int32_t{1}}));
        fake.clock->advance(10s);
        EXPECT_TRUE(ended()) << arguments.front();
        command->stop();
        fake.clock->run();
        EXPECT_EQ(0U, fake.clock->pending()) << arguments.front() << " leaves something that waits";
        EXPECT_EQ(0U, fake.multicast->openSockets()) << arguments.front();
        fake.network->streams.clear();
        fake.network->datagrams.clear();
        return outcome.value_or(Outcome());
    }

    const std::string session;
    const std::string patch;
};

TEST_F(EveryCommandTest, SaysWhatGoesOnAndFailsWhereItsResultCannotBePrinted) {
    const std::string searching = "Buscando LV1 V17…";
    const std::vector<std::string> connecting{searching, "LV1 found: FOH", "Conectado. Negociando con LV1…",
                                              "LV1 conectado. Esperando el patch…"};
    const auto connected = [&](const std::string &more) {
        auto all = connecting;
        all.push_back(more);
        return all;
    };
    const std::string synced = "Synced: 3 tracks / 4 inputs";
    const std::string marked =
        fake.folder.write("Marked/Marked.ardour", "<Session sample-rate='48000'/>").parent_path().string();
    const std::string reading = "Reading the session…";
    const std::string asking = "Asking LiveTrax…";
    const std::vector<std::pair<Arguments, std::vector<std::string>>> rows{
        {{"hosts"}, {"Listening for LV1 hosts…"}},
        {{"patch"}, connected(synced)},
        {{"watch"}, {}},
        {{"scenes", "--for", "1"}, connected(synced)},
        {{"create", "Other", "--in", "out", "--from", patch}, {"Making the session's template…"}},
        {{"plan", session, "--from", patch}, {reading}},
        {{"signature", session}, {reading}},
        {{"sync", session, "--from", patch}, {"Updating the session…"}},
        {{"history", session}, {"Looking for copies…"}},
        {{"restore", session}, {"Putting the copy back…"}},
        {{"transport"}, {asking}},
        {{"save"}, {asking}},
        {{"marker", "Verse"}, {asking}},
        {{"markers", marked}, {reading}},
        {{"check"}, connected(synced)},
        {{"diagnose"}, {"Listening for LV1 hosts…"}},
        {{"completion", "bash"}, {}}};
    output.full = true;
    for (auto [arguments, shown] : rows) {
        const Outcome outcome = runToItsEnd(arguments);
        EXPECT_EQ(status::refused, outcome.status) << arguments.front();
        EXPECT_EQ("Standard output cannot be written: No space left on device", outcome.message)
            << arguments.front();
        if (arguments.front() == "check")
            shown.emplace_back("Looking at LiveTrax and the disk…");
        EXPECT_EQ(shown, output.shown) << arguments.front();
    }
}

TEST_F(EveryCommandTest, ThatIsStoppedBeforeAnythingCameLeavesNothingThatWaits) {
    for (const Arguments &arguments : {Arguments{"hosts"},
                                       {"patch"},
                                       {"watch"},
                                       {"scenes"},
                                       {"transport"},
                                       {"save", "--confirm"},
                                       {"check"},
                                       {"diagnose"}}) {
        outcome.reset();
        begin(arguments);
        output.printed.clear();
        command->stop();
        fake.clock->advance(20s);
        EXPECT_FALSE(ended()) << arguments.front();
        EXPECT_EQ("", output.printed) << arguments.front();
        EXPECT_EQ(0U, fake.multicast->openSockets()) << arguments.front();
    }
}

TEST_F(EveryCommandTest, ThatListensOrSpeaksDoesSoOnAQueueThatIsNamedForIt) {
    for (const auto &[command, label] :
         {std::pair("hosts", "Corvane.Discovery"), std::pair("patch", "Corvane.Discovery"),
          std::pair("transport", "Corvane.LiveTraxOSC")}) {
        fake.queues->labels.clear();
        runToItsEnd({command});
        EXPECT_THAT(fake.queues->labels, testing::Contains(label)) << command;
    }
}

} // namespace
} // namespace corvane::cli

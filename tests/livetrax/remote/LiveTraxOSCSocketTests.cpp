#include "livetrax/remote/LiveTraxOSC.h"

#include "osc/OSCCodec.h"
#include "platform/net/AsioNetwork.h"
#include "platform/processes/UDPPortHolders.h"
#include "platform/queues/AsioMainQueue.h"
#include "platform/queues/AsioRuntime.h"
#include "tests/support/Eventually.h"
#include "tests/support/Peers.h"
#include "tests/support/PrivateNetwork.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace corvane {
namespace {

using namespace std::chrono_literals;
using Addresses = std::vector<std::string>;
using State = std::optional<TransportState>;

/// A client on the real loopback of a network of the test's own, where the fixed ports are free.
struct LiveTraxOSCSockets : testing::Test {
    void SetUp() override {
        CORVANE_ENTER_PRIVATE_NETWORK();
        runtime = std::make_unique<AsioRuntime>();
        network = std::make_unique<AsioNetwork>(*runtime);
        makeClient();
    }
    void TearDown() override { client.reset(); }

    void makeClient() {
        client = std::make_unique<LiveTraxOSC>(main, runtime->make("Corvane.LiveTraxOSC"), *network);
        client->onFailure = [this](const std::error_code &, const std::string &reason) {
            failures.push_back(reason);
        };
    }

    /// Runs the main queue until `main.quit()`; fails the test when that does not come in good time.
    void runMain() {
        bool tooLate = false;
        const auto limit = main.after(testTimeout, [&] {
            tooLate = true;
            main.quit();
        });
        main.run();
        limit.cancel();
        EXPECT_FALSE(tooLate) << "nothing happened";
    }
    void runFor(std::chrono::milliseconds time) {
        main.after(time, [this] { main.quit(); });
        main.run();
    }

    SendReport saved() {
        SendReport sent;
        client->save([&](const SendReport &report) {
            sent = report;
            main.quit();
        });
        runMain();
        return sent;
    }
    Addresses save() { return saved().addresses; }

    State query() {
        State answer;
        client->queryTransport([&](State state) {
            answer = state;
            main.quit();
        });
        runMain();
        return answer;
    }

    AsioMainQueue main;
    std::unique_ptr<AsioRuntime> runtime;
    std::unique_ptr<AsioNetwork> network;
    std::unique_ptr<LiveTraxOSC> client;
    Addresses failures;
};

/// A recorder played on a thread: answers each of three questions at port 8000, then ends.
class AnsweringRecorder {
public:
    explicit AnsweringRecorder(std::vector<Bytes> answers)
        : thread([this, answers = std::move(answers)] {
              for (const auto &answer : answers) {
                  asked.add(peer.receive());
                  peer.send(answer, 8000);
              }
          }) {}
    ~AnsweringRecorder() { thread.join(); }

    Journal<Bytes> asked;

private:
    DatagramPeer peer{3819};
    std::thread thread;
};

TEST_F(LiveTraxOSCSockets, AQueryIsAnsweredOverTheWire) {
    const AnsweringRecorder recorder({OSCCodec::message("/transport_speed", {0.0F}),
                                      OSCCodec::message("/is_recording", {0}),
                                      OSCCodec::message("/record_enabled", {1})});
    EXPECT_EQ(query(), State(TransportState{0, true, false}));
    EXPECT_EQ(recorder.asked.all(),
              (std::vector<Bytes>{OSCCodec::message("/transport_speed"), OSCCodec::message("/record_enabled"),
                                  OSCCodec::message("/is_recording")}));
}

TEST_F(LiveTraxOSCSockets, RepliesFromElsewhereAreNotHeard) {
    const DatagramPeer recorder(3819);
    const DatagramPeer stranger;
    client->start();
    client->queryTransport([&](State state) {
        EXPECT_EQ(state, State(TransportState{1, false, false}));
        main.quit();
    });
    std::thread playing([&] {
        for (int i = 0; i < 3; ++i)
            recorder.receive();
        for (int i = 0; i < 50; ++i) {
            stranger.send(OSCCodec::message("/transport_speed", {0.0F}), 8000);
            stranger.send(OSCCodec::message("/record_enabled", {1}), 8000);
        }
        recorder.send(OSCCodec::message("/transport_speed", {1.0F}), 8000);
        recorder.send(OSCCodec::message("/record_enabled", {0}), 8000);
    });
    runMain();
    playing.join();
}

TEST_F(LiveTraxOSCSockets, GarbageBeforeTheAnswersDoesNoHarm) {
    const DatagramPeer recorder(3819);
    std::thread playing([&] {
        recorder.receive();
        for (const char *garbage : {"x", "#bundle", "/transport_speed", ",f", "\xFF\xFF\xFF\xFF"})
            recorder.send(bytes(garbage), 8000);
        recorder.send(Bytes(60000, 'T'), 8000);
        recorder.send(Bytes(), 8000);
        recorder.send(OSCCodec::message("/transport_speed", {2.0F}), 8000);
        recorder.send(OSCCodec::message("/record_enabled", {1}), 8000);
    });
    EXPECT_EQ(query(), State(TransportState{2, true, true}));
    playing.join();
}

TEST_F(LiveTraxOSCSockets, WithoutARecorderAQueryHasNoState) {
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_EQ(query(), std::nullopt);
    EXPECT_GE(std::chrono::steady_clock::now() - begun, 2500ms);
}

TEST_F(LiveTraxOSCSockets, ARecorderThatComesLaterIsReached) {
    // Nobody listens: what is sent now is refused, and the connection is given up.
    EXPECT_EQ(saved().problem, "LiveTrax does not answer.");
    EXPECT_FALSE(failures.empty());
    const DatagramPeer recorder(3819);
    EXPECT_EQ(saved(), (SendReport{{"/save_state"}, ""}));
    EXPECT_EQ(recorder.receive(), OSCCodec::message("/save_state"));
}

TEST_F(LiveTraxOSCSockets, NobodyListeningIsNoticedEveryTimeHoweverTheMessagesFollow) {
    const std::string refused = "LiveTrax does not answer.";
    std::vector<std::string> problems;
    const auto note = [&](const SendReport &report) { problems.push_back(report.problem); };
    for (int round = 0; round < 20; ++round) {
        client->addSceneMarker("Verse " + std::to_string(round), note);
        for (int i = 0; i < 3; ++i) {
            client->save(note);
            runFor(std::chrono::milliseconds(round));
        }
        runFor(250ms);
    }
    EXPECT_EQ(problems, std::vector<std::string>(80, refused));
}

/// A network where the recorder comes up when a second connection to it is made.
class LateRecorder : public Network {
public:
    explicit LateRecorder(Network &network) : network(network) {}

    std::shared_ptr<StreamConnection> makeStream(std::string host, std::uint16_t port,
                                                 std::shared_ptr<SerialQueue> queue) override {
        return network.makeStream(std::move(host), port, std::move(queue));
    }
    std::shared_ptr<DatagramConnection> makeDatagram(std::string remoteHost, std::uint16_t remotePort,
                                                     std::string localHost, std::uint16_t localPort,
                                                     std::shared_ptr<SerialQueue> queue) override {
        if (++connections == 2)
            recorder.emplace(remotePort);
        return network.makeDatagram(std::move(remoteHost), remotePort, std::move(localHost), localPort,
                                    std::move(queue));
    }

    std::optional<DatagramPeer> recorder;

private:
    Network &network;
    int connections = 0;
};

TEST_F(LiveTraxOSCSockets, AMarkersNameIsNotLostToARefusalOfItsFirstHalf) {
    // Where the machine is so busy that the first half's refusal comes later than the second half, there is
    // no second connection: that says nothing, and is tried again.
    const auto queue = runtime->make("Corvane.LiveTraxOSC");
    for (int chance = 0; chance < 10; ++chance) {
        LateRecorder late(*network);
        LiveTraxOSC marking(main, queue, late);
        SendReport report;
        marking.addSceneMarker("Verse 2", [&](const SendReport &told) {
            report = told;
            main.quit();
        });
        runMain();
        EXPECT_EQ(report.problem, "LiveTrax does not answer.");
        if (!late.recorder)
            continue;
        ASSERT_TRUE(late.recorder->hasDatagram());
        EXPECT_EQ(late.recorder->receive(), OSCCodec::message("/marker", {"Verse 2"}));
        return;
    }
    ADD_FAILURE() << "a refusal is noticed too late, or not at all";
}

TEST_F(LiveTraxOSCSockets, APortThatIsTakenIsToldAndNothingIsSent) {
    const DatagramPeer recorder(3819);
    {
        const DatagramPeer taken(8000);
        EXPECT_EQ(save(), Addresses{});
        EXPECT_EQ(failures, Addresses{"UDP port 8000 is in use by another program."});
        EXPECT_EQ(query(), std::nullopt);
        EXPECT_FALSE(recorder.hasDatagram());
    }
    // Free again, it is used again.
    EXPECT_EQ(save(), Addresses{"/save_state"});
    std::uint16_t sender = 0;
    EXPECT_EQ(recorder.receive(&sender), OSCCodec::message("/save_state"));
    EXPECT_EQ(sender, 8000);
}

TEST_F(LiveTraxOSCSockets, TwoClientsDoNotShareThePort) {
    const DatagramPeer recorder(3819);
    save();
    LiveTraxOSC second(main, runtime->make("Corvane.LiveTraxOSC"), *network);
    second.onFailure = [this](const std::error_code &error, const std::string &) {
        EXPECT_EQ(error, std::errc::address_in_use);
        main.quit();
    };
    second.start();
    runMain();
}

TEST_F(LiveTraxOSCSockets, StoppingAndStartingAtAnyMomentEndsInAWorkingConnection) {
    const DatagramPeer recorder(3819);
    for (int round = 0; round < 200; ++round) {
        client->start();
        if (round % 3 == 0)
            client->save();
        if (round % 5 == 0)
            runFor(std::chrono::milliseconds(round % 47));
        client->stop();
    }
    EXPECT_EQ(failures, Addresses{});
    EXPECT_EQ(save(), Addresses{"/save_state"});
    client->stop();
    runFor(20ms);
    const DatagramPeer free(8000); // stopped, it holds the port no longer
}

TEST_F(LiveTraxOSCSockets, EndingAtAnyMomentFreesThePortAndTellsNothing) {
    const DatagramPeer recorder(3819);
    int told = 0;
    for (int round = 0; round < 100; ++round) {
        client->queryTransport([&](State) { ++told; });
        client->addSceneMarker("Verse 2", [&](const SendReport &) { ++told; });
        if (round % 4 == 0)
            runFor(std::chrono::milliseconds(round));
        told = 0;
        client.reset();
        if (round % 7 == 0)
            runFor(150ms);
        EXPECT_EQ(told, 0) << "round " << round;
        makeClient();
    }
    client.reset();
    // It closes on a queue of its own.
    ASSERT_TRUE(eventually([] { return !isUDPPortInUse(8000); }));
    makeClient();
    EXPECT_EQ(save(), Addresses{"/save_state"});
}

TEST_F(LiveTraxOSCSockets, TheRuntimeMayEndFirst) {
    client->start();
    client->queryTransport([](State) { ADD_FAILURE(); });
    runtime.reset();
    client->save([](const SendReport &) { ADD_FAILURE(); });
    client.reset();
    runFor(20ms);
}

// ---- beside a program that others wrote

/// liblo's oscdump on port 3819. It prints each message with the time of its arrival.
class OSCDump {
public:
    OSCDump() {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        process = fork();
        if (process == 0) {
            dup2(ends[1], STDOUT_FILENO);
            close(ends[0]);
            close(ends[1]);
            execlp("oscdump", "oscdump", "-L", "3819", nullptr);
            _exit(127);
        }
        close(ends[1]);
        output = ends[0];
    }
    ~OSCDump() {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
        close(output);
    }

    struct Line {
        double seconds;
        std::string text;
    };
    /// The next line; empty when none comes in good time.
    Line next() {
        std::string text;
        char byte = 0;
        pollfd waiting{output, POLLIN, 0};
        while (poll(&waiting, 1, 20000) > 0 && read(output, &byte, 1) == 1 && byte != '\n')
            text += byte;
        // "e8b2c6a1.5f3b6457 /address types values": NTP time in seconds and 2^-32 seconds.
        unsigned seconds = 0;
        unsigned fraction = 0;
        int at = 0;
        if (std::sscanf(text.c_str(), "%x.%x %n", &seconds, &fraction, &at) != 2)
            return {0, text};
        return {seconds + fraction / 4294967296.0, text.substr(static_cast<std::size_t>(at))};
    }

private:
    pid_t process;
    int output;
};

bool havePrograms() {
    return std::system("command -v oscdump >/dev/null && command -v oscsend >/dev/null") == 0;
}

/// Whether somebody has bound a UDP port.
bool isTaken(std::uint16_t port) {
    char wanted[16];
    std::snprintf(wanted, sizeof wanted, ":%04X ", port);
    std::ifstream table("/proc/net/udp");
    for (std::string line; std::getline(table, line);)
        if (line.find(wanted) != std::string::npos)
            return true;
    return false;
}

/// The time of day as NTP counts it.
double timeOfDay() {
    constexpr double from1900To1970 = 2208988800;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return from1900To1970 + std::chrono::duration<double>(now).count();
}

TEST_F(LiveTraxOSCSockets, AnotherProgramReadsAMarkerInOrderAndSpacedInTime) {
    if (!havePrograms())
        GTEST_SKIP() << "oscdump and oscsend (liblo-tools) are not here";
    OSCDump dump;
    ASSERT_TRUE(eventually([] { return isTaken(3819); }));
    // A busy machine delays what it likes, but nothing comes too early; and it is not busy for ever.
    bool spaced = false;
    for (int chance = 1; chance <= 20 && !spaced; ++chance) {
        const double asked = timeOfDay();
        const std::string name =
            "Verse " + std::to_string(chance); // one that was marked is marked in another way
        client->addSceneMarker("  " + name + " \n", [this](const SendReport &) { main.quit(); });
        client->send("/everything", {7, std::int64_t{1} << 40U, 0.5F, "n\xC3\xB1", true, false});
        runMain();
        const auto first = dump.next();
        const auto second = dump.next();
        const auto third = dump.next();
        EXPECT_EQ(first.text, "/add_marker ");
        EXPECT_EQ(second.text, "/everything ihfsTF 7 1099511627776 0.500000 \"n\xC3\xB1\" #T #F");
        EXPECT_EQ(third.text, "/marker s \"" + name + "\"");
        EXPECT_GE(first.seconds - asked, 0.039);
        EXPECT_GE(third.seconds - asked, 0.129);
        spaced = third.seconds - first.seconds > 0.085 && third.seconds - first.seconds < 0.120;
    }
    EXPECT_TRUE(spaced);
}

TEST_F(LiveTraxOSCSockets, AnotherProgramsPortIsAStrangers) {
    if (!havePrograms())
        GTEST_SKIP() << "oscdump and oscsend (liblo-tools) are not here";
    const DatagramPeer taken(3819);
    client->start();
    client->queryTransport([&](State) { ADD_FAILURE() << "the program's port is not the recorder's"; });
    taken.receive();
    // A reply from a port of its own is a stranger's: nothing is answered.
    EXPECT_EQ(std::system("oscsend 127.0.0.1 8000 /transport_speed f 1 && "
                          "oscsend 127.0.0.1 8000 /record_enabled i 1"),
              0);
    runFor(100ms);
}

} // namespace
} // namespace corvane

#include "livetrax/remote/LiveTraxOSC.h"
#include "livetrax/session/XMLTree.h"
#include "osc/OSCCodec.h"
#include "platform/net/AsioNetwork.h"
#include "platform/queues/AsioMainQueue.h"
#include "platform/queues/AsioRuntime.h"
#include "sim/SurfaceSocket.h"
#include "tests/support/BuiltFiles.h"
#include "tests/support/Eventually.h"
#include "tests/support/Peers.h"
#include "tests/support/PrivateNetwork.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace corvane {
namespace {

using namespace std::chrono_literals;
using Path = std::filesystem::path;
using Lines = std::vector<std::string>;

/// The stand-in as a process, started with a home and LIVETRAX_SIM of its own; killed at the end.
class RunningSim {
public:
    RunningSim(const Path &program, const Path &home, const Lines &arguments, const std::string &words = "")
        : output(home / ("output-" + std::to_string(++count))) {
        process = fork();
        if (process == 0)
            become(program, home, arguments, words);
    }
    ~RunningSim() {
        if (status)
            return;
        kill(process, SIGKILL);
        wait();
    }
    RunningSim(const RunningSim &) = delete;
    RunningSim &operator=(const RunningSim &) = delete;

    void signal(int number) const { kill(process, number); }
    /// The exit status once it has ended; none while it runs.
    std::optional<int> ended() {
        int result = 0;
        if (!status && waitpid(process, &result, WNOHANG) == process)
            status = WIFEXITED(result) ? WEXITSTATUS(result) : -1;
        return status;
    }
    bool prints(const std::string &text) const {
        return eventually([&] { return printed().find(text) != std::string::npos; });
    }
    std::string printed() const {
        std::ifstream file(output);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    void wait() { waitpid(process, nullptr, 0); }

    [[noreturn]] void become(const Path &program, const Path &home, const Lines &arguments,
                             const std::string &words) {
        const int file = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        dup2(file, STDOUT_FILENO);
        dup2(file, STDERR_FILENO);
        setenv("HOME", home.c_str(), 1);
        setenv("LIVETRAX_SIM", words.c_str(), 1);
        std::vector<char *> raw{const_cast<char *>(program.c_str())};
        for (const auto &argument : arguments)
            raw.push_back(const_cast<char *>(argument.c_str()));
        raw.push_back(nullptr);
        execv(program.c_str(), raw.data());
        _exit(127);
    }

    inline static int count = 0;
    Path output;
    pid_t process;
    std::optional<int> status;
};

struct LiveTraxSimProcess : testing::Test {
    void SetUp() override {
        CORVANE_ENTER_PRIVATE_NETWORK();
        folder.write(preferences + "/templates/Corvane Friday/Corvane Friday.template",
                     "<Session name=\"Seed\" id-counter=\"7\"><Locations/></Session>");
    }

    Lines making() const { return {"-a", "-n", "-k", "keys", "-T", "Corvane Friday", "-N", show}; }
    Lines opening() const { return {"-a", "-n", "-k", "keys", show}; }

    Lines markers() const {
        Lines names;
        const auto document = XMLDocument::load(Path(show) / "Friday.ardour");
        for (const auto location : document.root().firstChild("Locations").children("Location"))
            names.push_back(*location.attribute("name"));
        return names;
    }

    TemporaryFolder folder;
    const Path home = folder.path();
    const std::string preferences = "Library/Preferences/LiveTrax3";
    const std::string show = (home / "shows" / "Friday").string();
    const Path program = builtPrograms() / "livetrax-sim";
};

TEST_F(LiveTraxSimProcess, MakesASessionAnswersSavesMarkersAndEnds) {
    RunningSim sim(program, home, making());
    ASSERT_TRUE(sim.prints("OSC on port 3819")) << sim.printed();
    EXPECT_EQ(folder.read(preferences + "/recent"), "Friday\n" + show + "\n");

    const DatagramPeer replies(8000);
    const DatagramPeer other;
    std::uint16_t sender = 0;
    other.send(OSCCodec::message("/transport_speed"), 3819);
    // The engine's own types: a double, then integers.
    const char speed[] = "/transport_speed\0\0\0\0,d\0\0\0\0\0\0\0\0\0\0";
    EXPECT_EQ(replies.receive(&sender), Bytes(speed, speed + sizeof speed - 1));
    EXPECT_EQ(sender, 3819);
    other.send(OSCCodec::message("/record_enabled"), 3819);
    EXPECT_EQ(replies.receive(), OSCCodec::message("/record_enabled", {0}));
    other.send(OSCCodec::message("/is_recording"), 3819);
    EXPECT_EQ(replies.receive(), OSCCodec::message("/is_recording", {0}));

    for (const char *garbage : {"", "x", "#bundle"})
        other.send(bytes(garbage), 3819);
    for (const char *size : {"0", "1", "7"})
        EXPECT_TRUE(sim.prints("not an OSC message: " + std::string(size) + " bytes\n")) << sim.printed();
    other.send(OSCCodec::message("/add_marker"), 3819);
    other.send(OSCCodec::message("/marker", {"Verse 2"}), 3819);
    other.send(OSCCodec::message("/save_state"), 3819);
    ASSERT_TRUE(sim.prints("saved")) << sim.printed();
    EXPECT_EQ(markers(), Lines{"Verse 2"});

    sim.signal(SIGTERM);
    ASSERT_TRUE(eventually([&] { return sim.ended().has_value(); }));
    EXPECT_EQ(sim.ended(), 0);
}

TEST_F(LiveTraxSimProcess, IsDrivenByTheClient) {
    RunningSim sim(program, home, making(), "recording");
    ASSERT_TRUE(sim.prints("OSC on port 3819")) << sim.printed();
    AsioMainQueue main;
    AsioRuntime runtime;
    AsioNetwork network(runtime);
    LiveTraxOSC client(main, runtime.make("Corvane.LiveTraxOSC"), network);
    const auto tooLate = main.after(testTimeout, [&] { main.quit(); });

    std::optional<TransportState> answer;
    client.queryTransport([&](std::optional<TransportState> state) {
        answer = state;
        main.quit();
    });
    main.run();
    EXPECT_EQ(answer, (TransportState{1, true, true}));

    const auto mark = [&](const std::string &name) {
        SendReport sent;
        client.addSceneMarker(name, [&](const SendReport &report) {
            sent = report;
            main.quit();
        });
        main.run();
        return sent;
    };
    EXPECT_EQ(mark(" Chorus "), (SendReport{{"/add_marker", "/marker"}, ""}));
    EXPECT_EQ(mark("Chorus"), (SendReport{{"/add_marker"}, ""}));
    client.markerStyle = MarkerStyle::named;
    EXPECT_EQ(mark("Verse"), (SendReport{{"/add_marker"}, ""}));
    client.save();
    ASSERT_TRUE(sim.prints("saved")) << sim.printed();
    // The first name came when the playhead had moved on.
    EXPECT_EQ(markers(), (Lines{"mark1", "Chorus", "Verse"}));
    EXPECT_EQ(sim.printed().find("goes to"), std::string::npos);
}

TEST_F(LiveTraxSimProcess, OpensASessionAsTheProgramItIsNamedAfter) {
    const Path installed = home / "Applications/LiveTrax1.app/Contents/MacOS/LiveTrax1";
    std::filesystem::create_directories(installed.parent_path());
    std::filesystem::copy_file(program, installed);
    folder.write("shows/Friday/Friday.ardour", "<Session/>");
    RunningSim sim(installed, home, opening());
    ASSERT_TRUE(sim.prints("OSC on port 3819")) << sim.printed();
    EXPECT_EQ(folder.read("Library/Preferences/LiveTrax1/recent"), "Friday\n" + show + "\n");
    EXPECT_FALSE(std::filesystem::exists(home / preferences / "recent"));
}

TEST_F(LiveTraxSimProcess, MovesToTheNextPortWhenItsOwnIsTaken) {
    const DatagramPeer taken(3819);
    RunningSim sim(program, home, making());
    EXPECT_TRUE(sim.prints("OSC on port 3820")) << sim.printed();
}

TEST_F(LiveTraxSimProcess, TheLastPortOfAllIsTriedAndThenThereIsNone) {
    AsioMainQueue queue; // this thread's: the sockets are made and closed on their queue
    AsioRuntime runtime(1);
    const auto open = [&] {
        return std::make_unique<SurfaceSocket>(runtime.context(), queue, std::uint16_t{65534},
                                               [](const Bytes &, const std::string &) {});
    };
    const auto first = open();
    const auto second = open();
    EXPECT_EQ(first->port(), 65534);
    EXPECT_EQ(second->port(), 65535);
    EXPECT_THROW(open(), std::system_error);
}

TEST_F(LiveTraxSimProcess, DeafItOpensNoSurface) {
    RunningSim sim(program, home, making(), "deaf");
    ASSERT_TRUE(sim.prints("created")) << sim.printed();
    sim.signal(SIGTERM);
    ASSERT_TRUE(eventually([&] { return sim.ended().has_value(); }));
    EXPECT_EQ(sim.printed().find("OSC"), std::string::npos);
}

TEST_F(LiveTraxSimProcess, TakesItsTimeOrRefusesToQuit) {
    RunningSim slow(program, home, making(), "slow-quit=0.3");
    ASSERT_TRUE(slow.prints("OSC on port")) << slow.printed();
    slow.signal(SIGTERM);
    ASSERT_TRUE(slow.prints("quitting"));
    ASSERT_TRUE(eventually([&] { return slow.ended().has_value(); }));
    EXPECT_EQ(slow.ended(), 0);

    RunningSim stubborn(program, home, opening(), "ignore-term");
    ASSERT_TRUE(stubborn.prints("OSC on port")) << stubborn.printed();
    stubborn.signal(SIGTERM);
    ASSERT_TRUE(stubborn.prints("ignored")) << stubborn.printed();
    EXPECT_FALSE(stubborn.ended());
}

TEST_F(LiveTraxSimProcess, ExplainsItselfInsteadOfStarting) {
    for (const auto &[argument, begins] : {std::pair("--help", "A stand-in for LiveTrax: "),
                                           {"-h", "A stand-in for LiveTrax: "},
                                           {"--version", "livetrax-sim "}}) {
        RunningSim sim(program, home, {argument});
        ASSERT_TRUE(eventually([&] { return sim.ended().has_value(); }));
        EXPECT_EQ(sim.ended(), 0) << argument;
        EXPECT_TRUE(sim.printed().starts_with(begins)) << sim.printed();
    }
}

TEST_F(LiveTraxSimProcess, SaysWhyItCannotStart) {
    struct Row {
        Lines arguments;
        std::string words;
        std::string expected;
    };
    const std::vector<Row> table = {
        {{"-a", "-n"}, "", "usage"},
        {opening(), "", "Friday.ardour"},
        {{"-a", "-n", "-k", "keys", "-T", "None", "-N", show}, "", "None.template"},
        {making(), "loud", "livetrax-sim: LIVETRAX_SIM: unknown word: loud"},
    };
    for (const auto &row : table) {
        RunningSim sim(program, home, row.arguments, row.words);
        ASSERT_TRUE(eventually([&] { return sim.ended().has_value(); }));
        EXPECT_EQ(sim.ended(), 1) << row.expected;
        EXPECT_NE(sim.printed().find(row.expected), std::string::npos) << sim.printed();
    }
}

} // namespace
} // namespace corvane

#include "platform/files/StandardFolders.h"
#include "platform/queues/AsioMainQueue.h"
#include "platform/queues/AsioRuntime.h"
#include "sim/LiveTraxSim.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr const char *helpText =
    R"(A stand-in for LiveTrax: takes its command line, keeps sessions, answers OSC on UDP port 3819.
Usage: livetrax-sim [-a] [-n] [-k KEYS] (FOLDER | -T NAME -N FOLDER)

Options:
  FOLDER          Open this session
  -T NAME         Make the session from this user template
  -N FOLDER       Make the session here
  -a, -n, -k KEYS Taken as LiveTrax takes them, to no effect
  -h,--help       Print this help message and exit
  --version       Display program version information and exit

The environment variable LIVETRAX_SIM makes it difficult: any of deaf, rolling, armed, recording, no-save,
slow-quit=SECONDS and ignore-term, with commas between them.
)";

/// What is printed instead of starting; null when it is to start.
const char *information(int argc, char **argv) {
    const std::string only = argc == 2 ? argv[1] : "";
    if (only == "--help" || only == "-h")
        return helpText;
    return only == "--version" ? "livetrax-sim " CORVANE_VERSION "\n" : nullptr;
}

} // namespace

/// The stand-in as a program: it takes LiveTrax's command line, does as LIVETRAX_SIM says, and ends on
/// SIGTERM. Exit 1 and one message when it cannot start.
int main(int argc, char **argv) {
    using namespace corvane;
    if (const char *text = information(argc, argv)) {
        std::cout << text << std::flush;
        return 0;
    }
    try {
        const char *words = std::getenv("LIVETRAX_SIM");
        const auto behaviour = LiveTraxBehaviour::parse(words != nullptr ? words : "");
        const auto line = LiveTraxCommandLine::parse(std::vector<std::string>(argv + 1, argv + argc));

        AsioMainQueue queue;
        AsioRuntime runtime(1);
        LiveTraxSim sim(line, behaviour, liveTraxPreferences(homeFolder(), programPath()), queue,
                        [](const std::string &text) { std::cout << text << std::endl; });
        queue.onInterruption([&](int) { sim.terminate([&] { queue.quit(); }); });
        sim.openSurface(runtime.context());
        queue.run();
        return 0;
    } catch (const std::exception &error) {
        std::cerr << "livetrax-sim: " << error.what() << std::endl;
        return 1;
    }
}

#include "platform/files/StandardFolders.h"
#include "platform/queues/AsioMainQueue.h"
#include "platform/queues/AsioRuntime.h"
#include "sim/LiveTraxSim.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

/// The stand-in as a program: it takes LiveTrax's command line, does as LIVETRAX_SIM says, and ends on
/// SIGTERM. Exit 1 and one message when it cannot start.
int main(int argc, char **argv) {
    using namespace corvane;
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

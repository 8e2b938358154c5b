#pragma once

#include "sim/ConsoleSim.h"
#include "tests/support/PrivateNetwork.h"

#include <string>
#include <thread>
#include <unistd.h>
#include <utility>

namespace corvane {

/// A console in a network of its own at the other end of a cable, on a thread of its own.
class DistantConsole {
public:
    DistantConsole(const PrivateNetwork::Neighbour &neighbour, sim::ConsoleSimOptions options) {
        [[maybe_unused]] const int made = ::pipe(commands);
        thread = std::thread([this, &neighbour, options = std::move(options)] {
            neighbour.inside([&] {
                sim::ConsoleSim console(options);
                console.readCommands(commands[0]);
                console.run();
            });
        });
    }
    ~DistantConsole() {
        command("quit");
        thread.join();
        ::close(commands[0]);
        ::close(commands[1]);
    }
    DistantConsole(const DistantConsole &) = delete;
    DistantConsole &operator=(const DistantConsole &) = delete;

    void command(const std::string &line) const {
        const auto text = line + "\n";
        [[maybe_unused]] const auto written = ::write(commands[1], text.data(), text.size());
    }

private:
    int commands[2] = {-1, -1};
    std::thread thread;
};

} // namespace corvane

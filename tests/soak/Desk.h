#pragma once

#include "sim/ConsoleCommands.h"
#include "sim/ConsoleState.h"
#include "tests/support/ChildProcess.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace corvane::soak {

/// The console's stand-in, a program of its own, and what is on its desk: every command goes to both.
class Desk {
public:
    /// `folder` is for its program and its patch file. The console announces itself on loopback.
    Desk(const std::filesystem::path &program, const std::filesystem::path &folder);

    /// Has the console do something: one line of what it reads on its standard input.
    void tell(const std::string &command);
    /// Kills the console and starts it again with the same desk, on the same port.
    void restart();

    const std::vector<LV1Channel> &channels() const { return state.channels; }
    /// What the console found wrong that cannot be put down to a broken connection or a busy machine.
    std::vector<std::string> complaints();

private:
    void start(std::uint16_t port);
    void collectComplaints();

    std::filesystem::path program;
    std::filesystem::path patchFile;
    std::uint16_t port = 0;
    sim::ConsoleState state = sim::bandOnStage();
    sim::ConsoleCommands commands{state};
    std::optional<ChildProcess> console;
    std::vector<std::string> found;
};

} // namespace corvane::soak

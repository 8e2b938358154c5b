#pragma once

#include "sim/ConsoleState.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace corvane::sim {

/// What can be done to the console's desk by a line of text. Changes the state and says what the clients
/// have to be told.
class ConsoleCommands {
public:
    explicit ConsoleCommands(ConsoleState &state) : state(state) {}

    std::function<void()> onPatchChanged;
    std::function<void(const LV1Channel &channel)> onColourChanged;
    std::function<void()> onSceneRecalled;

    /// Whether it knows the command; then `fault` says what is wrong with the rest of the line, if anything.
    bool execute(const std::string &command, const std::string &rest, std::optional<std::string> &fault);

private:
    using Fault = std::optional<std::string>;
    Fault scene(const std::string &name);
    Fault nextScene();
    Fault rename(const std::string &rest);
    Fault move(const std::string &rest);
    Fault stereo(const std::string &rest);
    Fault color(const std::string &rest);
    Fault patch(const std::string &file);
    LV1Channel *channel(const std::string &number);

    ConsoleState &state;
};

/// The first word of a line, taken off it together with the blanks behind it.
std::string takeWord(std::string &line);

} // namespace corvane::sim

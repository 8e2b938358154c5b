#include "sim/ConsoleCommands.h"

#include "base/Text.h"
#include "patch/PatchDocument.h"
#include "platform/files/Files.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <locale>
#include <sstream>
#include <string_view>

namespace corvane::sim {

namespace {

constexpr const char *noSuchChannel = "there is no channel of this number";

/// The channel with other properties and its own colours.
LV1Channel changed(const LV1Channel &channel, const std::string &name, bool stereo, std::int32_t input) {
    return {name,        stereo,        channel.driver(), input, channel.sourceType(), channel.sourceIndex(),
            channel.red, channel.green, channel.blue};
}

std::optional<float> component(const std::string &text) {
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    float value = 0;
    if (!(in >> value) || in.peek() != std::istringstream::traits_type::eof() || !(value >= 0 && value <= 1))
        return std::nullopt;
    return value;
}

} // namespace

std::string takeWord(std::string &line) {
    const auto end = std::min(line.find(' '), line.size());
    auto word = line.substr(0, end);
    line.erase(0, std::min(line.find_first_not_of(' ', end), line.size()));
    return word;
}

bool ConsoleCommands::execute(const std::string &command, const std::string &rest,
                              std::optional<std::string> &fault) {
    if (command == "scene")
        fault = scene(rest);
    else if (command == "next")
        fault = nextScene();
    else if (command == "rename")
        fault = rename(rest);
    else if (command == "move")
        fault = move(rest);
    else if (command == "stereo")
        fault = stereo(rest);
    else if (command == "color")
        fault = color(rest);
    else if (command == "patch")
        fault = patch(rest);
    else
        return false;
    return true;
}

LV1Channel *ConsoleCommands::channel(const std::string &number) {
    const auto index = unsignedInteger(number);
    if (!index || *index < 1 || *index > state.channels.size())
        return nullptr;
    return &state.channels[*index - 1];
}

ConsoleCommands::Fault ConsoleCommands::scene(const std::string &name) {
    state.scene = name;
    onSceneRecalled();
    return std::nullopt;
}

ConsoleCommands::Fault ConsoleCommands::nextScene() {
    if (state.scenes.empty())
        return "there is no list of scenes";
    const auto current = std::find(state.scenes.begin(), state.scenes.end(), state.scene);
    const bool last = current == state.scenes.end() || current + 1 == state.scenes.end();
    return scene(last ? state.scenes.front() : *(current + 1));
}

ConsoleCommands::Fault ConsoleCommands::rename(const std::string &rest) {
    std::string name = rest;
    auto *renamed = channel(takeWord(name));
    if (!renamed)
        return noSuchChannel;
    *renamed = changed(*renamed, name, renamed->stereo(), renamed->inputIndex());
    onPatchChanged();
    return std::nullopt;
}

ConsoleCommands::Fault ConsoleCommands::move(const std::string &rest) {
    std::string input = rest;
    auto *moved = channel(takeWord(input));
    if (!moved)
        return noSuchChannel;
    const auto number = integer(input);
    if (!number || *number < 1 || *number > std::numeric_limits<std::int32_t>::max())
        return "an input is a number from 1";
    *moved = changed(*moved, moved->name(), moved->stereo(), static_cast<std::int32_t>(*number - 1));
    onPatchChanged();
    return std::nullopt;
}

ConsoleCommands::Fault ConsoleCommands::stereo(const std::string &rest) {
    std::string choice = rest;
    auto *widened = channel(takeWord(choice));
    if (!widened)
        return noSuchChannel;
    if (choice != "on" && choice != "off")
        return "say on or off";
    *widened = changed(*widened, widened->name(), choice == "on", widened->inputIndex());
    onPatchChanged();
    return std::nullopt;
}

ConsoleCommands::Fault ConsoleCommands::color(const std::string &rest) {
    std::string numbers = rest;
    auto *coloured = channel(takeWord(numbers));
    if (!coloured)
        return noSuchChannel;
    std::array<float, 3> colour{};
    for (auto &each : colour) {
        const auto value = component(takeWord(numbers));
        if (!value)
            return "a colour is three numbers from 0 to 1";
        each = *value;
    }
    if (!numbers.empty())
        return "a colour is three numbers from 0 to 1";
    coloured->red = colour[0];
    coloured->green = colour[1];
    coloured->blue = colour[2];
    onColourChanged(*coloured);
    return std::nullopt;
}

ConsoleCommands::Fault ConsoleCommands::patch(const std::string &file) {
    try {
        const auto bytes = readFile(file);
        state.channels = readPatchDocument({reinterpret_cast<const char *>(bytes.data()), bytes.size()});
    } catch (const std::runtime_error &error) { // FileError or PatchDocumentError
        return error.what();
    }
    onPatchChanged();
    for (const auto &each : state.channels)
        onColourChanged(each);
    return std::nullopt;
}

} // namespace corvane::sim

#include "tests/soak/Desk.h"

#include "base/Text.h"
#include "patch/PatchDocument.h"
#include "platform/files/Files.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace corvane::soak {

namespace {

/// So that each channel has inputs of its own wherever it is moved and however wide it is.
constexpr std::int32_t inputsForEach = 4;

constexpr std::array<std::string_view, 4> expected{"no /pong to the last ping", "the client left ",
                                                   "cannot announce: ", "no /device_name after"};

bool isExpected(std::string_view complaint) {
    return std::any_of(expected.begin(), expected.end(),
                       [&](std::string_view each) { return complaint.starts_with(each); });
}

} // namespace

Desk::Desk(const std::filesystem::path &original, const std::filesystem::path &folder)
    : program(folder / "lv1-console-sim"), patchFile(folder / "desk.json") {
    commands.onPatchChanged = [] {};
    commands.onSceneRecalled = [] {};
    commands.onColourChanged = [](const LV1Channel &) {};
    copyFile(original, program);
    std::filesystem::permissions(program, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add);
    std::int32_t number = 0;
    for (LV1Channel &each : state.channels) {
        each = LV1Channel(each.name(), each.stereo(), each.driver(), inputsForEach * number,
                          each.sourceType(), each.sourceIndex(), each.red, each.green, each.blue);
        ++number;
    }
    start(0);
    if (!console->says("listening on "))
        throw std::runtime_error("the console does not start: " + console->errors());
    const std::string said = console->output();
    port = static_cast<std::uint16_t>(std::stoi(said.substr(said.find("on ") + 3)));
}

void Desk::start(std::uint16_t wanted) {
    std::ofstream(patchFile) << patchDocument(state.channels);
    console.emplace(program,
                    std::vector<std::string>{"--port", std::to_string(wanted), "--patch", patchFile.string(),
                                             "--announce", "127.0.0.1", "--name", "Soak Console"});
}

void Desk::tell(const std::string &command) {
    std::string rest = command;
    std::optional<std::string> fault;
    const std::string word = sim::takeWord(rest);
    commands.execute(word, rest, fault);
    if (fault)
        throw std::logic_error(command + ": " + *fault);
    console->type(command);
}

void Desk::restart() {
    collectComplaints();
    console.reset();
    start(port);
}

void Desk::collectComplaints() {
    for (const std::string &line : nonEmptyLines(console->errors()))
        if (!isExpected(line))
            found.push_back("the console complains: " + line);
}

std::vector<std::string> Desk::complaints() {
    collectComplaints();
    return std::exchange(found, {});
}

} // namespace corvane::soak

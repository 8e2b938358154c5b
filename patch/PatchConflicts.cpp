#include "patch/PatchConflicts.h"

#include "base/Quotation.h"
#include "base/XMLCharacters.h"
#include "patch/RecorderNames.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <utility>

namespace corvane {

namespace {

using Kind = PatchConflict::Kind;
using Positions = std::vector<std::size_t>;

/// "“A” and “B”", "“A”, “B” and “C”".
std::string enumeration(const std::vector<std::string> &names) {
    std::string text;
    for (std::size_t index = 0; index < names.size(); ++index) {
        if (index > 0)
            text += index + 1 == names.size() ? " and " : ", ";
        text += quotation(names[index]);
    }
    return text;
}

std::string nameText(const std::vector<std::string> &names) {
    const bool alike = std::all_of(names.begin(), names.end(),
                                   [&](const std::string &name) { return name == names.front(); });
    if (alike)
        return std::to_string(names.size()) + " channels are called " + quotation(names.front());
    return enumeration(names) + " would have direct outs of the same name";
}

std::string inputText(const std::vector<std::string> &names, const std::vector<std::int64_t> &inputs) {
    std::string text = enumeration(names) + " share SoundGrid ";
    if (inputs.size() == 1)
        return text + "input " + std::to_string(inputs.front());
    return text + "inputs " + std::to_string(inputs.front()) + "–" + std::to_string(inputs.back());
}

PatchConflict conflict(Kind kind, const std::vector<LV1Channel> &channels, const Positions &positions,
                       std::vector<std::int64_t> inputs = {}) {
    PatchConflict made{kind, positions, {}, std::move(inputs), {}};
    for (const std::size_t position : positions)
        made.names.push_back(channels[position].name());
    made.text = kind == Kind::name ? nameText(made.names) : inputText(made.names, made.inputs);
    return made;
}

void addNameConflicts(std::vector<PatchConflict> &found, const std::vector<LV1Channel> &channels) {
    std::unordered_map<std::string, Positions> byName;
    for (std::size_t position = 0; position < channels.size(); ++position)
        byName[directOutName(holdableByXML(channels[position].name()))].push_back(position);
    std::vector<Positions> shared;
    for (auto &[name, positions] : byName)
        if (positions.size() > 1)
            shared.push_back(std::move(positions));
    std::sort(shared.begin(), shared.end());
    for (const Positions &positions : shared)
        found.push_back(conflict(Kind::name, channels, positions));
}

void addInputConflicts(std::vector<PatchConflict> &found, const std::vector<LV1Channel> &channels) {
    std::map<std::int64_t, Positions> byInput;
    for (std::size_t position = 0; position < channels.size(); ++position) {
        const std::int64_t first = std::int64_t{channels[position].inputIndex()} + 1;
        byInput[first].push_back(position);
        if (channels[position].stereo())
            byInput[first + 1].push_back(position);
    }
    // Two stereo channels on one pair share both inputs: that is one conflict.
    for (auto input = byInput.begin(); input != byInput.end(); ++input) {
        if (input->second.size() < 2)
            continue;
        std::vector<std::int64_t> inputs{input->first};
        if (const auto following = std::next(input);
            following != byInput.end() && following->second == input->second) {
            inputs.push_back(following->first);
            input = following;
        }
        found.push_back(conflict(Kind::input, channels, input->second, std::move(inputs)));
    }
}

} // namespace

std::vector<PatchConflict> patchConflicts(const std::vector<LV1Channel> &channels) {
    std::vector<PatchConflict> found;
    addNameConflicts(found, channels);
    addInputConflicts(found, channels);
    return found;
}

} // namespace corvane

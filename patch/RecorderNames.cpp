#include "patch/RecorderNames.h"

#include "base/Quotation.h"
#include "base/XMLCharacters.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

namespace corvane {

namespace {

/// In bytes. A take's file bears the track's name and a few characters more, and a file's name has 255.
constexpr std::size_t longestName = 243;

bool cannotBeWritten(char character) {
    return std::string_view(":/\\\"|<>*?").find(character) != std::string_view::npos;
}

} // namespace

std::string recorderName(std::string name) {
    std::replace_if(name.begin(), name.end(), cannotBeWritten, '_');
    name.erase(name.find_last_not_of(' ') + 1);
    return name == "Click" || name == "Control" ? name + " 1" : name;
}

bool isRecorded(const std::string &trackName, const std::string &channelName) {
    std::string written = holdableByXML(channelName);
    return trackName == written || trackName == recorderName(std::move(written));
}

std::string directOutName(std::string name) {
    std::replace(name.begin(), name.end(), ':', '-');
    return name;
}

bool isTooLongToRecord(const std::string &name) {
    return name.size() > longestName;
}

std::optional<std::string> recorderNameProblem(const std::string &name) {
    if (isTooLongToRecord(name))
        return quotation(name) + " is too long: LiveTrax would record it without a file.";
    if (const std::string written = recorderName(name); written != name)
        return quotation(name) + " would be called " + quotation(written) + " in LiveTrax.";
    return std::nullopt;
}

std::vector<std::string> recorderNameProblems(const std::vector<LV1Channel> &channels) {
    std::vector<std::string> problems;
    for (const LV1Channel &channel : channels) {
        auto problem = recorderNameProblem(channel.name());
        if (problem && std::find(problems.begin(), problems.end(), *problem) == problems.end())
            problems.push_back(*std::move(problem));
    }
    return problems;
}

} // namespace corvane

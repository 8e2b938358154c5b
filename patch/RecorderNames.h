#pragma once

#include "lv1/LV1Channel.h"

#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// A track's name as the recorder writes it when it saves: characters that no file's name may hold become
/// "_", blanks at the end go, and the names of its own two tracks get a number.
std::string recorderName(std::string name);

/// Whether a track of a session bears a channel's name, be it as Corvane writes it or as the recorder does.
bool isRecorded(const std::string &trackName, const std::string &channelName);

/// A channel's name as its direct out has it, with "-" for ":". The recorder makes that change itself, but
/// not everywhere, and would then not find the direct out again.
std::string directOutName(std::string name);

/// Whether what is recorded under such a name would have no file.
bool isTooLongToRecord(const std::string &name);

/// What is wrong with a name that the recorder cannot hold as it is, as a sentence; none when it can.
std::optional<std::string> recorderNameProblem(const std::string &name);

/// The problems of all channels' names in the channels' order, each once.
std::vector<std::string> recorderNameProblems(const std::vector<LV1Channel> &channels);

} // namespace corvane

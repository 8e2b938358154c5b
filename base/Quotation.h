#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

/// A text of somebody else in quotation marks, to stand in a sentence: of readable length, on one line, and
/// isolated (U+2068, U+2069), so that a name that is written from right to left turns nothing around it.
/// UTF-8.
std::string quotation(std::string_view text);

/// "1 track", "2 tracks".
std::string counted(std::size_t count, const std::string &one, const std::string &many);

/// The texts one after the other with commas between; of very many the first, and how many more there are.
std::string joined(const std::vector<std::string> &texts);

} // namespace corvane

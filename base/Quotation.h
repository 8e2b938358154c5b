#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

/// A text from outside in quotation marks, for use in a sentence: cut to a readable length, on one line, and
/// isolated (U+2068, U+2069) so that a right-to-left name does not reorder the sentence. UTF-8.
std::string quotation(std::string_view text);

/// The same without the quotation marks.
std::string isolated(std::string_view text);

/// The same without the isolation.
std::string shortened(std::string_view text);

/// "1 track", "2 tracks".
std::string counted(std::size_t count, const std::string &one, const std::string &many);

/// The texts separated by commas; of more than five the first five and how many more there are.
std::string joined(const std::vector<std::string> &texts);

} // namespace corvane

#pragma once

#include "livetrax/session/XMLTree.h"

#include <optional>
#include <string>
#include <string_view>

namespace corvane {

/// The UTF-8 text that `edited` was read from (blanks kept), with what has changed in the tree since: values
/// of attributes, attributes added, elements without children appended, elements removed. Every other byte is
/// the byte that was read: quotes, references, blanks between attributes. What is returned has been read
/// again and found equal to the tree; none where the tree cannot be had that way.
std::optional<std::string> textWithEdits(std::string_view text, const XMLDocument &edited);

} // namespace corvane

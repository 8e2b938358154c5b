#pragma once

#include <string>
#include <string_view>

namespace corvane {

/// Whether XML 1.0 can hold the text: strict UTF-8 without control characters (but tab, LF, CR), U+FFFE and
/// U+FFFF.
bool isHoldableByXML(std::string_view text);

/// The text with U+FFFD in place of each character that XML 1.0 cannot hold and of each byte that is not
/// UTF-8.
std::string holdableByXML(std::string_view text);

} // namespace corvane

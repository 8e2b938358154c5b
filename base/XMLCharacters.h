#pragma once

#include <string>
#include <string_view>

namespace corvane {

/// The text with U+FFFD in place of each character that XML 1.0 cannot hold (control characters but tab, LF
/// and CR; U+FFFE and U+FFFF) and of each byte that is not strict UTF-8.
std::string holdableByXML(std::string_view text);

} // namespace corvane

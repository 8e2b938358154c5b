#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

/// The text without white space and line breaks (Unicode White_Space) at its ends. UTF-8.
std::string trimmed(std::string_view text);

/// Splits at every line break in the Unicode sense (LF, CR, CR+LF, VT, FF, U+0085, U+2028, U+2029) and drops
/// empty pieces. UTF-8.
std::vector<std::string> nonEmptyLines(std::string_view text);

/// The whole text as a decimal integer: an optional sign, then digits, nothing else; none when out of range.
std::optional<std::int64_t> integer(std::string_view text);
std::optional<std::uint64_t> unsignedInteger(std::string_view text);

/// A port number as typed: decimal digits only (leading zeros do not make it octal), 0 to 65535; else none.
std::optional<std::uint16_t> portNumber(std::string_view text);

/// The text with a blank for each control character (C0, DEL, C1) but those in `kept`: a text from elsewhere
/// must neither break lines nor steer a terminal.
std::string withoutControls(std::string_view text, std::string_view kept = {});

/// Appends a cell of a comma-separated table: a text with commas, quotes or line breaks in quotes, its own
/// quotes doubled.
void appendCell(std::string &to, const std::string &text);

/// Whether the text equals an ASCII word when case is ignored, independently of the locale.
bool equalIgnoringCase(std::string_view text, std::string_view word);

} // namespace corvane

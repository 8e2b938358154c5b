#include "base/XMLCharacters.h"

#include "base/UTF8.h"

namespace corvane {

namespace {

/// Surrogates and what lies above U+10FFFF are no characters in UTF-8 either.
bool isXMLCharacter(char32_t code) {
    if (code < 0x20)
        return code == '\t' || code == '\n' || code == '\r';
    return code != 0xFFFE && code != 0xFFFF;
}

} // namespace

std::string holdableByXML(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const LeadingCharacter next = leadingCharacter(text);
        const bool isHoldable = next.isValid && isXMLCharacter(next.code);
        result += isHoldable ? text.substr(0, next.length) : std::string_view("\uFFFD");
        text.remove_prefix(next.length);
    }
    return result;
}

} // namespace corvane

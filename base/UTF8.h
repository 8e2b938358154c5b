#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace corvane {

/// What a text begins with: a character in strict UTF-8 (no overlong forms, no surrogates, nothing above
/// U+10FFFF), or one byte that is part of none.
struct LeadingCharacter {
    char32_t code = 0; ///< the byte itself where there is no character
    std::size_t length = 1;
    bool isValid = false;
};

/// The start of a text that is not empty.
LeadingCharacter leadingCharacter(std::string_view text);

/// The slow path of isValidUTF8, for a text from its first non-ASCII character on, or a little before it.
bool isValidUTF8BeyondASCII(std::string_view text);

/// Whether the bytes are UTF-8 in its strict form.
inline bool isValidUTF8(std::string_view text) {
    constexpr std::uint64_t highBits = 0x8080808080808080;
    // Names are mostly ASCII: eight bytes at a time while they are.
    std::size_t at = 0;
    for (std::uint64_t word = 0; text.size() - at >= sizeof word; at += sizeof word) {
        std::memcpy(&word, text.data() + at, sizeof word);
        if ((word & highBits) != 0)
            return isValidUTF8BeyondASCII(text.substr(at));
    }
    for (; at < text.size(); ++at) {
        if (static_cast<unsigned char>(text[at]) >= 0x80)
            return isValidUTF8BeyondASCII(text.substr(at));
    }
    return true;
}

} // namespace corvane

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace corvane {

/// What isStrictUTF8 says of bytes that begin with the first one that is not ASCII, or shortly before it.
bool isStrictUTF8FromFirstSequence(const std::uint8_t *bytes, std::size_t count);

/// Whether the bytes are UTF-8 in its strict form: no overlong forms, no surrogates, nothing above U+10FFFF.
inline bool isStrictUTF8(const std::uint8_t *bytes, std::size_t count) {
    constexpr std::uint64_t highBits = 0x8080808080808080;
    // Names are mostly ASCII: eight bytes at a time while they are.
    std::size_t at = 0;
    for (std::uint64_t word = 0; count - at >= sizeof word; at += sizeof word) {
        std::memcpy(&word, bytes + at, sizeof word);
        if ((word & highBits) != 0)
            return isStrictUTF8FromFirstSequence(bytes + at, count - at);
    }
    for (; at < count; ++at) {
        if (bytes[at] >= 0x80)
            return isStrictUTF8FromFirstSequence(bytes + at, count - at);
    }
    return true;
}

} // namespace corvane

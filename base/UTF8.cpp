#include "base/UTF8.h"

namespace corvane {
namespace {

constexpr bool isContinuation(std::uint8_t byte) {
    return (byte & 0xC0U) == 0x80;
}

/// The length of the sequence that a lead byte opens; 0 when no sequence starts with that byte.
constexpr std::size_t sequenceLength(std::uint8_t lead) {
    if (lead >= 0xC2 && lead <= 0xDF)
        return 2;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 3;
    if (lead >= 0xF0 && lead <= 0xF4)
        return 4;
    return 0;
}

/// The second byte carries what a lead byte alone cannot exclude: overlong forms (after E0, F0), surrogates
/// (after ED) and values above U+10FFFF (after F4).
constexpr bool secondByteFits(std::uint8_t lead, std::uint8_t second) {
    switch (lead) {
    case 0xE0:
        return second >= 0xA0 && second <= 0xBF;
    case 0xED:
        return second >= 0x80 && second <= 0x9F;
    case 0xF0:
        return second >= 0x90 && second <= 0xBF;
    case 0xF4:
        return second >= 0x80 && second <= 0x8F;
    default:
        return isContinuation(second);
    }
}

} // namespace

bool isStrictUTF8FromFirstSequence(const std::uint8_t *bytes, std::size_t count) {
    std::size_t at = 0;
    while (at < count) {
        if (bytes[at] < 0x80) {
            ++at;
            continue;
        }
        const std::size_t length = sequenceLength(bytes[at]);
        if (length == 0 || count - at < length || !secondByteFits(bytes[at], bytes[at + 1]))
            return false;
        for (std::size_t i = 2; i < length; ++i) {
            if (!isContinuation(bytes[at + i]))
                return false;
        }
        at += length;
    }
    return true;
}

} // namespace corvane

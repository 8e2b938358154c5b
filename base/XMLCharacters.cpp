#include "base/XMLCharacters.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace corvane {

namespace {

/// The form of UTF-8 sequences by their first byte: how long they are and which values need that length.
struct SequenceForm {
    std::size_t length;
    std::uint32_t smallest;
};

SequenceForm formFor(unsigned char first) {
    if (first < 0x80)
        return {1, 0};
    if (first >= 0xC2 && first < 0xE0)
        return {2, 0x80};
    if (first >= 0xE0 && first < 0xF0)
        return {3, 0x800};
    if (first >= 0xF0 && first < 0xF5)
        return {4, 0x10000};
    return {0, 0};
}

bool isXMLCharacter(std::uint32_t character) {
    if (character < 0x20)
        return character == '\t' || character == '\n' || character == '\r';
    return character < 0xD800 || (character >= 0xE000 && character < 0xFFFE) ||
           (character >= 0x10000 && character < 0x110000);
}

/// What stands at the beginning of a text: `length` bytes, to be kept or replaced as one.
struct Leading {
    std::size_t length;
    bool holdable;
};

Leading leadingCharacter(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const SequenceForm form = formFor(first);
    if (form.length == 1)
        return {1, isXMLCharacter(first)};
    if (form.length == 0 || text.size() < form.length)
        return {1, false};
    std::uint32_t character = first & (0xFFU >> (form.length + 1));
    for (const char byte : text.substr(1, form.length - 1)) {
        if ((static_cast<unsigned char>(byte) & 0xC0U) != 0x80U)
            return {1, false};
        character = (character << 6U) | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    const bool surrogate = character >= 0xD800 && character < 0xE000;
    if (character < form.smallest || character > 0x10FFFF || surrogate)
        return {1, false};
    return {form.length, isXMLCharacter(character)};
}

} // namespace

std::string holdableByXML(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Leading leading = leadingCharacter(text);
        result += leading.holdable ? text.substr(0, leading.length) : std::string_view("\uFFFD");
        text.remove_prefix(leading.length);
    }
    return result;
}

} // namespace corvane

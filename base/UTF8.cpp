#include "base/UTF8.h"

namespace corvane {
namespace {

/// How long the character is that a first byte opens, the bits of that byte that belong to it, and the
/// smallest value that needs this length: anything below is an overlong form.
struct Form {
    std::size_t length;
    char32_t bits;
    char32_t smallest;
};

Form formOf(unsigned char first) {
    if (first < 0x80)
        return {1, 0x7F, 0};
    if ((first & 0xE0U) == 0xC0U)
        return {2, 0x1F, 0x80};
    if ((first & 0xF0U) == 0xE0U)
        return {3, 0x0F, 0x800};
    if ((first & 0xF8U) == 0xF0U)
        return {4, 0x07, 0x10000};
    return {};
}

} // namespace

LeadingCharacter leadingCharacter(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    const Form form = formOf(first);
    if (form.length == 0 || text.size() < form.length)
        return {first};
    char32_t code = first & form.bits;
    for (std::size_t i = 1; i < form.length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0U) != 0x80U)
            return {first};
        code = (code << 6U) | (byte & 0x3FU);
    }
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < form.smallest || isSurrogate || code > 0x10FFFF)
        return {first};
    return {code, form.length, true};
}

bool isValidUTF8BeyondASCII(std::string_view text) {
    while (!text.empty()) {
        const LeadingCharacter next = leadingCharacter(text);
        if (!next.isValid)
            return false;
        text.remove_prefix(next.length);
    }
    return true;
}

} // namespace corvane
